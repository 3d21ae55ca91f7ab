/// Cases about captures: their flows, run and held against what is expected.
#pragma once

#include <set>

#include "flow_input.h"
#include "suite_capture.h"
#include "test_report.h"

/// A capture's case under way.
struct capture_case_t {
    const suite_case_t &one;
    const loadable_t &loadable;
    flow_runner_t &runner;
    std::set<pdata_rule> &fired; ///< rules of the whole run that fired
    suite_flows_t flows = {};
    std::vector<flow_values_t> others = {}; ///< some of the flows that are none of what is expected
};

/// Reads the capture at `path` and runs its flows. Returns EXIT_STATUS_FILE, after a message, when
/// it cannot be read to its end.
[[nodiscard]] exit_status_t capture_case_run(capture_case_t &run, const std::string &path,
                                             console_t &console);

/// Says in the outcome of a case that does not hold which flow is none of what is expected, and
/// what it misses to be something of which there are too few.
void capture_case_explain(const capture_case_t &run, test_outcome_t &outcome);
