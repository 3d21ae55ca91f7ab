#include "match_walk.h"

namespace
{

/// Walks from the back, from a row of the suffix tree that `at` bytes lead to, to where no pattern
/// goes on. What ends at the first row is reported only if `reports_first`. Not inlined: most
/// values of most trees need no walk.
[[gnu::noinline]] void walk_backwards(pdata_flow &flow, const match_value_t &value, uint32_t row,
                                      uint32_t at, bool reports_first)
{
    const view_pattern_t &pattern = value.matcher.view.pattern;
    match_walk_t walk{pattern.suffix_tree, true, (pattern.algo & PATTERN_ALGO_ICASE) != 0, row, at};
    if (reports_first)
        match_walk_report(flow, value, walk);
    while (match_walk_step(value, walk))
        match_walk_report(flow, value, walk);
}

/// Walks on from where the table leads.
void walk_on(pdata_flow &flow, const match_value_t &value, const match_jump_entry_t &entry)
{
    walk_backwards(flow, value, entry.row, match_jump_depth(entry), entry.end == MATCH_END_RECORD);
}

/// Notes an item that begins `at` bytes from the back.
[[gnu::noinline]] void note_item(pdata_flow &flow, const match_value_t &value, uint32_t item,
                                 uint32_t at, pdata_outcome outcome)
{
    const auto size = static_cast<uint32_t>(value.data.size());
    const pdata_piece piece = {size - at, size};
    match_note(flow, value.attribute, item, outcome, {&piece, 1}, {});
}

/// Counts the item that ends.
pdata_outcome count(pdata_flow &flow, const match_attribute_t &attribute, uint32_t end)
{
    if ((end & MATCH_END_ADMITTED) == 0)
        return match_count(flow, attribute, end & MATCH_END_ITEM);
    match_count_admitted(flow.room, end & MATCH_END_ITEM);
    return PDATA_COUNTED;
}

/// Takes what the table says to end where it leads.
void take_entry(pdata_flow &flow, const match_value_t &value, const match_jump_entry_t &entry)
{
    const uint32_t end = entry.end;
    if (match_end_is_item(end)) {
        const uint32_t item = end & MATCH_END_ITEM;
        const pdata_outcome outcome = count(flow, value.attribute, end);
        if (flow.room.explained != nullptr) [[unlikely]]
            note_item(flow, value, item, match_jump_depth(entry), outcome);
        if ((end & MATCH_END_LEAF) != 0) [[likely]]
            return;
    }
    walk_on(flow, value, entry);
}

} // namespace

void match_suffixes(pdata_flow &flow, const match_value_t &value)
{
    const match_jump_t &jump = value.matcher.suffix_jump;
    if (jump.length == 0) {
        walk_backwards(flow, value, 0, 0, true);
        return;
    }
    const view_radix_t &tree = value.matcher.view.pattern.suffix_tree;
    if (const match_jump_entry_t *entry = match_jump_find(jump, tree, value.data); entry != nullptr)
        take_entry(flow, value, *entry);
}

void match_suffixes_from(pdata_flow &flow, const match_value_t &value,
                         const match_jump_entry_t *entry)
{
    const match_jump_t &jump = value.matcher.suffix_jump;
    if (entry == nullptr)
        entry = match_jump_find_shorter(jump, value.data);
    const view_radix_t &tree = value.matcher.view.pattern.suffix_tree;
    if (entry != nullptr && match_jump_goes_on(jump, tree, value.data, *entry))
        take_entry(flow, value, *entry);
}
