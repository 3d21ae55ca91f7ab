/// What four threads get done beside one.
///
/// Each thread has a processor. All begin together, once each has made what it needs, and work for
/// a fixed span of the clock: how long threads take to start is no part of it, and no thread waits
/// for the last one to finish its share. What they get done is added up. A pair of such spans, one
/// thread and then four, says how work grows with threads only if there was a core for each: on a
/// machine that others use, spans are short enough for some of them to find the cores free, and the
/// processor time of the threads tells which these were.
#pragma once

#include <functional>
#include <string>

constexpr unsigned BENCH_NR_THREAD = 4;

/// One step of a thread's work, some tenths of a millisecond; returns how much it got done.
using bench_step_t = std::function<size_t()>;

/// Adds the comparison of one thread with four. `make` is called by each thread, with its number,
/// and gives its work.
void bench_add_threads(const std::string &name, std::function<bench_step_t(unsigned)> make);

/// Prints the comparison: what pairs came to that had a core for each thread, and what all did in
/// processor time, which other work leaves alone. A target of 0 is none.
void bench_report_threads(const std::string &name, const std::string &what, double target);
