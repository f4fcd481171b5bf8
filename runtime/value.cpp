// Reference counting, weak links and the tagged value.
//
// Invariant: a value whose tag lies in [Object, ObjectRef) holds one strong
// reference through v_.ref; an ObjectRef value holds one count of a weak
// link through v_.weak; every other tag holds no reference at all.
#include "host/value.h"

#include <algorithm>
#include <cassert>
#include <climits>
#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

#include "host/vm.h"
#include "runtime/machine_impl.h"
#include "runtime/release_depth.h"

// A plain count (the block caches take no lock either): a locked add on
// every object made and freed cost more than the rest of a small object's
// release.
long gTulLiveObjects = 0;

namespace {

constexpr int kFirstRefTag = static_cast<int>(TulValueType::Object);
constexpr int kWeakTag = static_cast<int>(TulValueType::ObjectRef);

bool isStrongTag(std::uint8_t tag) {
  return tag >= kFirstRefTag && tag < kWeakTag;
}

// Releases in progress on this thread. An object whose count reaches zero
// while another one is being destroyed is destroyed at once, inside it, as
// long as fewer than kInlineDepth destructions are nested; deeper than that
// it is queued, and the destruction that queued it frees its queue in a
// loop once it is done, so a long chain (objects through members, vectors in
// vectors, ...) needs no deeper native stack than a short one.
struct ReleaseQueue {
  std::vector<TulRefObject*> pending;
};

using tulrt::detail::kInlineDepth;
using tulrt::detail::tReleaseDepth;

// A structure's parts (its object, members, dictionary, entries and their
// records) lie four deep: all of them are freed without a queue.
static_assert(kInlineDepth >= 2, "the outermost release never queues");

// Above this many entries the queue's storage is given back after a drain.
constexpr std::size_t kKeptQueueCapacity = 1024;

// Never destroyed: objects may still be released during static destruction.
// The runtime is loaded with its program, never opened later, so its thread
// storage can sit in the initial block, read without a call (every last
// release reads the nesting depth).
#if defined(__GNUC__)
#  define NOINLINE_DRAIN __attribute__((noinline))
#else
#  define NOINLINE_DRAIN
#endif
ReleaseQueue& releaseQueue() {
  thread_local ReleaseQueue* queue TUL_INITIAL_TLS = nullptr;
  if (!queue) queue = new ReleaseQueue;
  return *queue;
}

void dropWeakLink(TulWeakLink* link) {
  if (--link->count == 0 && link->target == nullptr) delete link;
}

// Doubles truncate toward zero and saturate; NaN gives 0.
std::int32_t saturateToInt(double d) {
  if (std::isnan(d)) return 0;
  if (d >= static_cast<double>(INT32_MAX)) return INT32_MAX;
  if (d <= static_cast<double>(INT32_MIN)) return INT32_MIN;
  return static_cast<std::int32_t>(d);
}

// Negative doubles wrap like the negative integers they truncate to, so -1.0
// and -1 give the same unsigned value.
std::uint32_t saturateToUnsigned(double d) {
  if (std::isnan(d)) return 0;
  if (d >= static_cast<double>(UINT32_MAX)) return UINT32_MAX;
  if (d < 0) return static_cast<std::uint32_t>(saturateToInt(d));
  return static_cast<std::uint32_t>(d);
}

}  // namespace

// Kept apart from the queue: the common last release reads and writes only
// this word.
TUL_THREAD_WORD unsigned tulrt::detail::tReleaseDepth TUL_INITIAL_TLS = 0;

// --- TulRefObject -----------------------------------------------------------

void TulRefObject::detachWeakLink() {
  weak_->target = nullptr;
  if (weak_->count == 0) delete weak_;
}

// An object whose count reaches zero during another's destruction is
// destroyed at once when the nesting allows, else queued. Only the
// destruction at the deepest level queues, and it frees its queue after
// itself, the first queued first and each one's own queue before its next
// sibling: the same order of last releases (and so of dtors) as plain
// recursion, whether a part was destroyed inside its owner or queued.
void TulRefObject::releaseLast() {
  assert(refs_ == 0 && "release without a matching retain");
  const unsigned depth = tReleaseDepth;
  if (depth + 1 < kInlineDepth) {
    tReleaseDepth = depth + 1;
    lastReleased();
    tReleaseDepth = depth;
    return;
  }
  // The deepest level queues; the level above it frees this object and its
  // queue. Both with stack frames of their own, so that the common path
  // above stays a few instructions.
  struct Deep {
    static void NOINLINE_DRAIN drain(ReleaseQueue& q, TulRefObject* first) {
      const std::size_t base = q.pending.size();
      for (TulRefObject* next = first;;) {
        const std::size_t mark = q.pending.size();
        next->lastReleased();
        const std::size_t end = q.pending.size();
        if (end - mark > 1)
          std::reverse(q.pending.begin() + static_cast<std::ptrdiff_t>(mark), q.pending.end());
        if (end == base) return;
        next = q.pending.back();
        q.pending.pop_back();
      }
    }
    static void NOINLINE_DRAIN release(TulRefObject* self, unsigned depth) {
      ReleaseQueue& q = releaseQueue();
      if (depth >= kInlineDepth) {
        q.pending.push_back(self);
        return;
      }
      tReleaseDepth = kInlineDepth;
      drain(q, self);
      tReleaseDepth = depth;
      if (q.pending.empty() && q.pending.capacity() > kKeptQueueCapacity)
        std::vector<TulRefObject*>().swap(q.pending);
    }
  };
  Deep::release(this, depth);
}

TulWeakLink* TulRefObject::weakLink() {
  if (!weak_) weak_ = new TulWeakLink{this, 0};
  return weak_;
}

void TulRefObject::lastReleased() { delete this; }

namespace tulrt {
namespace detail {

OwnReleaseQueue::OwnReleaseQueue() {
  ReleaseQueue& q = releaseQueue();
  outerDepth_ = std::exchange(tReleaseDepth, 0u);
  outerPending_.swap(q.pending);
}

OwnReleaseQueue::~OwnReleaseQueue() {
  ReleaseQueue& q = releaseQueue();
  assert(tReleaseDepth == 0 && q.pending.empty() && "releases left behind");
  tReleaseDepth = outerDepth_;
  q.pending.swap(outerPending_);
}

}  // namespace detail
}  // namespace tulrt

// --- TulValue: construction and lifetime ------------------------------------

TulValue::TulValue(float v) : TulValue() {
  tag_ = static_cast<std::uint8_t>(TulValueType::F32);
  v_.f = v;
}

TulValue::TulValue(double v) : TulValue() {
  tag_ = static_cast<std::uint8_t>(TulValueType::F64);
  v_.d = v;
}

TulValue::TulValue(TulObject* o, bool weak) : TulValue() {
  if (!weak) {
    setRef(TulValueType::Object, o);
    return;
  }
  if (!o) return;
  tag_ = static_cast<std::uint8_t>(TulValueType::ObjectRef);
  v_.weak = o->weakLink();
  ++v_.weak->count;
}

TulValue::TulValue(TulClass* c, bool) : TulValue() {
  setRef(TulValueType::Class, c);
}
TulValue::TulValue(TulString* s, bool) : TulValue() {
  setRef(TulValueType::String, s);
}
TulValue::TulValue(TulBuffer* b, bool) : TulValue() {
  setRef(TulValueType::Buffer, b);
}
TulValue::TulValue(TulCharBuffer* b, bool) : TulValue() {
  setRef(TulValueType::CharBuffer, b);
}
TulValue::TulValue(TulDictionary* d, bool) : TulValue() {
  setRef(TulValueType::Dictionary, d);
}
TulValue::TulValue(TulVector* v, bool, bool) : TulValue() {
  setRef(TulValueType::Vector, v);
}
TulValue::TulValue(const TulValue& v, bool) : TulValue(v) {}
TulValue::TulValue(TulDictionaryEntry* e) : TulValue() {
  setRef(TulValueType::DictEntry, e);
}

// The copy's side of a value that holds a reference: one more holder.
void TulValue::dropWeak(TulWeakLink* link) { dropWeakLink(link); }

void TulValue::dispose() {
  clear();
  tag_ = static_cast<std::uint8_t>(TulValueType::Empty);
}

void TulValue::setRef(TulValueType tag, TulRefObject* obj) {
  assert(isStrongTag(static_cast<std::uint8_t>(tag)) && "not a reference tag");
  if (!obj || !isStrongTag(static_cast<std::uint8_t>(tag))) return;
  tag_ = static_cast<std::uint8_t>(tag);
  v_.ref = obj;
  obj->retain();
}

// Leaves the value Nil before releasing, for the same reason as assignment.

TulValue TulValue::boolean(bool b) {
  TulValue v;
  v.tag_ = static_cast<std::uint8_t>(TulValueType::Bool);
  v.v_.i = b ? 1 : 0;
  return v;
}

TulValue TulValue::fromRef(TulValueType tag, TulRefObject* obj) {
  TulValue v;
  v.setRef(tag, obj);
  return v;
}


// The payload itself for a number; the storage of a string or buffer.
void* TulValue::addr() {
  if (isNumber()) return &v_;
  switch (type()) {
    case TulValueType::String: return static_cast<TulString*>(v_.ref)->data();
    case TulValueType::CharBuffer: return static_cast<TulCharBuffer*>(v_.ref)->data();
    case TulValueType::Buffer: return static_cast<TulBuffer*>(v_.ref)->data();
    default: return nullptr;
  }
}

// --- TulValue: conversions --------------------------------------------------

bool TulValue::isInteger() const {
  if (!isNumber()) return false;
  if (type() != TulValueType::F32 && type() != TulValueType::F64) return true;
  const double d = static_cast<double>(*this);
  return std::isfinite(d) && std::trunc(d) == d;
}

int TulValue::intOf() const {
  switch (type()) {
    case TulValueType::U32: return static_cast<int>(v_.u);
    case TulValueType::F32: return saturateToInt(v_.f);
    case TulValueType::F64: return saturateToInt(v_.d);
    default: return isNumber() ? v_.i : 0;
  }
}

TulValue::operator unsigned int() const {
  switch (type()) {
    case TulValueType::U32: return v_.u;
    case TulValueType::F32: return saturateToUnsigned(v_.f);
    case TulValueType::F64: return saturateToUnsigned(v_.d);
    default: return isNumber() ? static_cast<unsigned>(v_.i) : 0u;
  }
}

TulValue::operator float() const {
  return static_cast<float>(static_cast<double>(*this));
}

TulValue::operator double() const {
  switch (type()) {
    case TulValueType::U32: return v_.u;
    case TulValueType::F32: return v_.f;
    case TulValueType::F64: return v_.d;
    default: return isNumber() ? v_.i : 0;
  }
}

// A weak reference answers null once its object is gone or is being
// destroyed (its count is back at zero), so no caller sees a dying object.
TulValue::operator TulObject*() const {
  if (type() == TulValueType::Object) return static_cast<TulObject*>(v_.ref);
  if (type() != TulValueType::ObjectRef) return nullptr;
  TulRefObject* target = v_.weak->target;
  if (!target || target->refCount() == 0) return nullptr;
  return static_cast<TulObject*>(target);
}

#define TUL_REF_CONVERSION(Type, Tag)                                  \
  TulValue::operator Type*() const {                                   \
    return type() == TulValueType::Tag ? static_cast<Type*>(v_.ref)    \
                                       : nullptr;                      \
  }
TUL_REF_CONVERSION(TulClass, Class)
TUL_REF_CONVERSION(TulString, String)
TUL_REF_CONVERSION(TulVector, Vector)
TUL_REF_CONVERSION(TulBuffer, Buffer)
TUL_REF_CONVERSION(TulCharBuffer, CharBuffer)
TUL_REF_CONVERSION(TulDictionary, Dictionary)
TUL_REF_CONVERSION(TulDictionaryEntry, DictEntry)
#undef TUL_REF_CONVERSION

// --- Process-wide queries ---------------------------------------------------

namespace tulrt {

long liveObjects() { return gTulLiveObjects; }

namespace {

struct TagName {
  TulValueType tag;
  const char* name;
};

constexpr TagName kTagNames[] = {
    {TulValueType::Nil, "nil"},
    {TulValueType::Empty, "empty"},
    {TulValueType::Number, "number"},
    {TulValueType::Int, "int"},
    {TulValueType::UInt, "uint"},
    {TulValueType::Handle, "handle"},
    {TulValueType::I32, "int"},
    {TulValueType::U32, "uint"},
    {TulValueType::F32, "float"},
    {TulValueType::F64, "double"},
    {TulValueType::Bool, "bool"},
    {TulValueType::Char, "char"},
    {TulValueType::Object, "object"},
    {TulValueType::Class, "class"},
    {TulValueType::String, "string"},
    {TulValueType::Buffer, "buffer"},
    {TulValueType::CharBuffer, "char buffer"},
    {TulValueType::Vector, "vector"},
    {TulValueType::Dictionary, "dictionary"},
    {TulValueType::DictEntry, "dictionary entry"},
    {TulValueType::Function, "function"},
    {TulValueType::ObjectRef, "object reference"},
};

// "tag N" for every byte, built once so the names stay valid for good.
struct UnknownTagNames {
  char text[256][8];
  UnknownTagNames() {
    for (int i = 0; i < 256; ++i) std::snprintf(text[i], sizeof text[i], "tag %d", i);
  }
};

}  // namespace

const char* typeName(TulValueType t) {
  for (const TagName& n : kTagNames)
    if (n.tag == t) return n.name;
  static const UnknownTagNames unknown;
  return unknown.text[static_cast<int>(t)];
}

}  // namespace tulrt
