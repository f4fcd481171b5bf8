// `tul --batch LIST OUTDIR`: runs many scripts in one process, each in a
// fresh machine with the library registered anew, and keeps each script's
// standard output, standard error and exit status apart in OUTDIR/N.out,
// N.err and N.status (N counts the list's lines from 1). Starting a process
// is the expensive part on an emulated system; this pays for it once.
//
// LIST holds one script a line: its path, then its arguments, separated by
// tabs. Each script runs from its own folder under its bare file name, as a
// single run does when started there.
#pragma once

#include <string>

class NativeModule;

// The number of scripts whose status was 0; -1 when LIST cannot be read.
int runBatch(NativeModule& module, const std::string& list, const std::string& outDir);
