// The host dictionary: string keys to values, in insertion order, found
// through a hash table of open addressing: linear probing over slots that
// keep each key's hash beside its entry, so a probe reads the entry only
// when the hashes match, and an erased slot is filled by shifting the
// entries after it back (no tombstones).
//
// Invariant: every linked entry is in the list and in exactly one slot, and
// the dictionary holds one reference to it; there is always a free slot
// unless the table is the one inside the dictionary and every slot is taken. Unlinking finishes the
// structural change before the entry's value is released, so a destructor
// run by that release sees a consistent dictionary.
//
// Entries are made in blocks the dictionary allocates: two places (a
// dictionary of one or two keys costs about what two separate entries did),
// then six, so a record of up to eight members takes two allocations for
// its entries rather than eight, then twice the last block up to
// kMidChunk, then blocks of a huge page each. An entry never moves; when its
// last reference goes its place joins the dictionary's free places, and the
// blocks go with the dictionary, or after it with the last entry a value
// still holds.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "runtime/block_cache.h"
#include "runtime/live_links.h"
#include "runtime/machine_impl.h"
#include "runtime/release_depth.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(addr, size) ((void)(addr), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(addr, size) ((void)(addr), (void)(size))
#endif

namespace {


// The key's bytes four at a time (the last zero to three one by one), each
// word mixed in with a multiply, then the high bits folded down: the table
// takes a hash's low bits, and keys that differ only near their end (a
// counter in a name) must still land apart.
inline std::uint32_t hashKey(const char* key, unsigned len) {
  constexpr std::uint32_t kMul = 0x9E3779B1u;
  std::uint32_t h = len * kMul;
  unsigned i = 0;
  for (; i + 4 <= len; i += 4) {
    std::uint32_t w;
    std::memcpy(&w, key + i, 4);
    h = (h ^ w) * kMul;
    h ^= h >> 15;
  }
  // The last one to three bytes, without a loop or a table of jumps: short
  // keys (names) are mostly tail.
  if (const unsigned rest = len - i) {
    const auto* tail = reinterpret_cast<const unsigned char*>(key + i);
    std::uint32_t w = tail[0];
    if (rest > 1) w |= std::uint32_t(tail[1]) << 8;
    if (rest > 2) w |= std::uint32_t(tail[2]) << 16;
    h = (h ^ w) * kMul;
  }
  h ^= h >> 16;
  h *= 0x85EBCA6Bu;
  h ^= h >> 13;
  return h;
}

// Whether a table of this many slots holding count keys grows before the
// next. A table in the heap grows when it would be more than three quarters
// full. The first one, inside the dictionary, is filled to the last slot
// before it is left: a dictionary of eight keys (a small record) then
// allocates no table, and its probes never leave one cache line or two. The
// common answer, no, costs one comparison.
inline bool growsBeforeNext(unsigned count, unsigned slots) {
  return count >= slots - slots / 4 && (slots != TulDictionary::kShortSlots || count >= slots);
}

}  // namespace

// A block's header, followed by its places. The places from `fresh` up to
// `end` were never handed out; `live` entries stand in the others now. A
// block whose dictionary has gone (dict null) is freed with its last entry.
struct TulDictionaryChunk {
  TulDictionaryChunk* next;
  TulDictionary* dict;
  unsigned capacity;
  unsigned live;
  char* fresh;
  char* end;
};

namespace {

constexpr unsigned kFirstChunk = 2;
// Past kMidChunk places a block holds as many as fit one huge page
// (kLargeRound bytes), so that a large dictionary's entries are read
// through few address translations.
constexpr unsigned kMidChunk = 4096;
// A found lookup reads an entry's value and its key's length and short
// characters: kHotBytes from kHotStart into the entry. Places are a whole
// number of cache lines apart and start kLineShift into a line, so that
// this part of every entry lies in one line.
constexpr std::size_t kLine = 64;
constexpr std::size_t kHotStart = 16;
constexpr std::size_t kHotBytes = 56;
static_assert(kHotBytes <= kLine, "the read part fits a line");
constexpr std::size_t kLineShift = kLine - kHotStart;
constexpr std::size_t kPlaceSize = (sizeof(TulDictionaryEntry) + kLine - 1) / kLine * kLine;
// Bytes of a block of n places: the header, the slack up to the first
// place, the places.
constexpr std::size_t blockBytes(unsigned n) { return sizeof(TulDictionaryChunk) + kLine + n * kPlaceSize; }
constexpr unsigned kLargeChunk =
    (tulrt::detail::kLargeRound - sizeof(TulDictionaryChunk) - kLine) / kPlaceSize;
static_assert(blockBytes(kLargeChunk) >= tulrt::detail::kLargeBlock, "a large block");
static_assert(blockBytes(2 * kMidChunk - 1) < tulrt::detail::kLargeBlock, "a heap block");

// A table of n slots of the given size: from the heap, or a large block
// when it is that big; null when its size cannot even be counted.
void* newTable(unsigned n, std::size_t size) {
  if (n > SIZE_MAX / size) return nullptr;
  const std::size_t bytes = n * size;
  return bytes >= tulrt::detail::kLargeBlock ? tulrt::detail::allocLarge(bytes) : std::calloc(n, size);
}

void freeTable(void* table, std::size_t bytes) {
  if (bytes >= tulrt::detail::kLargeBlock) tulrt::detail::freeLarge(table, bytes); else std::free(table);
}

// Blocks of the two first sizes that dictionaries gave back, kept for the
// next ones (small records made and dropped again and again), linked
// through their headers' next. The host runs on one thread: no lock. A kept
// block's places are poisoned for the address sanitizer, so that a use after
// the end is still caught.
constexpr unsigned kKeptChunks = 16;
struct KeptChunks {
  TulDictionaryChunk* first = nullptr;
  unsigned count = 0;
};
KeptChunks gKept[2];  // two places, then six

KeptChunks* keptFor(unsigned capacity) {
  return capacity == kFirstChunk ? &gKept[0] : capacity == 3 * kFirstChunk ? &gKept[1] : nullptr;
}

void* newChunk(unsigned capacity) {
  KeptChunks* kept = keptFor(capacity);
  if (kept && kept->first) {
    TulDictionaryChunk* c = kept->first;
    kept->first = c->next;
    --kept->count;
    ASAN_UNPOISON_MEMORY_REGION(c + 1, blockBytes(capacity) - sizeof *c);
    return c;
  }
  const std::size_t bytes = blockBytes(capacity);
  void* block = bytes >= tulrt::detail::kLargeBlock ? tulrt::detail::allocLarge(bytes) : std::malloc(bytes);
  if (!block) throw std::bad_alloc();
  return block;
}

void freeChunk(TulDictionaryChunk* c) {
  KeptChunks* kept = keptFor(c->capacity);
  if (kept && kept->count < kKeptChunks) {
    c->next = kept->first;
    kept->first = c;
    ++kept->count;
    ASAN_POISON_MEMORY_REGION(c + 1, blockBytes(c->capacity) - sizeof *c);
    return;
  }
  const std::size_t bytes = blockBytes(c->capacity);
  if (bytes >= tulrt::detail::kLargeBlock) tulrt::detail::freeLarge(c, bytes); else std::free(c);
}

// A free place, linked from the dictionary through the places themselves.
struct FreePlace {
  FreePlace* next;
  TulDictionaryChunk* chunk;
};
static_assert(sizeof(FreePlace) <= sizeof(TulDictionaryEntry), "a free place holds its link");

void* placeIn(TulDictionaryChunk* c, unsigned i) {
  const std::uintptr_t after = reinterpret_cast<std::uintptr_t>(c + 1);
  const std::uintptr_t first = (after + kLine - 1 - kLineShift) / kLine * kLine + kLineShift;
  return reinterpret_cast<void*>(first + i * kPlaceSize);
}

}  // namespace

// Whether e holds the key of len bytes (its hash matched). A short key is
// compared a word at a time in place: a call out would cost more than the
// comparison.
static inline bool sameKey(const TulDictionaryEntry* e, const char* key, unsigned len) {
  if (e->key.length() != len) return false;
  const char* mine = e->key.c_str();
  if (len > 32) return std::memcmp(mine, key, len) == 0;
  unsigned i = 0;
  for (; i + 4 <= len; i += 4) {
    std::uint32_t a, b;
    std::memcpy(&a, mine + i, 4);
    std::memcpy(&b, key + i, 4);
    if (a != b) return false;
  }
  for (; i < len; ++i)
    if (mine[i] != key[i]) return false;
  return true;
}

// --- TulDictionaryEntry -----------------------------------------------------

inline TulDictionaryEntry::TulDictionaryEntry(TulDictionary* owner, const TulString& k, std::uint32_t hash,
                                              TulDictionaryEntry* prev, TulDictionaryChunk* chunk)
    : hash_(hash), value(), key(k, TulStorageLink::Unlisted{}), next(nullptr), owner_(owner), prev_(prev), chunk_(chunk) {}

// Inline where the dictionary frees its entries in a row.
#if defined(__GNUC__)
__attribute__((always_inline))
#endif
inline TulDictionaryEntry::~TulDictionaryEntry() = default;

void TulDictionaryEntry::lastReleased() {
  TulDictionaryChunk* c = chunk_;
  this->~TulDictionaryEntry();
  --c->live;
  if (TulDictionary* d = c->dict) {
    d->freePlaces_ = new (this) FreePlace{static_cast<FreePlace*>(d->freePlaces_), c};
  } else if (c->live == 0) {
    freeChunk(c);
  }
}

// An erased entry stays valueless: a value stored there could never be
// reached through its dictionary again, only leaked.
TulDictionaryEntry& TulDictionaryEntry::operator=(const TulValue& v) {
  if (owner_) value = v;
  return *this;
}

void TulDictionaryEntry::setValue(const TulValue& v, bool, bool) { *this = v; }

// --- TulDictionary ----------------------------------------------------------

// 64 bits: no count of dictionaries made in a process's life wraps them.
static std::uint64_t gLastSerial = 0;

// The entry key found last in this dictionary, while no entry has left it
// since and the key still reads the same.
inline TulDictionaryEntry* TulDictionary::remembered(const TulString& key) const {
  if (key.foundIn_ != serial_) return nullptr;
  TulDictionaryEntry* e = key.foundEntry_;
  return sameKey(e, key.c_str(), key.length()) ? e : nullptr;
}

inline void TulDictionary::remember(const TulString& key, TulDictionaryEntry* e) const {
  key.foundIn_ = serial_;
  key.foundEntry_ = e;
}

TulDictionary::TulDictionary(bool)
    : first_(nullptr),
      last_(nullptr),
      slots_(shortSlots_),
      slotCount_(kShortSlots),
      count_(0),
      chunks_(nullptr),
      freePlaces_(nullptr),
      serial_(++gLastSerial) {
  // One fixed-size clear, which the compiler writes as a few wide stores
  // rather than a loop over the slots.
  std::memset(static_cast<void*>(shortSlots_), 0, sizeof shortSlots_);
  tulrt::detail::linkContainer(live_, this);
}

TulDictionary::TulDictionary(const TulDictionary& other) : TulDictionary(false) {
  for (TulDictionaryEntry* e = other.first_; e; e = e->next) (*this)[e->key]->value = e->value;
}

// Copied first: other may be reachable only through this dictionary.
TulDictionary& TulDictionary::operator=(const TulDictionary& other) {
  if (this == &other) return *this;
  const TulDictionary copy(other);
  clear();
  for (TulDictionaryEntry* e = copy.first_; e; e = e->next) (*this)[e->key]->value = e->value;
  return *this;
}

// No one can reach the dictionary any more, so its table is not kept up
// entry by entry: every entry is first marked erased and cut from its
// neighbours (a destructor run by a value's release then meets only erased
// entries), then the values and the entries are released in order. An
// entry nothing else holds is destroyed here, its place left for its block
// to go with the dictionary; its value is released after it, as when it
// goes through its last release.
TulDictionary::~TulDictionary() {
  tulrt::detail::unlinkContainer(live_);
  TulDictionaryEntry* const head = first_;
  first_ = last_ = nullptr;
  count_ = 0;
  for (TulDictionaryEntry *e = head, *n; e; e = n) {
    n = e->next;
    e->owner_ = nullptr;
    e->next = nullptr;
    e->prev_ = n;  // the release order, kept where nothing else looks
  }
  for (TulDictionaryEntry *e = head, *n; e; e = n) {
    n = e->prev_;
    e->prev_ = nullptr;
    // An object's count passes from the value to `held` (the value is made
    // Nil over it, nothing released); anything else moves to `old`.
    TulRefObject* const held = e->value.refObject();
    if (held) new (&e->value) TulValue();
    TulValue old(std::move(e->value));
    if (e->dropCount()) {
      TulDictionaryChunk* c = e->chunk_;
      e->TulDictionaryEntry::~TulDictionaryEntry();
      --c->live;
    } else {
      e->value.dispose();
    }
    if (held) tulrt::detail::PartRelease::release(held);
  }
  if (slots_ != shortSlots_) freeTable(slots_, std::size_t(slotCount_) * sizeof(Slot));
  for (TulDictionaryChunk* c = chunks_; c;) {
    TulDictionaryChunk* next = c->next;
    if (c->live == 0) freeChunk(c); else c->dict = nullptr;
    c = next;
  }
}

void* TulDictionary::operator new(std::size_t size) { return tulrt::detail::newCached<TulDictionary>(size); }

void TulDictionary::operator delete(void* block, std::size_t size) {
  tulrt::detail::deleteCached<TulDictionary>(block, size);
}

// A free place if there is one, else the next of the newest block, else the
// first of a new block.
inline void* TulDictionary::takePlace(TulDictionaryChunk** chunk) {
  if (freePlaces_) {
    auto* f = static_cast<FreePlace*>(freePlaces_);
    freePlaces_ = f->next;
    *chunk = f->chunk;
    return f;
  }
  TulDictionaryChunk* c = chunks_;
  if (!c || c->fresh == c->end) {
    const unsigned capacity = !c ? kFirstChunk
                              : c->capacity == kFirstChunk ? 3 * kFirstChunk
                              : c->capacity < kMidChunk ? c->capacity * 2
                                                        : kLargeChunk;
    c = static_cast<TulDictionaryChunk*>(newChunk(capacity));
    char* const first = static_cast<char*>(placeIn(c, 0));
    new (c) TulDictionaryChunk{chunks_, this, capacity, 0, first, first + capacity * kPlaceSize};
    chunks_ = c;
  }
  *chunk = c;
  char* const place = c->fresh;
  c->fresh = place + kPlaceSize;
  return place;
}

// A probe stops at the first free slot, or after a whole round: only the
// table inside the dictionary can be without a free slot. Inline in find
// and [], where a found key costs one pass through this loop.
inline TulDictionaryEntry* TulDictionary::lookup(const char* key, unsigned len,
                                                 std::uint32_t hash, unsigned& at) const {
  const unsigned mask = slotCount_ - 1;
  const Slot* slots = slots_;
  unsigned i = hash & mask;
  for (unsigned round = slotCount_; round; --round, i = (i + 1) & mask) {
    TulDictionaryEntry* e = slots[i].entry;
    if (!e) {
      at = i;
      return nullptr;
    }
    if (slots[i].hash == hash && sameKey(e, key, len)) return e;
  }
  at = kNoSlot;
  return nullptr;
}

// Into the first free slot from the entry's own; the caller made sure there
// is one.
void TulDictionary::place(TulDictionaryEntry* e) {
  const unsigned mask = slotCount_ - 1;
  unsigned i = e->hash_ & mask;
  while (slots_[i].entry) i = (i + 1) & mask;
  slots_[i] = Slot{e->hash_, e};
}

TulDictionaryEntry* TulDictionary::find(const TulString& key) const {
  if (TulDictionaryEntry* e = remembered(key)) return e;
  unsigned at;
  TulDictionaryEntry* e = lookup(key.c_str(), key.length(), hashKey(key.c_str(), key.length()), at);
  if (e) remember(key, e);
  return e;
}

TulDictionaryEntry* TulDictionary::find(const char* key) const {
  if (!key) return nullptr;
  const auto len = static_cast<unsigned>(std::strlen(key));
  unsigned at;
  return lookup(key, len, hashKey(key, len), at);
}

TulDictionaryEntry* TulDictionary::find(const TulString& key, std::uint32_t& hash) const {
  hash = hashKey(key.c_str(), key.length());
  unsigned at;
  return lookup(key.c_str(), key.length(), hash, at);
}

// at: the free slot a probe for the key stopped at with no change since, or
// kNoSlot to look for one. Inline in add, which then makes one call, not
// two.
[[gnu::always_inline]] inline TulDictionaryEntry* TulDictionary::appendAt(const TulString& key, std::uint32_t hash,
                                                   unsigned at) {
  // Room first, so that a failure leaves the dictionary as it was.
  if (growsBeforeNext(count_, slotCount_) && grow()) at = kNoSlot;
  TulDictionaryChunk* chunk;
  void* room = takePlace(&chunk);
  TulDictionaryEntry* e;
  try {
    e = new (room) TulDictionaryEntry(this, key, hash, last_, chunk);  // owned through the list below
  } catch (...) {
    freePlaces_ = new (room) FreePlace{static_cast<FreePlace*>(freePlaces_), chunk};
    throw;
  }
  ++chunk->live;
  e->retain();
  if (last_) last_->next = e; else first_ = e;
  last_ = e;
  if (at == kNoSlot) place(e); else slots_[at] = Slot{hash, e};
  ++count_;
  return e;
}

// A larger table for one more key; true when the slots moved. Throws when
// the table is full and no larger one can be had; when it is not full it
// stays as it is (probes grow longer).
bool TulDictionary::grow() {
  const unsigned before = slotCount_;
  rehash(slotCount_ * 2);
  if (count_ >= slotCount_) throw std::bad_alloc();
  return slotCount_ != before;
}

// A missing key is appended by a call: the insert inline here would cost
// every found key (most of a script's) registers saved and restored.
TulDictionaryEntry* TulDictionary::operator[](const TulString& key) {
  if (TulDictionaryEntry* e = remembered(key)) return e;
  std::uint32_t hash;
  TulDictionaryEntry* e = find(key, hash);
  if (!e) e = append(key, hash);
  remember(key, e);
  return e;
}

TulDictionaryEntry* TulDictionary::add(const TulString& key) {
  const std::uint32_t hash = hashKey(key.c_str(), key.length());
  unsigned at;
  if (lookup(key.c_str(), key.length(), hash, at)) return nullptr;
  return appendAt(key, hash, at);
}

TulDictionaryEntry* TulDictionary::append(const TulString& key, std::uint32_t hash) {
  return appendAt(key, hash, kNoSlot);
}

TulDictionaryEntry* TulDictionary::operator[](const char* key) {
  if (TulDictionaryEntry* e = find(key)) return e;
  return (*this)[TulString(key)];
}

// Moves every slot into a larger table, reading the hashes from the slots
// rather than from the entries. When a larger table cannot be had the old
// one stays as it is: probes grow longer until it is full.
void TulDictionary::rehash(unsigned slots) {
  auto* fresh = static_cast<Slot*>(newTable(slots, sizeof(Slot)));
  if (!fresh) return;
  Slot* old = slots_;
  const unsigned oldCount = slotCount_;
  slots_ = fresh;
  slotCount_ = slots;
  const unsigned mask = slots - 1;
  for (unsigned i = 0; i < oldCount; ++i) {
    if (!old[i].entry) continue;
    unsigned j = old[i].hash & mask;
    while (fresh[j].entry) j = (j + 1) & mask;
    fresh[j] = old[i];
  }
  if (old != shortSlots_) freeTable(old, std::size_t(oldCount) * sizeof(Slot));
}

void TulDictionary::unlink(TulDictionaryEntry* e) {
  if (e->prev_) e->prev_->next = e->next; else first_ = e->next;
  if (e->next) e->next->prev_ = e->prev_; else last_ = e->prev_;
  // The slot is emptied, and each entry after it in the run that may move
  // back (its own slot is not between the hole and it) fills the hole.
  const unsigned mask = slotCount_ - 1;
  unsigned hole = e->hash_ & mask;
  while (slots_[hole].entry != e) hole = (hole + 1) & mask;
  slots_[hole] = Slot{0, nullptr};
  for (unsigned j = (hole + 1) & mask; slots_[j].entry; j = (j + 1) & mask) {
    const unsigned home = slots_[j].hash & mask;
    if (((j - home) & mask) < ((j - hole) & mask)) continue;
    slots_[hole] = slots_[j];
    slots_[j] = Slot{0, nullptr};
    hole = j;
  }
  --count_;
  serial_ = ++gLastSerial;  // what strings remember of this dictionary is void
  e->owner_ = nullptr;
  e->prev_ = e->next = nullptr;
  TulValue old(std::move(e->value));
  e->value.dispose();
  e->release();
}

bool TulDictionary::erase(const TulString& key) {
  TulDictionaryEntry* e = find(key);
  if (!e) return false;
  unlink(e);
  return true;
}

bool TulDictionary::erase(TulDictionaryEntry* entry) {
  if (!entry || entry->owner_ != this) return false;
  unlink(entry);
  return true;
}

void TulDictionary::clear() {
  while (first_) unlink(first_);
}
