// Tracing an address back to the host storage that holds it: every live
// string and buffer is linked into one list (TulStorageLink), and a lookup
// walks it. Native code asks this of an address that a script handed over
// (a structure's ptr, say), so that an address inside any string or buffer
// the host owns is honoured and any other number is refused without being
// read.
//
// Invariant: the list holds exactly the strings and buffers constructed and
// not yet destroyed, newest first, but for dictionary entries' keys: nothing
// holds a key by count, so a lookup would pass it over, and it is kept off
// the list (linked to itself). Linking and unlinking are a few stores,
// since every string the interpreter makes passes through them; a lookup is
// linear, and rare. The host runs on one thread, so nothing is locked.
#include "host/containers.h"

TulStorageLink* TulStorageLink::newest_ = nullptr;

namespace {

using Kind = TulStorageLink::Kind;

// The storage's bytes, read from the string or buffer itself.
TulBytes bytesOf(TulRefObject* owner, Kind kind) {
  switch (kind) {
    case Kind::String: {
      TulString* s = static_cast<TulString*>(owner);
      return {reinterpret_cast<unsigned char*>(s->data()), s->length()};
    }
    case Kind::Buffer: {
      TulBuffer* b = static_cast<TulBuffer*>(owner);
      return {b->data(), b->size()};
    }
    case Kind::CharBuffer: {
      TulCharBuffer* b = static_cast<TulCharBuffer*>(owner);
      return {reinterpret_cast<unsigned char*>(b->data()), b->capacity()};
    }
  }
  return {nullptr, 0};
}

// The value that holds the link's string or buffer. Only one that something
// holds counts: a string with no count may live inside another object (a
// dictionary entry's key) or on the stack, and a value must not take it.
TulValue heldValue(const TulStorageLink& link) {
  TulRefObject* owner = link.owner();
  if (owner->refCount() <= 0) return TulValue();
  switch (link.kind()) {
    case Kind::String: return TulValue(static_cast<TulString*>(owner));
    case Kind::Buffer: return TulValue(static_cast<TulBuffer*>(owner));
    case Kind::CharBuffer: return TulValue(static_cast<TulCharBuffer*>(owner));
  }
  return TulValue();
}

// Compared as numbers: the address need not point into any object.
bool holds(const TulBytes& bytes, std::uintptr_t address, unsigned size) {
  const auto start = reinterpret_cast<std::uintptr_t>(bytes.data);
  if (!bytes.data || address < start) return false;
  const std::uintptr_t offset = address - start;
  return offset <= bytes.size && size <= bytes.size - offset;
}

}  // namespace

TulBytes tulStorageBytes(const TulValue& v) {
  switch (v.type()) {
    case TulValueType::String: return bytesOf(static_cast<TulString*>(v), Kind::String);
    case TulValueType::Buffer: return bytesOf(static_cast<TulBuffer*>(v), Kind::Buffer);
    case TulValueType::CharBuffer:
      return bytesOf(static_cast<TulCharBuffer*>(v), Kind::CharBuffer);
    default: return {nullptr, 0};
  }
}

TulValue tulStorageHolding(std::uintptr_t address, unsigned size) {
  if (!address) return TulValue();
  for (const TulStorageLink* link = TulStorageLink::newest(); link; link = link->next()) {
    if (!holds(bytesOf(link->owner(), link->kind()), address, size)) continue;
    TulValue held = heldValue(*link);
    if (held.type() != TulValueType::Nil) return held;
  }
  return TulValue();
}
