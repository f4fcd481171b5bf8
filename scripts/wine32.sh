#!/usr/bin/env bash
# 32-bit Wine on a machine that cannot run 32-bit code natively: every Wine
# process is started through qemu-user. Debian's wine32 provides the 32-bit
# loader and DLLs; qemu-user 10 (Debian trixie's static build, fetched with a
# private apt configuration from the machine's own mirror, apt-mirror.sh)
# starts a Wine process in well under a second, where bookworm's qemu 7.2
# takes about 45 s.
#
#   wine32.sh setup             install and prepare (idempotent); exit 1 with
#                               a reason on stdout when it cannot
#   wine32.sh run PROG.exe ...  run a 32-bit program
#   wine32.sh stop              end the Wine server
#
# LAB (default ~/.wine32lab) holds qemu 10, the wrapper directory and the
# prefix. Wine's 32-bit loader re-executes <its directory>/wine and
# <its directory>/wineserver, so those two names in the wrapper directory are
# small scripts that start the real loader and the 32-bit server under qemu.
set -u
. "$(dirname "${BASH_SOURCE[0]}")/apt-mirror.sh"
LAB=${LAB:-$HOME/.wine32lab}
W=$LAB/wl
export WINEPREFIX=$LAB/pfx WINEDEBUG=-all WINEDLLOVERRIDES="winemenubuilder.exe=d;mscoree=;mshtml="

install_packages() {
  local pkgs="wine wine32:i386 xauth"
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $pkgs >/dev/null 2>&1 && return 0
  # The mirror's i386 security index can lag behind amd64's; prefer main so
  # both architectures get matching versions.
  printf 'Package: *\nPin: release l=Debian-Security\nPin-Priority: 100\n' >/etc/apt/preferences.d/90-main-first
  apt-get update -qq >/dev/null 2>&1
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
    libgstreamer-plugins-base1.0-0:i386 >/dev/null 2>&1
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $pkgs >/dev/null 2>&1
}

# Prints the reason when the mirror is unknown; apt's own output is dropped.
fetch_qemu10() {
  [ -x "$LAB/q10/usr/bin/qemu-i386" ] && return 0
  local A=$LAB/apt mirror
  mirror=$(apt_mirror) || { echo "$mirror"; return 1; }
  mkdir -p "$A/state/lists/partial" "$A/cache/archives/partial" "$A/etc"
  touch "$A/state/status"
  echo "deb $mirror trixie main" >"$A/etc/sources.list"
  local O="-o Dir::Etc::sourcelist=$A/etc/sources.list -o Dir::Etc::sourceparts=/nonexistent"
  O="$O -o Dir::State=$A/state -o Dir::State::status=$A/state/status -o Dir::Cache=$A/cache"
  O="$O -o APT::Architectures::=amd64"
  apt-get $O update -qq >/dev/null 2>&1 &&
    (cd "$LAB" && rm -f qemu-user_*.deb && apt-get $O download qemu-user >/dev/null 2>&1 &&
     dpkg -x qemu-user_*.deb q10)
}

setup() {
  [ "$(id -u)" -eq 0 ] || { echo "needs root to install wine32"; return 1; }
  mkdir -p "$LAB"
  if ! dpkg-query -W -f='${Status}' wine32:i386 2>/dev/null | grep -q "install ok installed"; then
    dpkg --print-foreign-architectures | grep -q i386 || dpkg --add-architecture i386
    apt-get update -qq >/dev/null 2>&1
    install_packages || { echo "wine32 could not be installed"; return 1; }
  fi
  [ -x /usr/lib/wine/wineserver32 ] || { echo "wine32 has no 32-bit server"; return 1; }
  local why
  why=$(fetch_qemu10) || { echo "qemu-user 10 could not be fetched${why:+: $why}"; return 1; }
  mkdir -p "$W/lib/wine" "$W/share"
  cp /usr/lib/wine/wine "$W/lib/wine/wine.elf"
  ln -sfn /usr/lib/i386-linux-gnu "$W/lib/i386-linux-gnu"
  ln -sfn /usr/share/wine "$W/share/wine"
  printf '#!/bin/sh\nexec %s/q10/usr/bin/qemu-i386 -L / -0 %s/lib/wine/wine %s/lib/wine/wine.elf "$@"\n' \
    "$LAB" "$W" "$W" >"$W/lib/wine/wine"
  printf '#!/bin/sh\nexec %s/q10/usr/bin/qemu-i386 -L / /usr/lib/wine/wineserver32 "$@"\n' \
    "$LAB" >"$W/lib/wine/wineserver"
  chmod +x "$W/lib/wine/wine" "$W/lib/wine/wineserver"
  if [ ! -d "$WINEPREFIX/drive_c" ]; then
    "$W/lib/wine/wine" wineboot -u >"$LAB/boot.log" 2>&1
    # The null graphics driver: no X server is needed.
    "$W/lib/wine/wine" reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >>"$LAB/boot.log" 2>&1
    "$W/lib/wine/wineserver" -k >/dev/null 2>&1
  fi
  [ -d "$WINEPREFIX/drive_c" ] || { echo "the Wine prefix could not be created"; return 1; }
  echo "wine32 ready in $LAB"
}

run() { env -u DISPLAY "$W/lib/wine/wine" "$@"; }

case "${1:-}" in
  setup) setup ;;
  run) shift; run "$@" ;;
  stop) "$W/lib/wine/wineserver" -k 2>/dev/null; true ;;
  *) echo "usage: wine32.sh setup | run PROG.exe [args] | stop"; exit 2 ;;
esac
