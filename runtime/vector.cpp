// The host vector: values in contiguous storage, 16 bytes each.
//
// Invariant: elements [0, size_) are constructed values and [size_, cap_) is
// raw storage; storage moves only when the capacity changes. A capacity of
// kShortRoom or less lives in the vector's own room. A value is
// always moved out of the vector before it is released, because releasing
// may run a script destructor that uses this very vector.
#include <cstdlib>
#include <new>
#include <utility>

#include "runtime/live_links.h"
#include "runtime/machine_impl.h"
#include "runtime/release_depth.h"

namespace {

constexpr unsigned kMinCapacity = 4;
constexpr unsigned kMaxElements = UINT32_MAX / sizeof(TulValue);

unsigned grownCapacity(unsigned cap) {
  if (cap < kMinCapacity) return kMinCapacity;
  return cap > kMaxElements / 2 ? kMaxElements : cap * 2;
}

}  // namespace

TulVector::TulVector() : data_(shortRoom()), size_(0), cap_(0) {
  tulrt::detail::linkContainer(live_, this);
}

// Room of up to kShortRoom values is the vector's own: nothing to allocate.
// Made in one frame rather than through the default constructor: a
// structure's records are made here by the dozen. Linked once its room is
// had: a vector whose room cannot be had is no vector to link.
TulVector::TulVector(unsigned n, bool filled) : data_(shortRoom()), size_(0), cap_(n <= kShortRoom ? n : 0) {
  if (n > kShortRoom) reallocate(n);
  tulrt::detail::linkContainer(live_, this);
  if (!filled) return;
  // Counted in a local, so the size is written once rather than per value.
  TulValue* const room = data_;
  for (unsigned i = 0; i < n; ++i) new (room + i) TulValue();
  size_ = n;
}

TulVector::TulVector(const TulVector& other) : TulVector() {
  reallocate(other.size_);
  for (; size_ < other.size_; ++size_) new (data_ + size_) TulValue(other.data_[size_]);
}

// Built as a copy first: other may be reachable only through this vector.
// The old elements are released last, once this vector holds the new ones.
TulVector& TulVector::operator=(const TulVector& other) {
  if (this == &other) return *this;
  TulVector copy(other);
  TulVector old;
  old.takeElements(*this);
  takeElements(copy);
  return *this;
}

// Values holding no reference need nothing: a vector of numbers (a member
// record) goes without a call to clear.
TulVector::~TulVector() {
  tulrt::detail::unlinkContainer(live_);
  for (unsigned i = size_; i;) {
    if (data_[--i].type() >= TulValueType::Object) {
      clear();
      break;
    }
  }
  if (!isShort()) std::free(data_);
}

// Heap storage changes hands; elements in o's own room move into this one's.
void TulVector::takeElements(TulVector& o) {
  if (!isShort()) std::free(data_);
  data_ = shortRoom();
  if (!o.isShort()) {
    data_ = o.data_;
  } else {
    for (unsigned i = 0; i < o.size_; ++i) {
      new (data_ + i) TulValue(std::move(o.data_[i]));
      o.data_[i].~TulValue();
    }
  }
  size_ = o.size_;
  cap_ = o.cap_;
  o.data_ = o.shortRoom();
  o.size_ = 0;
  o.cap_ = 0;
}

void TulVector::reallocate(unsigned cap) {
  if (cap > kMaxElements || !tulrt::detail::withinContainerLimit(std::size_t(cap) * sizeof(TulValue)))
    throw std::bad_alloc();
  if (cap <= kShortRoom && isShort()) {
    cap_ = cap;
    return;
  }
  // Heap storage grows or shrinks in place where the allocator can (a
  // large block is remapped rather than copied); a value is its bytes, so
  // it moves with them.
  if (cap > kShortRoom && !isShort()) {
    void* moved = std::realloc(static_cast<void*>(data_), cap * sizeof(TulValue));
    if (!moved) throw std::bad_alloc();
    data_ = static_cast<TulValue*>(moved);
    cap_ = cap;
    return;
  }
  TulValue* fresh = shortRoom();
  if (cap > kShortRoom) {
    fresh = static_cast<TulValue*>(std::malloc(cap * sizeof(TulValue)));
    if (!fresh) throw std::bad_alloc();
  }
  for (unsigned i = 0; i < size_; ++i) {
    new (fresh + i) TulValue(std::move(data_[i]));
    data_[i].~TulValue();
  }
  if (!isShort()) std::free(data_);
  data_ = fresh;
  cap_ = cap;
}

// v may be an element of this vector: it is copied before storage moves.
void TulVector::push_back(const TulValue& v) {
  if (size_ < cap_) {
    new (data_ + size_) TulValue(v);
    ++size_;
    return;
  }
  TulValue copy(v);
  reallocate(grownCapacity(cap_));
  new (data_ + size_) TulValue(std::move(copy));
  ++size_;
}

void TulVector::pop_back() {
  if (size_ == 0) return;
  --size_;
  TulValue last(std::move(data_[size_]));
  data_[size_].~TulValue();
}

// From the back, each value taken out before it is released (a release may
// run code that reads or changes this vector, so the size is stored first
// and read again after); values holding no reference are simply dropped, a
// run of them with one store of the size.
void TulVector::clear() {
  for (unsigned n = size_; n;) {
    const TulValue* const data = data_;
    while (n && data[n - 1].type() < TulValueType::Object) --n;
    if (!n) break;
    size_ = --n;
    if (TulRefObject* const held = data_[n].refObject()) {
      new (data_ + n) TulValue();  // its count passes to held
      tulrt::detail::PartRelease::release(held);
    } else {
      TulValue last(std::move(data_[n]));
    }
    n = size_;
  }
  size_ = 0;
}

ValPtr TulVector::last() { return ValPtr{this, static_cast<int>(size_) - 1}; }

unsigned TulVector::setCapacity(unsigned n) {
  const unsigned want = n < size_ ? size_ : n;
  if (want != cap_) reallocate(want);
  return cap_;
}

unsigned TulVector::shrink() { return setCapacity(size_); }
