// `desktop`: the simulated user, as static methods of a script class.
#pragma once

namespace tulscript {
class Engine;
}

void defineDesktopClass(tulscript::Engine& engine);
// Forgets what a script queued or hooked (idle hook, spies, dialog answers)
// and destroys the windows it left behind.
void resetDesktop();
