/// What a check found, for people.
#pragma once

#include "console.h"
#include "finding_policy.h"
#include "lint_check.h"

/// How many findings were shown.
struct check_count_t {
    size_t errors = 0;
    size_t warnings = 0;
    size_t notes = 0;
};

/// Counts a finding.
void check_count(check_count_t &counts, finding_level_t level);

/// Findings as they are shown: those that are not off and not in the baseline.
struct check_shown_t {
    const lint_result_t &result;
    const finding_policy_t &policy;
    std::vector<bool> hidden = {};       ///< by finding: the baseline has it; empty: none is
    std::vector<std::string> stale = {}; ///< what the baseline has and was not found, for people
};

/// Hands each shown finding to `take`, with its index and its level, and counts them.
template <typename Take>
check_count_t check_each(const check_shown_t &shown, const Take &take)
{
    check_count_t counts;
    for (size_t i = 0; i < shown.result.findings.size(); ++i) {
        const finding_level_t level = shown.policy.levels[shown.result.findings[i].id];
        if (level == FINDING_LEVEL_OFF || (!shown.hidden.empty() && shown.hidden[i]))
            continue;
        check_count(counts, level);
        take(i, level);
    }
    return counts;
}

/// Prints the findings, and how many they are.
check_count_t check_print(console_t &console, const check_shown_t &shown);
