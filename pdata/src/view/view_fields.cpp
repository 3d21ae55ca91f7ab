#include "view_fields.h"

#include <array>

namespace
{

/// Where the fields of each record kind stand in the table.
struct field_range_t {
    uint16_t first = 0;
    uint16_t count = 0;
};

constexpr std::array<field_range_t, FORMAT_KIND_NONE> make_ranges()
{
    std::array<field_range_t, FORMAT_KIND_NONE> ranges;
    for (uint16_t i = 0; i < FIELD_NONE; ++i) {
        field_range_t &range = ranges[format_fields[i].record];
        if (range.count++ == 0)
            range.first = i;
    }
    return ranges;
}

constexpr std::array<field_range_t, FORMAT_KIND_NONE> ranges = make_ranges();

} // namespace

std::span<const format_field_t> view_fields_of(format_kind_t kind)
{
    return {format_fields + ranges[kind].first, ranges[kind].count};
}
