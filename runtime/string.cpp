// The host string: a byte string with its own length, always followed by a
// zero byte, and a lazily built UTF-16 form.
//
// Invariant: data_ holds cap_ + 1 bytes and data_[len_] == 0; it is the
// string's own short_ room while the text fits there, else a heap block. Every change
// of contents drops the UTF-16 form, whose buffer then always holds len_ + 1
// units.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <functional>
#include <string>
#include <string_view>

#include "host/containers.h"
#include "runtime/block_cache.h"
#include "runtime/machine_impl.h"

namespace {

// The characters 0x80-0x9F of Windows-1252. The five bytes the code page
// leaves undefined map to the control characters of the same value.
constexpr std::uint16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

std::uint16_t cp1252ToUtf16(unsigned char c) {
  if (c >= 0x80 && c <= 0x9F) return kCp1252High[c - 0x80];
  return c;
}

char foldAscii(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

int compareBytes(const char* a, unsigned alen, const char* b, unsigned blen) {
  const unsigned n = alen < blen ? alen : blen;
  const int c = n ? std::memcmp(a, b, n) : 0;
  if (c != 0) return c;
  return alen < blen ? -1 : (alen > blen ? 1 : 0);
}

int icompareBytes(const char* a, unsigned alen, const char* b, unsigned blen) {
  const unsigned n = alen < blen ? alen : blen;
  for (unsigned i = 0; i < n; ++i) {
    const auto x = static_cast<unsigned char>(foldAscii(a[i]));
    const auto y = static_cast<unsigned char>(foldAscii(b[i]));
    if (x != y) return x < y ? -1 : 1;
  }
  return alen < blen ? -1 : (alen > blen ? 1 : 0);
}

// Clamps a script position into [0, len].
unsigned clampPos(int pos, unsigned len) {
  if (pos < 0) return 0;
  return static_cast<unsigned>(pos) > len ? len : static_cast<unsigned>(pos);
}

// The number of characters from pos that a count asks for: a negative count
// or one past the end takes the rest. pos must be within [0, len].
unsigned spanFrom(unsigned pos, int count, unsigned len) {
  const unsigned rest = len - pos;
  if (count < 0 || static_cast<unsigned>(count) > rest) return rest;
  return static_cast<unsigned>(count);
}

// True when p lies within the n + 1 bytes at base. std::less gives a total
// order even for pointers into different blocks.
bool pointsInto(const char* p, const char* base, unsigned n) {
  const std::less<const char*> before;
  return !before(p, base) && !before(base + n, p);
}

// Most strings never had a UTF-16 form: no call into the allocator then.
void dropWide(std::uint16_t*& wide) {
  if (!wide) return;
  std::free(wide);
  wide = nullptr;
}

// The first occurrence of needle at or after from, or -1.
int findBytes(std::string_view hay, std::string_view needle, unsigned from) {
  const std::size_t at = hay.find(needle, from);
  return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

}  // namespace

// --- Construction -----------------------------------------------------------

TulString::TulString() : data_(short_), len_(0), cap_(kShortRoom - 1), wide_(nullptr) {
  data_[0] = 0;
}

TulString::TulString(const char* s) : TulString() {
  if (s) assign(s, static_cast<unsigned>(std::strlen(s)));
}

TulString::TulString(const char* s, unsigned len) : TulString() {
  if (s) assign(s, len);
}

TulString::TulString(const TulString& other, int pos, int count) : TulString() {
  if (pos < 0 || static_cast<unsigned>(pos) > other.len_) return;
  const auto at = static_cast<unsigned>(pos);
  assign(other.data_ + at, spanFrom(at, count, other.len_));
}

void TulString::freeStorage() {
  dropWide(wide_);
  if (!isShort()) std::free(data_);
}

void* TulString::operator new(std::size_t size) { return tulrt::detail::newCached<TulString>(size); }

void TulString::operator delete(void* block, std::size_t size) {
  tulrt::detail::deleteCached<TulString>(block, size);
}

TulString TulString::format(const char* fmt, ...) {
  if (!fmt) return TulString();
  va_list args;
  va_start(args, fmt);
  va_list again;
  va_copy(again, args);
  const int n = std::vsnprintf(nullptr, 0, fmt, args);
  va_end(args);
  TulString out;
  if (n > 0) {
    std::string text(static_cast<std::size_t>(n) + 1, '\0');
    std::vsnprintf(&text[0], text.size(), fmt, again);
    out.assign(text.data(), static_cast<unsigned>(n));
  }
  va_end(again);
  return out;
}

// --- Storage ----------------------------------------------------------------

// Grows geometrically so that repeated appends stay linear. A failed
// allocation throws, as running out of memory does everywhere in C++.
void TulString::reserve(unsigned cap) {
  if (cap <= cap_) return;
  if (cap >= UINT32_MAX - 1 || !tulrt::detail::withinContainerLimit(cap + 1u))
    throw std::bad_alloc();
  unsigned grown = cap_ + cap_ / 2;
  if (grown < cap || grown >= UINT32_MAX - 1) grown = cap;
  char* p;
  if (isShort()) {
    p = static_cast<char*>(std::malloc(grown + 1u));
    if (p) std::memcpy(p, short_, len_ + 1u);
  } else {
    p = static_cast<char*>(std::realloc(data_, grown + 1u));
  }
  if (!p) throw std::bad_alloc();
  data_ = p;
  cap_ = grown;
}

// s may point into this string's own characters.
void TulString::assign(const char* s, unsigned len) {
  dropWide(wide_);
  if (pointsInto(s, data_, len_)) {
    std::memmove(data_, s, len);
  } else {
    reserve(len);
    if (len) std::memcpy(data_, s, len);
  }
  len_ = len;
  data_[len_] = 0;
}

// --- Assignment and appending -----------------------------------------------

TulString& TulString::operator=(const TulString& other) {
  if (this != &other) assign(other.data_, other.len_);
  return *this;
}

TulString& TulString::operator=(const char* s) {
  if (!s) {
    clear();
    return *this;
  }
  assign(s, static_cast<unsigned>(std::strlen(s)));
  return *this;
}

TulString& TulString::operator+=(const TulString& s) {
  return append(s.data_, s.len_);  // a string appended to itself is copied there
}

TulString& TulString::operator+=(const char* s) {
  if (s) *this += TulString(s);  // a copy: s may point into this string
  return *this;
}

TulString& TulString::append(const char* s, unsigned n) {
  if (n == 0) return *this;
  if (pointsInto(s, data_, len_)) {
    const TulString copy(s, n);  // its storage is about to move
    return append(copy.data_, n);
  }
  if (n > UINT32_MAX - 2 - len_) throw std::bad_alloc();
  reserve(len_ + n);
  dropWide(wide_);
  std::memcpy(data_ + len_, s, n);
  len_ += n;
  data_[len_] = 0;
  return *this;
}

TulString& TulString::operator+=(char c) {
  insert(static_cast<int>(len_), c, 1);
  return *this;
}

void TulString::clear() {
  assign("", 0);
}

// --- Queries ----------------------------------------------------------------

const std::uint16_t* TulString::w_str() const {
  if (!wide_) {
    wide_ = static_cast<std::uint16_t*>(
        std::malloc((static_cast<std::size_t>(len_) + 1) * sizeof(std::uint16_t)));
    if (!wide_) throw std::bad_alloc();
  }
  // Refilled on every call: callers may have changed the characters in place
  // through data(), which the string cannot see.
  for (unsigned i = 0; i < len_; ++i)
    wide_[i] = cp1252ToUtf16(static_cast<unsigned char>(data_[i]));
  wide_[len_] = 0;
  return wide_;
}

int TulString::compare(const TulString& other) const {
  return compareBytes(data_, len_, other.data_, other.len_);
}

int TulString::compare(const char* other) const {
  if (!other) other = "";
  return compareBytes(data_, len_, other,
                      static_cast<unsigned>(std::strlen(other)));
}

int TulString::icompare(const TulString& other) const {
  return icompareBytes(data_, len_, other.data_, other.len_);
}

int TulString::icompare(const char* other) const {
  if (!other) other = "";
  return icompareBytes(data_, len_, other,
                       static_cast<unsigned>(std::strlen(other)));
}

int TulString::find(char c, int start) const {
  if (start > 0 && static_cast<unsigned>(start) >= len_) return -1;
  return findBytes(std::string_view(data_, len_), std::string_view(&c, 1),
                   clampPos(start, len_));
}

// An empty needle is found at the (clamped) start, as long as the start is
// not beyond the end.
int TulString::find(const TulString& s, int start) const {
  if (start > 0 && static_cast<unsigned>(start) > len_) return -1;
  return findBytes(std::string_view(data_, len_),
                   std::string_view(s.data_, s.len_), clampPos(start, len_));
}

int TulString::find(const char* s, int start) const {
  if (!s) return -1;
  if (start > 0 && static_cast<unsigned>(start) > len_) return -1;
  return findBytes(std::string_view(data_, len_), std::string_view(s),
                   clampPos(start, len_));
}

// --- Editing ----------------------------------------------------------------

void TulString::replace(char from, char to) {
  dropWide(wide_);
  for (unsigned i = 0; i < len_; ++i)
    if (data_[i] == from) data_[i] = to;
}

// Non-overlapping occurrences, left to right; an empty `from` changes
// nothing. Either argument may be this string itself.
void TulString::replace(const TulString& from, const TulString& to) {
  if (from.len_ == 0) return;
  // The views stay good until assign(): nothing is written before it.
  const std::string_view needle(from.data_, from.len_);
  const std::string_view with(to.data_, to.len_);
  const std::string_view hay(data_, len_);
  if (needle.size() == 1 && with.size() == 1 && &from != this && &to != this) {
    replace(needle[0], with[0]);
    return;
  }
  if (needle.size() == with.size() && &from != this && &to != this) {
    // Same length: in place, without building a copy.
    std::size_t at = hay.find(needle);
    if (at == std::string_view::npos) return;
    dropWide(wide_);
    for (; at != std::string_view::npos; at = hay.find(needle, at + needle.size()))
      std::memcpy(data_ + at, with.data(), with.size());
    return;
  }
  std::string out;
  std::size_t pos = 0;
  for (std::size_t at; (at = hay.find(needle, pos)) != std::string_view::npos;
       pos = at + needle.size()) {
    out.append(hay.substr(pos, at - pos)).append(with);
  }
  if (pos == 0) return;
  out.append(hay.substr(pos));
  assign(out.data(), static_cast<unsigned>(out.size()));
}

void TulString::insert(int pos, const TulString& s) {
  if (s.len_ == 0) return;
  // Inserting a string into itself: its storage is about to move.
  if (&s == this) {
    const TulString copy(s);
    insert(pos, copy);
    return;
  }
  if (s.len_ > UINT32_MAX - 2 - len_) throw std::bad_alloc();
  const unsigned at = clampPos(pos, len_);
  reserve(len_ + s.len_);
  dropWide(wide_);
  std::memmove(data_ + at + s.len_, data_ + at, len_ - at + 1);
  std::memcpy(data_ + at, s.data_, s.len_);
  len_ += s.len_;
}

void TulString::insert(int pos, char c, int count) {
  if (count <= 0) return;
  const auto n = static_cast<unsigned>(count);
  if (n > UINT32_MAX - 2 - len_) throw std::bad_alloc();
  const unsigned at = clampPos(pos, len_);
  reserve(len_ + n);
  dropWide(wide_);
  std::memmove(data_ + at + n, data_ + at, len_ - at + 1);
  std::memset(data_ + at, c, n);
  len_ += n;
}

void TulString::erase(int pos, int count) {
  if (pos < 0 || static_cast<unsigned>(pos) >= len_) return;
  const auto at = static_cast<unsigned>(pos);
  const unsigned n = spanFrom(at, count, len_);
  dropWide(wide_);
  std::memmove(data_ + at, data_ + at + n, len_ - at - n + 1);
  len_ -= n;
}

TulString TulString::substr(int pos, int count) const {
  return TulString(*this, pos, count);
}
