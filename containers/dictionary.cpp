// Dictionary: a script map from string keys to values over one host
// dictionary in `_dict`, kept in the host's insertion order, with iterators
// (DictIterator) handed out by begin, end and find.
//
// Invariant: every method other than the constructor checks that `_dict`
// holds a dictionary before using it, so an object whose constructor never
// ran gets a report, not a crash.
#include "containers/dict_iterator.h"
#include "module/classes.h"
#include "module/errors.h"
#include "module/frame.h"

namespace {

TulDictionary* entries(Frame& f) {
  return f.memberAs<TulDictionary>(Member::DictionaryDict, TulValueType::Dictionary);
}

// A key argument, or a bad-type report (string expected) and null.
TulString* keyArg(Frame& f, int i) {
  TulString* key = refIn<TulString>(f.arg(i), TulValueType::String);
  if (!key) f.badType(f.arg(i), TulValueType::String);
  return key;
}

// A copy of the entries of src, in src's order.
TulDictionary* copyOf(const TulDictionary& src) {
  auto* copy = new TulDictionary(false);
  for (TulDictionaryEntry* e = src.getFirst(); e; e = e->next) *(*copy)[e->key] = e->value;
  return copy;
}

bool dictionary_new(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 1)) return false;
  TulValue* slot = f.member(Member::DictionaryDict);
  if (!slot) return f.badType(TulValue(), TulValueType::Dictionary);
  if (f.argCount() == 0) {
    *slot = TulValue(new TulDictionary(false));
    return f.retSelf();
  }
  const TulValue& a = f.arg(0);
  if (a.type() == TulValueType::Dictionary) {
    *slot = TulValue(copyOf(*static_cast<TulDictionary*>(a)));
    return f.retSelf();
  }
  if (!a.isObject()) return f.badType(a, TulValueType::Dictionary);
  TulObject* other = static_cast<TulObject*>(a);
  if (!isObjectOf(a, f.self()->getClass()))
    return f.fail(err::kNotADictionaryClass,
                  other && other->getClass() ? other->getClass()->getName().c_str() : "");
  TulValue* theirs = memberSlot(other, Member::DictionaryDict);
  TulDictionary* src = theirs ? static_cast<TulDictionary*>(*theirs) : nullptr;
  if (!src) return f.fail(err::kArgumentDamaged);
  *slot = TulValue(copyOf(*src));
  return f.retSelf();
}

bool dictionary_vref(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulDictionary* d = entries(f);
  TulString* key = d ? keyArg(f, 0) : nullptr;
  if (!key) return false;
  return f.ret((*d)[*key]->value);
}

bool dictionary_vset(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(2, 2)) return false;
  TulDictionary* d = entries(f);
  TulString* key = d ? keyArg(f, 0) : nullptr;
  if (!key) return false;
  (*d)[*key]->setValue(f.arg(1), false, false);
  return f.retNothing();
}

bool iteratorResult(Frame& f, TulDictionaryEntry* e) {
  TulValue it = createDictIterator(f.vm(), e);
  if (it.type() == TulValueType::Nil) return f.fail(err::kIteratorCreationFailed);
  return f.ret(it);
}

bool dictionary_begin(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulDictionary* d = entries(f);
  if (!d) return false;
  return iteratorResult(f, d->getFirst());
}

bool dictionary_end(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  return iteratorResult(f, nullptr);
}

bool dictionary_find(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulDictionary* d = entries(f);
  TulString* key = d ? keyArg(f, 0) : nullptr;
  if (!key) return false;
  return iteratorResult(f, d->find(*key));
}

bool dictionary_size(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulDictionary* d = entries(f);
  if (!d) return false;
  return f.retInt(static_cast<int>(d->count()));
}

bool dictionary_clear(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulDictionary* d = entries(f);
  if (!d) return false;
  d->clear();
  return f.retNothing();
}

// The iterator's `_current` slot when the argument is a DictIterator that
// stands on an entry; null otherwise (the argument is then taken as a key).
TulValue* iteratorOnEntry(const TulValue& v) {
  TulObject* obj = static_cast<TulObject*>(v);
  if (!obj || !obj->getClass() || !obj->getClass()->isSubtypeOf(dictIteratorName()))
    return nullptr;
  TulValue* current = memberSlot(obj, Member::DictIteratorCurrent);
  return current && current->type() == TulValueType::DictEntry ? current : nullptr;
}

bool dictionary_erase(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulDictionary* d = entries(f);
  if (!d) return false;
  if (TulValue* current = iteratorOnEntry(f.arg(0))) {
    TulValue entry = *current;  // keeps the entry alive while it goes
    auto* e = static_cast<TulDictionaryEntry*>(entry);
    TulDictionaryEntry* successor = e->next;
    if (!d->erase(e)) return f.retBool(false);
    if (successor)
      *current = TulValue(successor);
    else
      current->dispose();
    return f.retBool(true);
  }
  TulString* key = keyArg(f, 0);
  if (!key) return false;
  return f.retBool(d->erase(*key));
}

bool dictionary_dict(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulDictionary* d = entries(f);
  if (!d) return false;
  return f.ret(TulValue(d));
}

constexpr MemberRow kDictionaryMembers[] = {{"_dict", Member::DictionaryDict}};

constexpr MethodRow kDictionaryMethods[] = {
    {"Dictionary", dictionary_new},
    {"OP_VREF", dictionary_vref},
    {"OP_VSET", dictionary_vset},
    {"begin", dictionary_begin},
    {"end", dictionary_end},
    {"find", dictionary_find},
    {"size", dictionary_size},
    {"clear", dictionary_clear},
    {"erase", dictionary_erase},
    {"dict", dictionary_dict},
    {"dictionary", dictionary_dict},
};

}  // namespace

const ClassSpec kDictionarySpec = {"Dictionary", nullptr, kDictionaryMembers, {},
                                   kDictionaryMethods, {}};
