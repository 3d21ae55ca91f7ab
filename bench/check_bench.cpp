// The check of descriptions, proofs included.
#include "allocation_peak.h"
#include "bench_input.h"
#include "bench_run.h"
#include "lint_check.h"

namespace
{

constexpr double MEGABYTE = 1e6;

const std::string &text_of(bool doubled)
{
    static const std::string once = generate_description(bench_shape);
    static const std::string twice = generate_description(bench_double_shape);
    return doubled ? twice : once;
}

lint_config_t &config()
{
    static lint_config_t read;
    static const std::string wrong = lint_config_read(*bench_cfg(), read);
    bench_require(wrong.empty(), wrong.c_str());
    return read;
}

lint_result_t check(bool doubled)
{
    lint_result_t result = lint_check({{"description", text_of(doubled)}}, config(), {});
    bench_require(!result.model.protocols.empty(), "checking the description");
    return result;
}

double whole(bool doubled)
{
    return bench_time([&] { (void)check(doubled); });
}

/// The same, kept as a repetition of the step: the rate has a target.
double recorded(bool doubled)
{
    const double seconds = whole(doubled);
    bench_record(doubled ? "twice" : "once", seconds);
    return seconds;
}

size_t peak_of(bool doubled)
{
    allocation_peak_start();
    (void)check(doubled);
    return allocation_peak_bytes();
}

void report()
{
    bench_heading("check of a description, with proofs");
    const double size = static_cast<double>(text_of(false).size());
    bench_line("text", size / MEGABYTE, "MB");
    bench_line("findings", static_cast<double>(check(false).findings.size()), "");
    bench_at_least("text per second, fastest", size / MEGABYTE / bench_fastest("once"), "MB/s", 5);
    bench_at_most("time for twice the input", bench_median("growth"), "times", 2.2);
    bench_line("peak memory, times the text", static_cast<double>(peak_of(false)) / size, "");
}

} // namespace

int main(int argc, char **argv)
{
    (void)config();
    for (const bool doubled : {false, true})
        bench_add(doubled ? "twice" : "once", {text_of(doubled).size(), 0},
                  [doubled] { return whole(doubled); });
    bench_add_ratio(
        "growth", [] { return recorded(true); }, [] { return recorded(false); });
    return bench_main(argc, argv, report);
}
