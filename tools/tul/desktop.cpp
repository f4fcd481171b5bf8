// `desktop` (see desktop.h): a script class whose static methods act as the
// user of the windows a script makes. This file owns the script side: the
// frame of a call, argument checks and their messages, the values handed
// back, the script's idle function and the reset between scripts. What each
// gesture does on the system is desktop_sim.cpp's (Linux) or
// desktop_windows.cpp's (Windows); spying is desktop_spy.cpp's.
//
// Invariant: the engine is called into only while its machine is the
// thread's current one, so that a message loop waiting after the engine
// went (or between two scripts of a batch) never reaches a dead engine.
#include "tools/tul/desktop.h"

#include <algorithm>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "runtime/runtime.h"
#include "script/engine.h"
#include "tools/tul/desktop_platform.h"
#include "tools/tul/static_call.h"

namespace {

constexpr const char* kNotAvailable = "not available on this platform";
constexpr const char* kWaitsForEver =
    "the message loop would wait for ever: no input, message, paint or timer can arrive";
constexpr const char* kModifiersExpected = "must be a vector of VK_CONTROL, VK_SHIFT and VK_MENU";
constexpr const char* kKinds = "windows, brushes, accelerators, dcs, timers";
constexpr int kIdleQuitCode = 1;  // the WM_QUIT that ends a loop after a script error

// The answers a message box's buttons can give, with their names (the Help
// button of MB_HELP closes nothing, so it answers nothing).
constexpr struct {
  int id;
  const char* name;
} kAnswers[] = {{IDOK, "IDOK"},       {IDCANCEL, "IDCANCEL"},     {IDABORT, "IDABORT"},
                {IDRETRY, "IDRETRY"}, {IDIGNORE, "IDIGNORE"},     {IDYES, "IDYES"},
                {IDNO, "IDNO"},       {IDTRYAGAIN, "IDTRYAGAIN"}, {IDCONTINUE, "IDCONTINUE"}};
constexpr const char* kAnswersExpected =
    "must be a button's answer: IDOK, IDCANCEL, IDABORT, IDRETRY, IDIGNORE, IDYES, IDNO, "
    "IDTRYAGAIN or IDCONTINUE";

struct DesktopState {
  tulscript::Engine* engine = nullptr;
  tulrt::Machine* machine = nullptr;  // the engine's, to tell whether it is still alive
  TulValue idle;                      // the script's idle function, or nil
  bool inIdle = false;
  std::deque<int> boxAnswers;                      // queued by answerMessageBox
  std::optional<desktop::MessageBoxRecord> lastBox;  // the last message box answered
};

DesktopState& state() {
  // Never destroyed: a window procedure may still run while the process ends.
  static DesktopState& s = *new DesktopState;
  return s;
}

// The engine of the running script, or null once its machine is gone.
tulscript::Engine* liveEngine() {
  DesktopState& s = state();
  if (!s.engine || tulrt::Machine::current() != s.machine) return nullptr;
  return s.engine;
}

// One call of a static method. Every check reports "desktop.NAME: ..." and
// returns false, so a method writes `if (!c.intArg(0, &x)) return false;`.
class Call : public StaticCall {
 public:
  Call(TulVirtualMachine* vm, int argc, ValPtr& sp, const char* name)
      : StaticCall(vm, argc, sp, std::string("desktop.") + name) {}

  // Present and not nil: optional arguments may be left out or given as nil.
  bool given(int i) const {
    return i < argCount() && arg(i).type() != TulValueType::Nil &&
           arg(i).type() != TulValueType::Empty;
  }

  bool counts(int min, int max) const;
  bool intArg(int i, int* out) const;
  bool windowArg(int i, HWND* out) const;
  bool stringArg(int i, std::string* out) const;

  bool argFail(int i, const std::string& message) const {
    return fail("argument " + std::to_string(i + 1) + " " + message);
  }
  // The result of a platform call that answers false when it cannot be done.
  bool done(bool available) { return available ? retNothing() : notAvailable(); }
};

bool Call::counts(int min, int max) const {
  const int argc = argCount();
  if (argc >= min && argc <= max) return true;
  std::string want = std::to_string(min);
  if (max > min) want += (max == min + 1 ? " or " : " to ") + std::to_string(max);
  return fail("expected " + want + (max == 1 ? " argument" : " arguments") + ", got " +
              std::to_string(argc));
}

bool Call::intArg(int i, int* out) const {
  const TulValue& v = arg(i);
  if (!v.isInteger())
    return argFail(i, std::string("must be an integer, not ") + tulrt::typeName(v.type()));
  *out = static_cast<int>(v);
  return true;
}

bool Call::windowArg(int i, HWND* out) const {
  int h = 0;
  if (!intArg(i, &h)) return false;
  *out = reinterpret_cast<HWND>(static_cast<LONG_PTR>(h));
  if (!IsWindow(*out)) return argFail(i, "is not a window");
  return true;
}

bool Call::stringArg(int i, std::string* out) const {
  const TulString* s = static_cast<TulString*>(arg(i));
  if (!s) return argFail(i, std::string("must be a string, not ") + tulrt::typeName(arg(i).type()));
  out->assign(s->c_str(), s->length());
  return true;
}

TulValue stringValue(const std::string& s) {
  return TulValue(new TulString(s.c_str(), static_cast<unsigned>(s.size())));
}

TulValue optionalString(const std::optional<std::string>& s) {
  return s ? stringValue(*s) : TulValue();
}

int handleValue(HWND h) { return static_cast<int>(reinterpret_cast<LONG_PTR>(h)); }

// ---- Keys ----

// The modifier bits a vector of VK_CONTROL, VK_SHIFT and VK_MENU stands for.
bool modifiersArg(const Call& c, int i, unsigned* out) {
  *out = 0;
  if (!c.given(i)) return true;
  const TulVector* v = static_cast<TulVector*>(c.arg(i));
  if (!v) return c.argFail(i, kModifiersExpected);
  for (unsigned k = 0; k < v->size(); ++k) {
    const TulValue& e = (*v)[k];
    int vk = e.isInteger() ? static_cast<int>(e) : 0;
    if (vk == VK_CONTROL) *out |= desktop::kControl;
    else if (vk == VK_SHIFT) *out |= desktop::kShift;
    else if (vk == VK_MENU) *out |= desktop::kAlt;
    else return c.argFail(i, kModifiersExpected);
  }
  return true;
}

bool desktop_press(Call& c) {
  HWND hwnd;
  int vk;
  unsigned modifiers;
  if (!c.counts(2, 3) || !c.windowArg(0, &hwnd) || !c.intArg(1, &vk)) return false;
  if (vk < 1 || vk > 254) return c.argFail(1, "must be a virtual-key code (1 to 254)");
  if (!modifiersArg(c, 2, &modifiers)) return false;
  return c.done(desktop::platformPress(hwnd, vk, modifiers));
}

bool desktop_type(Call& c) {
  HWND hwnd;
  std::string text;
  if (!c.counts(2, 2) || !c.windowArg(0, &hwnd) || !c.stringArg(1, &text)) return false;
  return c.done(desktop::platformType(hwnd, text));
}

// ---- Mouse ----

constexpr int kMaxNotches = 32767 / WHEEL_DELTA;  // the delta is a signed word

bool pointArgs(const Call& c, int i, POINT* out) {
  int x, y;
  if (!c.intArg(i, &x) || !c.intArg(i + 1, &y)) return false;
  *out = POINT{x, y};
  return true;
}

// An optional button argument: VK_LBUTTON when left out.
bool buttonArg(const Call& c, int i, int* out) {
  *out = VK_LBUTTON;
  if (!c.given(i)) return true;
  if (!c.intArg(i, out)) return false;
  if (*out != VK_LBUTTON && *out != VK_RBUTTON && *out != VK_MBUTTON)
    return c.argFail(i, "must be VK_LBUTTON, VK_RBUTTON or VK_MBUTTON");
  return true;
}

bool desktop_click(Call& c) {
  desktop::MouseGesture g;
  g.action = desktop::MouseAction::Click;
  if (!c.counts(3, 5) || !c.windowArg(0, &g.hwnd) || !pointArgs(c, 1, &g.at) ||
      !buttonArg(c, 3, &g.button) || !modifiersArg(c, 4, &g.modifiers))
    return false;
  return c.done(desktop::platformMouse(g));
}

bool desktop_doubleClick(Call& c) {
  desktop::MouseGesture g;
  g.action = desktop::MouseAction::DoubleClick;
  if (!c.counts(3, 4) || !c.windowArg(0, &g.hwnd) || !pointArgs(c, 1, &g.at) ||
      !buttonArg(c, 3, &g.button))
    return false;
  return c.done(desktop::platformMouse(g));
}

bool desktop_drag(Call& c) {
  desktop::MouseGesture g;
  g.action = desktop::MouseAction::Drag;
  if (!c.counts(5, 6) || !c.windowArg(0, &g.hwnd) || !pointArgs(c, 1, &g.at) ||
      !pointArgs(c, 3, &g.to) || !buttonArg(c, 5, &g.button))
    return false;
  return c.done(desktop::platformMouse(g));
}

bool desktop_move(Call& c) {
  desktop::MouseGesture g;
  g.action = desktop::MouseAction::Move;
  if (!c.counts(3, 3) || !c.windowArg(0, &g.hwnd) || !pointArgs(c, 1, &g.at)) return false;
  return c.done(desktop::platformMouse(g));
}

bool desktop_wheel(Call& c) {
  desktop::MouseGesture g;
  g.action = desktop::MouseAction::Wheel;
  if (!c.counts(4, 4) || !c.windowArg(0, &g.hwnd) || !pointArgs(c, 1, &g.at) ||
      !c.intArg(3, &g.notches))
    return false;
  if (g.notches == 0 || g.notches < -kMaxNotches || g.notches > kMaxNotches)
    return c.argFail(3, "must be a number of notches from -" + std::to_string(kMaxNotches) +
                            " to " + std::to_string(kMaxNotches) + ", not 0");
  return c.done(desktop::platformMouse(g));
}

// ---- Windows ----

bool desktop_close(Call& c) {
  HWND hwnd;
  if (!c.counts(1, 1) || !c.windowArg(0, &hwnd)) return false;
  return c.done(desktop::platformClose(hwnd));
}

bool desktop_resize(Call& c) {
  HWND hwnd;
  int width, height;
  if (!c.counts(3, 3) || !c.windowArg(0, &hwnd) || !c.intArg(1, &width) || !c.intArg(2, &height))
    return false;
  if (width < 0) return c.argFail(1, "must not be negative");
  if (height < 0) return c.argFail(2, "must not be negative");
  return c.done(desktop::platformResize(hwnd, width, height));
}

bool isThumbCode(int code) { return code == SB_THUMBTRACK || code == SB_THUMBPOSITION; }

bool desktop_scroll(Call& c) {
  HWND hwnd;
  int bar, code, position = 0;
  if (!c.counts(3, 4) || !c.windowArg(0, &hwnd) || !c.intArg(1, &bar) || !c.intArg(2, &code))
    return false;
  if (bar != SB_HORZ && bar != SB_VERT) return c.argFail(1, "must be SB_HORZ or SB_VERT");
  if (code < SB_LINEUP || code > SB_ENDSCROLL)
    return c.argFail(2, "must be a scroll code from SB_LINEUP to SB_ENDSCROLL");
  if (isThumbCode(code) && !c.given(3))
    return c.argFail(3, "(the thumb's position) is needed with SB_THUMBTRACK and SB_THUMBPOSITION");
  if (!isThumbCode(code) && c.given(3))
    return c.argFail(3, "is only for SB_THUMBTRACK and SB_THUMBPOSITION");
  if (c.given(3) && !c.intArg(3, &position)) return false;
  return c.done(desktop::platformScroll(hwnd, bar, code, position));
}

// ---- Menus ----

constexpr const char* kPathExpected = "must be a vector of item texts";

// A path of menu item texts: a vector of strings, not empty.
bool pathArg(const Call& c, int i, std::vector<std::string>* out) {
  const TulVector* v = static_cast<TulVector*>(c.arg(i));
  if (!v || v->size() == 0) return c.argFail(i, kPathExpected);
  for (unsigned k = 0; k < v->size(); ++k) {
    const TulString* s = static_cast<TulString*>((*v)[k]);
    if (!s) return c.argFail(i, kPathExpected);
    out->emplace_back(s->c_str(), s->length());
  }
  return true;
}

bool desktop_chooseMenu(Call& c) {
  HWND hwnd;
  std::vector<std::string> path;
  if (!c.counts(2, 2) || !c.windowArg(0, &hwnd) || !pathArg(c, 1, &path)) return false;
  std::string why;
  switch (desktop::platformChooseMenu(hwnd, path, &why)) {
  case desktop::MenuChoice::Queued: return c.retNothing();
  case desktop::MenuChoice::Refused: return c.fail(why);
  case desktop::MenuChoice::NotAvailable: break;
  }
  return c.notAvailable();
}

bool desktop_answerPopupMenu(Call& c) {
  std::vector<std::string> path;
  if (!c.counts(1, 1)) return false;
  if (c.given(0) && !pathArg(c, 0, &path)) return false;
  return c.done(desktop::platformAnswerPopupMenu(c.given(0) ? &path : nullptr));
}

// ---- Dialogs ----

bool desktop_answerDialog(Call& c) {
  std::string path;
  if (!c.counts(1, 1) || !c.stringArg(0, &path)) return false;
  return c.done(desktop::platformQueueDialogAnswer(false, path));
}

bool desktop_cancelDialog(Call& c) {
  if (!c.counts(0, 0)) return false;
  return c.done(desktop::platformQueueDialogAnswer(true, std::string()));
}

TulValue dialogValue(const desktop::DialogRecord& r) {
  TulValue v(new TulDictionary());
  TulDictionary& d = *static_cast<TulDictionary*>(v);
  *d["owner"] = TulValue(handleValue(r.owner));
  TulValue filter;
  if (r.filter) {
    filter = TulValue(new TulVector());
    for (const std::string& s : *r.filter)
      static_cast<TulVector*>(filter)->push_back(stringValue(s));
  }
  *d["filter"] = filter;
  *d["file"] = optionalString(r.file);
  *d["initialDir"] = optionalString(r.initialDir);
  *d["title"] = optionalString(r.title);
  *d["defExt"] = optionalString(r.defExt);
  *d["flags"] = TulValue(static_cast<int>(r.flags));
  *d["structSize"] = TulValue(static_cast<int>(r.structSize));
  return v;
}

bool desktop_lastDialog(Call& c) {
  if (!c.counts(0, 0)) return false;
  desktop::DialogRecord record;
  bool any = false;
  if (!desktop::platformLastDialog(&record, &any)) return c.notAvailable();
  return c.ret(any ? dialogValue(record) : TulValue());
}

// ---- Message boxes ----

const char* answerName(int id) {
  for (const auto& a : kAnswers)
    if (a.id == id) return a.name;
  return nullptr;
}

bool desktop_answerMessageBox(Call& c) {
  int id;
  if (!c.counts(1, 1) || !c.intArg(0, &id)) return false;
  if (!answerName(id)) return c.argFail(0, kAnswersExpected);
  state().boxAnswers.push_back(id);
  return c.retNothing();
}

// The MB_ value of what the box shows: its buttons, its icon and which
// button is the default (MB_DEFBUTTONn).
UINT shownType(const desktop::MessageBoxRecord& box) {
  static const std::vector<int> kButtonsOfType[] = {
      {IDOK},                             // MB_OK
      {IDOK, IDCANCEL},                   // MB_OKCANCEL
      {IDABORT, IDRETRY, IDIGNORE},       // MB_ABORTRETRYIGNORE
      {IDYES, IDNO, IDCANCEL},            // MB_YESNOCANCEL
      {IDYES, IDNO},                      // MB_YESNO
      {IDRETRY, IDCANCEL},                // MB_RETRYCANCEL
      {IDCANCEL, IDTRYAGAIN, IDCONTINUE}  // MB_CANCELTRYCONTINUE
  };
  UINT kind = 0;
  for (UINT k = 0; k < std::size(kButtonsOfType); ++k)
    if (kButtonsOfType[k] == box.buttons) kind = k;
  auto at = std::find(box.buttons.begin(), box.buttons.end(), box.defaultButton);
  UINT index = at == box.buttons.end() ? 0 : static_cast<UINT>(at - box.buttons.begin());
  return kind | box.icon | (index << 8);
}

TulValue messageBoxValue(const desktop::MessageBoxRecord& box) {
  TulValue v(new TulDictionary());
  TulDictionary& d = *static_cast<TulDictionary*>(v);
  *d["text"] = stringValue(box.text);
  *d["caption"] = stringValue(box.caption);
  *d["type"] = TulValue(static_cast<int>(shownType(box)));
  *d["owner"] = TulValue(handleValue(box.owner));
  return v;
}

bool desktop_lastMessageBox(Call& c) {
  if (!c.counts(0, 0)) return false;
  const std::optional<desktop::MessageBoxRecord>& box = state().lastBox;
  return c.ret(box ? messageBoxValue(*box) : TulValue());
}

// "IDYES" for IDYES; the number for an answer without a name.
std::string answerText(int id) {
  const char* name = answerName(id);
  return name ? name : std::to_string(id);
}

std::string refusedAnswer(int id, const desktop::MessageBoxRecord& box) {
  std::string has;
  for (int b : box.buttons) has += (has.empty() ? "" : ", ") + answerText(b);
  return "desktop.answerMessageBox: " + answerText(id) +
         " is not a button of the message box (it has " + has + ")";
}

// ---- The screen ----

bool desktop_pixel(Call& c) {
  HWND hwnd;
  int x, y;
  COLORREF color = CLR_INVALID;
  if (!c.counts(3, 3) || !c.windowArg(0, &hwnd) || !c.intArg(1, &x) || !c.intArg(2, &y))
    return false;
  if (!desktop::platformPixel(hwnd, x, y, &color)) return c.notAvailable();
  return c.ret(TulValue(static_cast<int>(color)));
}

bool desktop_screenshot(Call& c) {
  std::string path;
  if (!c.counts(1, 1) || !c.stringArg(0, &path)) return false;
  switch (desktop::platformScreenshot(path)) {
  case desktop::SaveResult::Saved: return c.retNothing();
  case desktop::SaveResult::CannotWrite: return c.fail("cannot write " + path);
  case desktop::SaveResult::NotAvailable: break;
  }
  return c.notAvailable();
}

// ---- Waiting and the clock ----

bool desktop_onIdle(Call& c) {
  if (!c.counts(1, 1)) return false;
  if (c.given(0) && c.arg(0).type() != TulValueType::Function)
    return c.argFail(0, std::string("must be a function or nil, not ") +
                            tulrt::typeName(c.arg(0).type()));
  state().idle = c.given(0) ? c.arg(0) : TulValue();
  return c.retNothing();
}

bool desktop_advance(Call& c) {
  int ms;
  if (!c.counts(1, 1) || !c.intArg(0, &ms)) return false;
  if (ms < 0) return c.argFail(0, "must not be negative");
  return c.done(desktop::platformAdvance(static_cast<DWORD>(ms)));
}

// ---- Counters and spying ----

bool countKindArg(const Call& c, int i, desktop::CountKind* out) {
  static const struct {
    const char* name;
    desktop::CountKind kind = desktop::CountKind::Windows;
  } kNames[] = {{"windows", desktop::CountKind::Windows},
                {"brushes", desktop::CountKind::Brushes},
                {"accelerators", desktop::CountKind::Accelerators},
                {"dcs", desktop::CountKind::Dcs},
                {"timers", desktop::CountKind::Timers}};
  std::string name;
  if (!c.stringArg(i, &name)) return false;
  for (const auto& n : kNames) {
    if (name != n.name) continue;
    *out = n.kind;
    return true;
  }
  return c.fail("unknown kind \"" + name + "\" (the kinds are " + kKinds + ")");
}

bool desktop_count(Call& c) {
  desktop::CountKind kind = desktop::CountKind::Windows;
  int n = 0;
  if (!c.counts(1, 1) || !countKindArg(c, 0, &kind)) return false;
  if (!desktop::platformCount(kind, &n)) return c.notAvailable();
  return c.ret(TulValue(n));
}

bool desktop_spy(Call& c) {
  HWND hwnd;
  if (!c.counts(1, 1) || !c.windowArg(0, &hwnd)) return false;
  desktop::spyOn(hwnd);
  return c.retNothing();
}

bool desktop_spyLog(Call& c) {
  if (!c.counts(0, 0)) return false;
  TulValue v(new TulVector());
  for (UINT msg : desktop::takeSpyLog())
    static_cast<TulVector*>(v)->push_back(TulValue(static_cast<int>(msg)));
  return c.ret(v);
}

struct Method {
  const char* name;
  bool (*fn)(Call&);
};

constexpr Method kDesktopMethods[] = {
    {"press", desktop_press},
    {"type", desktop_type},
    {"click", desktop_click},
    {"doubleClick", desktop_doubleClick},
    {"drag", desktop_drag},
    {"move", desktop_move},
    {"wheel", desktop_wheel},
    {"close", desktop_close},
    {"resize", desktop_resize},
    {"scroll", desktop_scroll},
    {"chooseMenu", desktop_chooseMenu},
    {"answerPopupMenu", desktop_answerPopupMenu},
    {"answerDialog", desktop_answerDialog},
    {"cancelDialog", desktop_cancelDialog},
    {"lastDialog", desktop_lastDialog},
    {"answerMessageBox", desktop_answerMessageBox},
    {"lastMessageBox", desktop_lastMessageBox},
    {"pixel", desktop_pixel},
    {"screenshot", desktop_screenshot},
    {"onIdle", desktop_onIdle},
    {"advance", desktop_advance},
    {"count", desktop_count},
    {"spy", desktop_spy},
    {"spyLog", desktop_spyLog},
};

// Destroys what the script left: top-level windows take their children and
// owned windows with them, hence the IsWindow check.
void destroyLeftWindows() {
  for (HWND h : desktop::platformTopLevelWindows())
    if (IsWindow(h)) DestroyWindow(h);
}

void releaseHeldKeys() {
  for (int vk = VK_BACK; vk <= 0xFE; ++vk) {
    bool sided = vk >= VK_LSHIFT && vk <= VK_RMENU;  // released with VK_SHIFT and friends
    if (!sided && (GetAsyncKeyState(vk) & 0x8000)) desktop::platformKeyUp(vk);
  }
}

// Posted messages, input and a pending WM_QUIT, taken and dropped. The bound
// keeps a system that keeps making messages from holding the reset up.
void emptyQueue() {
  MSG m;
  for (int i = 0; i < 100000 && PeekMessageA(&m, NULL, 0, 0, PM_REMOVE); ++i) {
  }
}

}  // namespace

namespace desktop {

void idleNow() {
  DesktopState& s = state();
  tulscript::Engine* engine = liveEngine();
  if (!engine || s.inIdle || s.idle.type() != TulValueType::Function) return;
  TulValue fn = s.idle;  // the function may replace itself
  TulValue out;
  s.inIdle = true;
  bool ok = engine->callFunction(fn, {}, out);
  s.inIdle = false;
  if (!ok) PostQuitMessage(kIdleQuitCode);
}

void nothingCanArrive() {
  if (tulscript::Engine* engine = liveEngine()) engine->deferError(kWaitsForEver);
  PostQuitMessage(kIdleQuitCode);
}

bool scriptRunning() { return liveEngine() != nullptr; }

int answerMessageBox(const MessageBoxRecord& box) {
  DesktopState& s = state();
  tulscript::Engine* engine = liveEngine();
  if (!engine) return box.defaultButton;
  s.lastBox = box;
  if (s.boxAnswers.empty()) return box.defaultButton;
  const int answer = s.boxAnswers.front();
  s.boxAnswers.pop_front();
  if (std::find(box.buttons.begin(), box.buttons.end(), answer) != box.buttons.end()) return answer;
  engine->deferError(refusedAnswer(answer, box));
  return box.defaultButton;
}

}  // namespace desktop

void prepareDesktop() { desktop::platformPrepare(); }

void defineDesktopClass(tulscript::Engine& engine) {
  TulClass* cls = engine.machine().defineClass("desktop", nullptr);
  if (!cls) return;
  for (const Method& m : kDesktopMethods) {
    tulrt::addStaticScriptMethod(cls, m.name, [m](TulVirtualMachine* vm, int argc, ValPtr& sp) {
      Call c(vm, argc, sp, m.name);
      return m.fn(c);
    });
  }
  state().engine = &engine;
  state().machine = &engine.machine();
  desktop::platformWatchWaiting();
}

void resetDesktop() {
  DesktopState& s = state();
  s.engine = nullptr;
  s.machine = nullptr;
  s.idle = TulValue();
  s.boxAnswers.clear();
  s.lastBox.reset();
  destroyLeftWindows();
  releaseHeldKeys();
  emptyQueue();
  desktop::stopSpying();
  desktop::platformForget();
}

bool saveDesktopScreenshot(const std::string& path, std::string& why) {
  switch (desktop::platformScreenshot(path)) {
  case desktop::SaveResult::Saved: return true;
  case desktop::SaveResult::CannotWrite: why = "cannot write " + path; return false;
  case desktop::SaveResult::NotAvailable: break;
  }
  why = kNotAvailable;
  return false;
}
