/// The small parts of a pdb: matcher aliases, tag tables, protocol groups.
///
/// Views point into the bytes of the file, which must outlive them.
#pragma once

#include "view_pool.h"

/// One side of a matcher alias. The names are texts of the main pool.
struct view_alias_side_t {
    uint32_t protocol = 0;
    uint32_t attribute = 0;
    uint32_t way = 0; ///< csa_attr_way_t, as stored
};

/// A matcher alias.
struct view_alias_t {
    view_alias_side_t alias;
    view_alias_side_t reference;
};

/// Returns how many whole pairs the value of an alias record has room for: its padding is less
/// than a pair.
uint32_t view_alias_count(const view_area_t &value);

/// Returns pair `index`, below the count.
view_alias_t view_alias_at(const view_area_t &value, uint32_t index);

/// One row of a tag table.
struct view_tag_t {
    uint32_t name = 0; ///< text of the main pool
    uint32_t number = 0;
};

/// Returns how many tags the value of a tag table has.
uint32_t view_tag_count(const view_area_t &value);

/// Returns tag `index`, below the count. The table of a pdb that was loaded on a little-endian
/// host stands with its least significant byte first.
view_tag_t view_tag_at(const view_area_t &value, uint32_t index, bool least_first = false);

/// A protocol group.
struct view_group_t {
    view_area_t protocols; ///< records of FORMAT_LEVEL_PROTOS
    view_pool_t pool;      ///< what its descriptions name
};

/// Reads a protocol group from the value of its record. Returns false with `error` when its
/// protocols or its strings are missing.
[[nodiscard]] bool view_group_open(const view_area_t &value, view_group_t &group,
                                   view_error_t &error);
