/// A baseline: findings that are known, as `pdata check --json` printed them.
#pragma once

#include "check_print.h"

/// Reads the baseline at `path`, marks the findings that it has as hidden, each as often as it has
/// them, and names those of it that were not found. Returns false after a message for a file that
/// cannot be read, or is none.
[[nodiscard]] bool check_baseline(console_t &console, const std::string &path,
                                  check_shown_t &shown);
