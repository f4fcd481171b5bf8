// The nesting of last releases on this thread, and a part's release that
// keeps it inline: an owner freeing many parts in a row (a dictionary's
// values, a vector's elements) saves the call through releaseLast for each.
//
// Invariant: as for value.cpp, which owns the count and the queue.
#pragma once

#include "host/value.h"

// A thread's plain word, in its initial block where the system has one:
// read without a call.
#if defined(__GNUC__) && !defined(_WIN32)
#  define TUL_THREAD_WORD __thread
#  define TUL_INITIAL_TLS __attribute__((tls_model("initial-exec")))
#else
#  define TUL_THREAD_WORD thread_local
#  define TUL_INITIAL_TLS
#endif

namespace tulrt {
namespace detail {

// Destructions nested on this thread now; 0 when none is (or when a dtor's
// own queue starts counting afresh). A plain word in the initial thread
// block: the runtime is loaded with its program, never opened later.
extern TUL_THREAD_WORD unsigned tReleaseDepth TUL_INITIAL_TLS;

// Up to this many destructions nest on the native stack; a deeper one is
// queued for the level above to free.
constexpr unsigned kInlineDepth = 6;

struct PartRelease {
  // One count of part taken away, as part->release() does; the last one
  // destroys it here when the nesting allows, else through the queue.
  static void release(TulRefObject* part) {
    if (part->refs_ > 1) {
      --part->refs_;
      return;
    }
    const unsigned depth = tReleaseDepth;
    if (depth + 1 >= kInlineDepth) {
      part->release();
      return;
    }
    part->refs_ = 0;
    tReleaseDepth = depth + 1;
    part->lastReleased();
    tReleaseDepth = depth;
  }
};

}  // namespace detail
}  // namespace tulrt
