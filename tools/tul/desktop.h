// `desktop`: the simulated user, as static methods of a script class, so
// that window programs can be driven, checked and shown headless (see the
// `desktop` section of docs/language.md).
#pragma once

#include <string>

namespace tulscript {
class Engine;
}

// Before the library is loaded: what the desktop must see of the library's
// own calls to the system is put in place.
void prepareDesktop();
// Defines the class on the engine's machine and starts watching the thread's
// message loop for waits (the engine is called into while its machine lives).
void defineDesktopClass(tulscript::Engine& engine);
// Forgets what a script queued or hooked (idle function, spies, dialog and
// message box answers, the last message box, held keys, queued and posted
// messages, a pending quit) and destroys the windows it left behind.
void resetDesktop();
// `tul --screenshot PATH`: the screen as a PNG file. False, with the reason,
// when it cannot be saved.
bool saveDesktopScreenshot(const std::string& path, std::string& why);
