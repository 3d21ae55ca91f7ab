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

/// Tells whether it is time to show something, where standard error is a terminal at all.
bool progress_is_due(const progress_t &progress, progress_clock_t::time_point now);

/// Shows `text` in place of what was shown before.
void progress_show(progress_t &progress, std::string_view text, progress_clock_t::time_point now);

/// Wipes what was shown.
void progress_end(progress_t &progress);
