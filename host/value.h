// The host's tagged value, its reference-counted base and the value-stack
// cursor: the smallest part of the contract between a native class library
// and the host virtual machine.
//
// Invariant: a TulValue is 16 bytes with its type tag in the first byte, and
// a value that holds a reference-counted host object holds one strong
// reference to it (a weak object reference, tag ObjectRef, holds none).
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <utility>

#if defined(_WIN32)
#  if defined(TUL_RUNTIME_BUILD)
#    define TUL_API __declspec(dllexport)
#  else
#    define TUL_API __declspec(dllimport)
#  endif
#else
#  define TUL_API __attribute__((visibility("default")))
#endif

class TulVirtualMachine;
class TulInterpreter;
class TulClass;
class TulObject;
class TulString;
class TulVector;
class TulBuffer;
class TulCharBuffer;
class TulDictionary;
class TulDictionaryEntry;
namespace tulrt {
namespace detail {
struct PartRelease;
}  // namespace detail
}  // namespace tulrt
struct ValPtr;

// One enumeration serves as the tag stored in a value and as the type code
// handed to TulInterpreter::checkType. The numbers are part of the contract.
enum class TulValueType : std::uint8_t {
  Nil = 0,
  Empty = 1,
  // Type codes that only checkType understands.
  Number = 3,  // any number
  Int = 4,     // an integer-valued number
  UInt = 6,    // a non-negative integer-valued number
  Handle = 7,  // an integer, or nil as 0
  // Numeric scalar tags: everything from 64 to 77 is a number, nothing else.
  I32 = 64,
  U32 = 65,
  F32 = 66,
  F64 = 67,
  Bool = 68,
  Char = 69,
  // Reference tags.
  Object = 160,
  Class = 168,
  String = 176,
  Buffer = 177,
  CharBuffer = 178,
  Vector = 180,
  Dictionary = 184,
  DictEntry = 185,
  Function = 192,  // a callable of the host's own (script functions)
  ObjectRef = 224, // a weak reference to an object
};

constexpr bool isNumericTag(TulValueType t) {
  return static_cast<int>(t) >= 64 && static_cast<int>(t) <= 77;
}

// Shared between a host object and its weak references; outlives the object
// while weak references remain, and then answers null.
struct TulWeakLink {
  class TulRefObject* target;
  int count;
};

// Every host object constructed minus those destroyed (the runtime's
// liveObjects()). Objects are made and freed on the host's one thread, so
// the count is a plain one, kept inline with the constructor and destructor
// below: they run for every object, a structure's records by the dozen.
extern TUL_API long gTulLiveObjects;

// Base of every host object that values refer to. Objects are created with a
// count of zero; the first TulValue (or handle) that takes charge of one
// raises it to one. The object is destroyed when the count returns to zero.
class TUL_API TulRefObject {
 public:
  TulRefObject() : refs_(0), weak_(nullptr) { ++gTulLiveObjects; }
  TulRefObject(const TulRefObject&) : TulRefObject() {}
  TulRefObject& operator=(const TulRefObject&) { return *this; }
  virtual ~TulRefObject() {
    assert(refs_ == 0 && "host object destroyed while referenced");
    if (weak_) detachWeakLink();
    --gTulLiveObjects;
  }

  void retain() { ++refs_; }
  // The last count goes through the runtime (releaseLast).
  void release() {
    if (--refs_ <= 0) releaseLast();
  }
  int refCount() const { return refs_; }

  // The weak link of this object, created on first use.
  TulWeakLink* weakLink();

 protected:
  // Called when the count reaches zero. The default deletes the object; a
  // subclass may run last work first (script destructors) and may keep the
  // object alive by retaining it again.
  virtual void lastReleased();
  // Takes away one count; true when it was the last, the object then left
  // at zero for the caller to destroy in place (no last release runs). For
  // an owner that knows what its part is and how to free it.
  bool dropCount() { return --refs_ <= 0; }
  // Whether a weak reference was ever taken (its link must hear of the end).
  bool hasWeakLink() const { return weak_ != nullptr; }

 private:
  // The runtime's owners that free their parts in a row (a dictionary its
  // values, a vector its elements) run a part's last release inline.
  friend struct tulrt::detail::PartRelease;
  void releaseLast();
  // Tells the weak references that the object is gone.
  void detachWeakLink();

  int refs_;
  TulWeakLink* weak_;
};

// The host's tagged value. Copying, moving and destroying a value, and the
// value of a 32-bit integer, are inline: they are what an interpreter does
// most. Only the last release of an object and of a weak link go to the
// runtime, which destroys them.
class TUL_API TulValue {
 public:
  TulValue() : tag_(0), flags_(0), reserved16_(0), reserved32_(0) { v_.zero(); }  // Nil
  TulValue(int v, bool address = false)
      : tag_(static_cast<std::uint8_t>(TulValueType::I32)),
        flags_(address ? kAddressFlag : 0),
        reserved16_(0),
        reserved32_(0) {
    v_.zero();
    v_.i = v;
  }
  explicit TulValue(unsigned int v)
      : tag_(static_cast<std::uint8_t>(TulValueType::U32)),
        flags_(0),
        reserved16_(0),
        reserved32_(0) {
    v_.zero();
    v_.u = v;
  }
  explicit TulValue(float v);
  explicit TulValue(double v);
  // weak: a reference that does not keep the object alive (tag ObjectRef).
  TulValue(TulObject* o, bool weak = false);
  TulValue(TulClass* c, bool flag = false);
  TulValue(TulString* s, bool flag = false);
  TulValue(TulBuffer* b, bool flag = false);
  TulValue(TulCharBuffer* b, bool flag = false);
  TulValue(TulDictionary* d, bool flag = false);
  TulValue(TulVector* v, bool flag = false, bool flag2 = false);
  TulValue(const TulValue& v, bool flag);
  explicit TulValue(TulDictionaryEntry* e);

  TulValue(const TulValue& other)
      : tag_(other.tag_), flags_(other.flags_), reserved16_(0), reserved32_(0) {
    v_.copy(other.v_);
    if (holdsRef(tag_)) retainHeld();
  }
  TulValue(TulValue&& other) noexcept
      : tag_(other.tag_), flags_(other.flags_), reserved16_(0), reserved32_(0) {
    v_.copy(other.v_);
    other.tag_ = 0;
    other.flags_ = 0;
    other.v_.zero();
  }
  TulValue& operator=(const TulValue& other) {
    if (holdsRef(tag_) || holdsRef(other.tag_)) return assignHeld(other);
    tag_ = other.tag_;
    flags_ = other.flags_;
    v_.copy(other.v_);
    return *this;
  }
  TulValue& operator=(TulValue&& other) noexcept {
    if (holdsRef(tag_)) return moveAssignHeld(other);
    if (this != &other) takeFrom(other);
    return *this;
  }
  ~TulValue() {
    if (holdsRef(tag_)) clear();
  }

  // Releases what the value held; the tag becomes Empty.
  void dispose();

  // The payload of a value known to be a 32-bit integer (meaningless for
  // any other tag).
  std::int32_t i32() const { return v_.i; }
  // Likewise for a float (F32) and a double (F64).
  float f32() const { return v_.f; }
  double f64() const { return v_.d; }

  // A 32-bit integer written over a value that holds no reference, in
  // place; false, with nothing written, over a reference (assign a value
  // then). An interpreter's commonest write.
  bool putInt(int v) {
    if (holdsRef(tag_)) return false;
    tag_ = static_cast<std::uint8_t>(TulValueType::I32);
    flags_ = 0;
    v_.zero();
    v_.i = v;
    return true;
  }

  TulValueType type() const { return static_cast<TulValueType>(tag_); }

  // Numbers convert by value (doubles truncate toward zero and saturate);
  // every non-number converts to 0.
  explicit operator int() const {
    return tag_ == static_cast<std::uint8_t>(TulValueType::I32) ? v_.i : intOf();
  }
  explicit operator unsigned int() const;
  explicit operator float() const;
  explicit operator double() const;
  // Pointer conversions give the payload when the value is of that kind and
  // null otherwise. A weak reference gives null once its object is gone.
  explicit operator TulObject*() const;
  explicit operator TulClass*() const;
  explicit operator TulString*() const;
  explicit operator TulVector*() const;
  explicit operator TulBuffer*() const;
  explicit operator TulCharBuffer*() const;
  explicit operator TulDictionary*() const;
  explicit operator TulDictionaryEntry*() const;

  // The address of what the value holds, for native code: the number itself
  // for a number (a 32-bit integer, a float or a double in the platform's
  // format, stored inside the value), the characters of a string or char
  // buffer, the first byte of a byte buffer; null for anything else.
  void* addr();

  // Host side (the runtime and host programs).
  bool isNumber() const { return isNumericTag(type()); }
  bool isInteger() const;  // a number with an integral value
  bool isObject() const {
    return type() == TulValueType::Object || type() == TulValueType::ObjectRef;
  }
  bool isAddress() const { return (flags_ & kAddressFlag) != 0; }
  static TulValue boolean(bool b);
  // A value of a reference tag for a host object of the runtime's own kinds
  // (Function); takes charge of the object.
  static TulValue fromRef(TulValueType tag, TulRefObject* obj);
  // A strong reference to obj (not null) under a reference tag of its kind,
  // its count raised inline: what the pointer constructors make, for the
  // runtime's call frames.
  static TulValue strongRef(TulValueType tag, TulRefObject* obj) {
    TulValue v;
    v.tag_ = static_cast<std::uint8_t>(tag);
    v.v_.ref = obj;
    obj->retain();
    return v;
  }
  // The referenced host object of a reference tag (not weak), else null.
  TulRefObject* refObject() const { return holdsStrong(tag_) ? v_.ref : nullptr; }

 private:
  static constexpr std::uint8_t kAddressFlag = 1;

  // Every tag from Object up refers to a host object (strongly or weakly).
  static bool holdsRef(std::uint8_t tag) {
    return tag >= static_cast<std::uint8_t>(TulValueType::Object);
  }
  // Takes other's contents as they are and leaves other empty; what this
  // held is the caller's to release.
  void takeFrom(TulValue& other) noexcept {
    tag_ = other.tag_;
    flags_ = other.flags_;
    v_.copy(other.v_);
    other.tag_ = 0;
    other.flags_ = 0;
    other.v_.zero();
  }
  static bool holdsStrong(std::uint8_t tag) {
    return holdsRef(tag) && tag < static_cast<std::uint8_t>(TulValueType::ObjectRef);
  }
  void retainHeld() {
    if (holdsStrong(tag_))
      v_.ref->retain();
    else
      ++v_.weak->count;
  }
  TulValue& assignHeld(const TulValue& other) {
    if (this != &other) *this = TulValue(other);
    return *this;
  }
  // The new contents are in place before the old ones are released:
  // releasing may run a script destructor that reads or overwrites this
  // very value.
  TulValue& moveAssignHeld(TulValue& other) noexcept {
    if (this == &other) return *this;
    TulValue old(std::move(*this));
    takeFrom(other);
    return *this;
  }
  static void dropWeak(TulWeakLink* link);
  int intOf() const;
  void setRef(TulValueType tag, TulRefObject* obj);
  void clear() {
    const std::uint8_t tag = tag_;
    Payload v;
    v.copy(v_);
    tag_ = 0;
    flags_ = 0;
    v_.zero();
    if (holdsStrong(tag))
      v.ref->release();
    else if (holdsRef(tag))
      dropWeak(v.weak);
  }

  std::uint8_t tag_;
  std::uint8_t flags_;
  std::uint16_t reserved16_;
  std::uint32_t reserved32_;
  union Payload {
    std::int32_t i;
    std::uint32_t u;
    float f;
    double d;
    TulRefObject* ref;
    TulWeakLink* weak;
    std::uint32_t words[2];
    // Cleared as two words: a double's 0.0 stored on a 32-bit x86 build
    // without SSE goes through the x87 unit, which an emulator runs slowly.
    void zero() {
      words[0] = 0;
      words[1] = 0;
    }
    // Copied as the two words it is written as: a value is read soon
    // after it is written, and a load wider than the stores that wrote it
    // cannot take their bytes from the store buffer; it waits for them.
    void copy(const Payload& from) {
      words[0] = from.words[0];
      words[1] = from.words[1];
    }
  } v_;
};

static_assert(sizeof(TulValue) == 16, "TulValue is 16 bytes");

// Native method: (vm, argc, sp) with sp at the last occupied stack slot; the
// result slot lies argc slots below sp.
using NativeMethod = bool (*)(TulVirtualMachine* vm, int argc, ValPtr& sp);
