#include "bench_threads.h"

#include <algorithm>
#include <array>
#include <barrier>
#include <chrono>
#include <ctime>
#include <thread>
#include <vector>

#include <sched.h>

#include "bench_run.h"

namespace
{

using namespace std::chrono_literals;
using steady = std::chrono::steady_clock;

constexpr auto SPAN = 10ms;
constexpr int PAIRS = 50;              // of a repetition
constexpr double CORE_IS_THERE = 0.98; // of the span, as processor time of a thread

/// What a thread got done. Threads write no cache line of each other's.
struct alignas(128) done_t {
    double work = 0;
    double seconds = 0; ///< by the clock, from the start of all
    double cpu_seconds = 0;
};

/// What some threads got done in a span.
struct span_t {
    double rate = 0;     ///< work in a second
    double cpu_rate = 0; ///< work in a second of processor time, of all together
    double share = 1;    ///< of the span that the thread ran which ran least
};

double thread_cpu_seconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double seconds_since(steady::time_point start)
{
    return std::chrono::duration<double>(steady::now() - start).count();
}

/// Keeps the calling thread on a processor, as engines do that read packets: within a short span,
/// the system would leave threads that woke on one processor together.
void stay_on_processor(unsigned number)
{
    cpu_set_t all;
    CPU_ZERO(&all);
    (void)sched_getaffinity(0, sizeof all, &all);
    cpu_set_t one;
    CPU_ZERO(&one);
    for (unsigned cpu = 0; cpu < CPU_SETSIZE; ++cpu)
        if (CPU_ISSET(cpu, &all) && number-- == 0)
            CPU_SET(cpu, &one);
    (void)sched_setaffinity(0, sizeof one, &one); // where there are fewer, it stays where it is
}

void work_for_a_span(const bench_step_t &step, const steady::time_point &start, done_t &done)
{
    const double cpu_start = thread_cpu_seconds();
    do {
        done.work += static_cast<double>(step());
    } while (steady::now() - start < SPAN);
    done.seconds = seconds_since(start);
    done.cpu_seconds = thread_cpu_seconds() - cpu_start;
}

span_t run_span(unsigned nr, const std::function<bench_step_t(unsigned)> &make)
{
    std::array<done_t, BENCH_NR_THREAD> done;
    steady::time_point start;
    std::barrier all_made(nr, [&start]() noexcept { start = steady::now(); });
    std::vector<std::jthread> threads;
    for (unsigned i = 0; i < nr; ++i)
        threads.emplace_back([&, i] {
            stay_on_processor(i);
            const bench_step_t step = make(i);
            (void)step(); // what is looked at first comes into the caches
            all_made.arrive_and_wait();
            work_for_a_span(step, start, done[i]);
        });
    threads.clear();
    span_t span;
    for (unsigned i = 0; i < nr; ++i) {
        span.rate += done[i].work / done[i].seconds;
        span.cpu_rate += done[i].work / done[i].cpu_seconds;
        span.share = std::min(span.share, done[i].cpu_seconds / done[i].seconds);
    }
    return span;
}

void run_pair(const std::string &name, const std::function<bench_step_t(unsigned)> &make)
{
    const span_t one = run_span(1, make);
    const span_t all = run_span(BENCH_NR_THREAD, make);
    bench_record(name + "_pairs", all.rate / one.rate);
    bench_record(name + "_cpu", all.cpu_rate / one.cpu_rate);
    if (std::min(one.share, all.share) >= CORE_IS_THERE)
        bench_record(name + "_cores", all.rate / one.rate);
}

} // namespace

void bench_add_threads(const std::string &name, std::function<bench_step_t(unsigned)> make)
{
    bench_add(name, {}, [name, make = std::move(make)] {
        const auto start = steady::now();
        for (int i = 0; i < PAIRS; ++i)
            run_pair(name, make);
        return seconds_since(start);
    });
}

void bench_report_threads(const std::string &name, const std::string &what, double target)
{
    const size_t nr = bench_nr(name + "_cores");
    const std::string label = what + ", in " + std::to_string(nr) + " of " +
                              std::to_string(bench_nr(name + "_pairs")) + " pairs";
    if (nr == 0)
        bench_heading("  " + what + ": in no pair had each thread its processor");
    else if (target == 0)
        bench_line(label, bench_median(name + "_cores"), "times");
    else
        bench_at_least(label, bench_median(name + "_cores"), "times", target);
    bench_line("  in all pairs", bench_median(name + "_pairs"), "times");
    bench_line("  in all pairs, in processor time", bench_median(name + "_cpu"), "times");
}
