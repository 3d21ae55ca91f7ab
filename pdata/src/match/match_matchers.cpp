#include <algorithm>

#include "match_database.h"

namespace
{

pdata_kind kind_of(uint32_t type)
{
    switch (type) {
    case MATCHER_TYPE_STREAM:
        return PDATA_BYTES;
    case MATCHER_TYPE_IP_4:
        return PDATA_IPV4;
    case MATCHER_TYPE_IP_6:
        return PDATA_IPV6;
    default:
        return PDATA_NUMBER;
    }
}

bool open_matcher(pdata_db &db, const view_record_t &record, bool verify, view_error_t &error)
{
    match_matcher_t &matcher = db.matchers.emplace_back();
    if (!view_matcher_open(record, db.view.matchers.names, matcher.view, error) ||
        (verify && !view_matcher_check(matcher.view, error)))
        return view_within(error, "matchers: matcher %zu", db.matchers.size() - 1);
    matcher.kind = kind_of(matcher.view.type);
    if (matcher.kind == PDATA_BYTES)
        match_index_second_level(matcher);
    const auto nr_progress = matcher.groups.size() + matcher.checks.size();
    db.nr_progress = std::max(db.nr_progress, static_cast<uint32_t>(nr_progress));
    db.nr_node = std::max(db.nr_node, matcher.view.pattern.dot_prefix.rows.nr_row);
    return true;
}

template <typename Element>
size_t bytes_of(const std::vector<Element> &elements)
{
    return elements.capacity() * sizeof(Element);
}

} // namespace

bool match_index_matchers(pdata_db &db, bool verify, view_error_t &error)
{
    view_record_t record;
    size_t nr_matcher = 0;
    for (view_cursor_t cursor = view_walk(db.view.matchers.list); view_next(cursor, record);)
        ++nr_matcher;
    db.matchers.reserve(nr_matcher);
    view_cursor_t cursor = view_walk(db.view.matchers.list);
    while (view_next(cursor, record))
        if (!open_matcher(db, record, verify, error))
            return false;
    return view_walk_sound(cursor, error);
}

size_t match_index_bytes(const pdata_db &db)
{
    size_t bytes = sizeof(db) + bytes_of(db.matchers) + bytes_of(db.attributes) +
                   bytes_of(db.attribute_matchers) + bytes_of(db.protocols) + bytes_of(db.rules);
    for (const match_matcher_t &matcher : db.matchers)
        bytes += bytes_of(matcher.roles) + bytes_of(matcher.groups) + bytes_of(matcher.checks) +
                 bytes_of(matcher.always);
    return bytes;
}

size_t match_check_bytes(const pdata_db &db)
{
    size_t bytes = 0;
    for (const match_matcher_t &matcher : db.matchers)
        for (const match_expression_t &expression : matcher.expressions)
            bytes += match_expression_bytes(expression);
    return bytes;
}
