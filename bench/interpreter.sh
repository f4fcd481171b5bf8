#!/usr/bin/env bash
# The script interpreter on small programs (bench/programs/NAME.tul) against
# the same programs in C++ and, when it could be built, in Lua 5.4, every one
# started the same way (through the emulator where there is one). Prints one
# ROW line per comparison (the format of bench/support/measure.h).
#
#   interpreter.sh RUN TUL CXX_DIR LUA LUA_WHY
#     RUN      the emulator's command, or "" to run natively
#     LUA      the Lua interpreter, or "" when it could not be had (LUA_WHY
#              says why: its rows are then skipped)
#
# Against Lua 5.4 every row has the target lua_target; a row that misses it
# says what its program's time goes to (dominant) and the next step.
#
# Each program takes its number of rounds as its one argument. A round costs
# (t(long run) - t(short run)) / (rounds between them), so start-up, loading
# and parsing cancel out; t is the least CPU time of three runs.
set -u
run=$1 tul=$2 cxx=$3 lua=$4 lua_why=$5
here=$(cd "$(dirname "$0")" && pwd)
# BENCH_PROGRAMS picks some of them (names separated by spaces).
programs=(${BENCH_PROGRAMS:-calls loops bitloop methods strings dicts vectors texts callbacks})
lua_target=1.500
declare -A dominant=(
  [calls]="a script call: the activation's fields and the loop's registers set on entry and return, the frame's slots checked when it ends and cleared where they hold something, and the caller's slots taken over (on 32-bit x86 most of the loop's state lives in memory, so each step is a chain of dependent loads)"
  [loops]="the VM's dispatch and, for each operand, its space's table entry and its value and type read (spilled registers on 32-bit x86)"
  [bitloop]="three instructions a turn, each an indirect jump, six operand reads and two writes through memory (the running total a global)"
  [methods]="the call site's class and depth checks, the method's activation and frame, and the member read through the site's cache"
  [strings]="one new host string for each chain of + and one for each literal evaluated outside an operator"
  [dicts]="the key string built by + (one host string a key) and the host dictionary's hashing of it on every read and write"
  [vectors]="each element a 16-byte value copied in and out, and the instructions of the loops around them"
  [texts]="each native call's frames (the VM's site, the runtime's frame with this retained and released and its slots cleared, the method's own Frame), String(...)'s constructor frame, and five strings a round built, linked into the storage list and unlinked again"
  [callbacks]="the call's own work: an activation written and read back, the callee's frame taken over and its slots cleared at the end (about 90 instructions a call), and the references counted on the way (the handlers vector copied into an argument, each function read into a variable)"
)
declare -A next_step=(
  [calls]="the loop's state kept in fewer places (the caller's frame read back once on return), and a frame's end that visits only the slots that can hold something"
  [loops]="operands encoded as byte offsets, so that finding one is a mask and an add"
  [bitloop]="a running total kept in a register across a loop, or instructions that combine an operation with the store of its result"
  [methods]="clear on return only the slots that may hold a reference; a method that only reads a member answered without a frame"
  [strings]="literals joined into the chain's string without a string of their own"
  [dicts]="keys hashed once per string"
  [vectors]="instructions specialised for operands in locals and constants"
  [texts]="a native method's frame entered without the runtime's general frame (this and the arguments read where the VM keeps them), and value reads as wide as the writes before them"
  [callbacks]="arguments that are variables lent to the callee's frame rather than copied into it (a mark in the lent value that an error's unwinding, a catch and the frame's end respect, parameters the callee never writes, writes of globals keeping a lent value alive)"
)
check_rounds=7      # the run whose output all versions must agree on
long_run=1.2        # seconds of work the long run is sized to

# CPU seconds (user + system) of one run of "$@"; fails with the command.
cpu() {
  local TIMEFORMAT='%3U %3S' t
  t=$( { time $run "$@" >/dev/null 2>&1; } 2>&1 ) || return 1
  awk -v t="$t" 'BEGIN { split(t, a, " "); printf "%.3f\n", a[1] + a[2] }'
}

# The least of three runs of "$@".
best() {
  local t least=""
  for _ in 1 2 3; do
    t=$(cpu "$@") || return 1
    least=$(awk -v a="$t" -v b="${least:-$t}" 'BEGIN { print (a < b ? a : b) }')
  done
  echo "$least"
}

# Seconds per round of the program "$@" ROUNDS: the rounds are grown until
# the work shows above the start-up, then sized so that the long run takes
# about $long_run seconds and the short one a quarter of that.
per_round() {
  local start rounds=16 t work long short tl ts
  start=$(best "$@" 0) || return 1
  for _ in 1 2 3 4 5 6 7 8 9 10; do
    t=$(cpu "$@" "$rounds") || return 1
    work=$(awk -v t="$t" -v s="$start" 'BEGIN { print t - s }')
    awk -v w="$work" 'BEGIN { exit !(w >= 0.25) }' && break
    rounds=$(awk -v r="$rounds" -v w="$work" 'BEGIN { print r * (w < 0.02 ? 16 : 4) }')
  done
  long=$(awk -v r="$rounds" -v w="$work" -v l="$long_run" 'BEGIN { printf "%d\n", r * l / w }')
  short=$((long / 4))
  tl=$(best "$@" "$long") || return 1
  ts=$(best "$@" "$short") || return 1
  awk -v a="$tl" -v b="$ts" -v n=$((long - short)) 'BEGIN { printf "%.9f\n", (a - b) / n }'
}

row() { printf 'ROW\t%s\t%s\t%s\t%s\n' "$1" "$2" "${4:-null}" "$3"; }
micro() { awk -v s="$1" 'BEGIN { printf "%.2f", s * 1e6 }'; }

# The script's cost per round ($3) and output ($4) against the peer version
# run by the rest of the arguments ($1: C++ or Lua 5.4).
compare() {
  local name=$1 program=$2 script=$3 out_script=$4
  shift 4
  local title="interpreter: $program against $name"
  local out
  out=$($run "$@" $check_rounds 2>&1) || { row "$title" null "failed: the $name version failed"; return; }
  if [ "$out" != "$out_script" ]; then
    row "$title" null "failed: the $name version prints '$out', the script '$out_script'"
    return
  fi
  local cost target=null
  [ "$name" = "Lua 5.4" ] && target=$lua_target
  cost=$(per_round "$@") || { row "$title" null "failed: a timed run failed" $target; return; }
  if ! awk -v c="$cost" -v s="$script" 'BEGIN { exit !(c > 0 && s > 0) }'; then
    row "$title" null "failed: the timing shows no work (too noisy)" $target
    return
  fi
  local ratio note
  ratio=$(awk -v s="$script" -v c="$cost" 'BEGIN { printf "%.3f", s / c }')
  note="$(micro "$script") us a round in script against $(micro "$cost") us in $name"
  if [ "$target" != null ] && awk -v r="$ratio" -v t="$target" 'BEGIN { exit !(r > t) }'; then
    note="$note. Missed: ${dominant[$program]}; next step: ${next_step[$program]}"
  fi
  row "$title" "$ratio" "$note" $target
}

for program in "${programs[@]}"; do
  src=$here/programs/$program
  expected=$($run "$tul" "$src.tul" $check_rounds 2>&1) ||
    { row "interpreter: $program" null "failed: $expected"; continue; }
  script=$(per_round "$tul" "$src.tul") ||
    { row "interpreter: $program" null "failed: a timed run of the script failed"; continue; }
  compare C++ "$program" "$script" "$expected" "$cxx/$program"
  if [ -z "$lua" ]; then
    row "interpreter: $program against Lua 5.4" null "skipped: $lua_why" $lua_target
  else
    compare "Lua 5.4" "$program" "$script" "$expected" "$lua" "$src.lua"
  fi
done
