/// Numbers and addresses: what a list of ranges describes, and where it may be lost.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "matcher_type.h"
#include "transformer.h"

/// A number or address of any width.
struct prove_number_t {
    uint64_t high = 0; ///< the upper half of an IPv6 address, else 0
    uint64_t low = 0;

    auto operator<=>(const prove_number_t &) const = default;
};

/// Numbers from `from` to `to`.
struct prove_range_t {
    prove_number_t from;
    prove_number_t to;

    auto operator<=>(const prove_range_t &) const = default;
};

/// Reads the members of a list with commas; a text of commas alone has none. Returns false for one
/// that does not read, or runs backwards.
[[nodiscard]] bool prove_ranges_read(std::string_view text, transformer_fct read,
                                     matcher_type_t type, std::vector<prove_range_t> &ranges);

/// Cuts what ranges cover into parts that no range begins or ends inside of, ascending; the end of
/// a range is a part of its own.
std::vector<prove_range_t> prove_ranges_cut(const std::vector<prove_range_t> &ranges);

/// Returns the number halfway between the ends of a range.
prove_number_t prove_range_middle(const prove_range_t &range);

/// Returns the number behind `number`; that behind the greatest is 0.
prove_number_t prove_number_next(prove_number_t number);

/// Returns a range as an author would write it: "21", "21-29", "192.0.2.1-192.0.2.9",
/// "2001:db8::1"; IPv6 addresses, which have no ranges, with " to " between them.
std::string prove_range_text(const prove_range_t &range, matcher_type_t type);
