// What every benchmark program shares: the process's CPU clock, the least
// time of several repetitions, and the result lines scripts/bench.sh reads.
//
// Figures are only ever compared with a baseline measured in the same
// process: under an emulator absolute times say little, ratios stay.
#pragma once

#include <functional>
#include <string>

namespace bench {

// CPU time the process has used, in seconds. CPU time rather than the wall
// clock, so that other work on the machine disturbs the figures less.
double cpuSeconds();

// Runs body `reps` times; body performs `ops` operations each time. The
// least time per operation, in seconds: the repetition least disturbed.
double bestPerOp(int reps, long ops, const std::function<void()>& body);

// The CPU clock's resolution, in seconds.
double clockResolution();
// Every timed run lasts at least this many resolutions of the clock.
constexpr double kResolutions = 1e5;

// Seconds per operation of body(n), which performs n operations: n doubles
// from `start` until one run takes at least minSeconds (and kResolutions
// ticks of the clock), then the least of `reps` runs at that n. Each timed
// run is therefore long against the clock, however cheap one operation is.
double perOp(const std::function<void(long n)>& body, long start, int reps = 5,
             double minSeconds = 0.25);

// Microseconds, for notes: "3.21", or "0.0042" below a tenth.
std::string micro(double seconds);
// A number with `digits` decimals.
std::string fixed(double value, int digits);

// One result line: "ROW<TAB>name<TAB>ratio<TAB>target<TAB>note". A target
// below zero means none. The note says what dominates the figure, so that a
// missed target carries its reason.
void row(const std::string& name, double ratio, double target, const std::string& note);
// A row whose measurement could not be made or whose check failed: no ratio,
// and the note says why; the target, when the row has one, counts as missed.
void failedRow(const std::string& name, double target, const std::string& why);

// Stops the program after printing why (a setup step failed: no figure can
// be trusted).
[[noreturn]] void die(const std::string& why);

}  // namespace bench
