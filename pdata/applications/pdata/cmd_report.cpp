#include <algorithm>
#include <memory>

#include "commands.h"
#include "open_file.h"
#include "report_input.h"
#include "save_file.h"

namespace
{

struct report_options_t {
    std::vector<std::string> files;
    std::vector<std::string> tests;
    std::string output;
};

/// Tells whether something must be mended, not only known.
bool is_finding(const report_file_t &file)
{
    return std::ranges::any_of(
        file.actions, [](const report_action_t &action) { return action.grade != REPORT_NOTE; });
}

exit_status_t report_run(const report_options_t &options, console_t &console)
{
    std::vector<report_input_t> inputs(options.files.size());
    for (size_t i = 0; i < inputs.size(); ++i)
        if (!report_input_open(console, options.files[i], inputs[i]))
            return EXIT_STATUS_FILE;
    report_input_t &last = inputs.back();
    if (!options.tests.empty())
        if (const exit_status_t status = report_input_test(console, options.tests, last);
            status != EXIT_STATUS_FINE)
            return status;
    report_t report;
    pdb_difference_t difference;
    for (const report_input_t &input : inputs)
        report.files.push_back(input.shown);
    if (inputs.size() > 1) {
        view_error_t error;
        if (!pdb_difference(inputs.front().pdb, last.pdb, difference, error)) {
            const report_input_t &side = difference.fault_in_after ? last : inputs.front();
            print_fault(console, side.file.name, error);
            return EXIT_STATUS_FILE;
        }
        report.difference = &difference;
    }
    if (!save_file(console, options.output, report_page(report)))
        return EXIT_STATUS_FILE;
    return is_finding(last.shown) ? EXIT_STATUS_FINDINGS : EXIT_STATUS_FINE;
}

} // namespace

command_run_t report_declare(CLI::App &app)
{
    auto options = std::make_shared<report_options_t>();
    app.add_option("FILE", options->files, "A pdb; of two, the second and what it says differently")
        ->expected(1, 2)
        ->required();
    app.add_option("-o,--output", options->output, "Where the page goes, - for standard output")
        ->type_name("FILE")
        ->required();
    app.add_option("--tests", options->tests,
                   "Suites of pdata test to run: cases that fail, rules that none fires")
        ->type_name("FILE")
        ->allow_extra_args(false);
    return [options](console_t &console) { return report_run(*options, console); };
}
