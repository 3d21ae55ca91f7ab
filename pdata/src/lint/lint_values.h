/// Values, judged by the builders that make matchers of them.
///
/// Each value is handed to a matcher of its attribute as the compiler sets it up. What the builders
/// refuse is a finding; what a matcher keeps of earlier values does not matter, and it is begun
/// anew before a limit of many values could.
#pragma once

#include <unordered_map>

#include "lint_look.h"
#include "matcher_builder.h"

/// The matchers, by the properties of their attributes.
struct lint_matchers_t {
    std::unordered_map<const pdb_attr_properties_t *, matcher_build> builds;
};

/// Judges the value of a look, whose attribute is known, and says why it is refused. Returns how
/// many entries of the second level a matcher has for it.
uint32_t lint_judge_value(lint_matchers_t &matchers, const lint_look_t &look);
