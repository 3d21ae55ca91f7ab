/// Numbers and addresses of a list with commas, as ranges, and what is lost where they overlap.
///
/// The parts of a list are one item. The engines close an item at the first end that they meet, so
/// that what a wider range has behind the end of an inner one is not found.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "pdb_attr_properties.h"

/// A number or an address of any width.
using value_point_t = unsigned __int128;

/// One part of a list: what is written, and the range that the compiler reads.
struct value_range_t {
    std::string_view text; ///< empty for a range that nobody wrote
    value_point_t low = 0;
    value_point_t high = 0;
};

/// Returns the next part of a list with commas and takes it from the front of `rest`; empty at the
/// end.
std::string_view value_next_part(std::string_view &rest);

/// Returns the parts of a value that read, in their order. The value must outlive them.
std::vector<value_range_t> value_ranges(const pdb_attr_properties_t &properties,
                                        std::string_view value);

/// Returns the ranges that a list covers and its matcher does not, ascending: behind the end of
/// one range, inside of another one. A number alone neither opens nor closes one. Time of sorting.
std::vector<value_range_t> value_ranges_lost(const std::vector<value_range_t> &parts);

/// Returns a range as it is written for an attribute of that kind, "80-90".
std::string value_range_text(matcher_type_t type, value_point_t low, value_point_t high);
