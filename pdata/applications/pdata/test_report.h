/// What became of the cases of a test run, and the forms in which it is reported.
#pragma once

#include "flow_suite.h"
#include "match_answer.h"

/// The outcome of one case.
struct test_outcome_t {
    const suite_case_t *one = nullptr;
    std::string file;
    bool passed = false;
    std::vector<std::string> got; ///< protocols of the rules that fire, the best first; of a
                                  ///< capture words as in "dns*2"
    std::string failure;          ///< a value that could not be run, else empty
    std::string nearest;          ///< of a failure: what the expected protocol's rule misses
    std::string flow;             ///< of a capture that fails: a flow that is none of the expected
};

/// A report under way: the console, and what was counted.
struct test_report_t {
    console_t &console;
    size_t total = 0; ///< cases to come, known from the start
    size_t passed = 0;
    size_t failed = 0;
};

/// Prints what stands in front of the first case.
void test_report_begin(test_report_t &report);

/// Counts and prints one case.
void test_report_case(test_report_t &report, const test_outcome_t &outcome);

/// How much of a pdb the cases reach.
struct test_coverage_t {
    size_t rules = 0;
    size_t fired = 0;
    std::vector<std::string> missed; ///< names of the rules that no case fires
};

/// Prints what stands behind the last case; `coverage` may be null.
void test_report_end(test_report_t &report, const test_coverage_t *coverage);
