/// What a check found, for programs.
#pragma once

#include "check_print.h"

/// Prints one object a finding and a summary last.
check_count_t check_print_json(console_t &console, const check_shown_t &shown);

/// Prints one SARIF 2.1.0 log.
check_count_t check_print_sarif(console_t &console, const check_shown_t &shown);
