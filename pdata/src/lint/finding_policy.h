/// Which findings are shown, and how much they matter to whoever asks.
#pragma once

#include <array>

#include "finding.h"

/// The level of each id. What is off is not shown; notes are off until they are asked for.
struct finding_policy_t {
    std::array<finding_level_t, FINDING_NR> levels;
};

/// Returns the levels of diagnostics.def.
finding_policy_t finding_policy();

/// Takes a change in the form "ID=error", "ID=warning", "ID=note" or "ID=off". Returns an empty
/// text, or what is wrong with it.
[[nodiscard]] std::string finding_policy_change(finding_policy_t &policy, std::string_view change);
