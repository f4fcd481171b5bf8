#!/usr/bin/env bash
# Planted faults: samples mutants of the library's sources (one operator,
# literal, condition or call statement changed on one line), builds each in a
# scratch copy of the tree under build/mutants (the working tree is never
# touched), runs the Linux suite with a time limit, and prints each survivor
# as `file:line: before => after` and the score (caught / compiled). It takes
# minutes: it is not part of the test command.
#
#   bash scripts/mutants.sh [-n COUNT] [-s SEED] [--host] [--timeout SECONDS]
#                           [--without REGEX] [FILE...]
#
# -n: how many mutants (100); -s: the seed (1); --host: the runtime and the
# script language too; FILE...: only these sources (what a change touched).
# --without: the suite without the tests the ctest regex names; a mutant only
# they catch is listed with the test cases that caught it, so a test that
# catches nothing the rest misses shows as never named.
# The summary of the run goes to build/mutants/latest.txt.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh >/dev/null
count=100 seed=1 host="" timeout=120 without=() files=()
while [ $# -gt 0 ]; do
  case $1 in
    -n) count=$2; shift 2 ;;
    -s) seed=$2; shift 2 ;;
    --host) host=--host; shift ;;
    --timeout) timeout=$2; shift 2 ;;
    --without) without=(--without "$2"); shift 2 ;;
    -*) echo "mutants: unknown option $1" >&2; exit 2 ;;
    *) files+=("$1"); shift ;;
  esac
done
mkdir -p build/mutants
exec python3 scripts/mutants.py --root "$PWD" --scratch "$PWD/build/mutants" --count "$count" \
  --seed "$seed" $host --timeout "$timeout" --summary build/mutants/latest.txt \
  ${without[@]+"${without[@]}"} \
  ${files[@]+--files "${files[@]}"}
