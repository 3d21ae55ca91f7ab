/// What the descriptions of a pdb hold, summed up.
#pragma once

#include <map>
#include <string_view>
#include <tuple>

#include "view_parts.h"

/// Protocol, attribute and direction (csa_attr_way_t) of a matcher. The names point into the file.
using view_matcher_name_t = std::tuple<std::string_view, std::string_view, uint32_t>;

struct view_totals_t {
    uint32_t protocols = 0;
    uint32_t rules = 0;
    uint32_t values = 0;
    uint32_t strings = 0;                              ///< of all groups
    std::map<view_matcher_name_t, uint32_t> values_of; ///< by the matcher that recognises them
};

/// Counts what the groups in the value of a root record hold. Returns false with `error` at the
/// first part that cannot be read; what was counted before it stays.
[[nodiscard]] bool view_totals_count(const view_area_t &root, view_totals_t &totals,
                                     view_error_t &error);
