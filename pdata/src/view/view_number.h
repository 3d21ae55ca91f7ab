/// Serialized number matchers, used where they lie: mappers (8 and 16 bits) and intervals (32 and
/// 64 bits, addresses). See number_tlv.h for the format.
///
/// A value is a pair of 64-bit halves, so that all widths compare alike: `high` is 0 but for the
/// upper half of an IPv6 address.
#pragma once

#include "view_items.h"

/// A value to look up.
struct view_value_t {
    uint64_t high = 0;
    uint64_t low = 0;
};

/// A view of a number matcher; the file must outlive it.
struct view_number_t {
    uint32_t type = MATCHER_TYPE_UNKNOWN;
    view_area_t table;            ///< mapper: per value the 16-bit index of its record, 0 for none
    uint32_t data_size = 0;       ///< intervals: bytes of a value, 4, 8 or 16; 0 for a mapper
    uint32_t nr = 0;              ///< endpoints
    const uint8_t *msb = nullptr; ///< INTERVAL_MSB_COUNT flags, by most significant byte
    view_area_t endpoints;        ///< values, ascending in a sound file
    view_area_t offsets;          ///< per endpoint the index of its record
    view_items_t items;
};

/// Opens the value of a number record.
[[nodiscard]] bool view_number_open(const view_area_t &area, view_number_t &view,
                                    view_error_t &error);

/// Checks that every value or endpoint leads to a record within the item table, and that no item
/// is private. Linear time.
[[nodiscard]] bool view_number_check(const view_number_t &view, view_error_t &error);

/// Returns endpoint `index` of an interval matcher, below its number.
inline view_value_t view_number_endpoint(const view_number_t &view, uint32_t index)
{
    const uint8_t *at = view.endpoints.data + size_t{index} * view.data_size;
    if (view.data_size == 4)
        return {0, csa_get_be32(at)};
    if (view.data_size == 8) // the low word comes first
        return {0, uint64_t{csa_get_be32(at + 4)} << 32 | csa_get_be32(at)};
    return {uint64_t{csa_get_be32(at)} << 32 | csa_get_be32(at + 4),
            uint64_t{csa_get_be32(at + 8)} << 32 | csa_get_be32(at + 12)};
}

/// Returns the record of endpoint `index`.
inline view_item_record_t view_number_items(const view_number_t &view, uint32_t index)
{
    return view_items_at(view.items, view_word(view.offsets, index));
}

/// Returns the most significant byte of a value, by which intervals have their flags.
inline uint8_t view_number_top_byte(const view_number_t &view, const view_value_t &value)
{
    return static_cast<uint8_t>(view.data_size == 16 ? value.high >> 56
                                                     : value.low >> (view.data_size * 8 - 8));
}

/// Returns the items of `value`; none for a value that the matcher's width cannot hold. Time is
/// constant in a mapper, logarithmic in the number of endpoints otherwise.
[[nodiscard]] view_item_record_t view_number_find(const view_number_t &view,
                                                  const view_value_t &value);
