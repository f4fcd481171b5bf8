// Linking a vector or dictionary into the runtime's list of live containers
// and out of it, inline: every container made and freed passes through here
// (a structure's records by the dozen), and each is a few stores.
//
// Invariant: as for live_containers.cpp, which owns the list.
#pragma once

#include "host/containers.h"

namespace tulrt {
namespace detail {

// gNewestContainer, the newest live container's link, is declared with
// TulLiveLink (host/containers.h).
// gClearingContainers, whether clearLiveContainers is emptying them, is
// declared there too.
void forgetClearedContainer(TulRefObject* c);

inline void linkContainer(TulLiveLink& link, TulRefObject* c) {
  TulLiveLink* const newest = gNewestContainer;
  link.owner = c;
  link.prev = nullptr;
  link.next = newest;
  if (newest) newest->prev = &link;
  gNewestContainer = &link;
}

inline void unlinkContainer(TulLiveLink& link) {
  TulLiveLink* const prev = link.prev;
  TulLiveLink* const next = link.next;
  if (prev) prev->next = next; else gNewestContainer = next;
  if (next) next->prev = prev;
  if (gClearingContainers) forgetClearedContainer(link.owner);
}

}  // namespace detail
}  // namespace tulrt
