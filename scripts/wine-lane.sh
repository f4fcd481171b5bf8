#!/usr/bin/env bash
# The script suite on a real Win32 implementation: the Windows build
# (tul.exe loading tul2class.dll with LoadLibraryA) runs every script test on
# 32-bit Wine, and each script's standard output, standard error and exit
# status must equal those of the Linux build, apart from the differences
# listed with their reasons in tests/wine/expected-differences.txt. Scripts
# that need a desktop call the real system cannot do are listed, with the
# reason, in tests/wine/linux-only.txt and left out.
#
# It installs what it needs; when 32-bit Wine cannot be had it says so and
# reports the lane as skipped (exit 0, or 1 with WINE_LANE_REQUIRED=1).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD

skip() {
  echo "wine lane: skipped: $*"
  [ "${WINE_LANE_REQUIRED:-0}" = 1 ] && exit 1
  exit 0
}

echo "wine lane: setting up 32-bit Wine"
why=$(bash scripts/wine32.sh setup 2>&1 | tail -1) || skip "$why"

echo "wine lane: building"
cmake --preset windows-x86 >/dev/null
cmake --build --preset windows-x86 --target tul tul2class load_unload >/dev/null
cmake --preset linux-x86 >/dev/null
cmake --build --preset linux-x86 --target tul >/dev/null

work=$root/build/wine-lane
rm -rf "$work" && mkdir -p "$work/linux" "$work/wine"

# One line a script: its path, then the arguments its "// args:" line gives.
all=$(cd tests/script && find . -name '*.tul' ! -name '_*' | sed 's|^\./||' | sort)
linux_only=$(sed -n 's/^\([^#[:space:]][^[:space:]]*\).*/\1/p' tests/wine/linux-only.txt | sort)
for s in $linux_only; do
  [ -f "tests/script/$s" ] ||
    { echo "wine lane: tests/wine/linux-only.txt lists $s, which is not a script test"; exit 1; }
done
scripts=$(comm -23 <(echo "$all") <(echo "$linux_only"))
total=$(echo "$all" | wc -l)
only=$(echo "$linux_only" | grep -c . || true)
: >"$work/list.linux"
: >"$work/list.wine"
for s in $scripts; do
  args=$(sed -n 's|^// args: ||p' "tests/script/$s" | head -1 | tr ' ' '\t')
  printf '%s%s\n' "$root/tests/script/$s" "${args:+	$args}" >>"$work/list.linux"
  printf 'Z:%s%s\n' "$root/tests/script/$s" "${args:+	$args}" >>"$work/list.wine"
done
compared=$(wc -l <"$work/list.linux")

run=""
build/linux-x86/bin/tul --version >/dev/null 2>&1 || run="qemu-i386"
$run build/linux-x86/bin/tul --batch "$work/list.linux" "$work/linux" >"$work/linux.log" 2>&1 ||
  { cat "$work/linux.log"; echo "wine lane: the Linux batch failed"; exit 1; }

echo "wine lane: loading and unloading tul2class.dll"
(cd build/windows-x86/bin && timeout 300 bash "$root/scripts/wine32.sh" run load_unload.exe) \
  >"$work/load_unload.log" 2>&1 && loaded=1 || loaded=0
sed 's/\r$//; s/^/    /' "$work/load_unload.log"

echo "wine lane: running $compared scripts through tul.exe on Wine ($only Linux-only left out)"
(cd build/windows-x86/bin &&
  timeout 1200 bash "$root/scripts/wine32.sh" run tul.exe --batch "Z:$work/list.wine" "Z:$work/wine") \
  >"$work/wine.log" 2>&1 || true
bash scripts/wine32.sh stop

# A difference is expected when its script and stream are listed.
expected() { grep -qE "^$1[[:space:]]+$2[[:space:]]" tests/wine/expected-differences.txt; }

agree=0
unexpected=0
n=0
for s in $scripts; do
  n=$((n + 1))
  same=1
  for stream in out err status; do
    if ! cmp -s "$work/linux/$n.$stream" "$work/wine/$n.$stream"; then
      same=0
      if expected "$s" "$stream"; then
        echo "wine lane: $s: $stream differs (listed)"
      else
        unexpected=$((unexpected + 1))
        echo "wine lane: $s: $stream differs"
        { diff "$work/linux/$n.$stream" "$work/wine/$n.$stream" || true; } | head -10 | sed "s/^/    /"
      fi
    fi
  done
  agree=$((agree + same))
done
echo "wine lane: $agree of $total scripts agree, $only Linux-only"
[ "$loaded" = 1 ] || { echo "wine lane: the library's load or unload failed on Wine"; exit 1; }
if [ "$unexpected" -ne 0 ]; then
  echo "wine lane: $unexpected unexpected differences (Wine's own output: $work/wine.log)"
  exit 1
fi
