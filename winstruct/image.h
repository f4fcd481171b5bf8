// Win32 structures held in byte buffers. Each value class keeps exactly one
// structure, little-endian in its 32-bit layout, in one TulBuffer data
// member; an Image describes that member, and the generic methods below read
// and write one field of it in place.
//
// Invariant: a method touches a structure only through imageOf(), which
// refuses a member that does not hold a buffer of the structure's full size,
// so a script that replaced the member cannot make us read past its end.
#pragma once

#include <cstdint>

#include "module/frame.h"

static_assert(sizeof(void*) == 4,
              "structure addresses are handed to scripts as 32-bit integers");

// How one value class keeps its structure.
struct Image {
  Member member;
  unsigned size;
  const char* invalid;  // the report for a member without a usable buffer
};

// The field kinds of the Win32 structures.
enum class FieldKind { I32, U16, U8 };

std::int32_t readField(const TulBuffer* b, unsigned offset, FieldKind kind);
void writeField(TulBuffer* b, unsigned offset, FieldKind kind, std::int32_t v);

// The structure of `this`, or null after reporting img.invalid.
TulBuffer* imageOf(Frame& f, const Image& img);
// A new buffer of exactly img.size zero bytes.
TulBuffer* newImage(const Image& img);

// The structure of an argument object whose class is cls or derives from it;
// null when the argument is not such an object or holds no full structure.
TulBuffer* argImage(const TulValue& v, Name cls, const Image& img);

// The address of the structure's first byte as a script integer.
int imageAddress(TulBuffer* b);

// Native methods shared by the value classes, one instance per field.
template <const Image& Img, unsigned Offset, FieldKind Kind>
bool image_get(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulBuffer* b = imageOf(f, Img);
  if (!b) return false;
  return f.retInt(readField(b, Offset, Kind));
}

template <const Image& Img, unsigned Offset, FieldKind Kind>
bool image_set(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulBuffer* b = imageOf(f, Img);
  if (!b) return false;
  writeField(b, Offset, Kind, static_cast<int>(f.arg(0)));
  return f.retNothing();
}

template <const Image& Img>
bool image_ptr(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulBuffer* b = imageOf(f, Img);
  if (!b) return false;
  return f.retInt(imageAddress(b));
}

// Native creation of a POINT or SIZE object (cls must be one of them or
// derive from one): no script constructor runs; its _pt holds (x, y).
// False after a report.
bool newPointObject(Frame& f, TulClass* cls, std::int32_t x, std::int32_t y);
// The registered class POINT or SIZE; null after reporting "POINT class not
// found." or "SIZE class not found.".
TulClass* pointClass(Frame& f, Name which);

extern const Image kPointImage;
extern const Image kRectImage;
extern const Image kMsgImage;
extern const Image kAccelImage;
