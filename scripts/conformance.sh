#!/usr/bin/env bash
# Wine's user32 conformance tests run against the Win32 layer. The tests come
# from Debian bookworm's wine source package, fetched at run time with a
# private apt configuration (its own sources list, lists and cache under
# build/conformance; the mirror is the machine's own, scripts/apt-mirror.sh)
# and never kept in the repository. Each chosen file is built -m32 as C
# against the layer's headers with the project's own check macros
# (tests/conformance/winetest.h, harness.c); functions the layer does not
# export are linked to generated stubs failing with
# ERROR_CALL_NOT_IMPLEMENTED; the test functions listed in skipped.txt are
# left out of each file's entry. Each file runs under the i386 emulator with
# a time limit, and its failures are compared with expected-failures.txt.
#
# Usage: scripts/conformance.sh [--list] [file.c ...]   (default: every file
#        in tests/conformance/files.txt); --list prints every failing place
#        with its first message, in the form of expected-failures.txt
# Exit status: 0 when every failure is listed (listed ones that now pass are
# reported so the list shrinks), or when the source package cannot be had
# (the last line then says "skipped: REASON"); 1 on a new failure, a crash,
# a hang, or a file that does not build.
set -uo pipefail
cd "$(dirname "$0")/.."
root=$PWD
conf=$root/tests/conformance
D=$root/build/conformance
build=$root/build/linux-x86
layer=$build/lib/libtulwin32.so
limit=${CONFORMANCE_TIME_LIMIT:-120}

skip() { echo "conformance: skipped: $*"; exit 0; }
die() { echo "conformance: $*"; exit 1; }
. "$root/scripts/apt-mirror.sh"

list=0
if [ "${1:-}" = --list ]; then list=1; shift; fi
files=("$@")
[ ${#files[@]} -gt 0 ] || mapfile -t files < <(grep -v '^#' "$conf/files.txt" | awk 'NF {print $1}')

# ---- The tests, from the source package ----
tests=$D/src/wine-8.0/dlls/user32/tests
fetch() {
  local A=$D/apt
  mkdir -p "$A/state/lists/partial" "$A/cache/archives/partial" "$A/etc" "$D/src"
  touch "$A/state/status"
  local mirror
  mirror=$(apt_mirror) || skip "$mirror"
  echo "deb-src $mirror bookworm main" >"$A/etc/sources.list"
  local O=(-o "Dir::Etc::sourcelist=$A/etc/sources.list" -o Dir::Etc::sourceparts=/nonexistent
           -o "Dir::State=$A/state" -o "Dir::State::status=$A/state/status" -o "Dir::Cache=$A/cache")
  command -v apt-get >/dev/null || skip "apt-get is missing"
  apt-get "${O[@]}" update -qq >"$D/apt.log" 2>&1 ||
    skip "bookworm's source index could not be fetched (build/conformance/apt.log)"
  (cd "$D/src" && apt-get "${O[@]}" source --download-only wine >>"$D/apt.log" 2>&1) ||
    skip "apt-get source wine failed (build/conformance/apt.log)"
  local tarball
  tarball=$(ls "$D"/src/wine_8.0*.orig.tar.* 2>/dev/null | head -1)
  [ -n "$tarball" ] || skip "the wine source package holds no upstream tarball"
  # Only the tests' sources: nothing else of Wine is unpacked.
  tar -xf "$tarball" -C "$D/src" --wildcards 'wine-8.0*/dlls/user32/tests/*.c' ||
    skip "cannot unpack the user32 tests from $(basename "$tarball")"
  rm -f "$D"/src/wine_8.0*
}
[ -f "$tests/win.c" ] || fetch
[ -f "$tests/win.c" ] || skip "the wine source package holds no dlls/user32/tests/win.c"

# ---- The layer ----
if [ ! -f "$layer" ]; then
  cmake --preset linux-x86 >/dev/null && cmake --build --preset linux-x86 --target tulwin32 >/dev/null ||
    die "the layer does not build"
fi
emulator=""
if ! "$build/tests/win32_probe_misc" >/dev/null 2>&1 && command -v qemu-i386 >/dev/null; then
  emulator=qemu-i386
fi

# The headers the tests include by their system names all lead to the
# layer's windows.h and the gaps; wine/test.h to our check macros.
inc=$D/include
mkdir -p "$inc/wine" "$D/gen" "$D/bin" "$D/out"
echo '#include "winetest.h"' >"$inc/wine/test.h"
for h in windef winbase winnls winreg wingdi winuser winerror dbt imm; do
  echo '#include "gaps.h"' >"$inc/$h.h"
done
CFLAGS=(-m32 -std=gnu11 -O1 -g -fshort-wchar -fno-strict-aliasing -I "$conf" -I "$inc"
        -I "$root/win32/include" -include gaps.h -Wno-implicit-function-declaration
        -Wno-int-conversion -Wno-incompatible-pointer-types -Wno-pointer-sign
        -Wno-format -Wno-unused -Wno-deprecated-declarations -Wno-int-to-pointer-cast
        -Wno-pointer-to-int-cast -Wno-builtin-declaration-mismatch)

for part in harness wide threads; do
  gcc "${CFLAGS[@]}" -c -o "$D/gen/$part.o" "$conf/$part.c" || die "$part.c does not build"
done

# Leaves out the test functions skipped.txt names for FILE: their calls in
# the file's entry (START_TEST) become a note.
leave_out() {
  local file=$1 names
  names=$(awk -v f="$file" '$1 == f {print $2}' "$conf/skipped.txt" | paste -sd'|')
  perl -pe 'BEGIN { $n = shift @ARGV } $in = 1 if /^START_TEST/;
            s/^(\s*)($n)\s*\(.*\);\s*$/$1winetest_skipped("$2");\n/ if $in && $n ne ""' \
    "$names" "$tests/$file"
}

# Every function the file calls and no header declares gets a stub; a stub
# that shadows a layer export would hide the layer, so that is an error.
make_stubs() {
  local log=$1 out=$2
  local exports
  exports=$(nm -D --defined-only "$layer" | awk '{print $3}')
  {
    echo '#include <windows.h>'
    echo '#include <stdio.h>'
    echo 'static void missing(const char* name) {'
    echo '  if (getenv("WINETEST_TRACE")) printf("missing: %s\n", name);'
    echo '  SetLastError(120); }'
    grep -o "implicit declaration of function ‘[A-Za-z0-9_]*’" "$log" | sed "s/.*‘\(.*\)’/\1/" |
      sort -u | while read -r fn; do
        if grep -qx "$fn" <<<"$exports"; then
          echo "#error \"$fn is exported by the layer: declare it in windows.h\""
        else
          echo "int $fn() { missing(\"$fn\"); return 0; }"
        fi
      done
  } >"$out"
}

status=0
total_run=0 total_failed=0
declare -A seen=()
for file in "${files[@]}"; do
  name=${file%.c}
  [ -f "$tests/$file" ] || die "no $file among Wine's user32 tests"
  leave_out "$file" >"$D/gen/$file"
  if ! gcc "${CFLAGS[@]}" -Wimplicit-function-declaration -c -o "$D/gen/$name.o" \
      "$D/gen/$file" >"$D/gen/$name.log" 2>&1; then
    grep -m20 error "$D/gen/$name.log"
    die "$file does not build against the layer (build/conformance/gen/$name.log)"
  fi
  make_stubs "$D/gen/$name.log" "$D/gen/${name}_stubs.c"
  gcc "${CFLAGS[@]}" -include stdlib.h -c -o "$D/gen/${name}_stubs.o" "$D/gen/${name}_stubs.c" ||
    die "the stubs of $file do not build"
  gcc -m32 -o "$D/bin/$name" "$D/gen/$name.o" "$D/gen/${name}_stubs.o" "$D/gen/harness.o" "$D/gen/wide.o" "$D/gen/threads.o" \
    -L "$(dirname "$layer")" -ltulwin32 -Wl,-rpath,"$(dirname "$layer")" ||
    die "$file does not link against the layer"

  out=$D/out/$name.txt
  threads=$(awk -v f="$file" '$1 == f && $2 == "threads-in-place" {print "in-place"}' "$conf/files.txt")
  (cd "$D/out" && WINETEST_THREADS=$threads timeout "$limit" $emulator "$D/bin/$name" "$name" \
    >"$out" 2>"$D/out/$name.err")
  rc=$?
  summary=$(grep -E "^$name: [0-9]+ tests executed" "$out")
  if [ $rc -eq 124 ]; then
    echo "conformance: $file: HANG (no end after ${limit}s; last: $(grep -E '^[a-z]+\.c:' "$out" | tail -1))"
    status=1
  elif [ -z "$summary" ]; then
    echo "conformance: $file: CRASH ($(grep crashed "$out" || tail -1 "$D/out/$name.err"))"
    status=1
  else
    echo "conformance: $summary"
    total_run=$((total_run + $(sed -E 's/.*: ([0-9]+) tests executed.*/\1/' <<<"$summary")))
    total_failed=$((total_failed + $(sed -E 's/.* ([0-9]+) failures.*/\1/' <<<"$summary")))
  fi
  for key in $(grep -aoE "^$name\.c:[0-9]+: Test failed" "$out" | cut -d: -f1,2 | sort -u); do
    seen[$key]=1
  done
done

if [ $list = 1 ]; then
  for key in $(printf '%s\n' "${!seen[@]}" | sort -t: -k1,1 -k2,2n); do
    printf '%-14s %s\n' "$key" "$(grep -a -m1 "^$key: Test failed" "$D/out/${key%%.c:*}.txt" |
      sed 's/^[^:]*:[0-9]*: Test failed: //' | tr -c '[:print:]\n' '?' | cut -c1-100)"
  done
  exit $status
fi

# ---- Failures against the list ----
declare -A listed=()
while read -r key _; do
  [ -n "$key" ] && listed[$key]=1
done < <(grep -v '^#' "$conf/expected-failures.txt" | awk 'NF {print $1}')

new=() fixed=()
for key in "${!seen[@]}"; do
  [ -n "${listed[$key]:-}" ] || new+=("$key")
done
for key in "${!listed[@]}"; do
  file=${key%%:*}
  printf '%s\n' "${files[@]}" | grep -qx "$file" || continue
  [ -n "${seen[$key]:-}" ] || fixed+=("$key")
done

echo "conformance: $total_run checks, $((total_run - total_failed)) passed, $total_failed failed" \
     "at ${#seen[@]} places (${#listed[@]} places listed as expected)"
if [ ${#fixed[@]} -gt 0 ]; then
  echo "conformance: listed failures that now pass (remove them from expected-failures.txt):"
  printf '  %s\n' $(printf '%s\n' "${fixed[@]}" | sort -t: -k1,1 -k2,2n)
fi
if [ ${#new[@]} -gt 0 ]; then
  echo "conformance: new failures:"
  for key in $(printf '%s\n' "${new[@]}" | sort -t: -k1,1 -k2,2n); do
    grep -a -m1 "^$key: Test failed" "$D/out/${key%%.c:*}.txt" | cut -c1-200 | sed 's/^/  /'
  done
  status=1
fi
exit $status
