#include <algorithm>
#include <memory>

#include "commands.h"
#include "diff_flows.h"
#include "diff_print.h"
#include "open_pdb.h"

namespace
{

struct diff_options_t {
    std::string before;
    std::string after;
    bool stat = false;
    std::vector<std::string> flows;
    std::string allow;
};

/// A run: both pdbs, and what was found.
struct diff_run_t {
    const diff_options_t &options;
    console_t &console;
    loadable_t before = {};
    loadable_t after = {};
    pdb_view_t view_before = {};
    pdb_view_t view_after = {};
    pdb_difference_t difference = {};
    diff_flows_t flows = {};
};

bool open_side(console_t &console, const std::string &path, input_file_t &file, pdb_view_t &pdb)
{
    return open_file(console, path, file) && open_pdb(console, file, pdb);
}

/// Compares both pdbs; without a sink it counts.
bool compare(diff_run_t &run, const difference_sink_t *sink)
{
    view_error_t error;
    if (pdb_difference_walk(run.view_before, run.view_after, sink, run.difference, error))
        return true;
    const loadable_t &side = run.difference.fault_in_after ? run.after : run.before;
    print_fault(run.console, side.file.name, error);
    return false;
}

/// Replays the flows. What changed in what the pdbs say is then no finding by itself.
exit_status_t replay(diff_run_t &run)
{
    const std::string &allow = run.options.allow;
    if ((!allow.empty() && !diff_flows_allow(run.console, allow, run.flows)) ||
        !loadable_start(run.console, run.before) || !loadable_start(run.console, run.after))
        return EXIT_STATUS_FILE;
    flow_replay_open(run.before.db.get(), run.after.db.get(), run.flows.replay);
    return diff_flows_run(run.console, run.options.flows, run.flows);
}

bool replays(const diff_run_t &run)
{
    return !run.options.flows.empty();
}

bool print_text(diff_run_t &run)
{
    const bool stat = run.options.stat;
    const difference_sink_t sink = diff_text_sink(run.console);
    if (!compare(run, stat ? nullptr : &sink))
        return false;
    if (stat)
        diff_print_totals(run.console, run.difference);
    else
        diff_print_unlisted(run.console, run.difference);
    if (replays(run))
        diff_flows_print(run.console, run.flows, stat);
    return true;
}

/// Prints the document. What it begins with is counted first, so that the protocols need not be
/// kept until then.
bool print_json(diff_run_t &run)
{
    const bool stat = run.options.stat;
    if (!compare(run, nullptr))
        return false;
    json_document_t document = json_document("diff");
    document["before"] = json_text(run.before.file.name);
    document["after"] = json_text(run.after.file.name);
    diff_fill(document, run.difference);
    if (!stat) {
        diff_json_t json = {run.console};
        diff_json_begin(json, document);
        const difference_sink_t sink = diff_json_sink(json);
        (void)compare(run, &sink); // it was counted to its end before
        json_document_t tail = {{"unlisted", run.difference.nr_unlisted}};
        if (replays(run))
            tail["flows"] = diff_flows_document(run.flows, stat);
        diff_json_end(json, tail);
        return true;
    }
    if (replays(run))
        document["flows"] = diff_flows_document(run.flows, stat);
    console_document(run.console, document);
    return true;
}

bool reads_input_twice(const diff_options_t &options)
{
    const auto flows = std::ranges::count(options.flows, "-");
    return flows + (options.before == "-") + (options.after == "-") + (options.allow == "-") > 1;
}

exit_status_t diff_run(const diff_options_t &options, console_t &console)
{
    if (reads_input_twice(options)) {
        console_error(console, "standard input can be read once");
        return EXIT_STATUS_USAGE;
    }
    diff_run_t run = {options, console};
    if (!open_side(console, options.before, run.before.file, run.view_before) ||
        !open_side(console, options.after, run.after.file, run.view_after))
        return EXIT_STATUS_FILE;
    exit_status_t status = EXIT_STATUS_FINE;
    if (replays(run))
        status = replay(run);
    if (run.flows.replay.before.flow != nullptr || !replays(run)) {
        if (!(console.format == OUTPUT_JSON ? print_json(run) : print_text(run)))
            return EXIT_STATUS_FILE;
        if (!replays(run) && !run.difference.is_empty())
            status = EXIT_STATUS_FINDINGS;
        diff_flows_name_stale(console, run.flows);
    }
    return status;
}

} // namespace

command_run_t diff_declare(CLI::App &app)
{
    auto options = std::make_shared<diff_options_t>();
    app.add_option("BEFORE", options->before, "A pdb, - for standard input")->required();
    app.add_option("AFTER", options->after, "A pdb to hold against it")->required();
    app.add_flag("--stat", options->stat, "Print totals only");
    CLI::Option *flows =
        app.add_option("--flows", options->flows,
                       "Flow lines, as \"pdata flows\" prints them: run them through both pdbs,\n"
                       "which must be loadable, and list those that are classified otherwise;\n"
                       "may be given again, - is standard input")
            ->type_name("FILE")
            ->allow_extra_args(false);
    app.add_option("--allow", options->allow,
                   "Lines \"before -> after\" of protocols: such changes are no findings")
        ->type_name("FILE")
        ->needs(flows);
    return [options](console_t &console) { return diff_run(*options, console); };
}
