#!/usr/bin/env bash
# The benchmarks: builds what they need (the linux-x86 tree's tul and the
# `bench` target; Lua 5.4 from Debian's source package, scripts/lua54.sh),
# runs them, prints the table and writes bench/results/latest.json.
#
# Every figure is a ratio against a baseline measured in the same run: under
# qemu-i386 absolute times mean little. Natively and under qemu-i386 where
# both can be had (see "The runs" below). The C++ programs under bench/ time
# library work in process; bench/interpreter.sh times whole programs.
set -euo pipefail
cd "$(dirname "$0")/.."
began=$SECONDS

bash scripts/setup.sh >/dev/null
bash bench/report_test.sh
echo "bench: building"
cmake --preset linux-x86 >/dev/null
cmake --build --preset linux-x86 --target tul bench >/dev/null

# The runs: natively and under qemu-i386 where the binaries run natively and
# the emulator is installed (the table and bench/results/latest.json then
# show every row both ways; the qemu-i386 figures come first, as in earlier
# files, so that runs stay comparable). BENCH_EMULATOR=CMD makes one run under
# that emulator only; where the binaries do not run natively, qemu-i386 alone.
runs=()
if [ -n "${BENCH_EMULATOR:-}" ]; then
  runs=("$BENCH_EMULATOR")
elif build/linux-x86/bin/tul --version >/dev/null 2>&1; then
  command -v qemu-i386 >/dev/null && runs+=("qemu-i386")
  runs+=("native")
else
  runs=("qemu-i386")
fi
echo "bench: runs: ${runs[*]}"
lua_why=""
lua=$(bash scripts/lua54.sh) || { lua_why=$lua; lua=""; }
[ -n "$lua" ] && echo "bench: Lua 5.4 built from Debian's source package"
[ -z "$lua" ] && echo "bench: Lua 5.4 cannot be had ($lua_why): its rows are skipped"

# The previous results, read before they are replaced: rows more than 10%
# above them are listed after the table.
previous=build/bench-previous.json
cp bench/results/latest.json "$previous" 2>/dev/null || : >"$previous"

report_args=()
for name in "${runs[@]}"; do
  run=$name
  [ "$name" = native ] && run=""
  rows=build/bench-rows-$(echo "$name" | tr -c 'a-zA-Z0-9\n' '_').tsv
  : >"$rows"
  for program in dispatch calls marshal lookups; do
    echo "bench: $program ($name)"
    out=$($run "build/linux-x86/bench/bench_$program" 2>&1) ||
      printf 'ROW\tbench_%s\tnull\tnull\tfailed: %s\n' "$program" "$(echo "$out" | tail -1)" >>"$rows"
    echo "$out" | grep '^ROW' >>"$rows" || true
  done
  echo "bench: interpreter programs ($name)"
  bash bench/interpreter.sh "$run" build/linux-x86/bin/tul build/linux-x86/bench/programs \
    "$lua" "$lua_why" >>"$rows"
  report_args+=("run=$name" "$rows")
done

mkdir -p bench/results
echo
awk -F '\t' -v json=bench/results/latest.json -v previous="$previous" -f bench/report.awk \
  "${report_args[@]}"
echo "bench: $((SECONDS - began)) s; bench/results/latest.json written"
