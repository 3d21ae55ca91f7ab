/// The matchers section of a loadable pdb: one matcher per protocol, attribute and direction.
///
///     view_cursor_t cursor = view_walk(matchers.list);
///     for (view_record_t record; view_next(cursor, record);) {
///         view_matcher_t matcher;
///         if (!view_matcher_open(record, matchers.names, matcher, error)) ...
///
/// Opening checks records and lengths. After view_matcher_check, no accessor of the matcher or of
/// its engines leaves the file, and every private id has its entry in the second level.
#pragma once

#include <string_view>

#include "csa_types.h"
#include "view_number.h"
#include "view_pattern.h"
#include "view_pool.h"

/// A view of the section; the file must outlive it.
struct view_matchers_t {
    view_area_t list; ///< the matchers' records, the newest first
    view_pool_t names;
};

/// A view of one matcher; the file must outlive it.
struct view_matcher_t {
    size_t offset = 0; ///< of its record, in bytes from the start of the file
    std::string_view protocol;
    std::string_view attribute;
    uint32_t way = ATTR_WAY_UNKNOWN; ///< ATTR_WAY_CTS or ATTR_WAY_STC
    uint32_t type = MATCHER_TYPE_UNKNOWN;
    uint32_t min_data = 0;    ///< bytes to be seen before the matcher is asked, as its maker wrote
    view_number_t number;     ///< number family
    view_pattern_t pattern;   ///< stream family
    view_area_t second_level; ///< stream family: an entry of four words for each private index
    view_pool_t values;       ///< stream family: complete values that entries refer to
};

/// One entry of the second level, its flag taken apart.
struct view_entry_t {
    uint32_t pub_id = 0;      ///< the item that the value stands for
    uint32_t value = 0;       ///< offset of the complete value, where `has_value`
    uint32_t kind = 0;        ///< matcher_map_kind_t
    uint32_t permutation = 0; ///< from 1; 0 for an entry that is no piece of several
    uint32_t position = 0;    ///< of the piece in its permutation, from 1; cut to 8 bits
    uint32_t nb_pieces = 0;   ///< of the permutation; cut to 8 bits, so it may be below `position`
    uint32_t re_id = 0;       ///< not used
    bool has_value = false;   ///< the entry refers to the complete value
};

/// Opens the value of a matchers record.
[[nodiscard]] bool view_matchers_open(const view_area_t &area, view_matchers_t &view,
                                      view_error_t &error);

/// Opens a matcher, a record of the list, whose names are in `names`.
[[nodiscard]] bool view_matcher_open(const view_record_t &record, const view_pool_t &names,
                                     view_matcher_t &view, view_error_t &error);

/// Checks the engines, the second level and the values of a matcher. Linear time; memory of 1 bit
/// for 4 bytes of an item table, or for 2 bytes of values.
[[nodiscard]] bool view_matcher_check(const view_matcher_t &view, view_error_t &error);

/// Returns how many entries the second level has.
inline uint32_t view_matcher_nr_private(const view_matcher_t &view)
{
    return static_cast<uint32_t>(view.second_level.size / (MATCHER_MAP_WORDS * 4));
}

/// Returns the entry of a private index, below their number.
inline view_entry_t view_matcher_entry(const view_matcher_t &view, uint32_t index)
{
    const uint8_t *at = view.second_level.data + size_t{index} * MATCHER_MAP_WORDS * 4;
    const uint32_t flag = csa_get_be32(at + 8);
    view_entry_t entry;
    entry.pub_id = csa_get_be32(at);
    entry.value = csa_get_be32(at + 4);
    entry.kind = flag & 0xFF;
    entry.permutation = flag >> 8 & 0xFF;
    entry.position = flag >> 16 & 0xFF;
    entry.nb_pieces = flag >> 24;
    entry.re_id = csa_get_be32(at + 12);
    // An entry that is neither anchored nor a piece of several refers to the complete value.
    entry.has_value = flag == MATCHER_MAP_REGULAR || flag == MATCHER_MAP_CATCH_ALL;
    return entry;
}

/// Returns the complete value of an entry that has one.
inline std::string_view view_matcher_value(const view_matcher_t &view, const view_entry_t &entry)
{
    std::string_view value;
    (void)view_pool_get(view.values, entry.value, value);
    return value;
}
