// The process-wide set of live vectors and dictionaries. The last machine of
// a thread empties them all on teardown, which is what frees a container that
// holds itself (directly or through others).
//
// Invariant: the list holds exactly the vectors and dictionaries constructed
// and not yet destroyed. The host runs on one thread, so it takes no lock.
#include <unordered_set>
#include <vector>

#include "runtime/live_links.h"
#include "runtime/machine_impl.h"

namespace tulrt {
namespace detail {

// The list of live containers, newest first, linked through the containers
// themselves.
TulLiveLink* gNewestContainer = nullptr;
bool gClearingContainers = false;

namespace {

// While clearLiveContainers runs: the containers of its snapshot that are
// still alive.
std::unordered_set<TulRefObject*>* gClearing = nullptr;

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

void trackContainer(TulLiveLink& link, TulRefObject* c) { linkContainer(link, c); }

void untrackContainer(TulLiveLink& link) { unlinkContainer(link); }

void forgetClearedContainer(TulRefObject* c) { gClearing->erase(c); }

// Emptying one container may destroy others, so each is looked up again
// before it is touched. Containers made meanwhile are left alone.
void clearLiveContainers() {
  std::unordered_set<TulRefObject*> live;
  for (const TulLiveLink* l = gNewestContainer; l; l = l->next) live.insert(l->owner);
  const std::vector<TulRefObject*> snapshot(live.begin(), live.end());
  std::unordered_set<TulRefObject*>* outer = gClearing;
  gClearing = &live;
  gClearingContainers = true;
  for (TulRefObject* c : snapshot) {
    if (live.count(c)) emptyContainer(c);
  }
  gClearing = outer;
  gClearingContainers = outer != nullptr;
}

}  // namespace detail
}  // namespace tulrt
