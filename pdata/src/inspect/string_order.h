/// The order of the strings of stored descriptions.
#pragma once

#include "view_parts.h"

/// Tells whether the strings of a group stand in the order in which its records refer to them
/// first, and no others are there. A compile stores them so; a merge and a removal leave them as
/// they stood. Linear time.
[[nodiscard]] bool strings_follow_records(const view_group_t &group);
