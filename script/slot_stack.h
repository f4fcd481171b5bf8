// The frames of script calls: one stack of value slots that every call
// takes its slots from and gives them back to, so that a call allocates
// nothing once the stack has grown to the program's depth.
//
// Invariant: slots above the top are nil; a frame's slots never move while
// the frame is alive (the stack grows by whole blocks, it never
// reallocates one), and frames end in the reverse order they began.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "host/tul.h"

namespace tulscript {

// What every call does is kept inline (where the optimiser would leave it
// out of line in the VM's big loop); the rare rest is kept out.
#if defined(__GNUC__) && defined(__OPTIMIZE__)
#  define TUL_SLOTS_INLINE __attribute__((always_inline)) inline
#else
#  define TUL_SLOTS_INLINE inline
#endif
#if defined(__GNUC__)
#  define TUL_SLOTS_NOINLINE __attribute__((noinline))
#else
#  define TUL_SLOTS_NOINLINE
#endif

// Whether v holds a reference (to release when it goes).
TUL_SLOTS_INLINE bool holdsReference(const TulValue& v) {
  return static_cast<unsigned>(v.type()) >= static_cast<unsigned>(TulValueType::Object);
}

// dst = src moved, for the VM's commonest writes. Over a value that holds
// no reference there is nothing to release, so the value is built in place
// (the general assignment stays for the rest: releasing may run a dtor).
TUL_SLOTS_INLINE void moveInto(TulValue& dst, TulValue&& src) {
  if (holdsReference(dst)) {
    dst = std::move(src);
    return;
  }
  new (&dst) TulValue(std::move(src));
}

// A value moves as its bits (nothing points at where it lies): dst,
// which holds no reference, takes src's value, and src is left nil. Field
// by field, as the move constructor copies: a single 16-byte copy would
// read bytes that narrower stores wrote a moment ago, and wait for them.
TUL_SLOTS_INLINE void relocate(TulValue& dst, TulValue& src) {
  new (&dst) TulValue(std::move(src));
}

// v, which holds no reference, = nil (the bytes of a nil are all zero).
TUL_SLOTS_INLINE void putNil(TulValue& v) { std::memset(static_cast<void*>(&v), 0, sizeof v); }

// v = the integer r where v holds no reference (built whole, which is a
// few stores of constants); false, with nothing written, over a reference.
TUL_SLOTS_INLINE bool putInteger(TulValue& v, int r) {
  if (holdsReference(v)) return false;
  new (&v) TulValue(r);
  return true;
}

TUL_SLOTS_NOINLINE inline void clearHeld(TulValue& v) { v = TulValue(); }

// v, which holds a reference, = nil. Giving up a reference that others
// share is a decrement, done here; the last one (which ends the object) and
// a weak one go out of line.
TUL_SLOTS_INLINE void dropHeld(TulValue& v) {
  TulRefObject* o = v.refObject();
  if (o && o->refCount() > 1) {
    putNil(v);
    o->release();
    return;
  }
  clearHeld(v);
}

// v = nil.
TUL_SLOTS_INLINE void clearValue(TulValue& v) {
  if (holdsReference(v))
    v = TulValue();
  else
    new (&v) TulValue();
}

class SlotStack {
 public:
  // The position to hand back to release() when the frame ends: the
  // frame's slots begin at `from` in `block`, and the top goes back to
  // `top` (above `from` for a frame that took over its caller's last
  // temporaries).
  struct Mark {
    std::size_t block;
    std::size_t top;
    std::size_t from;
  };

  Mark mark() const { return {block_, top_, top_}; }

  // A frame of n slots that begins at `at`, a caller's temporary in the
  // block under way whose first `used` slots hold the frame's first values
  // (a call's arguments, which stay where they are): the caller's
  // temporaries above them are dead at a call and become the frame's,
  // cleared first. False, with nothing done, when `at` is not in the block
  // or the frame would not fit in it; m, from mark(), then marks the
  // frame's start.
  TUL_SLOTS_INLINE bool takeOver(TulValue* at, std::size_t used, std::size_t n, Mark& m) {
    const std::size_t from = static_cast<std::size_t>(
        reinterpret_cast<std::uintptr_t>(at) - reinterpret_cast<std::uintptr_t>(slots_)) /
        sizeof(TulValue);
    if (from >= top_ || from + n > size_) return false;
    const std::size_t top = top_;
    const std::size_t end = from + n < top ? from + n : top;
    for (std::size_t i = from + used; i < end; ++i)
      if (slots_[i].type() != TulValueType::Nil) clearValue(slots_[i]);
    if (from + n > top_) top_ = from + n;
    m.from = from;
    return true;
  }

  // n nil slots, contiguous, above everything taken so far.
  TUL_SLOTS_INLINE TulValue* take(std::size_t n) {
    if (top_ + n <= size_) {
      TulValue* p = slots_ + top_;
      top_ += n;
      return p;
    }
    return takeFromNextBlock(n);
  }

  // Ends every frame taken since m, releasing what their slots hold, in
  // slot order. Releasing may run script code (a dtor) that takes frames of
  // its own; they lie above the slots being cleared, so the top moves down
  // only once the values are gone.
  TUL_SLOTS_INLINE void release(const Mark& m) {
    if (block_ != m.block) return releaseBlocks(m);
    // Frames within one block, the common case, inline. The bounds are
    // read once: a dtor run by a release takes and gives back frames of its
    // own above the top, which it leaves where it found it.
    TulValue* const slots = slots_;
    TulValue* const end = slots + top_;
    for (TulValue* p = slots + m.from; p != end; ++p) {
      if (holdsReference(*p))
        dropHeld(*p);
      else
        putNil(*p);
    }
    top_ = m.top;
  }

 private:
  TUL_SLOTS_NOINLINE void releaseBlocks(const Mark& m) {
    while (block_ != m.block || top_ != m.top) {
      // The block's array stays put even if running a dtor adds blocks.
      TulValue* slots = blocks_[block_].slots.get();
      const std::size_t from = block_ == m.block ? m.from : 0;
      for (std::size_t i = from; i < top_; ++i)
        if (slots[i].type() != TulValueType::Nil) clearValue(slots[i]);
      if (block_ == m.block) {
        top_ = m.top;
      } else {
        --block_;
        top_ = blocks_[block_].used;
        current();
      }
    }
  }

  // The block under way's slots and size, kept at hand for take().
  void current() {
    slots_ = blocks_[block_].slots.get();
    size_ = blocks_[block_].size;
  }

  static constexpr std::size_t kBlockSlots = 4096;

  struct Block {
    std::unique_ptr<TulValue[]> slots;
    std::size_t size = 0;
    std::size_t used = 0;  // where the top stood when the next block began
  };

  TUL_SLOTS_NOINLINE TulValue* takeFromNextBlock(std::size_t n) {
    if (block_ < blocks_.size()) blocks_[block_].used = top_;
    std::size_t next = blocks_.empty() ? 0 : block_ + 1;
    // Blocks above the top hold nothing; one too small for n goes.
    while (next < blocks_.size() && blocks_[next].size < n)
      blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(next));
    if (next == blocks_.size()) {
      Block b;
      b.size = n > kBlockSlots ? n : kBlockSlots;
      b.slots.reset(new TulValue[b.size]);
      blocks_.push_back(std::move(b));
    }
    block_ = next;
    top_ = n;
    current();
    return slots_;
  }

  std::vector<Block> blocks_;
  std::size_t block_ = 0;
  std::size_t top_ = 0;
  TulValue* slots_ = nullptr;  // blocks_[block_]'s, once there is a block
  std::size_t size_ = 0;       // ... and its size (0 before the first)
};

// Takes a frame's slots for as long as it lives.
class SlotFrame {
 public:
  SlotFrame(SlotStack& stack, std::size_t n) : stack_(stack), mark_(stack.mark()) {
    slots_ = stack.take(n);
  }
  ~SlotFrame() { stack_.release(mark_); }
  SlotFrame(const SlotFrame&) = delete;
  SlotFrame& operator=(const SlotFrame&) = delete;

  TulValue* slots() const { return slots_; }

 private:
  SlotStack& stack_;
  SlotStack::Mark mark_;
  TulValue* slots_;
};

}  // namespace tulscript
