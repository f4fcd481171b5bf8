#!/usr/bin/env bash
# The main job: sets up, builds the 32-bit library and the tul host program,
# and runs the example scripts, which use the library's classes as any
# script would. The window applications run headless, driven by a simulated
# user, and leave their screenshots in build/demo/ (NAME.png).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh >/dev/null
cmake --preset linux-x86 >/dev/null
cmake --build --preset linux-x86 --target tul >/dev/null

run=""
build/linux-x86/bin/tul --version >/dev/null 2>&1 || run="qemu-i386"
tul=$PWD/build/linux-x86/bin/tul
for example in examples/value_classes.tul examples/struct_roundtrip.tul; do
  echo "######## tul $example"
  $run "$tul" "$example"
  echo
done

# The notes editor keeps its file in the current folder (and removes it at
# the end), so the window applications run from build/demo.
mkdir -p build/demo
for app in first_window window_app canvas notes todo; do
  echo "######## tul examples/$app.tul build/demo/$app.png"
  (cd build/demo && $run "$tul" "../../examples/$app.tul" "$app.png")
  echo
done
