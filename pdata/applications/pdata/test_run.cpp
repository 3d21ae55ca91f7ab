#include "test_run.h"

namespace
{

void run_test_flow(test_runner_t &runner, const suite_case_t &one, test_outcome_t &outcome)
{
    flow_refusal_t refusal;
    if (!flow_runner_run(runner.flows, one.values, refusal)) {
        outcome.failure = flow_refusal_text(one.values, refusal);
        return;
    }
    const match_answer_t answer = match_collect(runner.loadable, runner.flows, true);
    for (const fired_rule_t &rule : answer.rules) {
        runner.fired.insert(rule.rule);
        outcome.got.emplace_back(loadable_rule_protocol(runner.loadable, rule.rule));
    }
    outcome.passed = suite_case_holds(one, outcome.got);
    if (!outcome.passed && !one.expected.empty())
        outcome.nearest = match_nearest(runner.loadable, answer, [&one](std::string_view protocol) {
            return protocol == one.expected.front();
        });
}

void run_capture(test_runner_t &runner, const suite_case_t &one, const std::string &suite_path,
                 console_t &console, test_done_t &done)
{
    capture_case_t capture = {one, runner.loadable, runner.flows, runner.fired};
    test_outcome_t &outcome = done.outcome;
    const std::string path = suite_capture_path(suite_path, one);
    done.status = capture_case_run(capture, path, console);
    outcome.got = suite_flows_words(capture.flows);
    if (done.status != EXIT_STATUS_FINE)
        outcome.failure = path + " cannot be read";
    else if (capture.flows.best.empty())
        outcome.failure = path + " has no flows";
    else
        outcome.passed = suite_capture_holds(one, capture.flows);
    if (!outcome.passed && outcome.failure.empty())
        capture_case_explain(capture, outcome);
    done.flows = std::move(capture.flows);
}

} // namespace

bool test_suite_open(console_t &console, const std::string &path, suite_t &suite)
{
    input_file_t file;
    if (!open_file(console, path, file))
        return false;
    suite_error_t error;
    if (suite_read(file.name, input_file_text(file), suite, error))
        return true;
    console_error(console, "{}:{}:{}: {}", file.name, error.line, error.column, error.text);
    return false;
}

void test_runner_start(test_runner_t &runner)
{
    loadable_prepare(runner.loadable);
    flow_runner_open(runner.loadable.db.get(), PDATA_FLOW_EXPLAIN, runner.flows);
}

std::vector<std::string> test_missed_rules(const test_runner_t &runner)
{
    pdata_db_info info = {};
    pdata_db_describe(runner.loadable.db.get(), &info);
    std::vector<std::string> missed;
    for (pdata_rule rule = 1; rule <= info.nr_rule; ++rule)
        if (!runner.fired.contains(rule))
            missed.push_back(match_rule_name(runner.loadable, rule));
    return missed;
}

test_done_t test_case_run(test_runner_t &runner, const suite_t &suite, const suite_case_t &one,
                          const std::string &path, console_t &console)
{
    test_done_t done = {{&one, suite.file, false, {}, {}, {}, {}}, {}};
    if (one.capture.empty())
        run_test_flow(runner, one, done.outcome);
    else
        run_capture(runner, one, path, console, done);
    return done;
}
