#!/usr/bin/env bash
# Builds everything and runs every test: the 32-bit Linux build with its test
# suite (through qemu-i386 where the machine cannot run i386 code), the same
# suite built with AddressSanitizer and UBSan, the Win32 layer's probes
# against Wine and Wine's user32 conformance tests against the layer, then the Windows cross build, whose DLL's export and import
# tables are checked, whose ZIP for Windows users is built and checked, and
# whose tul.exe runs the script suite on 32-bit Wine.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh

echo "== linux-x86: build"
cmake --preset linux-x86 >/dev/null
cmake --build --preset linux-x86
echo "== linux-x86: tests"
ctest --preset linux-x86

echo "== linux-x86-asan: build and tests"
cmake --preset linux-x86-asan >/dev/null
cmake --build --preset linux-x86-asan
ASAN_OPTIONS=detect_leaks=0 ctest --preset linux-x86-asan

echo "== win32 layer: behaviour probes against Wine"
bash tests/win32/compare-with-wine.sh

echo "== win32 layer: Wine's user32 conformance tests"
bash scripts/conformance.sh

echo "== windows-x86: build"
cmake --preset windows-x86 >/dev/null
cmake --build --preset windows-x86
echo "== windows-x86: export table"
scripts/check-exports.sh windows build/windows-x86/bin/tul2class.dll
echo "== windows-x86: the package for Windows users"
cmake --build --preset windows-x86 --target package
zip=$(sed -n 's/^set(CPACK_PACKAGE_FILE_NAME "\(.*\)")$/\1/p' build/windows-x86/CPackConfig.cmake).zip
bash scripts/check-package.sh "build/windows-x86/$zip" build/windows-x86/package-check

echo "== windows-x86: the script suite on 32-bit Wine"
bash scripts/wine-lane.sh
