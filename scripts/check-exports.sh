#!/usr/bin/env bash
# Checks the library's export table: exactly one symbol, RegisterNativeModule
# (undecorated), and, for the DLL, no dependence on the compiler's runtime
# DLLs.
#   check-exports.sh linux   path/to/libtul2class.so
#   check-exports.sh windows path/to/tul2class.dll
set -euo pipefail
kind=$1 file=$2
fail() { echo "check-exports: $*" >&2; exit 1; }
[ -f "$file" ] || fail "no such file: $file"

case $kind in
linux)
  # Defined dynamic symbols, less the linker's own section markers.
  syms=$(nm -D --defined-only "$file" | awk '{print $3}' | grep -vE '^(_edata|_end|__bss_start|_init|_fini)$' || true)
  [ "$syms" = "RegisterNativeModule" ] || fail "$file exports: ${syms:-nothing}"
  ;;
windows)
  dump=$(i686-w64-mingw32-objdump -p "$file")
  exports=$(printf '%s\n' "$dump" | sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' | sed 1d | awk 'NF {print $NF}')
  [ "$exports" = "RegisterNativeModule" ] || fail "$file exports: ${exports:-nothing}"
  imports=$(printf '%s\n' "$dump" | awk '/DLL Name:/ {print $3}')
  bad=$(printf '%s\n' "$imports" | grep -iE '^(libgcc|libstdc\+\+|libwinpthread)' || true)
  [ -z "$bad" ] || fail "$file needs the compiler's runtime DLLs: $bad"
  echo "imports: $(echo $imports)"
  ;;
*) fail "unknown kind $kind" ;;
esac
echo "exports of $(basename "$file"): RegisterNativeModule"
