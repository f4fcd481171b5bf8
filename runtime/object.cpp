// Script objects and their destructors.
//
// Invariant: an object's `dtor` runs at most once, while its machine is alive
// and before its members are released; a failing `dtor` goes to the
// machine's handler and never leaves the error record changed. An object and
// its member vector share one block, freed when the last of the two goes.
#include <cassert>
#include <cstddef>
#include <cstdio>
#include <new>
#include <utility>

#include "runtime/block_cache.h"
#include "runtime/machine_impl.h"
#include "runtime/release_depth.h"

using tulrt::Machine;

namespace {

Machine::Impl* machineOf(TulClass* cls) {
  return cls ? cls->state().machine : nullptr;
}

// The member vector is counted like any other (a release in progress may
// hold it past its object), so it gives its part of the block back itself.
class MemberVector final : public TulVector {
 public:
  explicit MemberVector(unsigned slots) : TulVector(slots, true) {}

 protected:
  void lastReleased() override;
};

// One allocation a script object: the object, then its member vector, and
// how many of the two are still alive.
struct ObjectBlock {
  int parts;
  alignas(8) unsigned char object[sizeof(TulObject)];
  alignas(MemberVector) unsigned char members[sizeof(MemberVector)];
};

ObjectBlock* blockAt(void* part, std::size_t offset) {
  return reinterpret_cast<ObjectBlock*>(static_cast<unsigned char*>(part) - offset);
}

using ObjectBlocks = tulrt::detail::BlockCache<sizeof(ObjectBlock)>;

bool hasDtor(const TulClass* cls) {
  const TulClassState& s = cls->state();
  if (s.dtorGeneration != tulrt::detail::gMethodGeneration) {
    s.hasDtor = tulrt::hasMethod(cls, "dtor");
    s.dtorGeneration = tulrt::detail::gMethodGeneration;
  }
  return s.hasDtor;
}

// Inline in every object's last release (the exported wantsDtor is a call).
inline bool objectWantsDtor(TulObject& obj) {
  Machine::Impl* m = machineOf(obj.getClass());
  return m && m->dtorsEnabled && hasDtor(obj.getClass());
}

void dropPart(ObjectBlock* block) {
  if (--block->parts == 0) ObjectBlocks::give(block);
}

void MemberVector::lastReleased() {
  ObjectBlock* block = blockAt(this, offsetof(ObjectBlock, members));
  this->~MemberVector();
  dropPart(block);
}

}  // namespace

void* TulObject::operator new(std::size_t size) {
  assert(size == sizeof(TulObject) && "no class derives from TulObject");
  (void)size;
  auto* block = static_cast<ObjectBlock*>(ObjectBlocks::take());
  block->parts = 1;  // the member vector counts once it is made
  return block->object;
}

void TulObject::operator delete(void* object) {
  dropPart(blockAt(object, offsetof(ObjectBlock, object)));
}

// The members vector and the class are held through references taken here
// and dropped in the destructor (the fields are raw by the host's layout).
TulObject::TulObject(TulClass* cls) : class_(cls), members_(nullptr), dtorRan_(false) {
  const auto slots = cls ? static_cast<unsigned>(cls->state().layout.size()) : 0u;
  ObjectBlock* block = blockAt(this, offsetof(ObjectBlock, object));
  members_ = new (block->members) MemberVector(slots);
  ++block->parts;
  members_->retain();
  if (!cls) return;
  cls->retain();
  if (Machine::Impl* m = machineOf(cls)) TulObjectAccess::link(*m, *this);
}

TulObject::~TulObject() {
  if (Machine::Impl* m = machineOf(class_)) TulObjectAccess::unlink(*m, *this);
  tulrt::detail::PartRelease::release(members_);
  if (class_) class_->release();
}

void TulObject::lastReleased() {
  if (!dtorRan_ && objectWantsDtor(*this)) {
    tulrt::detail::runDtor(*this);  // its last release lands here again
    return;
  }
  delete this;
}

namespace tulrt {
namespace detail {

bool wantsDtor(TulObject& obj) { return objectWantsDtor(obj); }

namespace {

// The `dtor` a native class of obj's chain binds itself, nearest first; null
// when none does.
NativeMethod nativeDtorOf(const TulClass* cls) {
  for (const TulClass* c = cls; c; c = baseClass(c)) {
    const MethodEntry* e = c->state().methods.find("dtor");
    if (e && e->native) return e->native;
  }
  return nullptr;
}

void runOneDtor(Machine::Impl& m, const Callee& dtor, const TulValue& self) {
  TulValue result;
  if (invoke(m, dtor, &self, nullptr, 0, result)) return;
  if (m.dtorErrorHandler)
    m.dtorErrorHandler(m.error);
  else
    std::fprintf(stderr, "error in dtor: %s\n", m.error.message.c_str());
}

}  // namespace

// The object is held for the call, so it is deleted by the release at the end
// unless the dtor stored a reference to it somewhere. The call may come from
// a release in progress, so the dtor gets a release queue of its own; the
// final release joins the caller's release in progress once that queue is
// gone, so the rest of a chain nests here no deeper than any release does.
//
// A native class releases what it keeps outside the host (registry entries,
// system resources) in its dtor, so that dtor runs after a script override
// too, whether or not the override called it; native dtors therefore have to
// bear being run twice.
void runDtor(TulObject& obj) {
  TulObjectAccess::dtorRan(obj) = true;
  Machine::Impl& m = *machineOf(obj.getClass());
  obj.retain();
  {
    const OwnReleaseQueue ownQueue;
    const ErrorRecord saved = m.error;
    const TulValue self(&obj);
    const Callee dtor = findMethod(obj.getClass(), "dtor", false);
    runOneDtor(m, dtor, self);
    if (!dtor.native) {
      if (NativeMethod native = nativeDtorOf(obj.getClass())) {
        Callee nativeDtor;
        nativeDtor.native = native;
        runOneDtor(m, nativeDtor, self);
      }
    }
    m.error = saved;
  }
  obj.release();
}

}  // namespace detail
}  // namespace tulrt
