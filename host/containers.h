// The host's strings, byte and character buffers, vectors and dictionaries,
// and the value-stack cursor.
//
// Invariant: element, character and byte storage is contiguous and read
// directly by the library; a vector moves its elements only when it grows
// past its capacity.
#pragma once

#include "host/value.h"

// Links every live string and buffer into one process-wide list, so that an
// address a script holds can be traced back to the storage that holds it
// (tulStorageHolding). Each string and buffer has one, made with it.
class TUL_API TulStorageLink {
 public:
  enum class Kind : unsigned char { String, Buffer, CharBuffer };

  // Inline: every string the interpreter makes is linked and unlinked, and
  // each is a few stores.
  TulStorageLink(TulRefObject* owner, Kind kind)
      : owner_(owner), prev_(nullptr), next_(newest_), kind_(kind) {
    if (newest_) newest_->prev_ = this;
    newest_ = this;
  }
  ~TulStorageLink() {
    if (prev_)
      prev_->next_ = next_;
    else
      newest_ = next_;
    if (next_) next_->prev_ = prev_;
  }
  // Kept off the list: linked to itself, so that the destructor's unlinking
  // writes only the link's own fields. For a string nothing can hold by
  // count (a dictionary entry's key), which a lookup would pass over anyway.
  struct Unlisted {};
  TulStorageLink(TulRefObject* owner, Kind kind, Unlisted)
      : owner_(owner), prev_(this), next_(this), kind_(kind) {}
  TulStorageLink(const TulStorageLink&) = delete;
  TulStorageLink& operator=(const TulStorageLink&) = delete;

  TulRefObject* owner() const { return owner_; }
  Kind kind() const { return kind_; }
  const TulStorageLink* next() const { return next_; }
  static const TulStorageLink* newest() { return newest_; }

 private:
  // The newest link. A plain pointer, zero before any constructor runs:
  // strings are made during static initialisation too, and die after static
  // destruction has begun.
  static TulStorageLink* newest_;

  TulRefObject* owner_;
  TulStorageLink* prev_;
  TulStorageLink* next_;
  Kind kind_;
};

// A byte string in the ANSI code page with its own length; its characters are
// always followed by a zero byte.
class TUL_API TulString : public TulRefObject {
 public:
  TulString();
  TulString(const char* s);
  TulString(const char* s, unsigned len);
  TulString(const TulString& other);
  // The characters other.substr(pos, count) gives, made in place.
  TulString(const TulString& other, int pos, int count);
  // printf-style formatting of n script values that start at `first`:
  // %d %i %u %x %X %o %c %s %f %e %g %% with flags, width and precision.
  // Missing values format as empty or zero; extra ones are ignored.
  TulString(const char* format, int n, ValPtr first);
  // Inline: a string that never had a UTF-16 form and fits its short room
  // (a dictionary key, a name) frees nothing.
  inline ~TulString() override;
  // Strings are made and dropped by the thousand: their blocks are reused.
  static void* operator new(std::size_t size);
  static void operator delete(void* block, std::size_t size);

  static TulString format(const char* fmt, ...);

  TulString& operator=(const TulString& other);
  TulString& operator=(const char* s);
  TulString& operator+=(const TulString& s);
  TulString& operator+=(const char* s);
  TulString& operator+=(char c);
  // n characters at s appended (s may point into this string).
  TulString& append(const char* s, unsigned n);

  const char* c_str() const { return data_; }
  char* data() { return data_; }  // the string's own characters, in place
  unsigned length() const { return len_; }
  // The 8-bit form (the characters themselves) and the UTF-16 form converted
  // from Windows-1252; both end in a zero, of a byte or of a 16-bit unit.
  const char* a_str() const { return data_; }
  const std::uint16_t* w_str() const;

  void clear();
  // <0, 0, >0 like strcmp; icompare folds ASCII case.
  int compare(const TulString& other) const;
  int compare(const char* other) const;
  int icompare(const TulString& other) const;
  int icompare(const char* other) const;
  // Position of the first occurrence at or after `start`, or -1. Any start
  // is accepted: a negative one counts as 0, one past the end finds nothing.
  int find(char c, int start = 0) const;
  int find(const TulString& s, int start = 0) const;
  int find(const char* s, int start = 0) const;
  // Every occurrence of `from` becomes `to`.
  void replace(char from, char to);
  void replace(const TulString& from, const TulString& to);
  // Positions are clamped into [0, length]; counts below 0 insert nothing.
  void insert(int pos, const TulString& s);
  void insert(int pos, char c, int count = 1);
  // Removes up to count characters from pos; a negative count erases to the
  // end. Out-of-range positions erase nothing.
  void erase(int pos, int count);
  // count -1 (or any negative count) takes the rest; out-of-range positions
  // give an empty string.
  TulString substr(int pos, int count = -1) const;

 private:
  void assign(const char* s, unsigned len);
  void reserve(unsigned cap);
  // The UTF-16 form and a heap block freed, when there are any.
  void freeStorage();

  // Short texts (names, keys, numbers) are kept in the string itself, so
  // making one allocates nothing; longer ones move to the heap.
  static constexpr unsigned kShortRoom = 16;  // bytes, the final zero included
  bool isShort() const { return data_ == short_; }

  char* data_;
  unsigned len_;
  unsigned cap_;
  char short_[kShortRoom];  // next to the length: a comparison reads both
  // Where this string last found its key: the dictionary's serial then (0
  // for none) and the entry. The same string asking the same dictionary
  // again (a script's variable or literal, a host's key) reads that entry
  // first and skips the table, one read from memory instead of two. Not
  // copied with the string; the entry's key is compared before it is
  // trusted, since the string may have changed. Beside the characters: a
  // lookup reads both.
  friend class TulDictionary;
  friend class TulDictionaryEntry;
  // A copy kept off the storage list: a dictionary entry's key.
  TulString(const TulString& other, TulStorageLink::Unlisted);
  mutable std::uint64_t foundIn_ = 0;
  mutable TulDictionaryEntry* foundEntry_ = nullptr;
  mutable std::uint16_t* wide_;  // cache of the UTF-16 form
  TulStorageLink link_{this, TulStorageLink::Kind::String};
};

// Inline: every dictionary entry's key is a copy, made with the entry. A
// short text's whole room is copied, a fixed size (the bytes past the zero
// mean nothing).
inline TulString::TulString(const TulString& other)
    : TulRefObject(other), data_(short_), len_(other.len_), cap_(kShortRoom - 1), wide_(nullptr) {
  if (other.isShort()) {
    __builtin_memcpy(short_, other.short_, kShortRoom);
    return;
  }
  len_ = 0;
  assign(other.data_, other.len_);
}

inline TulString::TulString(const TulString& other, TulStorageLink::Unlisted unlisted)
    : TulRefObject(other),
      data_(short_),
      len_(other.len_),
      cap_(kShortRoom - 1),
      wide_(nullptr),
      link_(this, TulStorageLink::Kind::String, unlisted) {
  if (other.isShort()) {
    __builtin_memcpy(short_, other.short_, kShortRoom);
    return;
  }
  len_ = 0;
  assign(other.data_, other.len_);
}

inline TulString::~TulString() {
  if (wide_ || !isShort()) freeStorage();
}

// A growable byte array. New bytes from setSize are zero.
class TUL_API TulBuffer : public TulRefObject {
 public:
  TulBuffer();
  explicit TulBuffer(unsigned capacity);
  TulBuffer(const TulBuffer& other);
  TulBuffer& operator=(const TulBuffer& other);
  ~TulBuffer() override;
  // Buffers are made and dropped with every structure: their blocks are
  // reused.
  static void* operator new(std::size_t size);
  static void operator delete(void* block, std::size_t size);

  // Sets the byte size, growing the storage when needed; false when the
  // memory cannot be had (nothing changes then). Inline for a growth of up
  // to eight bytes within the room (a structure's member), zeroed by stores
  // that may overlap: a call costs more than the bytes.
  bool setSize(unsigned size) {
    const unsigned n = size - size_;
    if (size > size_ && size <= cap_ && n <= 8) {
      zeroFew(data_ + size_, n);
      size_ = size;
      return true;
    }
    return resize(size);
  }
  // Appends one byte; returns the new size.
  unsigned push_back(unsigned char b);


  unsigned size() const { return size_; }
  unsigned capacity() const { return cap_; }
  unsigned char* data() { return data_; }
  const unsigned char* data() const { return data_; }

 private:
  bool resize(unsigned size);
  // Zeroes n bytes at from, 1 to 8 of them, by stores that may overlap.
  static void zeroFew(unsigned char* from, unsigned n) {
    if (n >= 4) {
      __builtin_memset(from, 0, 4);
      __builtin_memset(from + n - 4, 0, 4);
    } else {
      from[0] = 0;
      from[n / 2] = 0;
      from[n - 1] = 0;
    }
  }
  bool reserve(unsigned cap);

  unsigned char* data_;
  unsigned size_;
  unsigned cap_;
  TulStorageLink link_{this, TulStorageLink::Kind::Buffer};
};

// A growable character array with a NUL-terminated view: there is always a
// zero after the last character and all unused capacity is zero.
class TUL_API TulCharBuffer : public TulRefObject {
 public:
  TulCharBuffer();
  explicit TulCharBuffer(unsigned capacity);
  TulCharBuffer(const TulCharBuffer& other);
  TulCharBuffer& operator=(const TulCharBuffer& other);
  ~TulCharBuffer() override;

  char* data() { return data_; }
  const char* data() const { return data_; }
  unsigned size() const { return size_; }
  unsigned capacity() const { return cap_; }
  void clear();
  void push_back(char c);
  // Sets the size from the NUL-terminated contents (bounded by capacity).
  void adjustSize();

 private:
  void reserve(unsigned cap);

  char* data_;  // cap_ + 1 bytes, the last always zero
  unsigned size_;
  unsigned cap_;
  TulStorageLink link_{this, TulStorageLink::Kind::CharBuffer};
};

// The bytes a string's or buffer's storage holds now: a string's characters
// (not its terminating zero), a byte buffer's bytes, a character buffer's
// whole capacity. Null and 0 for any other value.
struct TulBytes {
  unsigned char* data;
  unsigned size;
};
TUL_API TulBytes tulStorageBytes(const TulValue& v);

// The live string or buffer whose storage (as tulStorageBytes gives it)
// holds all of the size bytes at address, as a value that keeps it alive
// while the value lives; nil when none does. Only strings and buffers that a
// value or handle holds count. The memory at the address is never read, so
// any number may be asked about.
TUL_API TulValue tulStorageHolding(std::uintptr_t address, unsigned size);

// A vector's or dictionary's place in the runtime's list of live
// containers, which the last machine empties so that cycles among them are
// freed. The runtime's own bookkeeping: linking costs no allocation.
struct TulLiveLink {
  TulRefObject* owner;
  TulLiveLink* prev;
  TulLiveLink* next;
};

namespace tulrt {
namespace detail {
// The newest live container's link, or null: the runtime's list, seen here
// so that a vector made in place links itself inline.
extern TUL_API TulLiveLink* gNewestContainer;
// Whether the live containers are being emptied, which must then hear of
// every container freed meanwhile.
extern TUL_API bool gClearingContainers;
}  // namespace detail
}  // namespace tulrt

// An ordered sequence of values in contiguous storage.
class TUL_API TulVector : public TulRefObject {
 public:
  TulVector();
  // filled: n Nil elements; otherwise empty with room for n.
  TulVector(unsigned n, bool filled);
  TulVector(const TulVector& other);
  TulVector& operator=(const TulVector& other);
  ~TulVector() override;

  unsigned size() const { return size_; }
  unsigned capacity() const { return cap_; }
  TulValue* data() { return data_; }
  const TulValue* data() const { return data_; }
  TulValue& operator[](unsigned i) { return data_[i]; }
  const TulValue& operator[](unsigned i) const { return data_[i]; }

  void push_back(const TulValue& v);
  void pop_back();  // nothing on an empty vector
  void clear();
  ValPtr last();    // cursor on the last element (index -1 when empty)
  // Capacity becomes max(n, size); returns the capacity.
  unsigned setCapacity(unsigned n);
  // Capacity becomes the size; returns the capacity.
  unsigned shrink();

 protected:
  // Sets the count of elements without constructing or destroying any:
  // the places up to n (within the capacity) were just constructed in
  // place, or those past n hold no reference and are forgotten. For a
  // vector made with its values rather than filled with Nil first, and
  // freed without a scan of values it knows to be plain (a member record).
  void setPlacedSize(unsigned n) { size_ = n; }
  // Empty, with room for n values (at most kShortRoom) in the vector's own
  // room, made inline: for a vector whose maker places its values (a member
  // record, made by the dozen with every structure).
  struct OwnRoom {};
  TulVector(OwnRoom, unsigned n) : data_(shortRoom()), size_(0), cap_(n) {
    TulLiveLink* const newest = tulrt::detail::gNewestContainer;
    live_.owner = this;
    live_.prev = nullptr;
    live_.next = newest;
    if (newest) newest->prev = &live_;
    tulrt::detail::gNewestContainer = &live_;
  }
  // For a vector in its own room whose values hold no reference, freed by
  // its maker without the destructor (its storage then reused for one of
  // its kind or given back): leaves the live containers and the count of
  // live objects, inline. False, with nothing done, when it must take the
  // general path instead (room on the heap, a weak link to tell, the live
  // containers being emptied).
  bool leaveInPlace() {
    if (!isShort() || hasWeakLink() || tulrt::detail::gClearingContainers) return false;
    TulLiveLink* const prev = live_.prev;
    TulLiveLink* const next = live_.next;
    if (prev) prev->next = next; else tulrt::detail::gNewestContainer = next;
    if (next) next->prev = prev;
    --gTulLiveObjects;
    return true;
  }

 private:
  // A capacity of up to kShortRoom values is kept in the vector itself (a
  // member record, a small object's members, a call's arguments), so making
  // such a vector allocates nothing; a larger one moves to the heap.
  static constexpr unsigned kShortRoom = 4;
  TulValue* shortRoom() { return reinterpret_cast<TulValue*>(short_); }
  bool isShort() const { return data_ == reinterpret_cast<const TulValue*>(short_); }
  void reallocate(unsigned cap);
  // Takes o's elements as they are (no copy, no release); this is empty.
  void takeElements(TulVector& o);

  TulValue* data_;
  unsigned size_;
  unsigned cap_;
  TulLiveLink live_;
  alignas(8) unsigned char short_[kShortRoom * sizeof(TulValue)];
};

// static_cast<T*>(v) for the host object of type T held under tag (a
// string, a buffer, a vector, a dictionary), read inline.
template <class T>
T* refIn(const TulValue& v, TulValueType tag) {
  return v.type() == tag ? static_cast<T*>(v.refObject()) : nullptr;
}

// The value-stack cursor: a vector and an index into it.
struct ValPtr {
  TulVector* vec;
  int index;

  TulValue& operator*() const { return (*vec)[static_cast<unsigned>(index)]; }
  TulValue* operator->() const { return &**this; }
  ValPtr& operator+=(int n) { index += n; return *this; }
  ValPtr& operator-=(int n) { index -= n; return *this; }
};

struct TulDictionaryChunk;

// One key/value record of a dictionary. A record outlives its dictionary's
// hold on it while values refer to it: once erased it keeps its key, loses
// its value and answers erased() (it is then no longer linked). Records live
// in blocks their dictionary allocates a few at a time; a block outlives the
// dictionary while a value still holds one of its records.
class TUL_API TulDictionaryEntry : public TulRefObject {
  // The table keeps each entry's hash beside it too, so a lookup reads an
  // entry only when the hashes match.
  std::uint32_t hash_;

 public:
  ~TulDictionaryEntry() override;

  // The value before the key: what a found lookup reads (the value, the
  // key's length and its short characters) then lies within 64 bytes.
  TulValue value;
  TulString key;
  TulDictionaryEntry* next;  // the next entry in insertion order, or null

  TulDictionaryEntry& operator=(const TulValue& v);
  void setValue(const TulValue& v, bool flag1, bool flag2);

  // Host side.
  bool erased() const { return owner_ == nullptr; }
  TulDictionary* owner() const { return owner_; }

 private:
  friend class TulDictionary;
  // Made last in its dictionary's order: after prev, in a place of chunk.
  TulDictionaryEntry(TulDictionary* owner, const TulString& k, std::uint32_t hash,
                     TulDictionaryEntry* prev, TulDictionaryChunk* chunk);

  // Back into its block's free places rather than to the heap.
  void lastReleased() override;

  TulDictionary* owner_;
  TulDictionaryEntry* prev_;
  TulDictionaryChunk* chunk_;
};

// Maps string keys to values; keeps insertion order and finds keys through a
// hash table in O(1) on average.
class TUL_API TulDictionary : public TulRefObject {
 public:
  // The first table lives in the dictionary itself (a member list, a small
  // record), so a dictionary of up to kShortSlots keys allocates no table.
  static constexpr unsigned kShortSlots = 8;

  explicit TulDictionary(bool flag = false);
  TulDictionary(const TulDictionary& other);  // a copy in the same order
  TulDictionary& operator=(const TulDictionary& other);
  ~TulDictionary() override;
  // Small dictionaries (a structure's members, a record) are made and
  // dropped again and again: their blocks are reused.
  static void* operator new(std::size_t size);
  static void operator delete(void* block, std::size_t size);

  TulDictionaryEntry* find(const TulString& key) const;
  TulDictionaryEntry* find(const char* key) const;
  // The entry for key, appended with a Nil value when missing.
  TulDictionaryEntry* operator[](const TulString& key);
  // find that also gives the key's hash, and the append of a key that find
  // (with no change since) did not find, with that hash: one probe for a
  // caller that checks before it adds.
  TulDictionaryEntry* find(const TulString& key, std::uint32_t& hash) const;
  TulDictionaryEntry* append(const TulString& key, std::uint32_t hash);
  // The entry for key, appended with a Nil value, when the dictionary has
  // no such key; null, and nothing changes, when it has. One hash and one
  // probe serve the test and the insert.
  TulDictionaryEntry* add(const TulString& key);
  TulDictionaryEntry* operator[](const char* key);
  bool erase(const TulString& key);
  // False, and nothing changes, for an entry of another dictionary or one
  // already erased.
  bool erase(TulDictionaryEntry* entry);
  void clear();
  unsigned count() const { return count_; }
  TulDictionaryEntry* getFirst() const { return first_; }

 private:
  // A place of the table, open addressing with linear probing: the entry
  // (null when free) and its key's hash, compared before the entry is read.
  struct Slot {
    std::uint32_t hash;
    TulDictionaryEntry* entry;
  };

  // at: for a key not found, the free slot where the probe stopped (kNoSlot
  // after a whole round).
  static constexpr unsigned kNoSlot = ~0u;
  TulDictionaryEntry* lookup(const char* key, unsigned len,
                             std::uint32_t hash, unsigned& at) const;
  TulDictionaryEntry* appendAt(const TulString& key, std::uint32_t hash, unsigned at);
  TulDictionaryEntry* remembered(const TulString& key) const;
  void remember(const TulString& key, TulDictionaryEntry* e) const;
  void place(TulDictionaryEntry* e);
  void unlink(TulDictionaryEntry* e);
  void rehash(unsigned slots);
  bool grow();
  void* takePlace(TulDictionaryChunk** chunk);
  friend class TulDictionaryEntry;

  TulDictionaryEntry* first_;
  TulDictionaryEntry* last_;
  Slot* slots_;
  unsigned slotCount_;
  unsigned count_;
  TulDictionaryChunk* chunks_;  // the newest block first
  void* freePlaces_;            // places of released records, linked through them
  TulLiveLink live_;
  // Drawn anew from a process-wide count as the dictionary is made and
  // whenever an entry leaves it, never reused: an entry a string remembers
  // under this dictionary's current serial is in it and alive.
  std::uint64_t serial_;
  Slot shortSlots_[kShortSlots];
};
