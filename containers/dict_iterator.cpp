// DictIterator: an iterator over a Dictionary. `_current` refers to the entry
// the iterator stands on, or holds the empty value at the end. It knows no
// dictionary and no position: stepping follows the entry's successor link.
//
// Invariant: an entry that was erased (by key, by clear, through another
// iterator, or with its dictionary) is never followed or read; the host keeps
// its memory valid while `_current` refers to it, and the methods refuse it
// with "Invalid iterator.".
#include "containers/dict_iterator.h"

#include "module/classes.h"
#include "module/errors.h"
#include "module/frame.h"

// Function-local statics are initialised once even when two first uses race.
const TulString& dictIteratorName() {
  static const TulString* name = [] {
    auto* s = new TulString("DictIterator");
    s->retain();  // kept for the life of the process
    return s;
  }();
  return *name;
}

namespace {

// The live entry of `this`, or "Invalid iterator." and null.
TulDictionaryEntry* currentEntry(Frame& f) {
  TulValue* slot = f.member(Member::DictIteratorCurrent);
  TulDictionaryEntry* e = slot ? static_cast<TulDictionaryEntry*>(*slot) : nullptr;
  if (!e || e->erased()) f.fail(err::kInvalidIterator);
  return e && !e->erased() ? e : nullptr;
}

void moveTo(TulValue& current, TulDictionaryEntry* e) {
  if (e)
    current = TulValue(e);
  else
    current.dispose();
}

bool iterator_next(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulDictionaryEntry* e = currentEntry(f);
  if (!e) return false;
  moveTo(*f.member(Member::DictIteratorCurrent), e->next);
  return f.retSelf();
}

bool iterator_postIncrement(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulDictionaryEntry* e = currentEntry(f);
  if (!e) return false;
  TulValue it = createDictIterator(vm, e->next);
  if (it.type() == TulValueType::Nil) return f.fail(err::kIteratorCreationFailed);
  return f.ret(it);
}

bool iterator_equals(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  const TulValue& other = f.arg(0);
  if (!other.isObject()) return f.badType(other, TulValueType::Object);
  if (!isObjectOf(other, f.self()->getClass()))
    return f.fail(err::kNotAnIterator, err::kNotAnIteratorDetail);
  TulValue* mine = f.member(Member::DictIteratorCurrent);
  TulValue* theirs = memberSlot(static_cast<TulObject*>(other), Member::DictIteratorCurrent);
  if (!mine || !theirs || mine->type() != theirs->type()) return f.retBool(false);
  if (mine->type() == TulValueType::Empty) return f.retBool(true);
  return f.retBool(static_cast<TulDictionaryEntry*>(*mine) ==
                   static_cast<TulDictionaryEntry*>(*theirs));
}

bool iterator_getKey(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulDictionaryEntry* e = currentEntry(f);
  if (!e) return false;
  return f.ret(TulValue(new TulString(e->key.c_str())));
}

bool iterator_getValue(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulDictionaryEntry* e = currentEntry(f);
  if (!e) return false;
  return f.ret(e->value);
}

bool iterator_setValue(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulDictionaryEntry* e = currentEntry(f);
  if (!e) return false;
  e->setValue(f.arg(0), false, false);
  return f.retNothing();
}

constexpr MemberRow kIteratorMembers[] = {{"_current", Member::DictIteratorCurrent}};

constexpr MethodRow kIteratorMethods[] = {
    {"OP_INC", iterator_next},
    {"OP_PINC", iterator_postIncrement},
    {"next", iterator_next},
    {"equals", iterator_equals},
    {"getKey", iterator_getKey},
    {"getValue", iterator_getValue},
    {"setValue", iterator_setValue},
};

}  // namespace

TulValue createDictIterator(TulVirtualMachine* vm, TulDictionaryEntry* entry) {
  TulClass* cls = findClass(vm, dictIteratorName());
  if (!cls) return TulValue();
  TulValue it(new TulObject(cls));
  TulValue* current = memberSlot(static_cast<TulObject*>(it), Member::DictIteratorCurrent);
  if (!current) return TulValue();
  moveTo(*current, entry);
  return it;
}

const ClassSpec kDictIteratorSpec = {"DictIterator", nullptr, kIteratorMembers, {},
                                     kIteratorMethods, {}};
