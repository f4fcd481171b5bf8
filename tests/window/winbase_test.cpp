// WinBase as an object: construction, create's arguments and defaults,
// subclassing of system controls, attaching windows, the registry's view of
// objects (found, replaced, forgotten when released) and the child and
// parent queries.
#include <algorithm>

#include "module/errors.h"
#include "tests/window/window_test.h"
#include "window/window_class.h"

namespace {

class WinBaseTest : public WindowTest {};

TEST_F(WinBaseTest, ConstructorGivesEveryMemberItsDefault) {
  TulValue w = make("WinBase");
  struct Expect { const char* member; int value; };
  for (Expect e : {Expect{"_hwnd", 0}, {"_savedWndProc", 0}, {"_useVirtualSize", 0},
                   {"_scrollBarMode", 0}, {"_sx", 10}, {"_sy", 10}, {"_lifeScroll", 0},
                   {"_foreColor", -1}, {"_backColor", -1}, {"_backBrush", 0}, {"_haccel", 0},
                   {"_paintStruct", 0}}) {
    TulObject* o = static_cast<TulObject*>(w);
    int i = o->getClass()->getMemberIndex(TulString(e.member));
    EXPECT_EQ(static_cast<int>((*o->getMemberData())[static_cast<unsigned>(i)]), e.value) << e.member;
  }
  TulValue canvas = call(w, "getAcceleratorArray");
  EXPECT_EQ(canvas.type(), TulValueType::Vector);
  EXPECT_EQ(constructError("WinBase", {TulValue(1)}), err::kTooMany);
}

TEST_F(WinBaseTest, CreateWithOnlyAClassNameUsesTheDefaults) {
  TulValue w = make("WinBase");
  create(w, {str("Tul2Window")});
  HWND h = hwndOf(w);
  RECT r;
  GetWindowRect(h, &r);
  // An overlapped window is kept within the system's minimum tracking size.
  EXPECT_EQ(r.right - r.left, std::max(100, GetSystemMetrics(SM_CXMINTRACK)));
  EXPECT_EQ(r.bottom - r.top, std::max(100, GetSystemMetrics(SM_CYMINTRACK)));
  EXPECT_EQ(GetWindowTextLengthA(h), 0);
  EXPECT_EQ(GetParent(h), nullptr);  // the desktop as parent: a top-level window
  // Style 0 is an overlapped window, which the system gives a caption.
  EXPECT_EQ(static_cast<DWORD>(GetWindowLongA(h, GWL_STYLE)), DWORD(WS_CAPTION | WS_CLIPSIBLINGS));
  TulValue found;
  ASSERT_TRUE(callStatic("findWindow", {handleValue(h)}, &found));
  EXPECT_EQ(static_cast<TulObject*>(found), static_cast<TulObject*>(w));
  DestroyWindow(h);
}

TEST_F(WinBaseTest, NegativeSizesAndEveryParentForm) {
  TulValue parent = make("WinBase");
  create(parent, {str("Tul2Window"), TulValue(0), TulValue(10), TulValue(20), TulValue(-300),
                  TulValue(-50), TulValue(int(WS_OVERLAPPED)), TulValue(0), TulValue(0),
                  str("parent")});
  HWND p = hwndOf(parent);
  RECT r;
  GetWindowRect(p, &r);
  EXPECT_EQ(r.right - r.left, 300);
  EXPECT_EQ(r.bottom - r.top, 50);
  char title[16];
  GetWindowTextA(p, title, sizeof title);
  EXPECT_STREQ(title, "parent");

  const TulValue parentForms[] = {parent, handleValue(p)};
  for (const TulValue& form : parentForms) {
    TulValue child = make("WinBase");
    create(child, {str("Tul2Window"), form, TulValue(1), TulValue(2), TulValue(30), TulValue(40),
                   TulValue(int(WS_CHILD))});
    EXPECT_EQ(GetParent(hwndOf(child)), p);
    DestroyWindow(hwndOf(child));
  }
  // 0 stands for the desktop, whose children are top-level in all but name.
  TulValue onDesktop = make("WinBase");
  create(onDesktop, {str("Tul2Window"), TulValue(0), TulValue(1), TulValue(2), TulValue(30),
                     TulValue(40), TulValue(int(WS_CHILD))});
  EXPECT_EQ(GetParent(hwndOf(onDesktop)), GetDesktopWindow());
  DestroyWindow(hwndOf(onDesktop));
  DestroyWindow(p);
}

TEST_F(WinBaseTest, CreateChecksArgumentsFromTheLastOneBack) {
  TulValue w = make("WinBase");
  auto createError = [&](std::initializer_list<TulValue> args) { return errorOf(w, "create", args); };
  EXPECT_EQ(createError({TulValue(5)}), "Bad type: expected string, got int");
  // A bad title is reported before a bad parent and a bad position.
  EXPECT_EQ(createError({str("Tul2Window"), str("p"), str("x"), TulValue(0), TulValue(0),
                         TulValue(0), TulValue(0), TulValue(0), TulValue(0), TulValue(5)}),
            "Bad type: expected string, got int");
  EXPECT_EQ(createError({str("Tul2Window"), str("p"), str("x"), TulValue(0), TulValue(0),
                         TulValue(0), TulValue(0), TulValue(0), TulValue(-1)}),
            "Bad type: expected uint, got int");
  EXPECT_EQ(createError({str("Tul2Window"), str("p"), str("x")}),
            "Bad type: expected int, got string");
  EXPECT_EQ(createError({str("Tul2Window"), str("p")}), "Bad type: expected handle, got string");
  EXPECT_EQ(createError({str("NoSuchClass")}), err::kWindowCreationFailed);
  EXPECT_EQ(callInt(w, "getHandle"), 0);
  EXPECT_EQ(createError({}), err::kTooFew);
  EXPECT_EQ(rawCallError("WinBase", "create", w, 11), err::kTooMany);
}

TEST_F(WinBaseTest, SystemControlsAreSubclassedAndKeepTheirBehaviour) {
  TulValue parent = make("WinBase");
  create(parent, {str("Tul2Window")});
  TulValue box = make("WinBase");
  create(box, {str("Button"), parent, TulValue(0), TulValue(0), TulValue(50), TulValue(20),
               TulValue(int(WS_CHILD | BS_AUTOCHECKBOX)), TulValue(0), TulValue(7), str("box")});
  HWND h = hwndOf(box);
  const auto ours = static_cast<LONG>(reinterpret_cast<std::uintptr_t>(&windowProcedure));
  EXPECT_EQ(GetWindowLongA(h, GWL_WNDPROC), ours);
  TulObject* o = static_cast<TulObject*>(box);
  int saved = static_cast<int>((*o->getMemberData())[2]);
  EXPECT_NE(saved, 0);
  EXPECT_NE(saved, ours);
  // Default processing goes through the button's own procedure.
  SendMessageA(h, BM_SETCHECK, BST_CHECKED, 0);
  EXPECT_EQ(SendMessageA(h, BM_GETCHECK, 0, 0), BST_CHECKED);
  EXPECT_EQ(GetDlgCtrlID(h), 7);
  // The library's own class needs no subclassing.
  TulObject* p = static_cast<TulObject*>(parent);
  EXPECT_EQ(static_cast<int>((*p->getMemberData())[2]), 0);
  DestroyWindow(hwndOf(parent));
}

TEST_F(WinBaseTest, FirstMessageTheScriptSeesIsNcCreateBeforeTheHandleIsSet) {
  TulClass* probe = subclassOf("Probe");
  std::vector<std::pair<unsigned, int>> seen;
  define(probe, "handleMessage", [&](ScriptCall& c) {
    seen.emplace_back(static_cast<unsigned>(c.arg(1)), callInt(TulValue(c.self), "getHandle"));
    return inherited(probe, c, "handleMessage");
  });
  TulValue w = object(probe);
  create(w, {str("Tul2Window"), TulValue(0), TulValue(0), TulValue(0), TulValue(50), TulValue(50),
             TulValue(int(WS_OVERLAPPEDWINDOW | WS_VISIBLE))});
  ASSERT_EQ(seen.size(), 1u);  // the rest of creation went to the default procedure
  EXPECT_EQ(seen[0], std::make_pair(unsigned(WM_NCCREATE), 0));
  EXPECT_EQ(pendingCreateWindow(), nullptr);
  SendMessageA(hwndOf(w), WM_USER, 0, 0);
  EXPECT_EQ(seen.back().first, unsigned(WM_USER));
  EXPECT_NE(seen.back().second, 0);
  DestroyWindow(hwndOf(w));
}

TEST_F(WinBaseTest, CreateFromHandleAttachesOnlyAnUnknownWindowToAFreeObject) {
  HWND plain = CreateWindowExA(0, "Static", "x", 0, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
  TulValue a = make("WinBase");
  EXPECT_EQ(callInt(a, "createFromHandle", {TulValue(0)}), 0);
  EXPECT_EQ(callInt(a, "createFromHandle", {handleValue(plain)}), 1);
  EXPECT_EQ(hwndOf(a), plain);
  TulValue b = make("WinBase");
  EXPECT_EQ(callInt(b, "createFromHandle", {handleValue(plain)}), 0);  // registered already
  HWND other = CreateWindowExA(0, "Static", "y", 0, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(callInt(a, "createFromHandle", {handleValue(other)}), 0);  // a has a window
  EXPECT_EQ(hwndOf(a), plain);
  // Attached, the static control still paints its text through its own
  // procedure, reached by default processing.
  char text[4];
  EXPECT_EQ(GetWindowTextA(plain, text, sizeof text), 1);
  DestroyWindow(plain);
  DestroyWindow(other);
}

TEST_F(WinBaseTest, TheRegistryForgetsAReleasedObjectAndThePendingWindow) {
  TulValue w = make("WinBase");
  create(w, {str("Tul2Window")});
  HWND h = hwndOf(w);
  unsigned registered = registryCount();
  w = TulValue();  // the host releases the object; its window stays
  EXPECT_EQ(registryCount(), registered - 1);
  EXPECT_TRUE(IsWindow(h));
  EXPECT_EQ(SendMessageA(h, WM_GETTEXTLENGTH, 0, 0), 0);  // the default procedure answers
  DestroyWindow(h);

  TulValue failed = make("WinBase");
  EXPECT_EQ(errorOf(failed, "create", {str("NoSuchClass")}), err::kWindowCreationFailed);
  EXPECT_EQ(pendingCreateWindow(), static_cast<TulObject*>(failed));
  failed = TulValue();
  EXPECT_EQ(pendingCreateWindow(), nullptr);
}

TEST_F(WinBaseTest, ADtorOverrideStillReleasesTheEntryAndTheTable) {
  TulClass* mine = subclassOf("Mine");
  int dtors = 0;
  define(mine, "dtor", [&](ScriptCall&) { ++dtors; return true; });
  TulValue w = object(mine);
  create(w, {str("Tul2Window")});
  call(w, "addAccelerator", {TulValue('A'), TulValue(1)});
  HWND h = hwndOf(w);
  unsigned registered = registryCount();
  w = TulValue();
  EXPECT_EQ(dtors, 1);
  EXPECT_EQ(registryCount(), registered - 1);
  DestroyWindow(h);  // the fixture checks that the table went too
}

TEST_F(WinBaseTest, ParentsChildrenAndLookups) {
  TulValue top = make("WinBase");
  create(top, {str("Tul2Window")});
  HWND t = hwndOf(top);
  EXPECT_EQ(call(top, "getParent").type(), TulValueType::Empty);
  TulValue kid = make("WinBase");
  create(kid, {str("Tul2Window"), top, TulValue(0), TulValue(0), TulValue(5), TulValue(5),
               TulValue(int(WS_CHILD))});
  HWND unregistered = CreateWindowExA(0, "Static", "", WS_CHILD, 0, 0, 5, 5, hwndOf(kid), nullptr,
                                      nullptr, nullptr);
  EXPECT_EQ(static_cast<TulObject*>(call(kid, "getParent")), static_cast<TulObject*>(top));
  TulValue grandchild = make("WinBase");
  EXPECT_EQ(callInt(grandchild, "createFromHandle", {handleValue(unregistered)}), 1);
  EXPECT_EQ(static_cast<TulObject*>(call(grandchild, "getParent")), static_cast<TulObject*>(kid));
  ASSERT_TRUE(callStatic("unregisterWindow", {handleValue(hwndOf(kid))}));
  EXPECT_EQ(call(grandchild, "getParent").type(), TulValueType::Empty);  // parent unregistered

  TulValue handles = call(top, "getChildrenHandles");
  TulVector* v = static_cast<TulVector*>(handles);
  ASSERT_EQ(v->size(), 2u);
  EXPECT_EQ(static_cast<int>((*v)[0]), static_cast<int>(handleValue(hwndOf(kid))));
  EXPECT_EQ(static_cast<int>((*v)[1]), static_cast<int>(handleValue(unregistered)));
  for (const char* alias : {"getWindowRect", "getClientRect"})
    EXPECT_EQ(static_cast<TulVector*>(call(top, alias))->size(), 2u) << alias;
  EXPECT_EQ(static_cast<TulVector*>(call(kid, "getChildrenHandles"))->size(), 1u);

  TulValue loose = make("WinBase");
  create(loose, {str("Tul2Window")});
  EXPECT_EQ(callInt(top, "addChild", {loose}), 1);
  EXPECT_EQ(GetAncestor(hwndOf(loose), GA_PARENT), t);  // a pop-up in all but style
  EXPECT_EQ(errorOf(top, "addChild", {TulValue(5)}), err::kWindowExpected);
  EXPECT_EQ(errorOf(top, "addChild", {make("RECT")}), err::kWindowExpected);
  DestroyWindow(t);
}

TEST_F(WinBaseTest, StaticRegistryMethods) {
  TulClass* fake = subclassOf("Fake");
  define(fake, "getHandle", [](ScriptCall& c) { c.result = TulValue(0x7FFF1234); return true; });
  TulValue f = object(fake);
  TulValue out;
  ASSERT_TRUE(callStatic("registerWindow", {f}, &out));
  EXPECT_EQ(static_cast<int>(out), 1);
  ASSERT_TRUE(callStatic("findWindow", {TulValue(0x7FFF1234)}, &out));
  EXPECT_EQ(static_cast<TulObject*>(out), static_cast<TulObject*>(f));
  ASSERT_TRUE(callStatic("findWindow", {TulValue(0x7FFF1235)}, &out));
  EXPECT_EQ(out.type(), TulValueType::Nil);
  ASSERT_TRUE(callStatic("unregisterWindow", {TulValue(0x7FFF1234)}, &out));
  EXPECT_EQ(static_cast<int>(out), 1);
  ASSERT_TRUE(callStatic("unregisterWindow", {TulValue(0x7FFF1234)}, &out));
  EXPECT_EQ(static_cast<int>(out), 0);
  ASSERT_TRUE(callStatic("registerWindow", {make("WinBase")}, &out));
  EXPECT_EQ(static_cast<int>(out), 0);  // no window, nothing to enter
  EXPECT_FALSE(callStatic("registerWindow", {TulValue(3)}));
  EXPECT_EQ(interp().lastError().message, err::kObjectExpected);
  EXPECT_FALSE(callStatic("registerWindow", {make("POINT")}));
  EXPECT_EQ(interp().lastError().message, err::kWindowExpected);
}

}  // namespace
