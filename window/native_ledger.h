// What the library made outside the host, so that values a script can
// overwrite (the data members _paintStruct and _savedWndProc are plain
// integers) are trusted only when they name something the library made: a
// paint block it allocated, a window procedure it replaced when subclassing.
// A forged value is never freed, called or written through.
#pragma once

#include <windows.h>

#include <cstdint>

// A new, zeroed paint block (a PAINTSTRUCT); null when memory is short.
void* newPaintBlock();
bool isPaintBlock(const void* block);
// Frees a block this ledger handed out; anything else is left alone.
void freePaintBlock(void* block);

// A procedure that subclassing replaced, recorded so default processing
// may call it.
void noteReplacedProcedure(std::int32_t proc);
bool isReplacedProcedure(std::int32_t proc);
