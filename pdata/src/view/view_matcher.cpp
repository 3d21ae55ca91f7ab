#include "view_matcher.h"

#include "format_types.h"
#include "view_take.h"

namespace
{

bool find_name(const view_pool_t &names, const view_area_t &meta, size_t word, const char *what,
               std::string_view &name, view_error_t &error)
{
    const uint32_t offset = view_word(meta, word);
    return view_pool_get(names, offset, name) ||
           view_fail(error, VIEW_REFERENCE, meta.offset + word * 4, "meta: %s: no string at %u",
                     what, offset);
}

bool open_meta(const view_area_t &meta, const view_pool_t &names, view_matcher_t &view,
               view_error_t &error)
{
    if (!find_name(names, meta, 0, "protocol", view.protocol, error) ||
        !find_name(names, meta, 1, "attribute", view.attribute, error))
        return false;
    view.way = view_word(meta, 2);
    return view.way == ATTR_WAY_CTS || view.way == ATTR_WAY_STC ||
           view_fail(error, VIEW_VALUE, meta.offset + 8, "meta: direction %u", view.way);
}

bool is_combination(uint32_t algo)
{
    const uint32_t engines = algo & ~uint32_t{PATTERN_ALGO_ICASE};
    return engines == PATTERN_ALGO_CLASSIC || engines == PATTERN_ALGO_OFFSET_V1 ||
           engines == PATTERN_ALGO_OFFSET_V2 || engines == PATTERN_ALGO_OFFSET_V3;
}

bool open_stream(view_cursor_t &cursor, view_matcher_t &view, view_error_t &error)
{
    view_area_t pattern;
    if (!view_take(cursor, TLV_TYPE_MATCHER_AC, "patterns", pattern, error) ||
        !view_take(cursor, TLV_TYPE_MATCHER_L2, "second level", view.second_level, error) ||
        !view_take(cursor, TLV_TYPE_MATCHER_STRING, "values", view.values.area, error) ||
        !view_take_end(cursor, error) || !view_pattern_open(pattern, view.pattern, error))
        return false;
    if (!is_combination(view.pattern.algo))
        return view_fail(error, VIEW_VALUE, pattern.offset + 8, "patterns: engines 0x%x",
                         view.pattern.algo);
    return view.second_level.size % (MATCHER_MAP_WORDS * 4) == 0 ||
           view_fail(error, VIEW_LENGTH, view.second_level.offset,
                     "second level: %zu bytes are not entries of %u", view.second_level.size,
                     MATCHER_MAP_WORDS * 4);
}

bool open_number(view_cursor_t &cursor, const view_area_t &meta, view_matcher_t &view,
                 view_error_t &error)
{
    view_area_t number;
    if (!view_take(cursor, TLV_TYPE_MATCHER_NUMBER, "numbers", number, error) ||
        !view_take_end(cursor, error) || !view_number_open(number, view.number, error))
        return false;
    return view.number.type == view.type ||
           view_fail(error, VIEW_VALUE, meta.offset, "meta: type %u, but numbers of type %u",
                     view.type, view.number.type);
}

bool open_data(const view_area_t &data, view_matcher_t &view, view_error_t &error)
{
    view_cursor_t cursor = view_walk(data);
    view_area_t meta;
    if (!view_take(cursor, TLV_TYPE_MATCHER_META, "meta", meta, error, 8))
        return false;
    view.type = view_word(meta, 0);
    view.min_data = view_word(meta, 1);
    if (view.type == MATCHER_TYPE_STREAM)
        return open_stream(cursor, view, error);
    return open_number(cursor, meta, view, error);
}

bool open_parts(const view_record_t &record, const view_pool_t &names, view_matcher_t &view,
                view_error_t &error)
{
    if (record.type != TLV_TYPE_PDB_MATCHER)
        return view_fail(error, VIEW_UNKNOWN, record.offset, "type %u instead of a matcher",
                         record.type);
    view_cursor_t cursor = view_walk(record.value);
    view_area_t meta;
    view_area_t data;
    if (!view_take(cursor, TLV_TYPE_PDB_MATCHER_META, "meta", meta, error, 12) ||
        !view_take(cursor, TLV_TYPE_PDB_MATCHER_DATA, "data", data, error) ||
        !view_take_end(cursor, error) || !open_meta(meta, names, view, error))
        return false;
    return open_data(data, view, error) || view_within(error, "data");
}

bool is_kind(uint32_t kind)
{
    return kind == MATCHER_MAP_REGULAR || kind == MATCHER_MAP_CATCH_ALL ||
           kind == MATCHER_MAP_PREFIX || kind == MATCHER_MAP_SUFFIX || kind == MATCHER_MAP_EXACT;
}

bool check_entry(const view_matcher_t &view, uint32_t index, const view_pool_starts_t &starts,
                 view_error_t &error)
{
    const view_entry_t entry = view_matcher_entry(view, index);
    const size_t offset = view.second_level.offset + size_t{index} * MATCHER_MAP_WORDS * 4;
    if (entry.pub_id >= MATCHER_PRIVATE_ID)
        return view_fail(error, VIEW_REFERENCE, offset, "entry %u: item 0x%08x is not public",
                         index, entry.pub_id);
    if ((entry.has_value || entry.value != 0) && !view_pool_starts_at(starts, entry.value))
        return view_fail(error, VIEW_REFERENCE, offset + 4, "entry %u: no value at %u", index,
                         entry.value);
    return is_kind(entry.kind) ||
           view_fail(error, VIEW_VALUE, offset + 8, "entry %u: kind %u", index, entry.kind);
}

bool check_second_level(const view_matcher_t &view, view_error_t &error)
{
    view_pool_starts_t starts;
    if (!view_pool_check(view.values, starts, error))
        return view_within(error, "values");
    for (uint32_t index = 0; index < view_matcher_nr_private(view); ++index)
        if (!check_entry(view, index, starts, error))
            return view_within(error, "second level");
    return true;
}

} // namespace

bool view_matchers_open(const view_area_t &area, view_matchers_t &view, view_error_t &error)
{
    view = {};
    view_cursor_t cursor = view_walk(area);
    return view_take(cursor, TLV_TYPE_PDB_MATCHER_LIST, "list", view.list, error) &&
           view_take(cursor, TLV_TYPE_PDB_MATCHER_STRING, "names", view.names.area, error) &&
           view_take_end(cursor, error);
}

bool view_matcher_open(const view_record_t &record, const view_pool_t &names, view_matcher_t &view,
                       view_error_t &error)
{
    view = {};
    view.offset = record.offset;
    return open_parts(record, names, view, error);
}

bool view_matcher_check(const view_matcher_t &view, view_error_t &error)
{
    if (view.type != MATCHER_TYPE_STREAM)
        return view_number_check(view.number, error) || view_within(error, "data: numbers");
    return (check_second_level(view, error) &&
            view_pattern_check(view.pattern, view_matcher_nr_private(view), error)) ||
           view_within(error, "data");
}
