#include <algorithm>
#include <memory>

#include "commands.h"
#include "diff_print.h"
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

/// Returns what an action is, in words with hyphens.
std::string id_of(const report_action_t &action)
{
    std::string id = action.what;
    std::ranges::replace(id, ' ', '-');
    return id;
}

json_document_t file_document(const report_file_t &file)
{
    constexpr const char *levels[] = {"error", "warning", "note"};
    json_document_t document = {{"file", json_text(file.name)},
                                {"bytes", file.size},
                                {"protocols", file.inventory->totals.protocols},
                                {"rules", file.inventory->totals.rules},
                                {"values", file.inventory->totals.values},
                                {"findings", json_document_t::array()}};
    for (const report_action_t &action : file.actions)
        document["findings"].push_back({{"id", id_of(action)},
                                        {"level", levels[action.grade]},
                                        {"text", json_text(action.text)}});
    return document;
}

/// Prints what the page says first, as one object.
void print_document(console_t &console, const std::string &output, const report_t &report)
{
    json_document_t document = json_document("report");
    document["output"] = json_text(output);
    document["files"] = json_document_t::array();
    for (const report_file_t &file : report.files)
        document["files"].push_back(file_document(file));
    if (report.difference != nullptr)
        diff_fill(document["difference"], *report.difference);
    console_document(console, document);
}

exit_status_t report_run(const report_options_t &options, console_t &console)
{
    if (report_mixes(console, {options.output}, "page"))
        return EXIT_STATUS_USAGE;
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
    if (console.format == OUTPUT_JSON)
        print_document(console, options.output, report);
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
