#!/usr/bin/env bash
# Lua 5.4, the peer interpreter of the benchmarks: built -m32 from Debian
# bookworm's source package, which is fetched with a private apt
# configuration (its own sources list, lists and cache under build/lua54;
# the mirror is the machine's own, scripts/apt-mirror.sh), leaving the
# machine's apt set-up alone. Only the interpreter is built: the core, the
# standard library and lua.c, without readline.
#
#   lua54.sh   prints the interpreter's path (building it when needed); when
#              it cannot be had, prints the reason and exits 1
set -u
cd "$(dirname "$0")/.."
D=$PWD/build/lua54
lua=$D/lua

fail() { echo "$*"; exit 1; }
. scripts/apt-mirror.sh

[ -x "$lua" ] && { echo "$lua"; exit 0; }

A=$D/apt
mkdir -p "$A/state/lists/partial" "$A/cache/archives/partial" "$A/etc"
touch "$A/state/status"
mirror=$(apt_mirror) || fail "$mirror"
echo "deb-src $mirror bookworm main" >"$A/etc/sources.list"
O=(-o "Dir::Etc::sourcelist=$A/etc/sources.list" -o Dir::Etc::sourceparts=/nonexistent
   -o "Dir::State=$A/state" -o "Dir::State::status=$A/state/status" -o "Dir::Cache=$A/cache")
apt-get "${O[@]}" update -qq >"$D/apt.log" 2>&1 ||
  fail "bookworm's source index could not be fetched (build/lua54/apt.log)"

# Only the upstream tarball is used: dpkg-source may be missing, and the
# package's own patches concern its packaging, not the interpreter's speed.
src=$D/src
rm -rf "$src" && mkdir -p "$src"
(cd "$src" && apt-get "${O[@]}" source --download-only lua5.4 >>"$D/apt.log" 2>&1) ||
  fail "apt-get source lua5.4 failed (build/lua54/apt.log)"
tarball=$(ls "$src"/lua5.4_*.orig.tar.* 2>/dev/null | head -1)
[ -n "$tarball" ] || fail "the source package holds no upstream tarball"
tar -xf "$tarball" -C "$src" || fail "cannot unpack $(basename "$tarball")"
dir=$(ls -d "$src"/lua-5.4*/src 2>/dev/null | head -1)
[ -n "$dir" ] || fail "no src folder in $(basename "$tarball")"

sources=$(ls "$dir"/*.c | grep -v '/luac\.c$')
# shellcheck disable=SC2086
gcc -m32 -O2 -std=gnu99 -DLUA_USE_POSIX -o "$lua.new" $sources -lm >"$D/build.log" 2>&1 ||
  fail "gcc -m32 could not build Lua (build/lua54/build.log)"
mv "$lua.new" "$lua"
echo "$lua"
