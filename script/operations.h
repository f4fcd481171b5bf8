// What the language does with values that the VM meets on its slow paths:
// operators with their hooks, members, elements, ++ and --, calls by name
// on objects and classes, `throw` and `for ... in`. Each takes the frame
// and the line an error is reported at, records the error and answers
// false, as every part of the interpreter does.
//
// Objects meet operators only through their hook methods (OP_ADD,
// OP_ADD_R, OP_SUB, OP_VREF, OP_VSET, OP_INC, OP_PINC), called through the
// runtime exactly as native code would call them, so a script override and
// a native method are reached alike; plain values go to values.cpp.
#pragma once

#include <string>

#include "script/interp.h"

namespace tulscript {
namespace ops {

// The object a value refers to, or null (also for a weak reference whose
// object is gone).
inline TulObject* objectOf(const TulValue& v) { return static_cast<TulObject*>(v); }
inline TulString* stringOf(const TulValue& v) { return static_cast<TulString*>(v); }

bool deadObject(Interp& in, Frame& f, int line);

// a OP b, the hooks of + and - first; == and != by valuesEqual.
bool binary(Interp& in, Frame& f, int line, TokenKind op, const TulValue& a, const TulValue& b,
            TulValue& out);
// -v, +v, ~v and !v.
bool unary(Interp& in, Frame& f, int line, TokenKind op, const TulValue& v, TulValue& out);
// What ++ (or --) makes of a place's value: objects through OP_INC (prefix)
// or OP_PINC (postfix), numbers by one.
bool stepped(Interp& in, Frame& f, int line, bool increment, bool prefix, const TulValue& old,
             TulValue& out);

// The slot of member `name` of obj (an object's data member, a class's
// static, a dictionary's entry, null for a dictionary without it when
// reading). The site remembers the member's index for the class it last
// met.
bool memberSlot(Interp& in, Frame& f, int line, const TulValue& obj, const std::string& name,
                SiteCache& site, bool forWrite, TulValue*& slot);
bool readIndex(Interp& in, Frame& f, int line, const TulValue& obj, const TulValue& key,
               TulValue& out);
bool writeIndex(Interp& in, Frame& f, int line, const TulValue& obj, const TulValue& key,
                const TulValue& v);
bool dictionaryKey(Interp& in, Frame& f, int line, const TulValue& key, TulString*& out);

// obj.name(args) for a method the interpreter does not run itself: native
// methods, ancestors' constructors, static methods, dictionary members.
bool callNamed(Interp& in, Frame& f, int line, const TulValue& obj, const std::string& name,
               const TulValue* args, int n, TulValue& out);
// base.name(args) from the frame's method; site remembers the base's
// native method. The arguments may be moved into the call's frame.
bool callBase(Interp& in, Frame& f, int line, const std::string& name, NativeSite& site,
              TulValue* args, int n, TulValue& out);

// The error `throw v` raises (always false).
bool raise(Interp& in, Frame& f, int line, const TulValue& v);

// for ... in: what the loop walks (the vector itself, or the keys a
// dictionary had when the loop began) and, each turn, the next item.
bool forInStart(Interp& in, Frame& f, int line, const TulValue& seq, TulValue& keys);
// False with more false at the end; counts the step of each turn.
bool forInNext(Interp& in, Frame& f, int line, const TulValue& seq, const TulValue& keys,
               TulValue& position, TulValue& item, bool& more);

}  // namespace ops
}  // namespace tulscript
