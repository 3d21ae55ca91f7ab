// What may stop a build: a finding, a fault of the pdb, a case that does not hold.
#include <algorithm>

#include "build_run.h"
#include "check_print.h"
#include "pdb_verify.h"

namespace
{

/// Returns a console whose data are messages, for people.
console_t messages_of(const console_t &console)
{
    console_t messages = console;
    messages.out = console.err;
    messages.out_colour = console.err_colour;
    messages.format = OUTPUT_TEXT;
    return messages;
}

std::vector<uint8_t> joined(const std::vector<std::span<const uint8_t>> &parts)
{
    std::vector<uint8_t> bytes;
    for (const std::span<const uint8_t> part : parts)
        bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}

/// Runs the cases of all suites. What fails is shown on standard error.
exit_status_t run_cases(build_run_t &run, test_runner_t &runner)
{
    const std::vector<suite_t> &suites = run.suites;
    console_t shown = messages_of(run.console);
    test_report_t report = {shown};
    exit_status_t status = EXIT_STATUS_FINE;
    for (size_t i = 0; i < suites.size(); ++i)
        for (const suite_case_t &one : suites[i].cases) {
            const test_done_t done =
                test_case_run(runner, suites[i], one, run.options.tests[i], run.console);
            test_report_case(report, done.outcome);
            status = std::max(status, done.status);
        }
    run.document["tests"] = {{"passed", report.passed}, {"failed", report.failed}};
    if (report.failed == 0)
        return EXIT_STATUS_FINE;
    test_report_end(report, nullptr);
    return std::max(status, EXIT_STATUS_FINDINGS);
}

/// Takes what the verification finds: a fault that ends the build, or a warning.
void put_built_fault(void *context, const view_error_t &fault)
{
    build_run_t &run = *static_cast<build_run_t *>(context);
    expect_memory(fault);
    if (fault.grade == VIEW_UNSAFE) {
        pdata_memory_watch_expect(run.memory);
        print_fault(run.console, run.options.output, fault);
        run.document["fault"] = fault_document(fault);
        return;
    }
    console_error(run.console, "{}: warning: lost in silence: byte {}: {}", run.options.output,
                  fault.offset, fault.text);
    run.document["lost"].push_back(fault_document(fault));
}

} // namespace

exit_status_t build_check(build_run_t &run)
{
    lint_config_t config;
    if (!open_lint_config(run.console, run.cfg, config))
        return EXIT_STATUS_FILE;
    std::vector<lint_file_t> files;
    for (size_t i = 0; i < run.descriptions.size(); ++i) {
        const csa_buf_t &text = run.descriptions[i].pdd_json;
        files.push_back(
            {run.options.files[i], {reinterpret_cast<const char *>(text.data()), text.size()}});
    }
    console_t shown = messages_of(run.console);
    const lint_result_t result = lint_check(std::move(files), config, {});
    const finding_policy_t policy = finding_policy();
    const check_count_t count = check_print(shown, {result, policy});
    run.document["check"] = {{"errors", count.errors}, {"warnings", count.warnings}};
    return count.errors == 0 ? EXIT_STATUS_FINE : EXIT_STATUS_FINDINGS;
}

exit_status_t build_verify(build_run_t &run)
{
    const std::vector<uint8_t> bytes = joined(pdata_build_bytes(run.built, run.options.loadable));
    return pdb_verify(bytes, {put_built_fault, &run}).nr_unsafe == 0 ? EXIT_STATUS_FINE
                                                                     : EXIT_STATUS_FINDINGS;
}

exit_status_t build_test(build_run_t &run)
{
    if (run.options.tests.empty())
        return EXIT_STATUS_FINE;
    for (const std::string &path : run.options.tests)
        if (!test_suite_open(run.console, path, run.suites.emplace_back()))
            return EXIT_STATUS_FILE;
    const pdata_status_t status = pdata_build_loadable(run.built);
    if (status != PDATA_SUCCESS)
        return build_refuse(run, run.names.front(), run.built.step, status);
    test_runner_t runner;
    runner.loadable.file.name = run.options.output;
    runner.loadable.file.buffer = joined(pdata_build_bytes(run.built, true));
    if (!loadable_start(run.console, runner.loadable))
        return EXIT_STATUS_FINDINGS;
    test_runner_start(runner);
    return run_cases(run, runner);
}
