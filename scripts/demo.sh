#!/usr/bin/env bash
# The main job: sets up, builds the 32-bit library and the tul host program,
# and runs the example scripts, which use the library's classes as any
# script would. The window application runs headless, driven by a simulated
# user, and leaves its screenshot in build/demo/window_app.png.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh >/dev/null
cmake --preset linux-x86 >/dev/null
cmake --build --preset linux-x86 --target tul >/dev/null

run=""
build/linux-x86/bin/tul --version >/dev/null 2>&1 || run="qemu-i386"
for example in examples/value_classes.tul examples/struct_roundtrip.tul; do
  echo "######## tul $example"
  $run build/linux-x86/bin/tul "$example"
  echo
done

mkdir -p build/demo
echo "######## tul examples/window_app.tul build/demo/window_app.png"
$run build/linux-x86/bin/tul examples/window_app.tul build/demo/window_app.png
