#!/usr/bin/env bash
# Checks bench/report.awk, which decides what the JSON calls met: a ratio at
# its target meets it, a failed row with a target misses it, a skipped row
# or one without a target has no verdict; notes keep quotes and backslashes
# as valid JSON strings; of two runs, a miss in either is the row's, and the
# second run's figures sit under its name; rows more than 10% above the
# previous file's are listed. scripts/bench.sh runs it before any measurement.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

printf '%s\n' \
  $'ROW\tunder\t1.500\t2.000\tfast' \
  $'ROW\tover\t2.500\t2.000\tslow' \
  $'ROW\tat the target\t2.000\t2.000\tjust' \
  $'ROW\tnone allowed\t0.000\t0.000\tzero' \
  $'ROW\tno target\t3.000\tnull\tinformation' \
  $'ROW\tbroken\tnull\t3.000\tfailed: it crashed' \
  $'ROW\tabsent peer\tnull\tnull\tskipped: no "peer" at C:\\x' >"$work/rows"

awk -F '\t' -v json="$work/json" -f "$here/report.awk" "$work/rows" >"$work/table"

cat >"$work/expected" <<'JSON'
[
  {"name": "under", "ratio": 1.5, "target": 2, "met": true, "note": "fast"},
  {"name": "over", "ratio": 2.5, "target": 2, "met": false, "note": "slow"},
  {"name": "at the target", "ratio": 2, "target": 2, "met": true, "note": "just"},
  {"name": "none allowed", "ratio": 0, "target": 0, "met": true, "note": "zero"},
  {"name": "no target", "ratio": 3, "target": null, "met": null, "note": "information"},
  {"name": "broken", "ratio": null, "target": 3, "met": false, "note": "failed: it crashed"},
  {"name": "absent peer", "ratio": null, "target": null, "met": null, "note": "skipped: no \"peer\" at C:\\x"}
]
JSON

status=0
if ! diff -u "$work/expected" "$work/json"; then
  echo "report_test: the JSON differs from the expected (above)"
  status=1
fi
summary="7 rows: 3 targets met, 1 missed, 1 failed, 1 skipped"
if ! grep -qx "$summary" "$work/table"; then
  echo "report_test: expected the summary '$summary', got '$(tail -1 "$work/table")'"
  status=1
fi
# Two runs, compared with the single run above as the previous file (which
# names no run: such a file was measured under qemu-i386).
printf '%s\n' $'ROW\tunder\t1.700\t2.000\tfast' $'ROW\tover\t2.400\t2.000\tslow' >"$work/qemu"
printf '%s\n' $'ROW\tunder\t2.100\t2.000\tnative' $'ROW\tover\t1.000\t2.000\tn' >"$work/native"
awk -F '\t' -v json="$work/json2" -v previous="$work/json" -f "$here/report.awk" \
  run=qemu-i386 "$work/qemu" run=native "$work/native" >"$work/table2"
cat >"$work/expected2" <<'JSON'
[
  {"name": "under", "ratio": 1.7, "target": 2, "met": true, "note": "fast", "run": "qemu-i386", "native": {"ratio": 2.1, "met": false, "note": "native"}},
  {"name": "over", "ratio": 2.4, "target": 2, "met": false, "note": "slow", "run": "qemu-i386", "native": {"ratio": 1, "met": true, "note": "n"}}
]
JSON
if ! diff -u "$work/expected2" "$work/json2"; then
  echo "report_test: the two-run JSON differs from the expected (above)"
  status=1
fi
for line in '| under | 1.70 | 2.10 | <= 2.00 | MISSED (native) | qemu-i386: fast; native: native |' \
            '  under (qemu-i386): 1.70, was 1.50'; do
  grep -qxF -- "$line" "$work/table2" || { echo "report_test: no line '$line' in:"; cat "$work/table2"; status=1; }
done
if grep -q '  over:' "$work/table2"; then
  echo "report_test: 'over' (2.40 against 2.50) listed as slower"
  status=1
fi
# Each run is compared with the same run of the previous file: native
# 'over' from 1.00 to 1.20 is listed, qemu 'under' at 1.70 again is not.
printf '%s\n' $'ROW\tover\t1.200\t2.000\tn' >"$work/native3"
awk -F '\t' -v json="$work/json3" -v previous="$work/json2" -f "$here/report.awk" \
  run=qemu-i386 "$work/qemu" run=native "$work/native3" >"$work/table3"
if [ "$(grep '^  ' "$work/table3")" != "  over (native): 1.20, was 1.00" ]; then
  echo "report_test: the third run listed:"; cat "$work/table3"; status=1
fi
exit $status
