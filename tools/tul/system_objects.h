// What the runner offers scripts beyond the language and the library: the
// `win32` class (the system's functions by their names) and the `desktop`
// class (a simulated user, for window programs run headless).
#pragma once

namespace tulscript {
class Engine;
}

// Defines both classes on the engine's machine; call it after the library's
// classes are registered.
void offerSystemObjects(tulscript::Engine& engine);

// Between two scripts run by one process: what one script left behind
// (windows, queued input, hooks, dialog answers) must not reach the next.
void resetSystemState();
