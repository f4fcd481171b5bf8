// The runner's system objects (see system_objects.h).
#include "tools/tul/system_objects.h"

#include "tools/tul/desktop.h"
#include "tools/tul/win32_calls.h"

void offerSystemObjects(tulscript::Engine& engine) {
  defineWin32Class(engine);
  defineDesktopClass(engine);
}

void resetSystemState() { resetDesktop(); }
