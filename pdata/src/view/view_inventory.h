/// What is in a pdb: its parts, its descriptions summed up and, of a loadable one, its matchers.
///
/// Reads records and headers through the cursor alone, so that a damaged file yields what can be
/// read of it and an error that names the place.
#pragma once

#include <vector>

#include "view_totals.h"

/// A root record. `name` lives as long as the program.
struct view_inventory_part_t {
    uint32_t type = 0;
    const char *name = "unknown";
    size_t offset = 0; ///< in bytes from the start of the file
    size_t size = 0;   ///< bytes, its header included
};

/// A piece of a matcher: an engine or a table. `name` lives as long as the program.
struct view_inventory_piece_t {
    const char *name;
    size_t size = 0; ///< bytes, without a header
};

/// A matcher. Its names point into the file.
struct view_inventory_matcher_t {
    std::string_view protocol;
    std::string_view attribute;
    uint32_t way = 0;    ///< csa_attr_way_t
    uint32_t values = 0; ///< of the descriptions that are filed under it
    size_t offset = 0;   ///< in bytes from the start of the file
    size_t size = 0;     ///< bytes of its data
    std::vector<view_inventory_piece_t> pieces;
};

/// What is in a pdb.
struct view_inventory_t {
    std::vector<view_inventory_part_t> parts;
    bool has_descriptions = false;
    view_totals_t totals;
    bool has_main_strings = false;
    uint32_t main_strings = 0;
    bool has_matchers = false;
    std::vector<view_inventory_matcher_t> matchers;
    bool has_rules = false;
    uint32_t rules = 0;
    size_t slots = 0; ///< items of the rule engine, the unused one of id 0 included
};

/// Takes stock of a pdb. Returns false with `error` at the first part that cannot be read;
/// `inventory` then holds what stood in front of it. Throws std::bad_alloc when memory runs out.
[[nodiscard]] bool view_inventory_take(std::span<const uint8_t> pdb, view_inventory_t &inventory,
                                       view_error_t &error);
