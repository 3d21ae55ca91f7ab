#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "commands.h"
#include "escape.h"
#include "match_answer.h"

namespace
{

struct match_options_t {
    std::string pdb;
    std::vector<std::string> flows;
    bool near = false;
};

/// A run: the pdb, and what was counted so far.
struct match_run_t {
    const match_options_t &options;
    console_t &console;
    loadable_t loadable = {};
    flow_runner_t runner = {};
    uint64_t flows = 0;
    uint64_t matched = 0;
    uint64_t refused = 0;
};

/// Reads a flow and runs it. Returns false with an error for one that cannot be run.
bool run_flow(match_run_t &run, std::string_view line, flow_values_t &values, flow_error_t &error)
{
    flow_refusal_t refusal;
    ++run.flows;
    if (!flow_read(line, values, error))
        return false;
    if (flow_runner_run(run.runner, values, refusal))
        return true;
    error = {0, flow_refusal_text(values, refusal)};
    return false;
}

std::string error_text(const flow_error_t &error)
{
    return error.column == 0 ? error.text : fmt::format("column {}: {}", error.column, error.text);
}

void answer_json(match_run_t &run, std::string_view line, const match_answer_t *answer,
                 const flow_error_t &error)
{
    json_document_t document = json_document("match");
    document["flow"] = json_text(line);
    if (answer != nullptr)
        match_fill(document, run.loadable, *answer, run.options.near);
    else
        document["error"] = {{"column", error.column}, {"text", json_text(error.text)}};
    console_record(run.console, document);
}

/// Answers a line of standard input with one line: the protocols of the rules that fire, the best
/// first, "-" where none does.
void answer_line(match_run_t &run, const match_answer_t *answer, const flow_error_t &error)
{
    std::string text;
    if (answer == nullptr)
        text = "error: " + escape_terminal(error_text(error));
    else
        for (const fired_rule_t &rule : answer->rules)
            text += (text.empty() ? "" : " ") +
                    escape_terminal(loadable_rule_protocol(run.loadable, rule.rule));
    console_print(run.console, "{}\n", text.empty() ? "-" : text);
    console_flush(run.console); // the reader waits for it
}

/// Names the values that cannot lead to anything: slips of the pen most of the time.
void print_untested(match_run_t &run, const flow_values_t &values)
{
    for (size_t i = 0; i < values.size(); ++i)
        if (const flow_attr_t &value = values[i]; !flow_runner_tests(run.runner, value))
            console_print(run.console, "  value {}: no rule tests {}:{} {}\n", i + 1,
                          value.protocol, value.attribute,
                          value.way == FLOW_WAY_STC ? "stc" : "cts");
}

void answer_text(match_run_t &run, const flow_values_t &values, const match_answer_t *answer,
                 const flow_error_t &error)
{
    if (answer == nullptr) {
        console_error(run.console, "flow {}: {}", run.flows, error_text(error));
        return;
    }
    console_print(run.console, "{}\n", flow_write(values));
    match_print(run.console, run.loadable, *answer);
    if (run.options.near)
        print_untested(run, values);
}

void match_flow(match_run_t &run, std::string_view line, bool filter)
{
    flow_error_t error;
    flow_values_t values;
    match_answer_t answer;
    const bool good = run_flow(run, line, values, error);
    if (good)
        answer = match_collect(run.loadable, run.runner, run.options.near);
    run.matched += answer.rules.empty() ? 0 : 1;
    run.refused += good ? 0 : 1;
    const match_answer_t *shown = good ? &answer : nullptr;
    if (run.console.format == OUTPUT_JSON)
        answer_json(run, line, shown, error);
    else if (filter)
        answer_line(run, shown, error);
    else
        answer_text(run, values, shown, error);
}

/// Answers the lines of standard input. Returns false after a message when it cannot be read.
bool match_input(match_run_t &run)
{
    std::cin.exceptions(std::ios::badbit); // memory that runs out for a line is told
    for (std::string line; std::getline(std::cin, line);)
        match_flow(run, line, true);
    if (std::ferror(stdin) != 0) {
        console_error(run.console, "standard input: {}", std::strerror(errno));
        return false;
    }
    return true;
}

void print_match_summary(match_run_t &run)
{
    if (run.console.format != OUTPUT_JSON)
        return;
    json_document_t document = json_document("match");
    document["summary"] = {{"flows", run.flows}, {"matched", run.matched}, {"errors", run.refused}};
    console_record(run.console, document);
}

exit_status_t match_run(const match_options_t &options, console_t &console)
{
    match_run_t run = {options, console};
    if (!loadable_open(console, options.pdb, run.loadable))
        return EXIT_STATUS_FILE;
    loadable_prepare(run.loadable);
    flow_runner_open(run.loadable.db.get(), PDATA_FLOW_EXPLAIN, run.runner);
    for (const std::string &flow : options.flows)
        if (flow != "-")
            match_flow(run, flow, false);
        else if (!match_input(run))
            return EXIT_STATUS_FILE;
    print_match_summary(run);
    return run.refused == 0 ? EXIT_STATUS_FINE : EXIT_STATUS_USAGE;
}

} // namespace

command_run_t match_declare(CLI::App &app)
{
    auto options = std::make_shared<match_options_t>();
    app.add_option("LOADABLE", options->pdb, "A loadable pdb")->required();
    app.add_option("FLOW", options->flows,
                   "Flows as lines: protocol:attribute cts|stc value; ...\n"
                   "- reads flows from standard input, one a line, and answers each at once")
        ->required();
    app.add_flag("--near", options->near,
                 "Also the rules that miss one thing, values whose check failed, and values that\n"
                 "no rule tests; of flows from standard input only with --json");
    return [options](console_t &console) { return match_run(*options, console); };
}
