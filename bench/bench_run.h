/// Measurements: steps that Google Benchmark repeats, their medians, and the targets beside them.
///
/// Everything is measured in processor time, and what is compared is performed turn by turn and
/// compared turn by turn, so that the figures hold on a machine that others use as well. The
/// library compares nothing within a run, so each repetition is kept here too.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

/// Returns the processor time of this process, in seconds.
double bench_cpu_seconds();

/// Runs a step and returns the processor time it took, in seconds.
template <typename Step>
double bench_time(const Step &step)
{
    const double start = bench_cpu_seconds();
    step();
    return bench_cpu_seconds() - start;
}

/// The amount of work of one repetition; what is 0 is not reported.
struct bench_work_t {
    size_t bytes = 0; ///< input; reported per second
    size_t items = 0; ///< reported per second as well
};

/// Adds a step. `measure` performs one repetition and returns the seconds of it that count.
void bench_add(const std::string &name, bench_work_t work, std::function<double()> measure);

/// Adds a comparison. Each repetition performs both steps, `base` first, and keeps the quotient of
/// their seconds. There are always nine, whatever the library's options say.
void bench_add_ratio(const std::string &name, std::function<double()> measure,
                     std::function<double()> base);

/// Adds a repetition of a step that was performed within another one.
void bench_record(const std::string &name, double seconds);

/// Returns how many repetitions a step has had.
size_t bench_nr(const std::string &name);

/// Returns the median of a step's repetitions in seconds, of a comparison's quotients.
double bench_median(const std::string &name);

/// Returns the seconds of a step's fastest repetition. For what is compared with nothing: other
/// work on the machine only ever adds time.
double bench_fastest(const std::string &name);

/// Ends the program with a message when something that is measured did not succeed.
void bench_require(bool success, const char *what);

/// Prints a heading and one line of the report; the second form with the target that it is held
/// against.
void bench_heading(const std::string &text);
void bench_line(const std::string &what, double value, const char *unit);
void bench_at_most(const std::string &what, double value, const char *unit, double target);
void bench_at_least(const std::string &what, double value, const char *unit, double target);

/// Prints the measured peak of live memory (allocation_peak.h) against what is allowed, in bytes.
void bench_peak(const std::string &what, size_t peak, size_t allowed);

/// The main function of a benchmark: runs the added steps, as the library's options say, and then
/// `report`, unless only some of the steps were run.
int bench_main(int argc, char **argv, void (*report)());
