#!/usr/bin/env bash
# The mirror the fetching scripts take from the machine's apt sources: the
# main archive of a deb822 file or of a sources.list, never the security
# archive, a disabled stanza or a commented line; and no mirror written into
# the repository itself.
set -uo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
. "$root/scripts/apt-mirror.sh"
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
main=http://main.example/debian
other=http://other.example/debian
security=http://security.example/debian-security
failures=0

# One case: a deb822 file and a sources.list (either may be empty), and the
# mirror apt_mirror must print ("" when it must fail).
check() {
  local what=$1 sources=$2 list=$3 want=$4 got status
  printf '%b' "$sources" >"$tmp/debian.sources"
  printf '%b' "$list" >"$tmp/sources.list"
  got=$(APT_MIRROR_SOURCES=$tmp/debian.sources APT_MIRROR_LIST=$tmp/sources.list apt_mirror)
  status=$?
  if [ -z "$want" ]; then
    [ "$status" -ne 0 ] || { echo "FAIL $what: gave $got, wanted a failure"; failures=$((failures + 1)); }
  elif [ "$status" -ne 0 ] || [ "$got" != "$want" ]; then
    echo "FAIL $what: gave '$got' (status $status), wanted '$want'"
    failures=$((failures + 1))
  fi
}

stanza() { printf 'Types: %s\nURIs: %s\nSuites: %s\nComponents: main\n%s\n' "$@"; }
line() { printf '%s %s %s main\n' "$@"; }

check "deb822 main archive" "$(stanza deb "$main" "bookworm bookworm-updates" "")" "" "$main"
check "deb822 security first" \
  "$(stanza deb "$security" bookworm-security "")\n\n$(stanza deb "$main/" bookworm "")" "" "$main"
check "deb822 disabled stanza" \
  "$(stanza deb "$other" bookworm "Enabled: no")\n\n$(stanza "deb deb-src" "$main" bookworm "")" "" "$main"
check "deb822 several URIs" "$(stanza deb "$main $other" bookworm "")" "" "$main"
check "sources.list after an empty deb822" "" \
  "# $(line deb "$other" bookworm)\n$(line deb "$security" bookworm-security)\n$(line deb "[arch=amd64] $main" bookworm)" "$main"
check "sources.list of deb-src only" "" "$(line deb-src "$main" bookworm)" "$main"
check "no mirror anywhere" "" "$(line deb "$security" bookworm-security)" ""

# Nothing in the repository names a mirror in an apt line.
if git -C "$root" rev-parse --git-dir >/dev/null 2>&1; then
  named=$(git -C "$root" grep -nIE "deb(-src)? +(\[[^]]*\] +)?https?://" -- . || true)
  [ -z "$named" ] || { echo "FAIL the repository names a mirror:"; echo "$named"; failures=$((failures + 1)); }
fi

[ "$failures" -eq 0 ] && echo "apt_mirror: every case passed"
exit $((failures > 0))
