// Vector: a script sequence over one host vector in `_vec`. Results of the
// operators and slice are new objects of the class of `this`, made without
// running a script constructor.
//
// Invariant: every check comes before the first change, and an operation
// that adds elements sets the capacity first, so elements move at most once
// and never while the vector is being filled.
#include <climits>

#include "module/classes.h"
#include "module/errors.h"
#include "module/frame.h"

namespace {

TulVector* elements(Frame& f) {
  return f.memberAs<TulVector>(Member::VectorVec, TulValueType::Vector);
}

// A vector argument: a plain host vector, or an object of the class of
// `this` (or a derived one) whose _vec holds a vector. Null otherwise.
TulVector* vectorArg(Frame& f, const TulValue& v) {
  if (v.type() == TulValueType::Vector) return static_cast<TulVector*>(v);
  if (!isObjectOf(v, f.self()->getClass())) return nullptr;
  TulValue* slot = memberSlot(static_cast<TulObject*>(v), Member::VectorVec);
  return slot ? static_cast<TulVector*>(*slot) : nullptr;
}

void appendAll(TulVector* to, const TulVector& from) {
  // Copy the count first: `from` may be `to` itself.
  unsigned n = from.size();
  to->setCapacity(to->size() + n);
  for (unsigned i = 0; i < n; ++i) to->push_back(from[i]);
}

bool newVector(Frame& f, TulVector* v) {
  return f.ret(newObjectWith(f.self()->getClass(), Member::VectorVec, TulValue(v)));
}

// The start and count arguments of slice and erase (count -1 when absent).
bool range(Frame& f, int& start, int& count) {
  count = -1;
  if (!f.intArg(0, start)) return false;
  if (f.argCount() == 2 && !f.intArg(1, count)) return false;
  return true;
}

// Start must lie inside the vector; count is clamped to what follows it.
bool clampRange(Frame& f, unsigned size, int start, int& count) {
  if (start < 0 || static_cast<unsigned>(start) >= size) return f.fail(err::kSubscriptOutOfRange);
  int rest = static_cast<int>(size) - start;
  if (count < 0 || count > rest) count = rest;
  return true;
}

bool vector_new(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 2)) return false;
  TulValue* slot = f.member(Member::VectorVec);
  if (!slot) return f.badType(TulValue(), TulValueType::Vector);
  if (f.argCount() == 0) {
    *slot = TulValue(new TulVector());
    return f.retSelf();
  }
  if (f.argCount() == 1) {
    if (TulVector* src = vectorArg(f, f.arg(0))) {
      *slot = TulValue(new TulVector(*src));
      return f.retSelf();
    }
  }
  int count;
  if (!f.intArg(0, count)) return false;
  bool filled = f.argCount() == 2 && static_cast<int>(f.arg(1)) != 0;
  // A negative count asks for nothing.
  unsigned n = count < 0 ? 0u : static_cast<unsigned>(count);
  *slot = TulValue(new TulVector(n, filled));
  return f.retSelf();
}

bool vector_add(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulVector* mine = elements(f);
  if (!mine) return false;
  auto* result = new TulVector(*mine);
  TulValue owner(result);
  if (TulVector* other = vectorArg(f, f.arg(0))) {
    appendAll(result, *other);
  } else {
    result->setCapacity(result->size() + 1);
    result->push_back(f.arg(0));
  }
  return newVector(f, result);
}

bool vector_addRight(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulVector* mine = elements(f);
  if (!mine) return false;
  const TulValue& a = f.arg(0);
  TulVector* result;
  if (a.type() == TulValueType::Vector) {
    result = new TulVector(*static_cast<TulVector*>(a));
  } else {
    result = new TulVector(1, false);
    result->push_back(a);
  }
  TulValue owner(result);
  appendAll(result, *mine);
  return newVector(f, result);
}

// The index of OP_VREF and OP_VSET, checked against the size.
bool elementIndex(Frame& f, const TulVector* v, int& index) {
  if (!f.intArg(0, index)) return false;
  if (index < 0 || static_cast<unsigned>(index) >= v->size())
    return f.fail(err::kSubscriptOutOfRange);
  return true;
}

bool vector_vref(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulVector* v = elements(f);
  int index;
  if (!v || !elementIndex(f, v, index)) return false;
  return f.ret((*v)[static_cast<unsigned>(index)]);
}

bool vector_vset(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(2, 2)) return false;
  TulVector* v = elements(f);
  int index;
  if (!v || !elementIndex(f, v, index)) return false;
  (*v)[static_cast<unsigned>(index)] = f.arg(1);
  return f.retNothing();
}

template <unsigned (TulVector::*Query)() const>
bool vector_query(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulVector* v = elements(f);
  if (!v) return false;
  return f.ret(TulValue((v->*Query)()));
}

bool vector_setCapacity(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  int n;
  if (!f.intArg(0, n)) return false;
  TulVector* v = elements(f);
  if (!v) return false;
  return f.ret(TulValue(v->setCapacity(static_cast<unsigned>(n))));
}

bool vector_shrink(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulVector* v = elements(f);
  if (!v) return false;
  return f.ret(TulValue(v->shrink()));
}

bool vector_push_back(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulVector* v = elements(f);
  if (!v) return false;
  v->push_back(f.arg(0));
  return f.retSelf();
}

bool vector_push_front(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulVector* v = elements(f);
  if (!v) return false;
  TulValue value = f.arg(0);  // the argument may be an element of v
  v->push_back(TulValue());
  for (unsigned i = v->size() - 1; i > 0; --i) (*v)[i] = (*v)[i - 1];
  (*v)[0] = value;
  return f.retSelf();
}

bool vector_pop_back(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulVector* v = elements(f);
  if (!v) return false;
  if (v->size() == 0) return f.fail(err::kPopFromEmpty);
  TulValue last = *v->last();
  v->pop_back();
  return f.ret(last);
}

bool vector_pop_front(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulVector* v = elements(f);
  if (!v) return false;
  if (v->size() == 0) return f.fail(err::kPopFromEmpty);
  TulValue first = (*v)[0];
  for (unsigned i = 0; i + 1 < v->size(); ++i) (*v)[i] = (*v)[i + 1];
  v->pop_back();
  return f.ret(first);
}

bool vector_clear(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulVector* v = elements(f);
  if (!v) return false;
  v->clear();
  return f.retNothing();
}

// The values go in before the position; the elements that stood at and
// after it follow them in their old order.
bool vector_insert(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(2, INT_MAX)) return false;
  int pos;
  if (!f.intArg(0, pos)) return false;
  TulVector* v = elements(f);
  if (!v) return false;
  unsigned n = v->size();
  unsigned k = static_cast<unsigned>(f.argCount() - 1);
  unsigned at = pos < 0 || static_cast<unsigned>(pos) > n ? n : static_cast<unsigned>(pos);
  // The values may be elements of v: take them before anything moves.
  TulVector values(k, false);
  for (unsigned i = 0; i < k; ++i) values.push_back(f.arg(static_cast<int>(i) + 1));
  v->setCapacity(n + k);
  for (unsigned i = 0; i < k; ++i) v->push_back(TulValue());
  for (unsigned i = n; i-- > at;) (*v)[i + k] = (*v)[i];
  for (unsigned i = 0; i < k; ++i) (*v)[at + i] = values[i];
  return f.retSelf();
}

bool vector_slice(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 2)) return false;
  int start, count;
  if (!range(f, start, count)) return false;
  TulVector* v = elements(f);
  if (!v || !clampRange(f, v->size(), start, count)) return false;
  auto* result = new TulVector(static_cast<unsigned>(count), false);
  TulValue owner(result);
  for (int i = 0; i < count; ++i) result->push_back((*v)[static_cast<unsigned>(start + i)]);
  return newVector(f, result);
}

bool vector_erase(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 2)) return false;
  int start, count;
  if (!range(f, start, count)) return false;
  TulVector* v = elements(f);
  if (!v || !clampRange(f, v->size(), start, count)) return false;
  unsigned from = static_cast<unsigned>(start), k = static_cast<unsigned>(count);
  for (unsigned i = from; i + k < v->size(); ++i) (*v)[i] = (*v)[i + k];
  for (unsigned i = 0; i < k; ++i) v->pop_back();
  return f.retSelf();
}

bool vector_vec(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulVector* v = elements(f);
  if (!v) return false;
  return f.ret(TulValue(v));
}

constexpr MemberRow kVectorMembers[] = {{"_vec", Member::VectorVec}};

constexpr MethodRow kVectorMethods[] = {
    {"Vector", vector_new},
    {"OP_ADD", vector_add},
    {"OP_ADD_R", vector_addRight},
    {"OP_VREF", vector_vref},
    {"OP_VSET", vector_vset},
    {"size", vector_query<&TulVector::size>},
    {"capacity", vector_query<&TulVector::capacity>},
    {"setCapacity", vector_setCapacity},
    {"shrink", vector_shrink},
    {"push_back", vector_push_back},
    {"pop_back", vector_pop_back},
    {"push_front", vector_push_front},
    {"pop_front", vector_pop_front},
    {"clear", vector_clear},
    {"insert", vector_insert},
    {"slice", vector_slice},
    {"erase", vector_erase},
    {"vec", vector_vec},
    {"vector", vector_vec},
};

}  // namespace

const ClassSpec kVectorSpec = {"Vector", nullptr, kVectorMembers, {}, kVectorMethods, {}};
