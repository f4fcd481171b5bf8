// FileDialog: the system's open and save dialogs. The object keeps the file
// split into directory (with its trailing separator), name and extension
// (without its dot), and joins them by fixed rules; the filter list is a
// vector of "description|pattern" strings.
//
// Invariant: the strings handed to the system are copies made before the
// dialog runs: a modal dialog dispatches messages, and the handlers that run
// may change the object's members.
#include <string>

#include "module/classes.h"
#include "module/errors.h"
#include "window/winbase.h"

#include <commdlg.h>  // after <windows.h>, which it needs

namespace {

constexpr unsigned kFileBufferChars = 1024;  // the terminating zero included
constexpr DWORD kOpenFlags = OFN_PATHMUSTEXIST | OFN_HIDEREADONLY;
constexpr DWORD kSaveFlags = OFN_OVERWRITEPROMPT | OFN_HIDEREADONLY;
constexpr TulValueType kLastHandleTag = static_cast<TulValueType>(108);
static_assert(sizeof(OPENFILENAMEA) == 88, "OPENFILENAMEA is 88 bytes");

// The one buffer both dialogs share: the initial name in, the chosen path out.
char gFileBuffer[kFileBufferChars];

std::string stringMember(TulObject* self, Member m) {
  const TulValue* slot = memberSlot(self, m);
  const TulString* s = slot ? static_cast<TulString*>(*slot) : nullptr;
  return s ? std::string(s->c_str(), s->length()) : std::string();
}

bool holdsString(TulObject* self, Member m) {
  const TulValue* slot = memberSlot(self, m);
  return slot && static_cast<TulString*>(*slot);
}

void setString(TulObject* self, Member m, const std::string& v) {
  if (TulValue* slot = memberSlot(self, m)) *slot = TulValue(new TulString(v.c_str()));
}

std::string backslashed(std::string s) {
  for (char& c : s)
    if (c == '/') c = '\\';
  return s;
}

std::string fullName(TulObject* self) {
  const std::string ext = stringMember(self, Member::FileDialogExt);
  return stringMember(self, Member::FileDialogFname) + (ext.empty() ? "" : "." + ext);
}

// Description, zero, pattern, zero for each usable entry, then one more zero
// (two when there is no entry).
std::string filterBuffer(TulObject* self) {
  std::string out;
  const TulVector* list = vectorMember(self, Member::FileDialogFilter);
  for (unsigned i = 0; list && i < list->size(); ++i) {
    const TulString* entry = static_cast<TulString*>((*list)[i]);
    if (!entry) continue;
    std::string text(entry->c_str(), entry->length());
    const std::string::size_type bar = text.find('|');
    if (bar == std::string::npos || bar == 0) continue;
    text[bar] = '\0';
    out += text;
    out += '\0';
  }
  if (out.empty()) out += '\0';
  out += '\0';
  return out;
}

// The owner: none, a window object (its script-level getHandle), or a
// number taken as a handle.
bool ownerOf(Frame& f, HWND& owner) {
  owner = nullptr;
  if (f.argCount() == 0) return true;
  const TulValue& v = f.arg(0);
  if (TulObject* obj = static_cast<TulObject*>(v)) {
    if (!windowObject(v)) return f.fail(err::kWindowExpected);
    TulValue handle;
    if (!invokeScript(f.interp(), handle, obj, "getHandle")) return false;
    owner = toHwnd(static_cast<int>(handle));
    return true;
  }
  if (static_cast<int>(v.type()) > static_cast<int>(kLastHandleTag))
    return f.fail(err::kWindowHandleExpected);
  owner = toHwnd(static_cast<int>(v));
  return true;
}

// A string argument, or false after the bad-type report.
bool stringArg(Frame& f, std::string& out) {
  TulString* s = f.interp().getStringFromValueExtern(f.arg(0));
  if (!s) return f.badType(f.arg(0), TulValueType::String);
  out.assign(s->c_str(), s->length());
  return true;
}

bool dialog_new(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulObject* self = f.self();
  if (TulValue* slot = f.member(Member::FileDialogFilter)) *slot = TulValue(new TulVector());
  for (Member m : {Member::FileDialogDir, Member::FileDialogFname, Member::FileDialogExt,
                   Member::FileDialogTitle})
    setString(self, m, "");
  return f.retSelf();
}

bool dialog_getFilter(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  const TulValue* slot = f.member(Member::FileDialogFilter);
  return f.ret(slot ? *slot : TulValue());
}

// The filter refers to the vector given (or the one a Vector object's vec
// gives), not to a copy.
bool dialog_setFilter(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulValue list = f.arg(0);
  TulObject* obj = static_cast<TulObject*>(list);
  if (obj && obj->getClass() && obj->getClass()->isSubtypeOf(TulString("Vector"))) {
    TulValue vec;
    if (!invokeScript(f.interp(), vec, obj, "vec")) return false;
    if (vec.type() == TulValueType::Vector) list = vec;
  }
  if (list.type() != TulValueType::Vector) return f.badType(f.arg(0), TulValueType::Vector);
  if (TulValue* slot = f.member(Member::FileDialogFilter)) *slot = list;
  return f.retNothing();
}

template <Member M>
bool dialog_getString(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  return f.ret(TulValue(new TulString(stringMember(f.self(), M).c_str())));
}

template <Member M>
bool dialog_setString(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  std::string value;
  if (!stringArg(f, value)) return false;
  setString(f.self(), M, value);
  return f.retNothing();
}

bool dialog_setDirectory(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  std::string dir;
  if (!stringArg(f, dir)) return false;
  dir = backslashed(dir);
  if (!dir.empty() && dir.back() != '\\' && dir.back() != ':') dir += '\\';
  setString(f.self(), Member::FileDialogDir, dir);
  return f.retNothing();
}

bool dialog_getFullName(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  return f.ret(TulValue(new TulString(fullName(f.self()).c_str())));
}

// The extension is what follows the last full stop, wherever it stands; the
// directory is left alone.
bool dialog_setFullName(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  std::string name;
  if (!stringArg(f, name)) return false;
  std::string ext;
  const std::string::size_type dot = name.rfind('.');
  if (dot != std::string::npos) {
    ext = name.substr(dot + 1);
    name.erase(dot);
  }
  setString(f.self(), Member::FileDialogExt, ext);
  setString(f.self(), Member::FileDialogFname, name);
  return f.retNothing();
}

bool dialog_getFullPath(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  const std::string path = stringMember(f.self(), Member::FileDialogDir) + fullName(f.self());
  return f.ret(TulValue(new TulString(path.c_str())));
}

// A part the path does not have (an extension, a directory) keeps its
// previous value.
bool dialog_setFullPath(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  std::string path;
  if (!stringArg(f, path)) return false;
  path = backslashed(path);
  TulObject* self = f.self();
  const std::string::size_type dot = path.rfind('.');
  if (dot != std::string::npos && path.find('\\', dot) == std::string::npos) {
    setString(self, Member::FileDialogExt, path.substr(dot + 1));
    path.erase(dot);
  }
  const std::string::size_type sep = path.find_last_of("\\:");
  if (sep != std::string::npos) {
    setString(self, Member::FileDialogDir, path.substr(0, sep + 1));
    path.erase(0, sep + 1);
  }
  setString(self, Member::FileDialogFname, path);
  return f.retNothing();
}

// The dialog's strings, copied before the dialog runs.
struct DialogStrings {
  std::string filter, dir, title, ext;
  bool hasDir, hasExt;
};

bool show(TulVirtualMachine* vm, int argc, ValPtr& sp, bool save) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 1)) return false;
  HWND owner;
  if (!ownerOf(f, owner)) return false;
  TulObject* self = f.self();
  const std::string name = stringMember(self, Member::FileDialogFname);
  // Nothing is cut silently: a name the buffer cannot hold shows no dialog.
  if (name.size() + 1 > kFileBufferChars) return f.fail(err::kFileNameTooLong);
  const DialogStrings s = {filterBuffer(self),
                           stringMember(self, Member::FileDialogDir),
                           stringMember(self, Member::FileDialogTitle),
                           stringMember(self, Member::FileDialogExt),
                           holdsString(self, Member::FileDialogDir),
                           holdsString(self, Member::FileDialogExt)};
  gFileBuffer[0] = '\0';
  name.copy(gFileBuffer, name.size());
  gFileBuffer[name.size()] = '\0';

  OPENFILENAMEA ofn = {};
  ofn.lStructSize = sizeof ofn;
  ofn.hwndOwner = owner;
  ofn.lpstrFilter = s.filter.c_str();
  ofn.lpstrFile = gFileBuffer;
  ofn.nMaxFile = kFileBufferChars;
  ofn.lpstrInitialDir = s.hasDir ? s.dir.c_str() : nullptr;
  ofn.lpstrTitle = s.title.empty() ? nullptr : s.title.c_str();
  ofn.Flags = save ? kSaveFlags : kOpenFlags;
  ofn.lpstrDefExt = s.hasExt ? s.ext.c_str() : nullptr;
  if (!(save ? GetSaveFileNameA(&ofn) : GetOpenFileNameA(&ofn))) return f.retInt(0);

  TulVector args(1, true);
  args[0] = TulValue(new TulString(gFileBuffer));
  TulValue ignored;
  if (!invokeScript(f.interp(), ignored, self, "setFullPath", &args)) return false;
  return f.retInt(1);
}

bool dialog_showOpen(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  return show(vm, argc, sp, false);
}

bool dialog_showSave(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  return show(vm, argc, sp, true);
}

constexpr MemberRow kDialogMembers[] = {
    {"_filter", Member::FileDialogFilter}, {"_dir", Member::FileDialogDir},
    {"_fname", Member::FileDialogFname},   {"_ext", Member::FileDialogExt},
    {"_title", Member::FileDialogTitle},
};

constexpr MethodRow kDialogMethods[] = {
    {"FileDialog", dialog_new},
    {"getFilter", dialog_getFilter},
    {"setFilter", dialog_setFilter},
    {"getDirectory", dialog_getString<Member::FileDialogDir>},
    {"setDirectory", dialog_setDirectory},
    {"getFileName", dialog_getString<Member::FileDialogFname>},
    {"setFileName", dialog_setString<Member::FileDialogFname>},
    {"getFullName", dialog_getFullName},
    {"setFullName", dialog_setFullName},
    {"getExtension", dialog_getString<Member::FileDialogExt>},
    {"setExtension", dialog_setString<Member::FileDialogExt>},
    {"getFullPath", dialog_getFullPath},
    {"setFullPath", dialog_setFullPath},
    {"showOpen", dialog_showOpen},
    {"showSave", dialog_showSave},
    {"getTitle", dialog_getString<Member::FileDialogTitle>},
    {"setTitle", dialog_setString<Member::FileDialogTitle>},
};

}  // namespace

const ClassSpec kFileDialogSpec = {"FileDialog", nullptr, kDialogMembers, {}, kDialogMethods, {}};
