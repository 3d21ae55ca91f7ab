#include "report_input.h"

#include <new>
#include <span>

#include "format_limits.h"
#include "open_file.h"
#include "pdb_limits.h"
#include "pdb_verify.h"
#include "test_run.h"

namespace
{

void take_fault(void *context, const view_error_t &fault)
{
    report_input_t &input = *static_cast<report_input_t *>(context);
    expect_memory(fault);
    input.shown.actions.push_back(
        {fault.grade == VIEW_UNSAFE ? REPORT_BAD : REPORT_WARNING,
         fault.grade == VIEW_UNSAFE ? "unsafe" : "unsound",
         fmt::format("byte {}: {}: {}", fault.offset, view_fault_name(fault.fault), fault.text)});
}

/// Adds how full each limit is, and those that were passed or nearly are as actions.
void take_limits(const pdb_view_t &pdb, report_input_t &input)
{
    for (const view_limit_t &limit : pdb_limits_take(pdb)) {
        input.shown.limits.push_back(limit);
        const std::string text =
            fmt::format("{}: {}, {}{}", limit.subject, limit.name, limit.used,
                        limit.limit == 0 ? "" : fmt::format(" of {}", limit.limit));
        if (view_limit_passed(limit))
            input.shown.actions.push_back(
                {REPORT_WARNING, "limit passed",
                 fmt::format("{}; lost: {}{}{}", text, limit.lost,
                             limit.first.empty() ? "" : ", first ", limit.first)});
        else if (format_nearly_full(limit.used, limit.limit))
            input.shown.actions.push_back({REPORT_NOTE, "limit nearly full", text});
    }
}

/// What was verified reads, unless there is no memory for it.
void expect(bool read)
{
    if (!read)
        throw std::bad_alloc();
}

void read_pdb(report_input_t &input)
{
    const std::span<const uint8_t> bytes = input_file_bytes(input.file);
    view_error_t error;
    expect(pdb_view_open(bytes, input.pdb, error));
    expect(description_source_open(input.pdb, input.source, error));
    expect(view_inventory_take(bytes, input.inventory, error));
    take_limits(input.pdb, input);
}

/// Runs a suite, and adds the cases that fail.
void report_suite(test_runner_t &runner, const suite_t &suite, const std::string &path,
                  report_input_t &input, console_t &console)
{
    for (const suite_case_t &one : suite.cases) {
        const test_done_t done = test_case_run(runner, suite, one, path, console);
        if (!done.outcome.passed)
            input.shown.actions.push_back({REPORT_BAD, "test failed", one.name});
    }
}

/// Runs suites through the pdb whose bytes the runner has.
exit_status_t run_suites(console_t &console, const std::vector<std::string> &suites,
                         test_runner_t &runner, report_input_t &input)
{
    if (!loadable_start(console, runner.loadable))
        return EXIT_STATUS_FILE;
    test_runner_start(runner);
    for (const std::string &file : suites) {
        suite_t suite;
        if (!test_suite_open(console, file, suite))
            return EXIT_STATUS_FILE;
        report_suite(runner, suite, file, input, console);
    }
    for (std::string &rule : test_missed_rules(runner))
        input.shown.actions.push_back({REPORT_NOTE, "rule without a test", std::move(rule)});
    return EXIT_STATUS_FINE;
}

} // namespace

bool report_input_open(console_t &console, const std::string &path, report_input_t &input)
{
    if (!open_file(console, path, input.file))
        return false;
    const pdb_verdict_t verdict = pdb_verify(input_file_bytes(input.file), {take_fault, &input});
    if (verdict.nr_unsafe != 0) {
        console_error(console, "{}: is unsafe to read: {}", input.file.name,
                      input.shown.actions.front().text);
        return false;
    }
    read_pdb(input);
    input.shown.name = input.file.name;
    input.shown.size = input_file_bytes(input.file).size();
    input.shown.inventory = &input.inventory;
    input.shown.source = &input.source;
    return true;
}

exit_status_t report_input_test(console_t &console, const std::vector<std::string> &suites,
                                report_input_t &input)
{
    test_runner_t runner;
    runner.loadable.file = std::move(input.file);
    const exit_status_t status = run_suites(console, suites, runner, input);
    input.file = std::move(runner.loadable.file);
    return status;
}
