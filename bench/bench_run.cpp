#include "bench_run.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <map>
#include <vector>

#include <malloc.h>

namespace
{

/// Seconds, or the quotient, of every repetition, by the name of its step or comparison; one that
/// was not run has none.
std::map<std::string, std::vector<double>> repetitions;

constexpr int comparisons =
    9; // an odd number, and enough for a median that other work leaves alone

void print_line(const std::string &what, double value, const char *unit)
{
    std::printf("  %-52s %10.2f %-6s", what.c_str(), value, unit);
}

void print_target(const char *relation, double target, bool reached)
{
    std::printf("  %s %.2f: %s\n", relation, target, reached ? "reached" : "MISSED");
}

template <typename Repeat>
benchmark::internal::Benchmark *add_benchmark(const std::string &name, const Repeat &repeat)
{
    return benchmark::RegisterBenchmark(name.c_str(), repeat)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

} // namespace

double bench_cpu_seconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

void bench_add(const std::string &name, bench_work_t work, std::function<double()> measure)
{
    std::vector<double> &seconds = repetitions[name];
    const auto repeat = [&seconds, measure = std::move(measure), work](benchmark::State &state) {
        for (auto _ : state) {
            seconds.push_back(measure());
            state.SetIterationTime(seconds.back());
        }
        const auto times = static_cast<int64_t>(state.iterations());
        if (work.bytes != 0)
            state.SetBytesProcessed(times * static_cast<int64_t>(work.bytes));
        if (work.items != 0)
            state.SetItemsProcessed(times * static_cast<int64_t>(work.items));
    };
    add_benchmark(name, repeat);
}

void bench_add_ratio(const std::string &name, std::function<double()> measure,
                     std::function<double()> base)
{
    std::vector<double> &quotients = repetitions[name];
    const auto repeat = [&quotients, measure = std::move(measure),
                         base = std::move(base)](benchmark::State &state) {
        for (auto _ : state) {
            const double base_seconds = base();
            const double seconds = measure();
            quotients.push_back(seconds / base_seconds);
            state.SetIterationTime(seconds + base_seconds);
        }
    };
    add_benchmark(name, repeat)->Iterations(comparisons);
}

void bench_record(const std::string &name, double seconds)
{
    repetitions[name].push_back(seconds);
}

size_t bench_nr(const std::string &name)
{
    const auto step = repetitions.find(name);
    return step == repetitions.end() ? 0 : step->second.size();
}

double bench_median(const std::string &name)
{
    std::vector<double> &values = repetitions[name];
    bench_require(!values.empty(), name.c_str());
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double bench_fastest(const std::string &name)
{
    const std::vector<double> &values = repetitions[name];
    bench_require(!values.empty(), name.c_str());
    return *std::min_element(values.begin(), values.end());
}

void bench_require(bool success, const char *what)
{
    if (success)
        return;
    std::fprintf(stderr, "failed: %s\n", what);
    std::exit(1);
}

void bench_heading(const std::string &text)
{
    std::printf("\n%s\n", text.c_str());
}

void bench_line(const std::string &what, double value, const char *unit)
{
    print_line(what, value, unit);
    std::printf("\n");
}

void bench_at_most(const std::string &what, double value, const char *unit, double target)
{
    print_line(what, value, unit);
    print_target("at most", target, value <= target);
}

void bench_at_least(const std::string &what, double value, const char *unit, double target)
{
    print_line(what, value, unit);
    print_target("at least", target, value >= target);
}

void bench_peak(const std::string &what, size_t peak, size_t allowed)
{
    constexpr double mebi = 1024.0 * 1024.0;
    bench_at_most(what, static_cast<double>(peak) / mebi, "MiB",
                  static_cast<double>(allowed) / mebi);
}

int bench_main(int argc, char **argv, void (*report)())
{
    // As pdata_compiler does: what is freed is given back, so that runs of any size touch new
    // pages.
    mallopt(M_MMAP_THRESHOLD, 128 << 10);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    const bool complete = std::all_of(repetitions.begin(), repetitions.end(),
                                      [](const auto &step) { return !step.second.empty(); });
    if (complete)
        report();
    return 0;
}
