// The host's virtual machine, interpreter, classes and script objects, and
// its raw allocation functions.
//
// Invariant: every operation that fails has already reported its error to the
// interpreter; callers return false at once and report nothing further.
#pragma once

#include "host/containers.h"

class TulClassState;

// The virtual machine. Hosts create machines through their runtime; the
// library only uses the operations below.
class TUL_API TulVirtualMachine {
 public:
  TulInterpreter* interpreter();
  // Every registered class by name; an entry's value converts to TulClass*.
  TulDictionary& classes();
  // Enters the class under the name and names the class. False, after an
  // error report, when the name is taken or either argument is missing.
  bool registerNativeClass(const char* name, TulClass* cls);
  // True while the machine is stopped in its debugger.
  bool isInDbg();

 protected:
  TulVirtualMachine() = default;
  ~TulVirtualMachine() = default;
  TulVirtualMachine(const TulVirtualMachine&) = delete;
  TulVirtualMachine& operator=(const TulVirtualMachine&) = delete;
};

// A place in native code that calls a method by name, as a script call
// would, many times over (once a message, say). The interpreter remembers
// there what the name found last: the class it was looked up in and the
// method, good only while no class anywhere has been changed since, so an
// override bound later, a base changed or a class made anew at the same
// address is seen on the next call. Declare one per place, static, with the
// name alone: TulCallSite site{"handleMessage"}; the rest is the
// interpreter's.
struct TulCallSite {
  const char* name;
  const void* cls = nullptr;
  const void* method = nullptr;
  unsigned long long generation = 0;  // 0: nothing remembered
  // The method's native function (null: a script method), and the
  // interpreter's generation counter, which a caller may compare inline.
  NativeMethod native = nullptr;
  const unsigned long long* generationNow = nullptr;

  // What the site remembers for cls, when that still stands.
  bool remembers(const void* c) const {
    return generationNow && cls == c && generation == *generationNow;
  }
};

// The interpreter of one machine: errors are raised and script code is
// called through it.
class TUL_API TulInterpreter {
 public:
  // Raises a script error; always returns false. detail may be null.
  bool returnError(const char* message, const char* detail);
  // Raises a type error naming both tags; always returns false.
  bool badType(TulValueType actual, TulValueType expected);
  // True when v is acceptable as the type code; otherwise raises a type
  // error and returns false.
  bool checkType(const TulValue& v, TulValueType code);
  // The string a string value holds, or null.
  TulString* getStringFromValueExtern(TulValue& v);
  // Creates an object of the named class and runs its constructor with args
  // (null: none); out receives the object.
  bool createObject(TulValue& out, const TulString& className, TulVector* args);
  // Calls obj's method `name` as a script call would (overrides win).
  bool invokeMember(TulValue& result, TulObject* obj, const char* name,
                    TulVector* args);
  // The same through a call site, with the nargs arguments read in place
  // from args (null when there are none).
  bool invokeMember(TulValue& result, TulObject* obj, TulCallSite& site,
                    const TulValue* args, int nargs);
  // The native function that invokeMember through the site would run for
  // obj (the method its name finds from obj's class, remembered there), or
  // null when that is a script method or nothing binds the name. Native code
  // that knows the function may do its work itself, without the call's
  // frame; a failure is then told with callFailed.
  NativeMethod nativeMethodAt(TulObject* obj, TulCallSite& site);
  // Tells the host that work native code did in place of an invokeMember
  // failed, as a failed invokeMember tells it; the error stands. Always
  // returns false.
  bool callFailed();

 protected:
  TulInterpreter() = default;
  ~TulInterpreter() = default;
  TulInterpreter(const TulInterpreter&) = delete;
  TulInterpreter& operator=(const TulInterpreter&) = delete;
};

// A script class. Created for a machine, which keeps it until the machine is
// torn down; registration gives it its name.
class TUL_API TulClass : public TulRefObject {
 public:
  explicit TulClass(TulVirtualMachine& vm);
  ~TulClass() override;

  TulVirtualMachine& getVM();
  // The name given at registration (empty before).
  const TulString& getName() const;
  bool addDataMember(const char* name);
  bool addStaticDataMember(const char* name, const TulValue& initial);
  bool addMethod(const char* name, NativeMethod fn, unsigned char flags);
  bool addStaticMethod(const char* name, NativeMethod fn, unsigned char flags);
  // False when base is null, is this class, or derives from it.
  bool setBaseClass(TulClass* base);
  // Completes the member layout: the base's members first, at the base's
  // indices, then this class's own.
  void fixupDataDefs();
  // -1 when the class has no such data member.
  int getMemberIndex(const TulString& name);
  // The entry of one of this class's own static data members, or null.
  TulDictionaryEntry* findOwnMember(const TulString& name, bool flag);
  bool isSubtypeOf(const TulString& className);
  bool isSubtypeOf(TulClass* other);

  // Host side: the runtime's state of this class.
  TulClassState& state() { return *state_; }
  const TulClassState& state() const { return *state_; }

 private:
  TulClassState* state_;
};

// A script object: its class and its data members.
class TUL_API TulObject : public TulRefObject {
 public:
  // An instance made natively: members Nil, no script constructor run.
  explicit TulObject(TulClass* cls);
  ~TulObject() override;
  // An object and its member vector are made in one block.
  static void* operator new(std::size_t size);
  static void operator delete(void* object);

  TulClass* getClass() { return class_; }
  TulVector* getMemberData() { return members_; }

 protected:
  // Runs the class's `dtor` method, if any, before the members go.
  void lastReleased() override;

 private:
  TulClass* class_;     // strong
  TulVector* members_;  // strong
  bool dtorRan_;
  // The machine's list of its live objects, linked through them.
  TulObject* livePrev_ = nullptr;
  TulObject* liveNext_ = nullptr;

  friend class TulObjectAccess;
};

// static_cast<TulObject*>(v) with its common case, a strong reference, read
// inline; a weak reference goes through the host.
inline TulObject* objectIn(const TulValue& v) {
  if (v.type() == TulValueType::Object) return static_cast<TulObject*>(v.refObject());
  if (v.type() != TulValueType::ObjectRef) return nullptr;
  return static_cast<TulObject*>(v);
}

TUL_API void* allocmem(unsigned size);
TUL_API void* reallocmem(void* block, unsigned size);
