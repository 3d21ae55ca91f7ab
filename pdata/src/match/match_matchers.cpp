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

/// Tells the bucket of each transition of the start state; equal ones share theirs.
class skip_buckets
{
public:
    uint32_t of(uint32_t word)
    {
        const auto known = std::find(words.begin(), words.end(), word);
        const auto number = static_cast<uint32_t>(known - words.begin());
        if (known == words.end())
            words.push_back(word);
        return number % 8;
    }

private:
    std::vector<uint32_t> words;
};

/// Sets the bucket of a state behind the start in the codes that lead on from there, or in all of
/// them where a pattern ends.
void mark_codes(const view_aho_corasick_t &engine, uint32_t word, uint8_t bucket,
                std::vector<uint8_t> &codes)
{
    for (uint32_t code = 0; code < codes.size(); ++code) {
        const bool reserved = code < AHO_CORASICK_NR_META;
        const uint32_t next = reserved ? 0 : view_row_word(engine.rows, word >> 1, code);
        const uint32_t start = reserved ? 0 : view_row_word(engine.rows, 0, code);
        if (next != start || (word & 1) != 0)
            codes[code] |= bucket;
    }
}

/// Makes the two tables of an automaton.
std::vector<uint8_t> make_skips(const view_aho_corasick_t &engine)
{
    std::vector<uint8_t> skips;
    if (engine.rows.nr_row == 0)
        return skips;
    skips.resize(2 * MATCH_SKIP_TABLE);
    std::vector<uint8_t> codes(engine.rows.width);
    std::vector<bool> marked(UINT16_MAX + 1);
    skip_buckets buckets;
    for (uint32_t byte = 0; byte < MATCH_SKIP_TABLE; ++byte) {
        const uint32_t word = view_aho_corasick_next(engine, 0, static_cast<uint8_t>(byte));
        if (word == 0)
            continue;
        skips[byte] = static_cast<uint8_t>(1U << buckets.of(word));
        if (!marked[word])
            mark_codes(engine, word, skips[byte], codes);
        marked[word] = true;
    }
    for (uint32_t byte = 0; byte < MATCH_SKIP_TABLE; ++byte)
        skips[MATCH_SKIP_TABLE + byte] = codes[engine.alphabet.code[byte]];
    return skips;
}

/// Tells whether a matcher has an engine that goes from the front.
bool goes_forwards(const view_pattern_t &pattern)
{
    return match_automaton(pattern).rows.nr_row != 0 || pattern.prefix_tree.rows.nr_row != 0 ||
           pattern.dot_prefix.rows.nr_row != 0;
}

/// Makes the indexes of a stream matcher; what its table of the suffix tree takes goes off `room`.
void index_stream(match_matcher_t &matcher, size_t &room)
{
    const view_pattern_t &pattern = matcher.view.pattern;
    matcher.forwards = goes_forwards(pattern);
    match_index_second_level(matcher);
    match_jump_make(pattern.suffix_tree, (pattern.algo & PATTERN_ALGO_ICASE) != 0, matcher.roles,
                    room, matcher.suffix_jump);
    matcher.is_suffix_tree = !matcher.forwards && matcher.groups.empty() && matcher.checks.empty();
    room -= match_jump_bytes(matcher.suffix_jump);
    matcher.skips = make_skips(match_automaton(pattern));
}

bool open_matcher(pdata_db &db, const view_record_t &record, size_t &jump_room, view_error_t &error)
{
    match_matcher_t &matcher = db.matchers.emplace_back();
    if (!view_matcher_open(record, db.view.matchers.names, matcher.view, error))
        return view_within(error, "matchers: matcher %zu", db.matchers.size() - 1);
    matcher.kind = kind_of(matcher.view.type);
    if (matcher.kind == PDATA_BYTES)
        index_stream(matcher, jump_room);
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
    size_t jump_room = db.bytes.bytes.size() / 10;
    view_cursor_t cursor = view_walk(db.view.matchers.list);
    while (view_next(cursor, record))
        if (!open_matcher(db, record, jump_room, error))
            return false;
    return view_walk_sound(cursor, error);
}

size_t match_index_bytes(const pdata_db &db)
{
    size_t bytes = sizeof(db) + bytes_of(db.matchers) + bytes_of(db.attributes) +
                   bytes_of(db.leads) + bytes_of(db.protocols) + bytes_of(db.rules);
    for (const match_matcher_t &matcher : db.matchers)
        bytes += bytes_of(matcher.roles) + bytes_of(matcher.groups) + bytes_of(matcher.checks) +
                 bytes_of(matcher.always) + match_jump_bytes(matcher.suffix_jump) +
                 bytes_of(matcher.skips);
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
