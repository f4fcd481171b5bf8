#!/usr/bin/env bash
# The script suite on a real Win32 implementation: the Windows build
# (tul.exe loading tul2class.dll with LoadLibraryA) runs every script test on
# 32-bit Wine, and each script's standard output, standard error and exit
# status must equal those of the Linux build, apart from the differences
# listed with their reasons in tests/wine/expected-differences.txt. Scripts
# that need a desktop call the real system cannot do are listed, with the
# reason, in tests/wine/linux-only.txt and left out.
#
# Then it tests what a Windows user downloads: it unpacks the package (the
# ZIP of the package target) into a fresh folder, checks it
# (scripts/check-package.sh), and runs the unpacked tul.exe on Wine: its
# --version must be the version resource of every binary, and each example
# it ships must print what the Linux build prints for it.
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
cmake --build --preset windows-x86 --target package >/dev/null
cmake --preset linux-x86 >/dev/null
cmake --build --preset linux-x86 --target tul >/dev/null

work=$root/build/wine-lane
rm -rf "$work" && mkdir -p "$work/linux" "$work/wine"

# One line a script: its path, then the arguments its "// args:" line gives.
all=$(cd tests/script && find . -name '*.tul' ! -name '_*' | sed 's|^\./||' | sort)
listed=$(sed -n 's/^\([^#[:space:]][^[:space:]]*\).*/\1/p' tests/wine/linux-only.txt | sort)
linux_only=$(echo "$listed" | grep -v '^examples/' || true)
examples_linux_only=$(echo "$listed" | sed -n 's|^examples/||p')
for e in $examples_linux_only; do
  [ -f "examples/$e" ] ||
    { echo "wine lane: tests/wine/linux-only.txt lists examples/$e, which is not an example"; exit 1; }
done
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

# The package, unpacked as a user unpacks it; the Linux build runs its
# examples from there too, by the same relative paths.
zip=$(sed -n 's/^set(CPACK_PACKAGE_FILE_NAME "\(.*\)")$/\1/p' build/windows-x86/CPackConfig.cmake).zip
pkg=$work/package/${zip%.zip}
echo "wine lane: unpacking and checking $zip"
bash scripts/check-package.sh "build/windows-x86/$zip" "$work/package" >"$work/package.log" 2>&1 ||
  { sed 's/^/    /' "$work/package.log"; echo "wine lane: the package check failed"; exit 1; }
sed 's/^/    /' "$work/package.log"
examples=$(cd "$pkg/examples" && ls *.tul | grep -vxF -f <(echo "$examples_linux_only") || true)
mkdir -p "$work/examples/linux" "$work/examples/wine"
for e in $examples; do
  status=0
  (cd "$pkg" && $run "$root/build/linux-x86/bin/tul" "examples/$e") \
    >"$work/examples/linux/$e.out" 2>"$work/examples/linux/$e.err" || status=$?
  echo "$status" >"$work/examples/linux/$e.status"
done

echo "wine lane: loading and unloading tul2class.dll"
(cd build/windows-x86/bin && timeout 300 bash "$root/scripts/wine32.sh" run load_unload.exe) \
  >"$work/load_unload.log" 2>&1 && loaded=1 || loaded=0
sed 's/\r$//; s/^/    /' "$work/load_unload.log"

echo "wine lane: running $compared scripts through tul.exe on Wine ($only Linux-only left out)"
(cd build/windows-x86/bin &&
  timeout 1200 bash "$root/scripts/wine32.sh" run tul.exe --batch "Z:$work/list.wine" "Z:$work/wine") \
  >"$work/wine.log" 2>&1 || true

echo "wine lane: running the package's tul.exe: --version and $(echo $examples)"
(cd "$pkg" && timeout 300 bash "$root/scripts/wine32.sh" run tul.exe --version) \
  >"$work/examples/version.out" 2>&1 || true
for e in $examples; do
  status=0
  (cd "$pkg" && timeout 300 bash "$root/scripts/wine32.sh" run tul.exe "examples\\$e") \
    >"$work/examples/wine/$e.out" 2>"$work/examples/wine/$e.err" || status=$?
  echo "$status" >"$work/examples/wine/$e.status"
done
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

# The package: what tul.exe says its version is must be what every binary's
# version resource says, and its examples must print what Linux prints.
version=$(tr -d '\r' <"$work/examples/version.out" | sed -n 's/^tul \([0-9][0-9.]*\)$/\1/p')
versioned=0
if [ -n "$version" ] &&
   (cd "$pkg" && python3 "$root/scripts/pe_version.py" --expect "$version" tul.exe tul2class.dll tullib.dll) \
     >"$work/examples/version.check" 2>&1; then
  versioned=1
fi
same_examples=0
for e in $examples; do
  same=1
  for stream in out err status; do
    if ! cmp -s "$work/examples/linux/$e.$stream" "$work/examples/wine/$e.$stream"; then
      same=0
      echo "wine lane: the package's examples/$e: $stream differs"
      { diff "$work/examples/linux/$e.$stream" "$work/examples/wine/$e.$stream" || true; } | head -10 | sed "s/^/    /"
    fi
  done
  same_examples=$((same_examples + same))
done
examples_total=$(echo "$examples" | wc -w)

echo "wine lane: $agree of $total scripts agree, $only Linux-only"
if [ "$versioned" = 1 ]; then
  echo "wine lane: $zip unpacked into a fresh folder; its tul.exe --version says $version, as the version resources of tul.exe, tul2class.dll and tullib.dll do"
fi
examples_only=$(echo "$examples_linux_only" | grep -c . || true)
echo "wine lane: $same_examples of $examples_total examples run by the unpacked tul.exe agree with the Linux build ($(echo $examples)), $examples_only Linux-only"
failed=0
[ "$loaded" = 1 ] || { echo "wine lane: the library's load or unload failed on Wine"; failed=1; }
if [ "$unexpected" -ne 0 ]; then
  echo "wine lane: $unexpected unexpected differences (Wine's own output: $work/wine.log)"
  failed=1
fi
if [ "$versioned" != 1 ]; then
  echo "wine lane: the package's tul.exe --version (${version:-no version}) is not its binaries' version:"
  sed 's/^/    /' "$work/examples/version.out" "$work/examples/version.check" 2>/dev/null || true
  failed=1
fi
[ "$same_examples" = "$examples_total" ] || failed=1
exit $failed
