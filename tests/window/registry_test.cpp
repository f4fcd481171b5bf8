// The window registry and the window procedure as the library's load work
// leaves them: "Tul2Window" is registered, messages of registered windows
// reach the script's handleMessage, and WM_DESTROY removes the entry.
#include <windows.h>

#include "tests/support/host.h"
#include "window/registry.h"
#include "window/window_class.h"

namespace {

TulObject* fakeObject(int n) { return reinterpret_cast<TulObject*>(static_cast<std::uintptr_t>(n * 16)); }

// Leaves the registry as it found it.
class Registry : public ::testing::Test {
 protected:
  void TearDown() override {
    for (std::uint32_t h : added_) registryRemove(h);
  }
  void add(std::uint32_t h, int object) {
    registryAdd(h, fakeObject(object));
    added_.push_back(h);
  }
  std::vector<std::uint32_t> added_;
};

TEST_F(Registry, StaysSortedReplacesAndGrowsByTen) {
  unsigned base = registryCount();
  EXPECT_EQ(registryFind(0x7FFFFFF0u), -1);
  add(0x7FFFFF30u, 1);
  add(0x7FFFFF10u, 2);
  add(0x7FFFFF20u, 3);
  EXPECT_LT(registryFind(0x7FFFFF10u), registryFind(0x7FFFFF20u));
  EXPECT_LT(registryFind(0x7FFFFF20u), registryFind(0x7FFFFF30u));
  add(0x7FFFFF20u, 4);
  EXPECT_EQ(registryCount(), base + 3);
  EXPECT_EQ(registryObject(registryFind(0x7FFFFF20u)), fakeObject(4));
  EXPECT_EQ(registryFind(0x7FFFFF00u), -1);
  EXPECT_EQ(registryFind(0x7FFFFF40u), -1);
  EXPECT_EQ(registryFind(0x7FFFFF18u), -1);
  // Handles compare unsigned: the top bit sorts last.
  add(0xFFFFFF00u, 5);
  EXPECT_EQ(static_cast<unsigned>(registryFind(0xFFFFFF00u)), registryCount() - 1);
  while (registryCount() < 21) add(0x7FFF0000u + registryCount(), 6);
  EXPECT_EQ(registryCapacity() % 10, 0u);
  EXPECT_GE(registryCapacity(), 30u);
  EXPECT_TRUE(registryRemove(0x7FFFFF20u));
  EXPECT_FALSE(registryRemove(0x7FFFFF20u));
}

class WindowProcedure : public HostTest {};

TEST_F(WindowProcedure, MessagesOfARegisteredWindowReachHandleMessage) {
  TulClass* cls = vm_->defineClass("Probe", nullptr, {"_seen"});
  ASSERT_NE(cls, nullptr);
  std::vector<unsigned> seen;
  tulrt::addScriptMethod(cls, "handleMessage", [&seen](TulVirtualMachine*, int argc, ValPtr& sp) {
    ValPtr p = sp;
    p -= argc;
    unsigned message = static_cast<unsigned>((*ValPtr{p.vec, p.index + 3}));
    seen.push_back(message);
    HWND hwnd = reinterpret_cast<HWND>(static_cast<std::uintptr_t>(
        static_cast<unsigned>(static_cast<int>(*ValPtr{p.vec, p.index + 2}))));
    *p = TulValue(static_cast<int>(DefWindowProcA(
        hwnd, message, static_cast<WPARAM>(static_cast<int>(*ValPtr{p.vec, p.index + 4})),
        static_cast<LPARAM>(static_cast<int>(*ValPtr{p.vec, p.index + 5})))));
    sp = p;
    return true;
  });
  TulValue obj(new TulObject(cls));
  setPendingCreateWindow(static_cast<TulObject*>(obj));
  HWND hwnd = CreateWindowExA(0, kWindowClassName, "probe", WS_OVERLAPPEDWINDOW, 0, 0, 200, 100,
                              nullptr, nullptr, moduleInstance(), nullptr);
  ASSERT_NE(hwnd, nullptr);
  EXPECT_EQ(pendingCreateWindow(), nullptr);
  ASSERT_FALSE(seen.empty());
  // Until the window is registered only its first WM_NCCREATE reaches it.
  EXPECT_EQ(seen, (std::vector<unsigned>{WM_NCCREATE}));
  auto handle = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(hwnd));
  registryAdd(handle, static_cast<TulObject*>(obj));
  SendMessageA(hwnd, WM_USER + 7, 0, 0);
  EXPECT_EQ(seen.back(), static_cast<unsigned>(WM_USER + 7));
  DestroyWindow(hwnd);
  EXPECT_EQ(registryFind(handle), -1);
}

}  // namespace
