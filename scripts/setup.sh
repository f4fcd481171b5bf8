#!/usr/bin/env bash
# Installs what a fresh Debian 12 machine lacks to build and test the
# project: cmake, the 32-bit compilers, qemu-user (to run i386 programs on
# machines that cannot), the mingw-w64 i686 cross compilers, the googletest
# sources, the stb headers (the layer's screenshots are written with
# stb_image_write.h) and python3 (which unpacks the Windows package and reads
# its binaries' version resources). Safe to run again: it installs only what
# is missing.
set -euo pipefail

packages=(cmake make g++ g++-multilib qemu-user g++-mingw-w64-i686
          binutils-mingw-w64-i686 googletest binutils libstb-dev python3)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: everything is installed"
  exit 0
fi

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "setup: installing ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
