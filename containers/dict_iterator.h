// Native creation of dictionary iterators, shared by Dictionary and by the
// iterator's own post-increment.
#pragma once

#include "host/tul.h"

// A new DictIterator object on entry, or at the end when entry is null; no
// script constructor runs. Nil when the machine has no DictIterator class.
TulValue createDictIterator(TulVirtualMachine* vm, TulDictionaryEntry* entry);

// "DictIterator", built on first use and kept for the life of the process.
const TulString& dictIteratorName();
