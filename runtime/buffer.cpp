// The host's byte buffer and character buffer.
//
// Invariant: storage is never null (a zero-capacity buffer still owns one
// byte), bytes a size change uncovers are zero, and a character buffer keeps
// every byte from its size to its capacity (inclusive) at zero.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "host/containers.h"
#include "runtime/block_cache.h"
#include "runtime/machine_impl.h"

namespace {

constexpr unsigned kMinGrowth = 16;

// The capacity to grow to for one more element: doubling, saturating.
unsigned grownCapacity(unsigned cap) {
  if (cap < kMinGrowth) return kMinGrowth;
  return cap > UINT32_MAX / 2 ? UINT32_MAX - 1 : cap * 2;
}

// Storage of exactly kKeptRoom bytes (a structure's first room, which most
// structures never leave) that buffers gave back is kept for the next
// buffers. The blocks are the C library's own, so a buffer that grows past
// one reallocates it as any other.
constexpr unsigned kKeptRoom = 32;
using KeptRooms = tulrt::detail::BlockCache<kKeptRoom, tulrt::detail::CHeap>;

void freeRoom(void* block, unsigned cap) {
  if (cap == kKeptRoom)
    KeptRooms::give(block);
  else
    std::free(block);
}

}  // namespace

// --- TulBuffer --------------------------------------------------------------

TulBuffer::TulBuffer() : TulBuffer(0u) {}

// A structure's first room, the commonest capacity asked for, is taken
// here rather than through reserve's call.
TulBuffer::TulBuffer(unsigned capacity) : data_(nullptr), size_(0), cap_(0) {
  if (capacity == kKeptRoom && tulrt::detail::withinContainerLimit(kKeptRoom)) {
    if (void* p = KeptRooms::take()) {
      data_ = static_cast<unsigned char*>(p);
      cap_ = kKeptRoom;
      return;
    }
  }
  if (!reserve(capacity)) throw std::bad_alloc();
}

TulBuffer::TulBuffer(const TulBuffer& other) : TulBuffer(other.size_) {
  if (other.size_) std::memcpy(data_, other.data_, other.size_);
  size_ = other.size_;
}

TulBuffer& TulBuffer::operator=(const TulBuffer& other) {
  if (this == &other) return *this;
  if (!reserve(other.size_)) throw std::bad_alloc();
  if (other.size_) std::memcpy(data_, other.data_, other.size_);
  size_ = other.size_;
  return *this;
}

TulBuffer::~TulBuffer() { freeRoom(data_, cap_); }

void* TulBuffer::operator new(std::size_t size) { return tulrt::detail::newCached<TulBuffer>(size); }

void TulBuffer::operator delete(void* block, std::size_t size) {
  tulrt::detail::deleteCached<TulBuffer>(block, size);
}

// False, with nothing changed, when the memory cannot be had. Out of line:
// setSize's common case, within the room, then sets up no calls.
[[gnu::noinline]] bool TulBuffer::reserve(unsigned cap) {
  if (data_ && cap <= cap_) return true;
  if (!tulrt::detail::withinContainerLimit(cap)) return false;
  void* p = !data_ && cap == kKeptRoom ? KeptRooms::take() : std::realloc(data_, cap ? cap : 1u);
  if (!p) return false;
  data_ = static_cast<unsigned char*>(p);
  cap_ = cap;
  return true;
}

// setSize past its inline case: a shrink, a growth beyond the room or of
// more than eight bytes. Up to eight bytes more are still zeroed in place,
// by stores that may overlap: the C library's call costs more than the bytes.
bool TulBuffer::resize(unsigned size) {
  if (size > cap_ && !reserve(size)) return false;
  if (size > size_) {
    unsigned char* const from = data_ + size_;
    const unsigned n = size - size_;
    if (n > 8) std::memset(from, 0, n); else zeroFew(from, n);
  }
  size_ = size;
  return true;
}

unsigned TulBuffer::push_back(unsigned char b) {
  if (size_ == cap_ && !reserve(grownCapacity(cap_))) return size_;
  data_[size_++] = b;
  return size_;
}

// --- TulCharBuffer ----------------------------------------------------------

TulCharBuffer::TulCharBuffer() : TulCharBuffer(0u) {}

TulCharBuffer::TulCharBuffer(unsigned capacity)
    : data_(nullptr), size_(0), cap_(0) {
  reserve(capacity);
}

TulCharBuffer::TulCharBuffer(const TulCharBuffer& other)
    : TulCharBuffer(other.cap_) {
  std::memcpy(data_, other.data_, other.cap_ + 1u);
  size_ = other.size_;
}

TulCharBuffer& TulCharBuffer::operator=(const TulCharBuffer& other) {
  if (this == &other) return *this;
  reserve(other.cap_);
  std::memset(data_, 0, cap_ + 1u);
  std::memcpy(data_, other.data_, other.size_);
  size_ = other.size_;
  return *this;
}

TulCharBuffer::~TulCharBuffer() { std::free(data_); }

// The bytes gained are zero, which keeps the terminator and the zero tail.
void TulCharBuffer::reserve(unsigned cap) {
  if (data_ && cap <= cap_) return;
  if (cap >= UINT32_MAX || !tulrt::detail::withinContainerLimit(cap + 1u)) throw std::bad_alloc();
  const unsigned oldBytes = data_ ? cap_ + 1u : 0u;
  void* p = std::realloc(data_, cap + 1u);
  if (!p) throw std::bad_alloc();
  data_ = static_cast<char*>(p);
  std::memset(data_ + oldBytes, 0, cap + 1u - oldBytes);
  cap_ = cap;
}

void TulCharBuffer::clear() {
  std::memset(data_, 0, size_);
  size_ = 0;
}

void TulCharBuffer::push_back(char c) {
  if (size_ == cap_) reserve(grownCapacity(cap_));
  data_[size_++] = c;
}

// Whatever a caller wrote past the new end is zeroed, restoring the tail.
void TulCharBuffer::adjustSize() {
  const void* nul = std::memchr(data_, 0, cap_);
  size_ = nul ? static_cast<unsigned>(static_cast<const char*>(nul) - data_) : cap_;
  std::memset(data_ + size_, 0, cap_ + 1u - size_);
}
