// The ledger of what the library made outside the host (see
// native_ledger.h). Both lists are small: a paint block per window object
// that painted, a procedure per system class that was subclassed.
#include "window/native_ledger.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace {

// Built on first use and never destroyed: a window procedure may still run
// while the process ends.
std::vector<void*>& paintBlocks() {
  static std::vector<void*>& blocks = *new std::vector<void*>;
  return blocks;
}

std::vector<std::int32_t>& replacedProcedures() {
  static std::vector<std::int32_t>& procs = *new std::vector<std::int32_t>;
  return procs;
}

constexpr std::size_t kPaintBlockSize = sizeof(PAINTSTRUCT);

}  // namespace

void* newPaintBlock() {
  void* block = std::calloc(1, kPaintBlockSize);
  if (block) paintBlocks().push_back(block);
  return block;
}

bool isPaintBlock(const void* block) {
  const std::vector<void*>& blocks = paintBlocks();
  return block && std::find(blocks.begin(), blocks.end(), block) != blocks.end();
}

void freePaintBlock(void* block) {
  std::vector<void*>& blocks = paintBlocks();
  auto it = std::find(blocks.begin(), blocks.end(), block);
  if (it == blocks.end()) return;
  blocks.erase(it);
  std::free(block);
}

void noteReplacedProcedure(std::int32_t proc) {
  if (proc && !isReplacedProcedure(proc)) replacedProcedures().push_back(proc);
}

// A window the library did not subclass has no saved procedure (0), which
// is every message's case: answered before the list is reached.
bool isReplacedProcedure(std::int32_t proc) {
  if (!proc) return false;
  const std::vector<std::int32_t>& procs = replacedProcedures();
  return std::find(procs.begin(), procs.end(), proc) != procs.end();
}
