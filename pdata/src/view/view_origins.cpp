#include <map>
#include <new>
#include <tuple>

#include "view_values.h"

namespace
{

/// Protocol, attribute and direction of a matcher.
using matcher_key_t = std::tuple<std::string_view, std::string_view, uint32_t>;

/// The values of one matcher, in the order in which they were filed.
struct value_list_t {
    matcher_key_t key;
    std::vector<uint32_t> values;
};

/// The values filed under their matchers, the matchers in the order in which they were met.
struct value_lists_t {
    std::vector<value_list_t> lists;
    std::map<matcher_key_t, size_t> found;
};

void file_value(value_lists_t &filed, const view_stored_value_t &value, uint32_t way,
                uint32_t index)
{
    const matcher_key_t key = {value.bottom, value.attribute, way};
    const auto [at, is_new] = filed.found.emplace(key, filed.lists.size());
    if (is_new)
        filed.lists.push_back({key, {}});
    filed.lists[at->second].values.push_back(index);
}

value_lists_t file_values(const std::vector<view_stored_value_t> &values)
{
    value_lists_t filed;
    for (uint32_t i = 0; i < values.size(); ++i)
        for (const uint32_t way : {ATTR_WAY_CTS, ATTR_WAY_STC})
            if ((values[i].way & way) != 0)
                file_value(filed, values[i], way, i);
    return filed;
}

/// Returns how many parts of a text stand between its commas, empty ones not counted.
uint32_t count_parts(std::string_view text)
{
    uint32_t parts = 0;
    for (size_t i = 0; i < text.size(); ++i)
        parts += text[i] != ',' && (i == 0 || text[i - 1] == ',') ? 1 : 0;
    return parts;
}

/// Gives the values of one matcher their ids, but for those that have theirs from the other
/// direction.
void number_list(const value_list_t &list, bool is_stream,
                 const std::vector<view_stored_value_t> &values, std::vector<bool> &numbered,
                 std::vector<uint32_t> &origins)
{
    for (auto index = list.values.rbegin(); index != list.values.rend(); ++index) {
        const uint32_t parts = count_parts(values[*index].text);
        if (parts == 0 || numbered[*index])
            continue;
        numbered[*index] = true;
        origins.insert(origins.end(), is_stream ? parts : 1, *index);
    }
}

bool number_lists(const pdb_view_t &pdb, const value_lists_t &filed,
                  const std::vector<view_stored_value_t> &values, std::vector<uint32_t> &origins,
                  view_error_t &error)
{
    std::vector<bool> numbered(values.size());
    auto list = filed.lists.rbegin();
    view_cursor_t cursor = view_walk(pdb.matchers.list);
    for (view_record_t record; view_next(cursor, record); ++list) {
        view_matcher_t matcher;
        if (!view_matcher_open(record, pdb.matchers.names, matcher, error))
            return false;
        const matcher_key_t key = {matcher.protocol, matcher.attribute, matcher.way};
        if (list == filed.lists.rend() || list->key != key)
            return view_fail(error, VIEW_VALUE, record.offset,
                             "the matcher is not that of the descriptions");
        number_list(*list, matcher.type == MATCHER_TYPE_STREAM, values, numbered, origins);
    }
    if (list != filed.lists.rend())
        return view_fail(error, VIEW_ABSENT, pdb.matchers.list.offset,
                         "a matcher of the descriptions is missing");
    return view_walk_sound(cursor, error);
}

} // namespace

bool view_values_origins(const pdb_view_t &pdb, const std::vector<view_stored_value_t> &values,
                         std::vector<uint32_t> &origins, view_error_t &error)
try {
    origins.assign(1, VIEW_VALUE_NONE);
    return number_lists(pdb, file_values(values), values, origins, error);
} catch (const std::bad_alloc &) {
    return view_fail(error, VIEW_MEMORY, 0, "out of memory");
}
