/// How far long work is, on a terminal.
///
/// Nothing is shown of what takes less than a second; afterwards a line is written over at most
/// five times a second, and wiped when the work ends.
#pragma once

#include <chrono>

#include "console.h"

using progress_clock_t = std::chrono::steady_clock;

/// Work under way. The console must outlive it.
struct progress_t {
    console_t &console;
    progress_clock_t::time_point next; ///< when something is shown again
    bool shown = false;                ///< there is a line to be wiped
};

/// Begins work at `now`.
progress_t progress_begin(console_t &console, progress_clock_t::time_point now);

/// What is done, and what it is counted in.
struct progress_step_t {
    const char *done; ///< "read"
    const char *unit; ///< "KiB"
    unsigned shift;   ///< bits that the counts lose when they are shown
};

/// Shows how far a step is, in place of what was shown before: "read 3 of 7 KiB". Shows nothing
/// where standard error is no terminal, and where it is not time yet.
void progress_show(progress_t &progress, const progress_step_t &step, size_t done, size_t all,
                   progress_clock_t::time_point now);

/// Wipes what was shown.
void progress_end(progress_t &progress);
