#include <algorithm>
#include <memory>
#include <new>

#include "commands.h"
#include "diff_flows.h"
#include "diff_print.h"
#include "pdb_verify.h"

namespace
{

struct diff_options_t {
    std::string before;
    std::string after;
    bool stat = false;
    std::vector<std::string> flows;
    std::string allow;
};

bool open_model(console_t &console, const std::string &path, input_file_t &file,
                description_model_t &model)
{
    pdb_view_t pdb;
    view_error_t error;
    if (!open_file(console, path, file))
        return false;
    if (pdb_verify_open(input_file_bytes(file), pdb, error) &&
        description_model_read(pdb, model, error))
        return true;
    print_fault(console, file.name, error);
    return false;
}

/// A run: both pdbs, and what was found. The models are let go once they are compared.
struct diff_run_t {
    const diff_options_t &options;
    console_t &console;
    loadable_t before = {};
    loadable_t after = {};
    pdb_difference_t difference = {};
    diff_flows_t flows = {};
};

bool compare(diff_run_t &run)
{
    description_model_t before;
    description_model_t after;
    if (!open_model(run.console, run.options.before, run.before.file, before) ||
        !open_model(run.console, run.options.after, run.after.file, after))
        return false;
    run.difference = pdb_difference(before, after);
    return true;
}

/// Replays the flows. What changed in what the pdbs say is then no finding by itself.
exit_status_t replay(diff_run_t &run)
{
    const std::string &allow = run.options.allow;
    if ((!allow.empty() && !diff_flows_allow(run.console, allow, run.flows)) ||
        !loadable_start(run.console, run.before) || !loadable_start(run.console, run.after))
        return EXIT_STATUS_FILE;
    if (flow_replay_open(run.before.db.get(), run.after.db.get(), run.flows.replay) != PDATA_R_OK)
        throw std::bad_alloc();
    return diff_flows_run(run.console, run.options.flows, run.flows);
}

void print_run(diff_run_t &run)
{
    const bool stat = run.options.stat;
    const bool replayed = !run.options.flows.empty();
    if (run.console.format != OUTPUT_JSON) {
        diff_print(run.console, run.difference, stat);
        if (replayed)
            diff_flows_print(run.console, run.flows, stat);
        return;
    }
    json_document_t document = json_document("diff");
    document["before"] = json_text(run.before.file.name);
    document["after"] = json_text(run.after.file.name);
    diff_fill(document, run.difference, stat);
    if (replayed)
        document["flows"] = diff_flows_document(run.flows, stat);
    console_document(run.console, document);
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
    if (!compare(run))
        return EXIT_STATUS_FILE;
    exit_status_t status = run.difference.is_empty() ? EXIT_STATUS_FINE : EXIT_STATUS_FINDINGS;
    if (!options.flows.empty())
        status = replay(run);
    if (run.flows.replay.before.flow != nullptr || options.flows.empty())
        print_run(run);
    diff_flows_name_stale(console, run.flows);
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
