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
    std::string file;
    std::string after;
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
        diff_fill(document["difference"], report.difference->counted);
    console_document(console, document);
}

/// Most bytes of values of one rule that a page shows.
constexpr difference_bounds_t page_bounds = {.rule_shown = size_t{128} << 10};

/// Counts what two pdbs say differently; it is handed out when the page is made.
bool compare(console_t &console, const report_input_t &before, const report_input_t &after,
             report_difference_t &difference)
{
    view_error_t error;
    pdb_difference_t &counted = difference.counted;
    if (!pdb_difference_walk(before.pdb, after.pdb, nullptr, counted, error)) {
        print_fault(console, (counted.fault_in_after ? after : before).file.name, error);
        return false;
    }
    difference.walk = [&before, &after](const difference_sink_t &sink) {
        pdb_difference_t shown;
        view_error_t ignored; // it was counted to its end before
        (void)pdb_difference_walk(before.pdb, after.pdb, &sink, shown, ignored, page_bounds);
        return shown.nr_unlisted;
    };
    return true;
}

void make_page(void *report, const save_sink_t &sink)
{
    report_page(*static_cast<const report_t *>(report), {sink.put, sink.context});
}

exit_status_t print_report(const report_options_t &options, console_t &console, report_t &report)
{
    if (!save_made(console, options.output, make_page, &report))
        return EXIT_STATUS_FILE;
    if (console.format == OUTPUT_JSON)
        print_document(console, options.output, report);
    return is_finding(report.files.back()) ? EXIT_STATUS_FINDINGS : EXIT_STATUS_FINE;
}

/// Tells, after a message, whether the options do not go together.
bool is_wrong_use(const report_options_t &options, console_t &console)
{
    if (options.file == "-" && options.after == "-") {
        console_error(console, "standard input can be read once");
        return true;
    }
    return report_mixes(console, {options.output}, "page");
}

exit_status_t report_run(const report_options_t &options, console_t &console)
{
    if (is_wrong_use(options, console))
        return EXIT_STATUS_USAGE;
    const bool two = !options.after.empty();
    report_input_t first;
    report_input_t second;
    report_input_t &last = two ? second : first;
    if (!report_input_open(console, options.file, first) ||
        (two && !report_input_open(console, options.after, second)))
        return EXIT_STATUS_FILE;
    if (!options.tests.empty())
        if (const exit_status_t status = report_input_test(console, options.tests, last);
            status != EXIT_STATUS_FINE)
            return status;
    report_t report;
    report_difference_t difference;
    if (two && !compare(console, first, second, difference))
        return EXIT_STATUS_FILE;
    if (two) {
        report.files.push_back(std::move(first.shown));
        report.difference = &difference;
    }
    report.files.push_back(std::move(last.shown));
    return print_report(options, console, report);
}

} // namespace

command_run_t report_declare(CLI::App &app)
{
    auto options = std::make_shared<report_options_t>();
    app.add_option("FILE", options->file, "A pdb, - for standard input")->required();
    app.add_option("AFTER", options->after,
                   "A later one: the page is about it, and what it says differently");
    app.add_option("-o,--output", options->output, "Where the page goes, - for standard output")
        ->type_name("FILE")
        ->required();
    app.add_option("--tests", options->tests,
                   "Suites of pdata test to run: cases that fail, rules that none fires")
        ->type_name("FILE")
        ->allow_extra_args(false);
    return [options](console_t &console) { return report_run(*options, console); };
}
