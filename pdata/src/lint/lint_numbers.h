/// Numbers and addresses of a list with commas, as intervals.
#pragma once

#include <string>
#include <vector>

#include "lint_look.h"

/// A number or an address of any width.
using lint_point_t = unsigned __int128;

/// One part of a list: what is written, and the interval that the compiler reads.
struct lint_interval_t {
    std::string_view text;
    lint_point_t low = 0;
    lint_point_t high = 0;
};

/// Returns the parts of a value that read, in their order. The value must outlive them.
std::vector<lint_interval_t> lint_intervals(const pdb_attr_properties_t &properties,
                                            std::string_view value);

/// Returns an interval as it is written for an attribute of that kind, "80-90".
std::string lint_interval_text(matcher_type_t type, lint_point_t low, lint_point_t high);
