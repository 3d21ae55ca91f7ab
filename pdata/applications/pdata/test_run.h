/// Cases of suites, run through a loadable pdb.
#pragma once

#include "test_capture.h"

/// A pdb that cases are run through, and the rules that fired so far.
struct test_runner_t {
    loadable_t loadable;
    flow_runner_t flows;
    std::set<pdata_rule> fired;
};

/// What a case came to.
struct test_done_t {
    test_outcome_t outcome;
    suite_flows_t flows;                     ///< of a case about a capture
    exit_status_t status = EXIT_STATUS_FINE; ///< of a capture that cannot be read
};

/// Reads the suite at `path`. Returns false after a message.
[[nodiscard]] bool test_suite_open(console_t &console, const std::string &path, suite_t &suite);

/// Gets a runner ready whose `loadable` is open. Throws std::bad_alloc when memory runs out.
void test_runner_start(test_runner_t &runner);

/// Returns the names of the rules that no case fired so far, by their ids.
std::vector<std::string> test_missed_rules(const test_runner_t &runner);

/// Runs a case of the suite at `path`, and tells what the rule of the expected protocol misses.
test_done_t test_case_run(test_runner_t &runner, const suite_t &suite, const suite_case_t &one,
                          const std::string &path, console_t &console);
