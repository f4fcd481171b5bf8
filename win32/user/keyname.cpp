// Key names: GetKeyNameTextA for the scan codes of the US keyboard, in the
// names the system's US layout gives them (Wine names the X server's key
// symbols instead, which depend on the display).
// Invariant: the tables are sorted by scan code, so a name is found by
// bisection, and a key with no name answers an empty string.
#include "user/user.h"

#include <algorithm>
#include <cstring>

namespace w32 {

namespace {

struct KeyName {
  unsigned scan;
  const char* name;
};

// Keys that do not type a character, and the keypad.
constexpr KeyName kNames[] = {
    {0x01, "Esc"},       {0x0E, "Backspace"}, {0x0F, "Tab"},     {0x1C, "Enter"},
    {0x1D, "Ctrl"},      {0x2A, "Shift"},     {0x36, "Right Shift"}, {0x37, "Num *"},
    {0x38, "Alt"},       {0x39, "Space"},     {0x3A, "Caps Lock"}, {0x3B, "F1"},
    {0x3C, "F2"},        {0x3D, "F3"},        {0x3E, "F4"},      {0x3F, "F5"},
    {0x40, "F6"},        {0x41, "F7"},        {0x42, "F8"},      {0x43, "F9"},
    {0x44, "F10"},       {0x45, "Pause"},     {0x46, "Scroll Lock"}, {0x47, "Num 7"},
    {0x48, "Num 8"},     {0x49, "Num 9"},     {0x4A, "Num -"},   {0x4B, "Num 4"},
    {0x4C, "Num 5"},     {0x4D, "Num 6"},     {0x4E, "Num +"},   {0x4F, "Num 1"},
    {0x50, "Num 2"},     {0x51, "Num 3"},     {0x52, "Num 0"},   {0x53, "Num Del"},
    {0x54, "Sys Req"},   {0x57, "F11"},       {0x58, "F12"},
};

// The same scan codes with the extended bit: the second Ctrl and Alt, the
// arrows and their block, the keypad's Enter and slash.
constexpr KeyName kExtendedNames[] = {
    {0x1C, "Num Enter"}, {0x1D, "Right Ctrl"}, {0x35, "Num /"},   {0x37, "Prnt Scrn"},
    {0x38, "Right Alt"}, {0x45, "Num Lock"},  {0x46, "Break"},   {0x47, "Home"},
    {0x48, "Up"},        {0x49, "Page Up"},   {0x4B, "Left"},    {0x4D, "Right"},
    {0x4F, "End"},       {0x50, "Down"},      {0x51, "Page Down"}, {0x52, "Insert"},
    {0x53, "Delete"},    {0x5B, "Left Windows"}, {0x5C, "Right Windows"}, {0x5D, "Application"},
};

// The character keys name themselves by what they type unshifted (letters
// in capitals), from scan code 0x02 on; ' ' where no key is.
constexpr char kCharacters[] = "1234567890-=  QWERTYUIOP[]  ASDFGHJKL;'` \\ZXCVBNM,./";
constexpr unsigned kFirstCharacterScan = 0x02;

const char* lookUp(const KeyName* begin, const KeyName* end, unsigned scan) {
  const KeyName* at =
      std::lower_bound(begin, end, scan, [](const KeyName& k, unsigned s) { return k.scan < s; });
  return (at != end && at->scan == scan) ? at->name : nullptr;
}

// The name of a scan code (with the extended bit), or "" for none. With
// dontCare, the right-hand Shift, Ctrl and Alt are named as the left.
std::string keyName(unsigned scan, bool extended, bool dontCare) {
  if (dontCare) {
    if (scan == 0x36) scan = 0x2A;
    if (scan == 0x1D || scan == 0x38) extended = false;
  }
  if (extended) {
    const char* n = lookUp(std::begin(kExtendedNames), std::end(kExtendedNames), scan);
    if (n) return n;
  }
  if (const char* n = lookUp(std::begin(kNames), std::end(kNames), scan)) return n;
  if (scan == 0x56) return "\\";  // the key beside the left Shift on 102-key boards
  unsigned i = scan - kFirstCharacterScan;
  if (scan < kFirstCharacterScan || i >= sizeof kCharacters - 1 || kCharacters[i] == ' ') return "";
  return std::string(1, kCharacters[i]);
}

}  // namespace

}  // namespace w32

using namespace w32;

extern "C" {

// As much of the name as the buffer holds with its NUL; the count copied.
// A key without a name, or no room, gives 0 and an empty string.
int WINAPI GetKeyNameTextA(LONG lParam, LPSTR lpString, int cchSize) {
  if (!lpString) return 0;
  unsigned scan = (static_cast<unsigned long>(lParam) >> 16) & 0xFF;
  bool extended = (lParam & (1L << 24)) != 0;
  bool dontCare = (lParam & (1L << 25)) != 0;
  std::string name = keyName(scan, extended, dontCare);
  if (cchSize <= 0) {
    lpString[0] = '\0';
    return 0;
  }
  size_t n = std::min(name.size(), static_cast<size_t>(cchSize - 1));
  memcpy(lpString, name.data(), n);
  lpString[n] = '\0';
  return static_cast<int>(n);
}

}  // extern "C"
