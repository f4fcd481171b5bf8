// `desktop` (see desktop.h). Not written yet.
#include "tools/tul/desktop.h"

void defineDesktopClass(tulscript::Engine&) {}
void resetDesktop() {}
