#include "view_limits.h"

#include <algorithm>

#include "limit_list.h"

namespace
{

constexpr const char *lost_states = "the states beyond, which no transition can name";
constexpr const char *lost_records = "the items of records beyond, which no state can name";
constexpr const char *lost_bytes = "patterns with the bytes beyond, which have no code";
constexpr const char *lost_chains = "patterns with longer runs, whose compressed edge is cut";
constexpr const char *lost_inline = "the piece of that id, whose state reads as one without items";

/// Words of an item table up to the first one of its last record, which is the highest index that
/// is named. Records lie back to back from word `at` on.
uint64_t item_words(const view_items_t &items, size_t at = 0)
{
    uint64_t words = 0;
    while (at < view_words(items.area)) {
        words = at + 1;
        at = view_items_behind(items, at);
    }
    return words;
}

uint32_t alphabet_bytes(const view_alphabet_t &alphabet, uint32_t nr_reserved)
{
    return alphabet.size < nr_reserved ? 0 : alphabet.size - nr_reserved;
}

/// States that transitions call accepting and that have no item, as theirs is that private id.
uint64_t inline_losses(const view_aho_corasick_t &view)
{
    std::vector<bool> lost(view.rows.nr_row);
    for (uint32_t row = 0; row < view.rows.nr_row; ++row)
        for (uint32_t column = AHO_CORASICK_NR_META; column < view.rows.width; ++column) {
            const uint16_t word = view_row_word(view.rows, row, column);
            if ((word & 1) != 0 && view_row_word(view.rows, word >> 1, AHO_CORASICK_ITEM_COLUMN) ==
                                       PATTERN_NO_ITEM_WORD)
                lost[word >> 1] = true;
        }
    return static_cast<uint64_t>(std::ranges::count(lost, true));
}

void add_automaton(limit_list_t &list, const view_aho_corasick_t &view)
{
    list.add(view.ahoff ? "states of the automaton with offsets" : "states of the automaton",
             view.rows.nr_row, AHO_CORASICK_STATES, lost_states);
    // An index from 32768 on reads as an item that stands inline.
    list.add(view.ahoff ? "item words of the automaton with offsets"
                        : "item words of the automaton",
             item_words(view.items), view.ahoff ? PATTERN_NO_ITEM_WORD : AHO_CORASICK_ITEM_WORDS,
             lost_records);
    list.add(view.ahoff ? "bytes of the alphabet of the automaton with offsets"
                        : "bytes of the alphabet of the automaton",
             alphabet_bytes(view.alphabet, AHO_CORASICK_NR_META), 256 - AHO_CORASICK_NR_META,
             lost_bytes);
}

/// The names of the limits of a tree.
struct tree_names_t {
    const char *rows;
    const char *edges;
    const char *chain;
    const char *items;
    const char *bytes;
};

constexpr tree_names_t prefix_names = {
    "rows of the prefix tree", "words of compressed edges of the prefix tree",
    "longest compressed edge of the prefix tree", "item words of the prefix tree",
    "bytes of the alphabet of the prefix tree"};
constexpr tree_names_t suffix_names = {
    "rows of the suffix tree", "words of compressed edges of the suffix tree",
    "longest compressed edge of the suffix tree", "item words of the suffix tree",
    "bytes of the alphabet of the suffix tree"};

/// Bytes of the longest compressed edge. One of more than 255 takes the words of all its bytes but
/// has the low 8 bits of their number alone.
size_t longest_chain(const view_radix_t &view)
{
    size_t longest = 0;
    const size_t end = view_words(view.c_edges);
    size_t next = end;
    for (size_t number = std::min<size_t>(size_t{view.chains.last} + 1, end); number-- > 1;) {
        if (!view_bitmap_test(view.chains, static_cast<uint32_t>(number)))
            continue;
        const size_t stored = view_radix_chain(view, static_cast<uint32_t>(number)).bytes.size();
        size_t length = stored;
        while ((length + 2) / 4 + 1 < next - number)
            length += 256;
        longest = std::max(longest, length);
        next = number;
    }
    return longest;
}

void add_tree(limit_list_t &list, const view_radix_t &view, const tree_names_t &names)
{
    if (view.chains.bits == nullptr)
        return;
    list.add(names.rows, view.rows.nr_row, 0x10000, lost_states);
    list.add(names.edges, view_words(view.c_edges), 0x10000, lost_chains);
    list.add(names.chain, longest_chain(view), 255, lost_chains);
    list.add(names.items, item_words(view.items), 0xFFFF, lost_records);
    list.add(names.bytes, alphabet_bytes(view.alphabet, RADIX_NR_META), 256 - RADIX_NR_META,
             lost_bytes);
}

void add_dot_prefix(limit_list_t &list, const view_dot_prefix_t &view)
{
    list.add("nodes of the dot prefix", view.rows.nr_row, 0x10000, lost_states);
    list.add("item words of the dot prefix", item_words(view.items), 0xFFFF, lost_records);
    list.add("bytes of the alphabet of the dot prefix",
             alphabet_bytes(view.alphabet, DOT_PREFIX_NR_META), 256 - DOT_PREFIX_NR_META,
             lost_bytes);
}

void add_stream(limit_list_t &list, const view_matcher_t &matcher)
{
    add_automaton(list, matcher.pattern.aho_corasick);
    add_automaton(list, matcher.pattern.ahoff_corasick);
    add_tree(list, matcher.pattern.prefix_tree, prefix_names);
    add_tree(list, matcher.pattern.suffix_tree, suffix_names);
    add_dot_prefix(list, matcher.pattern.dot_prefix);
    const uint32_t nr_private = view_matcher_nr_private(matcher);
    list.add("private ids, entries of the second level", nr_private, MATCHER_PRIVATE_MAX,
             lost_nothing);
    if (nr_private > AHO_CORASICK_LOST_ID &&
        matcher.pattern.aho_corasick.rows.nr_row <= AHO_CORASICK_STATES)
        list.add("states of private id 16383 written inline",
                 inline_losses(matcher.pattern.aho_corasick), 0, lost_inline);
    limit_list_pool(list.limits, list.subject + " values", matcher.values);
}

void add_matchers(const pdb_view_t &pdb, std::vector<view_limit_t> &limits)
{
    view_cursor_t cursor = view_walk(pdb.matchers.list);
    for (view_record_t record; view_next(cursor, record);) {
        view_matcher_t matcher;
        view_error_t error;
        if (!view_matcher_open(record, pdb.matchers.names, matcher, error))
            return; // cannot be in a verified pdb
        limit_list_t list = {limits, std::string(matcher.protocol) + ':' +
                                         std::string(matcher.attribute) +
                                         (matcher.way == ATTR_WAY_CTS ? " cts" : " stc")};
        list.add("words of the record", record.length, TLV_LEN_FIELD_MAX,
                 "everything: the record has another length");
        if (matcher.type == MATCHER_TYPE_STREAM)
            add_stream(list, matcher);
        else if (matcher.number.data_size == 0)
            list.add("item words of the mapper", item_words(matcher.number.items, 1), 0x10000,
                     lost_records);
    }
}

/// Tells whether `a` is fuller than `b`, without rounding: limits are below 2^32.
bool is_fuller(const view_limit_t &a, const view_limit_t &b)
{
    return a.used * b.limit > b.used * a.limit;
}

void add_rules(const pdb_view_t &pdb, std::vector<view_limit_t> &limits)
{
    limit_list_t rules = {limits, "rules"};
    rules.add("item ids", pdb.rules.nr_slot, MATCHER_PUBLIC_ID_LIMIT, lost_nothing);
    rules.add("bytes of names of the protocol map", pdb.rules.names.area.size,
              PDB_PROTOCOL_MAP_STRINGS_MAX, lost_nothing);
}

} // namespace

std::vector<view_limit_t> view_limits_take(const pdb_view_t &pdb)
{
    std::vector<view_limit_t> limits;
    limit_list_records(pdb, limits);
    if (!pdb.compiled)
        return limits;
    add_matchers(pdb, limits);
    limit_list_pool(limits, "names of matchers", pdb.matchers.names);
    add_rules(pdb, limits);
    return limits;
}

void view_limits_sort(std::vector<view_limit_t> &limits)
{
    std::ranges::stable_sort(limits, is_fuller);
}
