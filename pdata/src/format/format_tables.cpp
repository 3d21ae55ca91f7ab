#include "format_tables.h"

#include <algorithm>
#include <iterator>

namespace
{

constexpr format_level_row_t levels[] = {
#define FORMAT_LEVEL(level, enumeration, headers, what)                                            \
    {FORMAT_LEVEL_##level, FORMAT_HEADERS_##headers, #level, what},
#include "format_records.inc"
};

constexpr format_record_t records[] = {
#define FORMAT_RECORD(level, kind, enumerator, type, content, inner, what)                         \
    {FORMAT_##kind,                                                                                \
     FORMAT_LEVEL_##level,                                                                         \
     type,                                                                                         \
     FORMAT_CONTENT_##content,                                                                     \
     FORMAT_LEVEL_##inner,                                                                         \
     #kind,                                                                                        \
     what},
#include "format_records.inc"
};

constexpr bool by_level(const format_record_t &a, const format_record_t &b)
{
    return a.level < b.level;
}

static_assert(std::is_sorted(std::begin(records), std::end(records), by_level),
              "the kinds of a level stand together, in the order of the levels");

/// The first record kind of each level.
struct level_index_t {
    uint8_t first[FORMAT_LEVEL_NONE + 1] = {};
};

constexpr level_index_t make_index()
{
    level_index_t index;
    for (const format_record_t &record : records)
        for (size_t level = size_t{record.level} + 1; level <= FORMAT_LEVEL_NONE; ++level)
            ++index.first[level];
    return index;
}

constexpr level_index_t index_of_levels = make_index();

} // namespace

std::span<const format_level_row_t> format_levels()
{
    return levels;
}

std::span<const format_record_t> format_records()
{
    return records;
}

std::span<const format_record_t> format_records_of(format_level_t level)
{
    if (level >= FORMAT_LEVEL_NONE)
        return {};
    const uint8_t *first = index_of_levels.first + level;
    return format_records().subspan(first[0], size_t{first[1]} - first[0]);
}

const format_record_t *format_find(format_level_t level, uint32_t type)
{
    for (const format_record_t &record : format_records_of(level))
        if (record.type == type)
            return &record;
    return nullptr;
}
