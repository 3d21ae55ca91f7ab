#include <algorithm>

#include "match_jump.h"
#include "match_roles.h"

namespace
{

constexpr uint32_t SMALL_TREE = 256; ///< rows of a tree that is walked from its root
constexpr uint32_t LENGTH_MIN = 4;

/// Tells whether both cases of every letter have one code, as folded keys take for granted.
bool codes_fold(const view_radix_t &tree)
{
    for (uint32_t capital = 'A'; capital <= 'Z'; ++capital)
        if (tree.alphabet.code[capital] != tree.alphabet.code[capital | 0x20])
            return false;
    return true;
}

bool is_leaf(const view_radix_t &tree, uint32_t row)
{
    for (uint32_t column = RADIX_NR_META; column < tree.rows.width; ++column)
        if (view_row_word(tree.rows, row, column) != 0)
            return false;
    return true;
}

/// Returns what ends at a row, as its item where that is all there is to say.
uint32_t end_of(const view_radix_t &tree, std::span<const uint32_t> roles, uint32_t row)
{
    const view_item_record_t record = view_radix_items(tree, row);
    if (record.count == 0)
        return MATCH_END_NONE;
    uint32_t item = view_item_id(record, 0);
    if (record.count != 1 || record.mindata != PATTERN_MINDATA_NONE ||
        view_radix_is_exact(tree, item))
        return MATCH_END_RECORD;
    if (item >= MATCHER_PRIVATE_ID) {
        const uint32_t role = roles[item - MATCHER_PRIVATE_ID];
        if ((role & MATCH_ROLE_KIND) != MATCH_ROLE_ITEM)
            return MATCH_END_RECORD;
        item = role;
    }
    if (item > MATCH_END_ITEM)
        return MATCH_END_RECORD;
    return item | (is_leaf(tree, row) ? MATCH_END_LEAF : 0);
}

/// Makes the table of some paths. Returns false where their keys do not take places.
bool fill_table(const view_radix_t &tree, std::span<const uint32_t> roles, uint32_t length,
                match_jump_paths_t &paths, match_jump_t &jump)
{
    for (match_jump_entry_t &entry : paths.entries)
        if (entry.end != MATCH_END_ABOVE)
            entry.end = end_of(tree, roles, entry.row);
    if (!match_jump_place(paths.entries, jump))
        return false;
    jump.short_lengths = paths.short_lengths;
    jump.length = length;
    jump.mask = match_jump_mask(length);
    return true;
}

} // namespace

void match_jump_make(const view_radix_t &tree, bool icase, std::span<const uint32_t> roles,
                     size_t room, match_jump_t &jump)
{
    jump = {};
    jump.letters = icase ? MATCH_JUMP_LETTERS : 0;
    if (tree.rows.nr_row < SMALL_TREE || (icase && !codes_fold(tree)) ||
        view_row_word(tree.rows, 0, RADIX_ITEM_COLUMN) != PATTERN_NO_ITEM_WORD)
        return;
    match_jump_paths_t paths;
    for (uint32_t length = MATCH_JUMP_WORD; length >= LENGTH_MIN; --length)
        if (match_jump_find_paths(tree, icase, length, match_jump_most(room), paths) &&
            fill_table(tree, roles, length, paths, jump))
            return;
}

size_t match_jump_bytes(const match_jump_t &jump)
{
    return jump.entries.capacity() * sizeof(match_jump_entry_t) + jump.displacements.capacity();
}
