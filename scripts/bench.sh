#!/usr/bin/env bash
# The benchmarks: builds what they need (the linux-x86 tree's tul and the
# `bench` target; Lua 5.4 from Debian's source package, scripts/lua54.sh),
# runs them, prints the table and writes bench/results/latest.json.
#
# Every figure is a ratio against a baseline measured in the same run: under
# qemu-i386 absolute times mean little. The C++ programs under bench/ time
# library work in process; bench/interpreter.sh times whole programs.
set -euo pipefail
cd "$(dirname "$0")/.."
began=$SECONDS

bash scripts/setup.sh >/dev/null
bash bench/report_test.sh
echo "bench: building"
cmake --preset linux-x86 >/dev/null
cmake --build --preset linux-x86 --target tul bench >/dev/null

# The emulator: BENCH_EMULATOR when set (BENCH_EMULATOR=qemu-i386 keeps
# runs comparable on a machine that runs i386 binaries natively), else
# qemu-i386 only where the binaries do not run natively.
run=${BENCH_EMULATOR:-}
[ -n "$run" ] || build/linux-x86/bin/tul --version >/dev/null 2>&1 || run="qemu-i386"
echo "bench: running ${run:-natively}"
lua_why=""
lua=$(bash scripts/lua54.sh) || { lua_why=$lua; lua=""; }
[ -n "$lua" ] && echo "bench: Lua 5.4 built from Debian's source package"
[ -z "$lua" ] && echo "bench: Lua 5.4 cannot be had ($lua_why): its rows are skipped"

rows=build/bench-rows.tsv
: >"$rows"
for program in dispatch calls marshal lookups; do
  echo "bench: $program"
  out=$($run "build/linux-x86/bench/bench_$program" 2>&1) ||
    printf 'ROW\tbench_%s\tnull\tnull\tfailed: %s\n' "$program" "$(echo "$out" | tail -1)" >>"$rows"
  echo "$out" | grep '^ROW' >>"$rows" || true
done
echo "bench: interpreter programs"
bash bench/interpreter.sh "$run" build/linux-x86/bin/tul build/linux-x86/bench/programs \
  "$lua" "$lua_why" >>"$rows"

mkdir -p bench/results
echo
awk -F '\t' -v json=bench/results/latest.json -f bench/report.awk "$rows"
echo "bench: $((SECONDS - began)) s; bench/results/latest.json written"
