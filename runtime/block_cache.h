// Blocks of one size kept after they are freed, for the next object of that
// size: scripts make and drop strings and objects by the thousand, and a
// block taken from here costs a few instructions where the heap costs a
// hundred or more.
//
// Invariant: the cache holds at most kKept blocks, each one that Heap gave
// for exactly Size bytes (::operator new, or the C library's malloc for
// storage that is later realloc'ed). Like the rest of the runtime
// it serves one thread. Under the address sanitizer every block goes back to
// the heap at once, so that a use after free is still caught.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

namespace tulrt {
namespace detail {

// Where a cache's blocks come from and go back to.
struct NewHeap {
  static void* get(std::size_t size) { return ::operator new(size); }
  static void put(void* block) { ::operator delete(block); }
};
// The C library's heap: null when the memory cannot be had.
struct CHeap {
  static void* get(std::size_t size) { return std::malloc(size); }
  static void put(void* block) { std::free(block); }
};

template <std::size_t Size, class Heap = NewHeap>
class BlockCache {
 public:
  static void* take() {
#if !defined(__SANITIZE_ADDRESS__)
    if (Free* block = free_) {
      free_ = block->next;
      --count_;
      return block;
    }
#endif
    return Heap::get(Size);
  }

  static void give(void* block) {
#if !defined(__SANITIZE_ADDRESS__)
    if (count_ < kKept) {
      free_ = new (block) Free{free_};
      ++count_;
      return;
    }
#endif
    Heap::put(block);
  }

 private:
  static_assert(Size >= sizeof(void*), "a free block holds its successor");
  // Enough for a burst of temporaries; more is the heap's to keep.
  static constexpr unsigned kKept = 256;
  struct Free {
    Free* next;
  };
  static inline Free* free_ = nullptr;
  static inline unsigned count_ = 0;
};

// A class's own operator new and delete through the cache of its size; a
// derived class of another size goes to the heap.
template <class T>
void* newCached(std::size_t size) {
  return size == sizeof(T) ? BlockCache<sizeof(T)>::take() : ::operator new(size);
}

template <class T>
void deleteCached(void* block, std::size_t size) {
  if (size == sizeof(T))
    BlockCache<sizeof(T)>::give(block);
  else
    ::operator delete(block);
}

}  // namespace detail
}  // namespace tulrt
