#!/usr/bin/env bash
# Runs the layer's behaviour probes on Wine, the witness of how the real
# system behaves, and compares their output with the recorded expected
# output (the layer's CTest run checks the layer against the same files).
# Lines listed in probes/wine-differences.txt are where the layer follows the
# system and Wine does not; they are mapped before comparing.
#
# Usage: tests/win32/compare-with-wine.sh
# Exit status: 0 when every probe agrees, or when Wine cannot be had (then
# the last line says "skipped: REASON"; with WIN32_WINE_REQUIRED=1 that is
# an error too); 1 when a probe disagrees.
set -uo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
probes="$here/probes"
work="${WIN32_WINE_WORK:-${TMPDIR:-/tmp}/tul-win32-wine}"
prefix="${WINEPREFIX:-$work/prefix}"
wine=/usr/lib/wine/wine64
packages=(wine64 xvfb xauth g++-mingw-w64-x86-64)
names=(create geometry show destroy queue paint scroll accel misc owners zorder input dialog caret files listbox mouse combo fonts menu clipboard)

skip() {
  echo "compare-with-wine: skipped: $*"
  [ "${WIN32_WINE_REQUIRED:-0}" = 1 ] && exit 1
  exit 0
}

install_missing() {
  local missing=()
  for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  command -v apt-get >/dev/null || return 1
  local sudo=""
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || return 1
    sudo="sudo -n"
  fi
  echo "compare-with-wine: installing ${missing[*]}"
  $sudo apt-get update -qq >/dev/null 2>&1
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null 2>&1
}

install_missing || skip "cannot install ${packages[*]} (no apt-get, or not root and no sudo)"
[ -x "$wine" ] || skip "$wine is missing after installation"
command -v xvfb-run >/dev/null || skip "xvfb-run is missing after installation"
command -v x86_64-w64-mingw32-g++ >/dev/null || skip "x86_64-w64-mingw32-g++ is missing"

mkdir -p "$work/bin" "$work/out"
for n in "${names[@]}"; do
  x86_64-w64-mingw32-g++ -std=c++17 -O1 -static -o "$work/bin/$n.exe" "$probes/$n.cpp" \
    -lgdi32 -lcomdlg32 -lcomctl32 || { echo "compare-with-wine: $n does not build with mingw"; exit 1; }
done

# One X server and one Wine session for all probes; the screen is the size
# the layer simulates. The probes run in the output folder, where the files
# probe makes (and removes) its own folder.
export WINEPREFIX="$prefix" WINEDEBUG=-all
timeout 600 xvfb-run -a -s "-screen 0 1024x768x24" bash -c '
  cd "'"$work"'/out" || exit 1
  for n in "$@"; do
    "'"$wine"'" "'"$work"'/bin/$n.exe" > "'"$work"'/out/$n.txt" 2>/dev/null < /dev/null
  done
  "'"$(dirname "$wine")"'/wineserver" -k 2>/dev/null || true
' _ "${names[@]}" || skip "Wine did not run under xvfb-run"

status=0
for n in "${names[@]}"; do
  out="$work/out/$n.txt"
  [ -s "$out" ] || { echo "compare-with-wine: $n printed nothing under Wine"; status=1; continue; }
  tr -d '\r' < "$out" > "$out.mapped"
  # Replace each listed Wine line by the system's line.
  while IFS='|' read -r probe system witness; do
    [ "$probe" = "$n" ] || continue
    # Through the environment, not awk -v, which would read "\n" in a
    # file name as a line break.
    from="$witness" to="$system" awk '{ if ($0 == ENVIRON["from"]) print ENVIRON["to"]; else print }' \
      "$out.mapped" > "$out.tmp" && mv "$out.tmp" "$out.mapped"
  done < <(grep -v '^#' "$probes/wine-differences.txt" | grep '|')
  if diff -u "$probes/$n.expected" "$out.mapped" > "$work/out/$n.diff"; then
    echo "compare-with-wine: $n agrees"
  else
    echo "compare-with-wine: $n DIFFERS from Wine (- recorded, + Wine):"
    cat "$work/out/$n.diff"
    status=1
  fi
done
[ $status -eq 0 ] && echo "compare-with-wine: all ${#names[@]} probes agree with Wine (listed differences mapped)"
exit $status
