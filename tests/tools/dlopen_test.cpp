// The library as a host meets it: a shared object opened by path whose one
// exported entry registers the classes, which then work through the
// interpreter, and which unloads without leaving host objects behind.
#include <dlfcn.h>

#include <gtest/gtest.h>

#include "runtime/runtime.h"

namespace {

using RegisterFn = void (*)(TulVirtualMachine*);

TEST(SharedLibrary, EntryRegistersWorkingClassesAndUnloadsCleanly) {
  long before = tulrt::liveObjects();
  void* lib = dlopen(TUL2CLASS_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(lib, nullptr) << dlerror();
  auto entry = reinterpret_cast<RegisterFn>(dlsym(lib, "RegisterNativeModule"));
  ASSERT_NE(entry, nullptr);
  // Nothing else is visible from outside.
  EXPECT_EQ(dlsym(lib, "registerClass"), nullptr);
  {
    tulrt::Machine vm;
    entry(nullptr);
    entry(&vm);
    ASSERT_FALSE(vm.interp().lastError().set) << vm.interp().lastError().message;
    TulValue p, sum;
    ASSERT_TRUE(vm.interp().construct(p, vm.findClass("POINT"), {TulValue(2), TulValue(3)}));
    ASSERT_TRUE(vm.interp().callMember(sum, static_cast<TulObject*>(p), "OP_ADD", {p}));
    TulValue x;
    ASSERT_TRUE(vm.interp().callMember(x, static_cast<TulObject*>(sum), "getX"));
    EXPECT_EQ(static_cast<int>(x), 4);
  }
  EXPECT_EQ(dlclose(lib), 0);
  EXPECT_EQ(tulrt::liveObjects(), before);
}

TEST(SharedLibrary, MissingLibraryIsAnErrorNotACrash) {
  EXPECT_EQ(dlopen("/nonexistent/libtul2class.so", RTLD_NOW), nullptr);
}

}  // namespace
