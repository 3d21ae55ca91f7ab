#include <algorithm>
#include <map>
#include <set>

#include "classify.h"
#include "commands.h"
#include "escape.h"
#include "flow_input.h"
#include "loadable.h"

namespace
{

struct classify_options_t {
    std::string pdb;
    flow_input_options_t input;
    std::string only;
    std::vector<std::string> fail_on;
    bool summary = false;
};

/// Flows of one protocol.
struct protocol_total_t {
    uint64_t flows = 0;
    uint64_t packets = 0;
    uint64_t bytes = 0;
};

/// A run. The flows of the empty name are those that no rule fires for.
struct classify_run_t {
    const classify_options_t &options;
    console_t &console;
    loadable_t loadable = {};
    classifier_t classifier = {};
    std::map<std::string, protocol_total_t, std::less<>> totals = {};
    bool failed = false; ///< a flow was met that --fail-on names
};

void print_flow_json(classify_run_t &run, const flow_record_t &record,
                     const classified_t &classified, std::string_view protocol)
{
    json_document_t document = json_document("classify");
    flow_fill(document, record);
    document["path"] = json_texts(classified.path);
    document["protocol"] = nullptr;
    document["rule"] = nullptr;
    document["basis"] = nullptr;
    if (classified.rule != 0) {
        document["protocol"] = json_text(protocol);
        document["rule"] = classified.rule;
        document["basis"] = classify_basis_name(classified.basis);
    }
    console_record(run.console, document);
}

std::string classified_path(const classified_t &classified)
{
    std::string text;
    for (const std::string_view name : classified.path)
        text += '/' + escape_terminal(name);
    return text.empty() ? "-" : text;
}

/// Prints a flow as words that stand apart by tabs; "-" is a word that there is none for.
void print_flow_text(classify_run_t &run, const flow_record_t &record,
                     const classified_t &classified, std::string_view protocol)
{
    const bool known = classified.rule != 0;
    for (const size_t side : {size_t{record.client}, size_t{1} - record.client}) {
        const flow_end_t &end = record.ends[side];
        console_print(run.console, "{}\t{}\t", flow_end_text(end),
                      record.has_ports ? std::to_string(end.port) : "-");
    }
    console_print(run.console, "{}\t{}\t{}\t{}\t{}\n", ip_protocol_name(record.protocol),
                  classified_path(classified), known ? escape_terminal(protocol) : "-",
                  known ? std::to_string(classified.rule) : "-",
                  known ? classify_basis_name(classified.basis) : "-");
}

void count(classify_run_t &run, const flow_record_t &record, std::string_view protocol)
{
    auto total = run.totals.find(protocol);
    if (total == run.totals.end())
        total = run.totals.emplace(protocol, protocol_total_t()).first;
    ++total->second.flows;
    total->second.packets += record.packets[0] + record.packets[1];
    total->second.bytes += record.bytes[0] + record.bytes[1];
}

void classify_flow(classify_run_t &run, const flow_record_t &record)
{
    const classified_t classified = classify(run.classifier, record);
    const bool known = classified.rule != 0;
    const std::string_view protocol =
        known ? loadable_rule_protocol(run.loadable, classified.rule) : classified.protocol;
    count(run, record, protocol);
    const std::vector<std::string> &fail_on = run.options.fail_on;
    run.failed |= std::ranges::find(fail_on, known ? protocol : "unknown") != fail_on.end();
    if (run.options.summary ||
        (!run.options.only.empty() && known != (run.options.only == "known")))
        return;
    if (run.console.format == OUTPUT_JSON)
        print_flow_json(run, record, classified, protocol);
    else
        print_flow_text(run, record, classified, protocol);
}

double share(uint64_t part, uint64_t whole)
{
    return whole == 0 ? 0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}

void print_totals_json(classify_run_t &run, const flow_totals_t &totals)
{
    json_document_t document = json_document("classify");
    document["summary"] = flow_totals_document(totals);
    document["summary"]["protocols"] = json_document_t::array();
    for (const auto &[name, total] : run.totals)
        if (!name.empty())
            document["summary"]["protocols"].push_back({{"protocol", json_text(name)},
                                                        {"flows", total.flows},
                                                        {"packets", total.packets},
                                                        {"bytes", total.bytes}});
    const protocol_total_t &unknown = run.totals[""];
    document["summary"]["unknown"] = {
        {"flows", unknown.flows}, {"packets", unknown.packets}, {"bytes", unknown.bytes}};
    console_record(run.console, document);
}

void print_summary_text(classify_run_t &run, const flow_totals_t &totals)
{
    const auto print = [&run](std::string_view name, const protocol_total_t &total) {
        console_print(run.console, "{:24} {:>10} {:>12} {:>16}\n", name, total.flows, total.packets,
                      total.bytes);
    };
    console_print(run.console, "{:24} {:>10} {:>12} {:>16}\n", "protocol", "flows", "packets",
                  "bytes");
    for (const auto &[name, total] : run.totals)
        if (!name.empty())
            print(escape_terminal(name), total);
    const protocol_total_t &unknown = run.totals[""];
    print("-", unknown);
    console_print(run.console,
                  "unknown: {:.1f} % of flows, {:.1f} % of packets, {:.1f} % of bytes\n",
                  share(unknown.flows, totals.flows), share(unknown.packets, totals.packets),
                  share(unknown.bytes, totals.bytes));
}

/// Tells whether every protocol of --fail-on can be met, and names those that no rule is for: what
/// is never met would never fail.
bool can_fail(const classify_run_t &run)
{
    pdata_db_info info = {};
    pdata_db_describe(run.loadable.db.get(), &info);
    std::set<std::string_view> known = {"unknown"};
    for (pdata_rule rule = 1; rule <= info.nr_rule; ++rule)
        known.insert(loadable_rule_protocol(run.loadable, rule));
    bool all = true;
    for (const std::string &name : run.options.fail_on)
        if (!known.contains(name)) {
            console_error(run.console, "--fail-on: {} has no rule for \"{}\"",
                          run.loadable.file.name, name);
            all = false;
        }
    return all;
}

exit_status_t classify_run(const classify_options_t &options, console_t &console)
{
    flow_totals_t totals;
    classify_run_t run = {options, console};
    if (!loadable_open(console, options.pdb, run.loadable))
        return EXIT_STATUS_FILE;
    loadable_prepare(run.loadable);
    if (!can_fail(run))
        return EXIT_STATUS_USAGE;
    classifier_open(run.loadable.db.get(), options.input.initiator, run.classifier);
    flow_input_options_t input = options.input;
    input.payload = classify_payload_bytes(run.loadable.db.get());
    const exit_status_t status = flow_input_run(
        input, console, totals, [&run](flow_record_t &record) { classify_flow(run, record); });
    if (console.format == OUTPUT_JSON)
        print_totals_json(run, totals);
    else if (options.summary)
        print_summary_text(run, totals);
    return status == EXIT_STATUS_FINE && run.failed ? EXIT_STATUS_FINDINGS : status;
}

} // namespace

command_run_t classify_declare(CLI::App &app)
{
    auto options = std::make_shared<classify_options_t>();
    app.add_option("LOADABLE", options->pdb, "A loadable pdb")->required();
    flow_input_declare(app, options->input);
    app.add_option("--only", options->only, "Only flows that a rule fires for, or only the others")
        ->check(CLI::IsMember({"known", "unknown"}));
    app.add_flag("--summary", options->summary, "Totals by protocol in place of the flows");
    app.add_option("--fail-on", options->fail_on,
                   "End with status 1 if a flow is of this protocol, or unknown; may be repeated")
        ->type_name("unknown|PROTOCOL")
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    return [options](console_t &console) { return classify_run(*options, console); };
}
