// The runtime's one owning handle for host objects: copy retains, move
// transfers, destruction releases.
//
// Invariant: a non-null Ref holds exactly one strong reference to its object.
#pragma once

#include <utility>

#include "host/value.h"

namespace tulrt {

template <class T>
class Ref {
 public:
  Ref() = default;
  // Takes a reference of its own; a fresh object (count 0) becomes owned.
  explicit Ref(T* p) : p_(p) {
    if (p_) p_->retain();
  }
  Ref(const Ref& o) : Ref(o.p_) {}
  Ref(Ref&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  Ref& operator=(Ref o) noexcept {
    std::swap(p_, o.p_);
    return *this;
  }
  ~Ref() { reset(); }

  // Releasing may run destructors that look at this handle, so it is
  // emptied before the object goes.
  void reset() {
    if (T* p = std::exchange(p_, nullptr)) p->release();
  }

  T* get() const { return p_; }
  T* operator->() const { return p_; }
  T& operator*() const { return *p_; }
  explicit operator bool() const { return p_ != nullptr; }

 private:
  T* p_ = nullptr;
};

}  // namespace tulrt
