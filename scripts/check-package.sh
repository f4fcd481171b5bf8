#!/usr/bin/env bash
# Checks the Windows package (the ZIP of the package target) as a user gets
# it: unpacks it into a fresh folder and checks that it holds the programs,
# the README, and the examples and docs exactly as the tree has them; that
# each binary imports only the system's DLLs and the package's own; that
# tul2class.dll exports only its entry; and that every binary's version
# resource carries the version in the ZIP's name.
#   check-package.sh ZIP DIR    unpacks into DIR/<the ZIP's name less .zip>
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
zip=$1 dir=$2
fail() { echo "check-package: $*" >&2; exit 1; }
[ -f "$zip" ] || fail "no such file: $zip"

name=$(basename "$zip" .zip)
version=$(echo "$name" | sed -n 's/^tul2class-\([0-9][0-9.]*\)-win32$/\1/p')
[ -n "$version" ] || fail "$zip is not named tul2class-VERSION-win32.zip"
rm -rf "$dir" && mkdir -p "$dir"
python3 -m zipfile -e "$zip" "$dir"
top=$dir/$name
[ -d "$top" ] || fail "$zip does not hold everything under $name/"

# What the package must hold: the programs, the README, and the tree's
# examples and docs, unchanged.
binaries="tul.exe tul2class.dll tullib.dll"
expected=$( (printf '%s\n' $binaries README.txt
             cd "$root" && ls examples/*.tul docs/*.md docs/images/*) | sort)
actual=$(cd "$top" && find . -type f | sed 's|^\./||' | sort)
[ "$actual" = "$expected" ] ||
  fail "$name holds other files than expected:"$'\n'"$(diff <(echo "$expected") <(echo "$actual") || true)"
for f in $(cd "$root" && ls examples/*.tul docs/*.md docs/images/*); do
  cmp -s "$root/$f" "$top/$f" || fail "$name/$f differs from the tree's $f"
done

# DLLs every Windows has in System32 (msvcrt.dll included: mingw-w64's C
# runtime), and the package's own. Anything else is a DLL a user lacks.
system="kernel32.dll user32.dll gdi32.dll comctl32.dll comdlg32.dll msvcrt.dll"
for b in $binaries; do
  imports=$(i686-w64-mingw32-objdump -p "$top/$b" | awk '/DLL Name:/ {print $3}')
  for dll in $imports; do
    lower=$(echo "$dll" | tr 'A-Z' 'a-z')
    case " $system $binaries " in
      *" $lower "*) ;;
      *) fail "$b imports $dll, which is neither a system DLL nor in the package" ;;
    esac
  done
  echo "check-package: $b imports $(echo $imports)"
done
"$root/scripts/check-exports.sh" windows "$top/tul2class.dll" | sed "/^imports:/d; s/^/check-package: /"

(cd "$top" && python3 "$root/scripts/pe_version.py" --expect "$version" $binaries) |
  sed 's/^/check-package: version resource of /' || fail "a version resource is not $version"
echo "check-package: $name.zip holds $(echo "$actual" | wc -l) files, every binary at version $version"
