// What compiled code answers about itself: its instructions' names and
// lines. Lines are looked up here, and only when something is reported.
#include "script/bytecode.h"

#include <algorithm>

namespace tulscript {

const char* opName(Op op) {
  static const char* const kNames[] = {
#define TUL_OP(name, label, token) #name,
#include "script/opcodes.def"
  };
  static_assert(sizeof kNames / sizeof kNames[0] == kOpCount, "a name for every instruction");
  return kNames[static_cast<int>(op)];
}

int Code::lineAt(int pc, int which) const {
  if (which == lines::Op) {
    // The last run starting at or before pc.
    auto run = std::upper_bound(lineRuns.begin(), lineRuns.end(), pc,
                                [](int at, const LineRun& r) { return at < r.pc; });
    return run == lineRuns.begin() ? 0 : (run - 1)->line;
  }
  auto found = std::lower_bound(extraLines.begin(), extraLines.end(), ExtraLine{pc, which, 0},
                                [](const ExtraLine& a, const ExtraLine& b) {
                                  return a.pc < b.pc || (a.pc == b.pc && a.kind > b.kind);
                                });
  return found != extraLines.end() && found->pc == pc && found->kind == which ? found->line : 0;
}

}  // namespace tulscript
