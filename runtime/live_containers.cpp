// The process-wide set of live vectors and dictionaries. The last machine of
// a thread empties them all on teardown, which is what frees a container that
// holds itself (directly or through others).
//
// Invariant: the set holds exactly the vectors and dictionaries constructed
// and not yet destroyed. The host runs on one thread, so it takes no lock.
#include <unordered_set>
#include <vector>

#include "runtime/machine_impl.h"

namespace tulrt {
namespace detail {
namespace {

// Built on first use and never destroyed: containers may still die after
// static destruction has begun.
std::unordered_set<TulRefObject*>& liveContainers() {
  static auto* set = new std::unordered_set<TulRefObject*>;
  return *set;
}

// A container that holds itself would be freed by its own emptying, halfway
// through; an owned one is held for the duration. (An unowned one, at count
// zero, cannot hold itself.)
void emptyContainer(TulRefObject* c) {
  const bool owned = c->refCount() > 0;
  if (owned) c->retain();
  if (auto* v = dynamic_cast<TulVector*>(c)) v->clear();
  if (auto* d = dynamic_cast<TulDictionary*>(c)) d->clear();
  if (owned) c->release();
}

}  // namespace

void trackContainer(TulRefObject* c) { liveContainers().insert(c); }

void untrackContainer(TulRefObject* c) { liveContainers().erase(c); }

// Emptying one container may destroy others, so each is looked up again
// before it is touched.
void clearLiveContainers() {
  auto& live = liveContainers();
  const std::vector<TulRefObject*> snapshot(live.begin(), live.end());
  for (TulRefObject* c : snapshot) {
    if (live.count(c)) emptyContainer(c);
  }
}

}  // namespace detail
}  // namespace tulrt
