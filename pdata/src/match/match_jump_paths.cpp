#include <algorithm>

#include "match_jump.h"

namespace
{

/// Where the walk over all paths stands.
struct branch_t {
    uint32_t row = 0;
    uint32_t depth = 0;
    uint64_t key = 0;
    bool ended = false; ///< a pattern ends at a row above
};

/// Returns the last eight bytes of a key and a rest as a word.
uint64_t front_of(const match_jump_entry_t &entry, std::span<const uint8_t> rest)
{
    uint64_t front = 0;
    for (uint32_t i = 0; i < MATCH_JUMP_WORD; ++i) {
        const uint32_t at = match_jump_bytes_of(entry) - MATCH_JUMP_WORD + i;
        const uint8_t byte =
            at < entry.length ? match_jump_byte_at(entry.key, at) : rest[at - entry.length];
        front |= match_jump_byte(byte, i);
    }
    return front;
}

/// The walk over all paths of one length. A tree has no more of them than bytes; a damaged one
/// may, and gives up.
struct walk_t {
    const view_radix_t &tree;
    uint32_t length;
    size_t most; ///< entries that fit
    match_jump_paths_t &paths;
    std::vector<uint8_t> bytes = {}; ///< that edges carry
    std::vector<branch_t> branches = {branch_t{}};

    bool ends_at(uint32_t row) const
    {
        return view_row_word(tree.rows, row, RADIX_ITEM_COLUMN) != PATTERN_NO_ITEM_WORD;
    }

    /// Notes a path that leads to a row, or to the root where a pattern ended before.
    void end_path(const branch_t &at)
    {
        match_jump_entry_t entry;
        entry.key = at.key;
        entry.front = at.key;
        entry.length = static_cast<uint8_t>(at.depth);
        entry.row = static_cast<uint16_t>(at.ended ? 0 : at.row);
        entry.end = at.ended ? MATCH_END_ABOVE : at.row;
        paths.entries.push_back(entry);
    }

    /// Notes a path that ends within a compressed edge, of which `rest` is left.
    void end_within(const branch_t &at, std::span<const uint8_t> rest)
    {
        end_path(at);
        if (at.ended)
            return;
        match_jump_entry_t &entry = paths.entries.back();
        entry.nr_rest = static_cast<uint8_t>(rest.size());
        entry.front = match_jump_has_front(entry)
                          ? front_of(entry, rest)
                          : static_cast<uint64_t>(rest.data() - tree.c_edges.data);
    }

    /// Follows the compressed edge of a number; `to` has passed its first byte.
    void follow_chain(uint32_t number, branch_t to)
    {
        const view_radix_chain_t chain = view_radix_chain(tree, number);
        size_t passed = 0;
        for (; passed < chain.bytes.size() && to.depth < length; ++passed, ++to.depth)
            to.key |= match_jump_byte(chain.bytes[passed], to.depth);
        to.row = chain.end;
        if (passed < chain.bytes.size())
            end_within(to, chain.bytes.subspan(passed));
        else
            arrive(to);
    }

    void arrive(const branch_t &to)
    {
        if (to.depth == length)
            end_path(to);
        else
            branches.push_back(to);
    }

    void follow_edges(const branch_t &from)
    {
        const bool ends = ends_at(from.row);
        if (ends) {
            end_path(from);
            paths.short_lengths |= 1U << from.depth;
        }
        for (const uint8_t byte : bytes) {
            const uint32_t number = view_radix_next(tree, from.row, byte);
            if (number == 0)
                continue;
            const branch_t to = {number, from.depth + 1,
                                 from.key | match_jump_byte(byte, from.depth), from.ended || ends};
            if (view_radix_is_chain(tree, number))
                follow_chain(number, to);
            else
                arrive(to);
        }
    }

    /// Returns false where the paths do not fit.
    bool find()
    {
        for (size_t steps = 0; !branches.empty(); ++steps) {
            if (steps > tree.rows.nr_row || paths.entries.size() > most)
                return false;
            const branch_t from = branches.back();
            branches.pop_back();
            follow_edges(from);
        }
        return !paths.entries.empty() && paths.entries.size() <= most;
    }
};

std::vector<uint8_t> edge_bytes(const view_radix_t &tree, bool icase)
{
    std::vector<uint8_t> bytes;
    for (uint32_t byte = 0; byte < ALPHABET_MAP_COUNT; ++byte)
        if (tree.alphabet.code[byte] >= RADIX_NR_META && !(icase && byte >= 'A' && byte <= 'Z'))
            bytes.push_back(static_cast<uint8_t>(byte));
    return bytes;
}

} // namespace

bool match_jump_find_paths(const view_radix_t &tree, bool icase, uint32_t length, size_t most,
                           match_jump_paths_t &paths)
{
    paths = {};
    walk_t walk{tree, length, most, paths, edge_bytes(tree, icase)};
    return walk.find();
}
