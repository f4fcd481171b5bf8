// `win32`: the system's functions as static methods of a script class, by
// their real names, from one table of every function the Linux Win32 layer
// exports.
#pragma once

namespace tulscript {
class Engine;
}

void defineWin32Class(tulscript::Engine& engine);
