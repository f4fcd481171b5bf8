// The host dictionary: string keys to values, in insertion order, found
// through a hash table.
//
// Invariant: every linked entry is in the list and in exactly one bucket
// chain, and the dictionary holds one reference to it. Unlinking finishes the
// structural change before the entry's value is released, so a destructor
// run by that release sees a consistent dictionary.
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "runtime/machine_impl.h"

namespace {


// FNV-1a over the key's bytes.
std::uint32_t hashKey(const char* key, unsigned len) {
  std::uint32_t h = 2166136261u;
  for (unsigned i = 0; i < len; ++i) {
    h ^= static_cast<unsigned char>(key[i]);
    h *= 16777619u;
  }
  return h;
}

// A table in the heap grows when it is more than three quarters full. The
// first one, inside the dictionary, takes a key a chain before it is left:
// a dictionary of eight keys (a small record) then allocates no table.
bool needsGrowth(unsigned count, unsigned buckets) {
  if (buckets == TulDictionary::kShortBuckets) return count > buckets;
  return count > buckets - buckets / 4;
}

}  // namespace

// --- TulDictionaryEntry -----------------------------------------------------

TulDictionaryEntry::TulDictionaryEntry(TulDictionary* owner, const TulString& k)
    : hash_(0), hashNext_(nullptr), key(k), next(nullptr), owner_(owner), prev_(nullptr) {}

TulDictionaryEntry::~TulDictionaryEntry() = default;

// An erased entry stays valueless: a value stored there could never be
// reached through its dictionary again, only leaked.
TulDictionaryEntry& TulDictionaryEntry::operator=(const TulValue& v) {
  if (owner_) value = v;
  return *this;
}

void TulDictionaryEntry::setValue(const TulValue& v, bool, bool) { *this = v; }

// --- TulDictionary ----------------------------------------------------------

TulDictionary::TulDictionary(bool)
    : first_(nullptr),
      last_(nullptr),
      buckets_(shortBuckets_),
      bucketCount_(kShortBuckets),
      count_(0),
      shortBuckets_() {
  tulrt::detail::trackContainer(live_, this);
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

TulDictionary::~TulDictionary() {
  tulrt::detail::untrackContainer(live_);
  clear();
  if (buckets_ != shortBuckets_) std::free(buckets_);
}

TulDictionaryEntry* TulDictionary::lookup(const char* key, unsigned len,
                                          std::uint32_t hash) const {
  if (!bucketCount_) return nullptr;
  for (TulDictionaryEntry* e = buckets_[hash & (bucketCount_ - 1)]; e; e = e->hashNext_) {
    if (e->hash_ == hash && e->key.length() == len &&
        (len == 0 || std::memcmp(e->key.c_str(), key, len) == 0))
      return e;
  }
  return nullptr;
}

TulDictionaryEntry* TulDictionary::find(const TulString& key) const {
  return lookup(key.c_str(), key.length(), hashKey(key.c_str(), key.length()));
}

TulDictionaryEntry* TulDictionary::find(const char* key) const {
  if (!key) return nullptr;
  const auto len = static_cast<unsigned>(std::strlen(key));
  return lookup(key, len, hashKey(key, len));
}

TulDictionaryEntry* TulDictionary::operator[](const TulString& key) {
  const std::uint32_t hash = hashKey(key.c_str(), key.length());
  if (TulDictionaryEntry* e = lookup(key.c_str(), key.length(), hash)) return e;
  auto* e = new TulDictionaryEntry(this, key);  // owned through the list below
  e->retain();
  e->hash_ = hash;
  e->prev_ = last_;
  if (last_) last_->next = e; else first_ = e;
  last_ = e;
  TulDictionaryEntry*& head = buckets_[hash & (bucketCount_ - 1)];
  e->hashNext_ = head;
  head = e;
  ++count_;
  if (needsGrowth(count_, bucketCount_)) rehash(bucketCount_ * 2);
  return e;
}

TulDictionaryEntry* TulDictionary::operator[](const char* key) {
  if (TulDictionaryEntry* e = find(key)) return e;
  return (*this)[TulString(key)];
}

// Rebuilds every chain from the list. When a larger table cannot be had the
// old one stays as it is: chains grow longer, lookups stay correct.
void TulDictionary::rehash(unsigned buckets) {
  auto** fresh = static_cast<TulDictionaryEntry**>(
      std::calloc(buckets, sizeof(TulDictionaryEntry*)));
  if (!fresh) return;
  if (buckets_ != shortBuckets_) std::free(buckets_);
  buckets_ = fresh;
  bucketCount_ = buckets;
  for (TulDictionaryEntry* e = first_; e; e = e->next) {
    TulDictionaryEntry*& head = buckets_[e->hash_ & (bucketCount_ - 1)];
    e->hashNext_ = head;
    head = e;
  }
}

void TulDictionary::unlink(TulDictionaryEntry* e) {
  if (e->prev_) e->prev_->next = e->next; else first_ = e->next;
  if (e->next) e->next->prev_ = e->prev_; else last_ = e->prev_;
  TulDictionaryEntry** link = &buckets_[e->hash_ & (bucketCount_ - 1)];
  while (*link != e) link = &(*link)->hashNext_;
  *link = e->hashNext_;
  --count_;
  e->owner_ = nullptr;
  e->prev_ = e->next = e->hashNext_ = nullptr;
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
