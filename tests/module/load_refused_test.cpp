// A library whose window class cannot be registered registers no script
// classes and says why. The class name is taken here before the library's own
// start-up registers it (a constructor of higher priority runs first).
#include <gtest/gtest.h>
#include <windows.h>

#include "module/tul2class.h"
#include "runtime/runtime.h"

namespace {

__attribute__((constructor(101))) void takeTheClassName() {
  WNDCLASSA wc = {};
  wc.lpfnWndProc = DefWindowProcA;
  wc.hInstance = GetModuleHandleA(nullptr);
  wc.lpszClassName = "Tul2Window";
  RegisterClassA(&wc);
}

TEST(LoadRefused, NoClassesAndTheReason) {
  tulrt::Machine vm;
  RegisterNativeModule(&vm);
  EXPECT_EQ(vm.interp().lastError().message, "Error registering class Tul2Window");
  EXPECT_EQ(vm.findClass("String"), nullptr);
}

}  // namespace
