#!/usr/bin/env bash
# The main job: sets up, builds the 32-bit library and the host program, and
# shows the library at work: the classes it registers, then a host session
# that uses the Win32 value classes as a script would.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh >/dev/null
cmake --preset linux-x86 >/dev/null
cmake --build --preset linux-x86 --target tul value-classes-demo >/dev/null

run=""
build/linux-x86/bin/tul --help >/dev/null 2>&1 || run="qemu-i386"
echo "== classes registered by the library (tul --classes)"
$run build/linux-x86/bin/tul --classes
echo
echo "== value classes at work"
$run build/linux-x86/bin/value-classes-demo
