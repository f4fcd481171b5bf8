// Process-wide name strings. They are plain host strings owned by the library
// (held with one reference of its own, so no value can free them), built in
// the load hook rather than by static constructors.
#include "module/names.h"

#include <cassert>

namespace {

constexpr const char* kTexts[] = {
    "WinMsgHandler", "WinBase", "_maxID", "_returnCode", "_autoQuit",
    "FileDialog",    "POINT",   "SIZE",   "RECT",        "MSG",
    "ACCEL",
};
static_assert(sizeof(kTexts) / sizeof(kTexts[0]) ==
                  static_cast<size_t>(Name::Count),
              "one text per name");

TulString* gNames[static_cast<int>(Name::Count)];

}  // namespace

const TulString& nameString(Name n) {
  TulString* s = gNames[static_cast<int>(n)];
  assert(s && "name strings are built at library load");
  return *s;
}

const char* nameText(Name n) { return kTexts[static_cast<int>(n)]; }

void buildNames() {
  for (int i = 0; i < static_cast<int>(Name::Count); ++i) {
    if (gNames[i]) continue;
    gNames[i] = new TulString(kTexts[i]);  // the library's own reference
    gNames[i]->retain();
  }
}

void destroyNames() {
  for (TulString*& s : gNames) {
    if (s) s->release();
    s = nullptr;
  }
}
