// The runtime's own face for host programs, the script front end and tests:
// creating and tearing down machines, the error record, classes whose methods
// are C++ callables (they stand for script classes), calls into objects, and
// introspection. The class library never includes this header.
//
// Invariant: after a Machine is destroyed, every host object that was made
// while it was alive has been released (liveObjects() is back where it was),
// except objects a caller still holds through its own references.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "host/tul.h"

namespace tulrt {

// The last error raised through a machine's interpreter.
struct ErrorRecord {
  bool set = false;
  std::string message;
  bool hasDetail = false;
  std::string detail;
  bool typeError = false;  // then actual and expected are the two tags
  TulValueType actual = TulValueType::Nil;
  TulValueType expected = TulValueType::Nil;
};

// A method written in C++ that behaves exactly like a script method: it gets
// the same frame as a native method and is found by the same lookup, so an
// override of a native method is what invokeMember reaches.
using ScriptMethod = std::function<bool(TulVirtualMachine* vm, int argc, ValPtr& sp)>;

constexpr unsigned kDefaultStackSlots = 65536;
constexpr int kMaxCallDepth = 1000;

class Interpreter;

class TUL_API Machine : public TulVirtualMachine {
 public:
  explicit Machine(unsigned stackSlots = kDefaultStackSlots);
  // Tears the machine down: empties the stack, runs the `dtor` of every
  // object of its classes still alive, breaks reference cycles among them and
  // releases its classes. Objects still held elsewhere survive with their
  // members set to nil. The last machine of a thread also empties every
  // vector and dictionary still alive, which frees containers that hold
  // themselves.
  ~Machine();

  Interpreter& interp();
  void setInDbg(bool on);
  // A registered class, or null.
  TulClass* findClass(const char* name);
  // Creates a class deriving from base (may be null), with the given data
  // members, and registers it. Null after an error report.
  TulClass* defineClass(const char* name, TulClass* base,
                        std::initializer_list<const char*> members = {});
  // Every class made for this machine, registered or not, in creation order.
  const std::vector<TulClass*>& allClasses() const;

  // The most recently created machine of this thread that is still alive.
  static Machine* current();

  struct Impl;
  Impl& impl() { return *impl_; }

 private:
  Impl* impl_;
};

class TUL_API Interpreter : public TulInterpreter {
 public:
  Machine& machine();

  const ErrorRecord& lastError() const;
  void clearError();

  // Calls method `name`, looked up from cls through its bases, with `self`
  // as `this` (self null: a static method, called without `this`). The self
  // value need not be an object: tests use this to call with a bad `this`.
  bool call(TulValue& result, TulClass* cls, const char* name,
            const TulValue* self, const TulValue* args, int nargs);
  // The same for a native method already found (findNativeMethod) on an
  // instance, the arguments moved into its frame: they are left nil.
  bool callNative(TulValue& result, NativeMethod fn, const TulValue& self, TulValue* args,
                  int nargs);
  // obj.name(args...), dispatched on obj's class.
  bool callMember(TulValue& result, TulObject* obj, const char* name,
                  std::initializer_list<TulValue> args = {});
  // cls.name(args...) for a static method.
  bool callStatic(TulValue& result, TulClass* cls, const char* name,
                  std::initializer_list<TulValue> args = {});
  // The implementation `name` that cls inherits (looked up from cls's base),
  // called on obj: what `base.name(...)` does inside a method of cls.
  bool callInherited(TulValue& result, TulClass* cls, TulObject* obj,
                     const char* name, std::initializer_list<TulValue> args = {});
  // TulInterpreter::createObject for a class in hand: the same answer, and a
  // failure told to the native-call failure handler the same way; a class
  // that was never registered is not found. The arguments are moved into the
  // constructor's frame (left nil).
  bool create(TulValue& out, TulClass* cls, TulValue* args, int nargs);
  // Creates an object of cls, running its constructor (or its nearest
  // base's) with args.
  bool construct(TulValue& out, TulClass* cls,
                 std::initializer_list<TulValue> args = {});

  // Where errors of `dtor` methods go (they are never thrown); the default
  // prints them to stderr.
  void setDtorErrorHandler(std::function<void(const ErrorRecord&)> handler);
  // Told when a call that native code made through the interpreter
  // (invokeMember, createObject) has failed, with the error standing. Native
  // code may answer for such a failure and go on (a window procedure answers
  // the system with default processing); the error has been raised all the
  // same, and a host uses this to raise it where control returns to the
  // script. Empty: nothing is told.
  void setNativeCallFailureHandler(std::function<void(const ErrorRecord&)> handler);

  // Current depth of nested calls and used stack slots.
  int callDepth() const;
  // Where the depth is kept, for a caller that reads it at every call (the
  // script VM at each method call): good while the machine lives.
  const int* callDepthCounter() const;
  unsigned stackUsed() const;
};

// Binds C++ callables as methods of a class (methods a script would write).
TUL_API bool addScriptMethod(TulClass* cls, const char* name, ScriptMethod fn);
TUL_API bool addStaticScriptMethod(TulClass* cls, const char* name, ScriptMethod fn);

// Introspection.
TUL_API const char* className(const TulClass* cls);  // "" before registration
TUL_API TulClass* baseClass(const TulClass* cls);
// Data members in index order, inherited ones first.
TUL_API std::vector<std::string> dataMemberNames(const TulClass* cls);
TUL_API std::vector<std::string> staticMemberNames(const TulClass* cls);
// Methods the class binds itself, in binding order.
TUL_API std::vector<std::string> ownMethodNames(const TulClass* cls);
TUL_API std::vector<std::string> ownStaticMethodNames(const TulClass* cls);
// A static data member found through the class chain, or null.
TUL_API TulValue* findStatic(TulClass* cls, const char* name);
// True when cls or a base defines method `name` (instance or static).
TUL_API bool hasMethod(const TulClass* cls, const char* name, bool isStatic = false);
// The native function that Interpreter::call runs for instance method
// `name` of cls (found through the bases); null when there is none or the
// method is a ScriptMethod.
TUL_API NativeMethod findNativeMethod(const TulClass* cls, const char* name);
// Changes whenever a class binds a method, takes another base or goes, so a
// lookup remembered with its value stands while the value is unchanged.
TUL_API const std::uint64_t& methodGeneration();

// The largest block of storage one host string, vector or buffer may take,
// in bytes; a larger request fails as running out of memory does (the
// script error "out of memory"). 0, the default: no limit but memory. A
// host sets it to keep scripts within bounds of its own choosing.
TUL_API void setContainerLimit(std::size_t bytes);

// The number of host objects (everything derived from TulRefObject) alive in
// the process.
TUL_API long liveObjects();

// A readable name of a tag or type code: "int", "string", "object", ...
TUL_API const char* typeName(TulValueType t);

}  // namespace tulrt
