#include "test_capture.h"

#include "classify.h"

namespace
{

/// Flows that are looked at for the nearest miss.
constexpr size_t others_max = 16;
/// Bytes of a value that a report shows.
constexpr size_t shown_max = 64;

void take_flow(capture_case_t &run, const flow_record_t &record)
{
    flow_refusal_t refusal;
    flow_values_t values = flow_record_values(record, false);
    (void)flow_runner_run(run.runner, values, refusal); // what is refused leads to nothing
    const match_answer_t answer = match_collect(run.loadable, run.runner, false);
    std::string best = "-";
    for (const fired_rule_t &rule : answer.rules) {
        std::string protocol(loadable_rule_protocol(run.loadable, rule.rule));
        run.fired.insert(rule.rule);
        run.flows.fired.insert(protocol);
        if (&rule == &answer.rules.front())
            best = std::move(protocol);
    }
    if (!suite_capture_admits(run.one, best) && run.others.size() < others_max)
        run.others.push_back(std::move(values));
    ++run.flows.best[std::move(best)];
}

/// Names what a flow misses to be something of which there are too few.
std::string missing_of(const capture_case_t &run, const flow_values_t &values)
{
    flow_refusal_t refusal;
    (void)flow_runner_run(run.runner, values, refusal);
    const match_answer_t answer = match_collect(run.loadable, run.runner, true);
    const auto lacks = [&run](std::string_view protocol) {
        return suite_capture_lacks(run.one, run.flows, protocol);
    };
    return match_nearest(run.loadable, answer, lacks);
}

/// Returns a flow as a line, its long values cut.
std::string shown_flow(flow_values_t values)
{
    for (flow_attr_t &value : values)
        if (value.bytes.size() > shown_max) {
            value.bytes.resize(shown_max);
            value.incomplete = true;
        }
    return flow_write(values);
}

} // namespace

exit_status_t capture_case_run(capture_case_t &run, const std::string &path, console_t &console)
{
    flow_totals_t totals;
    flow_input_options_t options;
    options.inputs = {path};
    options.payload = classify_payload_bytes(run.loadable.db.get());
    return flow_input_run(options, console, totals,
                          [&run](flow_record_t &record) { take_flow(run, record); });
}

void capture_case_explain(const capture_case_t &run, test_outcome_t &outcome)
{
    for (const flow_values_t &values : run.others) {
        std::string nearest = missing_of(run, values);
        if (!outcome.flow.empty() && nearest.empty())
            continue;
        outcome.flow = shown_flow(values);
        outcome.nearest = std::move(nearest);
        if (!outcome.nearest.empty())
            return;
    }
}
