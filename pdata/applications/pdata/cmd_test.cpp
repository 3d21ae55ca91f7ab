#include <algorithm>
#include <new>
#include <set>

#include <regex.h>

#include "commands.h"
#include "save_file.h"
#include "test_run.h"

namespace
{

struct test_options_t {
    std::string pdb;
    std::vector<std::string> files;
    std::string run;
    bool coverage = false;
    double coverage_min = 0;
    bool update = false;
};

struct regex_free {
    void operator()(regex_t *filter) const { regfree(filter); }
};

/// A run: the pdb, the suites and which of them changed, and the rules that fired so far.
struct test_run_t {
    const test_options_t &options;
    test_report_t report;
    test_runner_t runner = {};
    std::vector<suite_t> suites = {};
    std::set<const suite_t *> changed = {};
    exit_status_t status = EXIT_STATUS_FINE; ///< of captures that cannot be read
    regex_t compiled = {};
    std::unique_ptr<regex_t, regex_free> filter = {}; ///< of names; none for all cases
};

bool read_suites(test_run_t &run)
{
    return std::ranges::all_of(run.options.files, [&run](const std::string &path) {
        return test_suite_open(run.report.console, path, run.suites.emplace_back());
    });
}

bool is_chosen(const test_run_t &run, const suite_case_t &one)
{
    return run.filter == nullptr || regexec(run.filter.get(), one.name.c_str(), 0, nullptr, 0) == 0;
}

/// Makes what a case came to what is expected of it.
void accept(test_run_t &run, suite_t &suite, size_t index, test_done_t &done)
{
    if (suite.cases[index].capture.empty())
        suite_accept(suite, index, done.outcome.got);
    else
        suite_capture_accept(suite, index, done.flows);
    run.changed.insert(&suite);
    done.outcome.passed = true;
}

void run_suite(test_run_t &run, suite_t &suite, const std::string &path)
{
    for (size_t i = 0; i < suite.cases.size(); ++i) {
        if (!is_chosen(run, suite.cases[i]))
            continue;
        test_done_t done =
            test_case_run(run.runner, suite, suite.cases[i], path, run.report.console);
        if (done.status != EXIT_STATUS_FINE)
            run.status = done.status;
        if (run.options.update && !done.outcome.passed && done.outcome.failure.empty())
            accept(run, suite, i, done);
        test_report_case(run.report, done.outcome);
    }
}

/// Writes the suites back that changed. Returns false after a message when one cannot be written.
bool write_suites(test_run_t &run)
{
    for (size_t i = 0; i < run.suites.size(); ++i) {
        if (!run.changed.contains(&run.suites[i]))
            continue;
        if (!save_file(run.report.console, run.options.files[i], suite_text(run.suites[i])))
            return false;
    }
    return true;
}

test_coverage_t coverage_of(const test_run_t &run)
{
    std::vector<std::string> missed = test_missed_rules(run.runner);
    const size_t fired = run.runner.fired.size();
    return {fired + missed.size(), fired, std::move(missed)};
}

/// Tells whether as many rules fired as were asked for.
bool is_covered(const test_run_t &run, const test_coverage_t &coverage)
{
    return static_cast<double>(coverage.fired) * 100 >=
           run.options.coverage_min * static_cast<double>(coverage.rules);
}

exit_status_t run_suites(test_run_t &run)
{
    for (const suite_t &suite : run.suites)
        for (const suite_case_t &one : suite.cases)
            run.report.total += is_chosen(run, one) ? 1 : 0;
    test_report_begin(run.report);
    for (size_t i = 0; i < run.suites.size(); ++i)
        run_suite(run, run.suites[i], run.options.files[i]);
    const bool covers = run.options.coverage || run.options.coverage_min > 0;
    const test_coverage_t coverage = covers ? coverage_of(run) : test_coverage_t();
    test_report_end(run.report, covers ? &coverage : nullptr);
    if (run.options.update && !write_suites(run))
        return EXIT_STATUS_FILE;
    if (run.status != EXIT_STATUS_FINE)
        return run.status;
    return run.report.failed == 0 && (!covers || is_covered(run, coverage)) ? EXIT_STATUS_FINE
                                                                            : EXIT_STATUS_FINDINGS;
}

/// Compiles the filter of names. Returns false after a message when it is none.
bool compile_filter(test_run_t &run)
{
    if (run.options.run.empty())
        return true;
    const int fault = regcomp(&run.compiled, run.options.run.c_str(), REG_EXTENDED | REG_NOSUB);
    if (fault == REG_ESPACE)
        throw std::bad_alloc();
    if (fault != 0) {
        console_error(run.report.console, "--run: {} is no regular expression", run.options.run);
        return false;
    }
    run.filter.reset(&run.compiled);
    return true;
}

exit_status_t test_run(const test_options_t &options, console_t &console)
{
    test_run_t run = {options, {console}};
    if (!compile_filter(run))
        return EXIT_STATUS_USAGE;
    if (options.update && std::ranges::find(options.files, "-") != options.files.end()) {
        console_error(console, "--update: standard input cannot be written");
        return EXIT_STATUS_USAGE;
    }
    if (!loadable_open(console, options.pdb, run.runner.loadable) || !read_suites(run))
        return EXIT_STATUS_FILE;
    test_runner_start(run.runner);
    return run_suites(run);
}

} // namespace

command_run_t test_declare(CLI::App &app)
{
    auto options = std::make_shared<test_options_t>();
    app.add_option("LOADABLE", options->pdb, "A loadable pdb")->required();
    app.add_option("FILE", options->files,
                   "Cases, one a line: the expected protocol (- for none), a tab, the flow;\n"
                   "or what flows are, a tab, \"capture\" and the path of a capture or log")
        ->required();
    app.add_option("--run", options->run, "Only cases whose name has this regular expression")
        ->type_name("REGEX");
    app.add_flag("--coverage", options->coverage, "Name the rules that no case fires");
    app.add_option("--coverage-min", options->coverage_min,
                   "Fail when fewer rules fire than this share, in percent")
        ->type_name("N")
        ->check(CLI::Range(0.0, 100.0).description(""));
    app.add_flag("--update", options->update, "Write what fires now into the files as expected");
    return [options](console_t &console) { return test_run(*options, console); };
}
