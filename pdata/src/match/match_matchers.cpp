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

/// Finds the bytes that an automaton in its start state stays in it on.
std::vector<uint8_t> idle_bytes(const view_aho_corasick_t &engine)
{
    std::vector<uint8_t> idle;
    if (engine.rows.nr_row == 0)
        return idle;
    idle.resize(ALPHABET_MAP_COUNT);
    for (uint32_t byte = 0; byte < idle.size(); ++byte)
        idle[byte] = view_aho_corasick_next(engine, 0, static_cast<uint8_t>(byte)) == 0 ? 1 : 0;
    return idle;
}

void index_stream(match_matcher_t &matcher)
{
    const view_pattern_t &pattern = matcher.view.pattern;
    match_index_second_level(matcher);
    match_jump_make(pattern.suffix_tree, (pattern.algo & PATTERN_ALGO_ICASE) != 0, matcher.roles,
                    matcher.suffix_jump);
    matcher.idle[0] = idle_bytes(pattern.aho_corasick);
    matcher.idle[1] = idle_bytes(pattern.ahoff_corasick);
}

bool open_matcher(pdata_db &db, const view_record_t &record, view_error_t &error)
{
    match_matcher_t &matcher = db.matchers.emplace_back();
    if (!view_matcher_open(record, db.view.matchers.names, matcher.view, error))
        return view_within(error, "matchers: matcher %zu", db.matchers.size() - 1);
    matcher.kind = kind_of(matcher.view.type);
    if (matcher.kind == PDATA_BYTES)
        index_stream(matcher);
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

bool match_index_matchers(pdata_db &db, view_error_t &error)
{
    view_record_t record;
    size_t nr_matcher = 0;
    for (view_cursor_t cursor = view_walk(db.view.matchers.list); view_next(cursor, record);)
        ++nr_matcher;
    db.matchers.reserve(nr_matcher);
    view_cursor_t cursor = view_walk(db.view.matchers.list);
    while (view_next(cursor, record))
        if (!open_matcher(db, record, error))
            return false;
    return view_walk_sound(cursor, error);
}

size_t match_index_bytes(const pdata_db &db)
{
    size_t bytes = sizeof(db) + bytes_of(db.matchers) + bytes_of(db.attributes) +
                   bytes_of(db.attribute_matchers) + bytes_of(db.protocols) + bytes_of(db.rules);
    for (const match_matcher_t &matcher : db.matchers)
        bytes += bytes_of(matcher.roles) + bytes_of(matcher.groups) + bytes_of(matcher.checks) +
                 bytes_of(matcher.always) + bytes_of(matcher.suffix_jump.table) +
                 bytes_of(matcher.suffix_jump.ends) + bytes_of(matcher.idle[0]) +
                 bytes_of(matcher.idle[1]);
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
