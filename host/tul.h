// The host contract in one include: values, containers, the machine, the
// interpreter, classes and objects. The library is written against these
// declarations only.
#pragma once

#include "host/value.h"
#include "host/containers.h"
#include "host/vm.h"
