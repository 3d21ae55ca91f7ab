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

/// Prints the findings that the policy shows, and how many they are.
check_count_t check_print(console_t &console, const lint_result_t &result,
                          const finding_policy_t &policy);
