// `win32` (see win32_calls.h): one static method per row of the function
// table. A method turns its arguments into 32-bit stack words, calls the
// function through the generic caller and gives back its result as a signed
// script integer (nothing for a function that returns nothing).
//
// Invariant: the function is called only after every argument has become a
// word; a method that reports an error has called nothing.
#include "tools/tul/win32_calls.h"

#include <cstdint>
#include <string>

#include "runtime/runtime.h"
#include "script/engine.h"
#include "tools/tul/static_call.h"
#include "tools/tul/win32_functions.h"

namespace {

static_assert(sizeof(void*) == 4, "addresses are passed as one 32-bit word");

enum class ArgFault { None, Kind, Range };

bool isFloating(const TulValue& v) {
  return v.type() == TulValueType::F32 || v.type() == TulValueType::F64;
}

// A whole double goes as the pattern of the 32-bit integer it names, signed
// or unsigned: -1 and 4294967295 are the same word.
ArgFault doubleWord(double d, std::uint32_t& out) {
  if (d < -2147483648.0 || d > 4294967295.0) return ArgFault::Range;
  out = d < 0 ? static_cast<std::uint32_t>(static_cast<std::int32_t>(d))
              : static_cast<std::uint32_t>(d);
  return ArgFault::None;
}

// The word a script value stands for: an integer's bit pattern, 0 for nil,
// the address of the bytes of a string or buffer (so the function reads or
// fills the script's own storage).
ArgFault argumentWord(TulValue& v, std::uint32_t& out) {
  switch (v.type()) {
    case TulValueType::Nil:
    case TulValueType::Empty:
      out = 0;
      return ArgFault::None;
    case TulValueType::String:
    case TulValueType::Buffer:
    case TulValueType::CharBuffer:
      out = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(v.addr()));
      return ArgFault::None;
    default:
      break;
  }
  if (!v.isInteger()) return ArgFault::Kind;
  if (isFloating(v)) return doubleWord(static_cast<double>(v), out);
  out = static_cast<unsigned int>(v);
  return ArgFault::None;
}

bool reportCount(const StaticCall& f, const Win32Function& fn) {
  return f.fail("expected " + std::to_string(fn.words) + " argument" + (fn.words == 1 ? "" : "s") +
                ", got " + std::to_string(f.argCount()));
}

bool reportArgument(const StaticCall& f, int i, ArgFault fault) {
  const std::string which = "argument " + std::to_string(i + 1);
  if (fault == ArgFault::Range) return f.fail(which + " does not fit in 32 bits");
  return f.fail(which + " must be an integer, a string or a buffer, not " +
                tulrt::typeName(f.arg(i).type()));
}

// Every argument as a word; false after reporting the first that is none.
bool collectWords(const StaticCall& f, const Win32Function& fn, std::uint32_t* words) {
  for (int i = 0; i < fn.words; ++i) {
    ArgFault fault = argumentWord(f.arg(i), words[i]);
    if (fault != ArgFault::None) return reportArgument(f, i, fault);
  }
  return true;
}

bool win32_call(const Win32Function& fn, Win32Proc proc, TulVirtualMachine* vm, int argc,
                ValPtr& sp) {
  StaticCall f(vm, argc, sp, std::string("win32.") + fn.name);
  if (!proc) return f.notAvailable();
  if (argc != fn.words) return reportCount(f, fn);
  std::uint32_t words[kMaxWin32Words] = {};
  if (!collectWords(f, fn, words)) return false;
  std::uint32_t raw = callStdcall(proc, words, fn.words);
  return fn.result ? f.retInt(fn.result(raw)) : f.retNothing();
}

}  // namespace

void defineWin32Class(tulscript::Engine& engine) {
  TulClass* cls = engine.machine().defineClass("win32", nullptr);
  if (!cls) return;  // the name is taken: the machine has reported it
  for (const Win32Function& fn : win32Functions()) {
    // Resolved once per run: the row lives in a constant table, the address
    // for the life of the process.
    Win32Proc proc = win32Address(fn);
    tulrt::addStaticScriptMethod(cls, fn.name,
                                 [&fn, proc](TulVirtualMachine* vm, int argc, ValPtr& sp) {
                                   return win32_call(fn, proc, vm, argc, sp);
                                 });
  }
}
