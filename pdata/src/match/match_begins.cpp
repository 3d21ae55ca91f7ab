/// Where patterns begin, of which the engines that go from the front tell the ends alone.
///
/// The states of an automaton are the prefixes of the patterns, so that the least number of
/// transitions to one is its length. What ends at a state ends at each prefix behind it that is
/// long enough too: the failure links lead through these, longest first (A. V. Aho, M. J. Corasick,
/// "Efficient string matching", 1975). The transitions have taken the links in; passed once more
/// beside the prefix in front, they give them back.
#include <algorithm>

#include "match_database.h"

namespace
{

/// Notes where a transition from a state leads, the first time that something leads there.
/// Returns false for all others.
bool reach(const view_rows_t &rows, uint32_t from, uint32_t column,
           std::vector<match_prefix_t> &prefixes)
{
    const uint32_t to = view_row_word(rows, from, column) >> 1;
    if (to == 0 || prefixes[to].length != 0)
        return false;
    prefixes[to].length = static_cast<uint16_t>(prefixes[from].length + 1);
    if (from != 0)
        prefixes[to].behind =
            static_cast<uint16_t>(view_row_word(rows, prefixes[from].behind, column) >> 1);
    return true;
}

std::vector<match_prefix_t> make_prefixes(const view_rows_t &rows)
{
    std::vector<match_prefix_t> prefixes(rows.nr_row);
    std::vector<uint16_t> reached;
    if (rows.nr_row != 0)
        reached.push_back(0);
    for (size_t i = 0; i < reached.size(); ++i)
        for (uint32_t column = AHO_CORASICK_NR_META; column < rows.width; ++column)
            if (reach(rows, reached[i], column, prefixes))
                reached.push_back(
                    static_cast<uint16_t>(view_row_word(rows, reached[i], column) >> 1));
    return prefixes;
}

/// Gives, for each node of a dot-prefix matcher, the wildcards on the way to it.
std::vector<uint16_t> make_offsets(const view_rows_t &rows)
{
    std::vector<uint16_t> offsets(rows.nr_row);
    std::vector<bool> seen(rows.nr_row);
    std::vector<uint32_t> reached;
    if (rows.nr_row != 0)
        reached.push_back(0);
    for (size_t i = 0; i < reached.size(); ++i)
        for (uint32_t column = DOT_PREFIX_WILDCARD_COLUMN; column < rows.width; ++column) {
            const uint32_t to = view_row_word(rows, reached[i], column);
            if (to == 0 || seen[to])
                continue;
            const bool wildcard = column == DOT_PREFIX_WILDCARD_COLUMN;
            offsets[to] = static_cast<uint16_t>(offsets[reached[i]] + (wildcard ? 1 : 0));
            seen[to] = true;
            reached.push_back(to);
        }
    return offsets;
}

/// Tells whether an item is among those of a state, to end at `end`.
bool holds(const view_aho_corasick_t &engine, uint32_t state, uint32_t id, uint32_t end)
{
    const view_item_record_t record = view_aho_corasick_items(engine, state);
    for (uint32_t i = 0; i < record.count; ++i) {
        const uint32_t offset = view_item_end(record, i);
        if (view_item_id(record, i) == id && (offset == PATTERN_NO_OFFSET || offset == end))
            return true;
    }
    return false;
}

} // namespace

std::vector<match_begins_t> match_make_begins(const pdata_db &db)
{
    std::vector<match_begins_t> made(db.matchers.size());
    for (size_t i = 0; i < made.size(); ++i) {
        const view_pattern_t &pattern = db.matchers[i].view.pattern;
        made[i].prefixes = make_prefixes(match_automaton(pattern).rows);
        made[i].dots = make_offsets(pattern.dot_prefix.rows);
    }
    return made;
}

uint32_t match_begin_of(const match_begins_t &begins, const view_aho_corasick_t &engine,
                        uint32_t state, uint32_t id, uint32_t end)
{
    const std::vector<match_prefix_t> &prefixes = begins.prefixes;
    uint32_t length = prefixes[state].length;
    for (uint32_t at = prefixes[state].behind;
         prefixes[at].length < length && holds(engine, at, id, end); at = prefixes[at].behind)
        length = prefixes[at].length; // shorter each time, whatever a damaged pdb links
    return end - std::min(length, end);
}
