#include "match_jump.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "match_roles.h"

namespace
{

constexpr uint32_t SMALL_TREE = 256; ///< rows of a tree that is walked from its root
constexpr uint32_t LENGTH_MAX = 7;
constexpr uint32_t LENGTH_MIN = 4;
constexpr uint32_t TOP_SHIFT = 56; ///< of the last byte of the data in a key

/// Where a byte of a path stands in its key.
uint64_t key_byte(uint8_t byte, uint32_t depth)
{
    return uint64_t{byte} << (TOP_SHIFT - 8 * depth);
}

size_t place_of(const match_jump_t &jump, uint64_t key)
{
    constexpr uint64_t golden = 0x9E3779B97F4A7C15ULL; // D. E. Knuth, multiplicative hashing
    return static_cast<size_t>((key * golden) >> jump.shift);
}

/// Where the walk over all paths stands.
struct branch_t {
    uint32_t row = 0;
    uint32_t depth = 0;
    uint64_t key = 0;
    bool ended = false; ///< a pattern ends at a row above
};

/// The walk over all paths of one length. A tree has no more of them than bytes; a damaged one
/// may, and gives up.
struct paths_t {
    const view_radix_t &tree;
    uint32_t length;
    size_t room;                     ///< entries that fit
    std::vector<uint8_t> bytes = {}; ///< that edges carry
    std::vector<branch_t> branches = {branch_t{}};
    std::vector<match_jump_entry_t> entries = {};
    bool short_ends = false;

    bool ends_at(uint32_t row) const
    {
        return view_row_word(tree.rows, row, RADIX_ITEM_COLUMN) != PATTERN_NO_ITEM_WORD;
    }

    /// Notes the end of a path: the row of its branch, or the root where a pattern ended before.
    void end_path(const branch_t &at, uint64_t key)
    {
        entries.push_back({key, at.ended ? 0 : at.row, at.ended ? 0 : at.depth});
    }

    /// Follows the compressed edge of a number from a branch.
    void follow_chain(const branch_t &from, uint32_t number, branch_t to)
    {
        const view_radix_chain_t chain = view_radix_chain(tree, number);
        size_t passed = 0;
        for (; passed < chain.bytes.size() && to.depth < length; ++passed, ++to.depth)
            to.key |= key_byte(chain.bytes[passed], to.depth);
        if (passed < chain.bytes.size()) { // the path ends within the edge
            end_path(from, to.key);
            return;
        }
        to.row = chain.end;
        arrive(to);
    }

    void arrive(const branch_t &to)
    {
        if (to.depth == length)
            end_path(to, to.key);
        else
            branches.push_back(to);
    }

    void follow_edges(const branch_t &from)
    {
        const bool ends = ends_at(from.row);
        short_ends = short_ends || ends;
        for (const uint8_t byte : bytes) {
            const uint32_t number = view_radix_next(tree, from.row, byte);
            if (number == 0)
                continue;
            const branch_t to = {number, from.depth + 1, from.key | key_byte(byte, from.depth),
                                 from.ended || ends};
            if (view_radix_is_chain(tree, number))
                follow_chain(from, number, to);
            else
                arrive(to);
        }
    }

    /// Returns false where the paths do not fit.
    bool find()
    {
        for (size_t steps = 0; !branches.empty(); ++steps) {
            if (steps > tree.rows.nr_row || entries.size() > room)
                return false;
            const branch_t from = branches.back();
            branches.pop_back();
            follow_edges(from);
        }
        return !entries.empty() && entries.size() <= room;
    }
};

/// Tells whether both cases of every letter have one code, as folded keys take for granted.
bool codes_fold(const view_radix_t &tree)
{
    for (uint32_t capital = 'A'; capital <= 'Z'; ++capital)
        if (tree.alphabet.code[capital] != tree.alphabet.code[capital | 0x20])
            return false;
    return true;
}

std::vector<uint8_t> edge_bytes(const view_radix_t &tree, bool icase)
{
    std::vector<uint8_t> bytes;
    for (uint32_t byte = 0; byte < ALPHABET_MAP_COUNT; ++byte)
        if (tree.alphabet.code[byte] >= RADIX_NR_META && !(icase && byte >= 'A' && byte <= 'Z'))
            bytes.push_back(static_cast<uint8_t>(byte));
    return bytes;
}

void fill_table(const paths_t &paths, match_jump_t &jump)
{
    const size_t size = std::bit_ceil(paths.entries.size() * 2);
    jump.table.resize(size);
    jump.shift = 64 - static_cast<uint32_t>(std::countr_zero(size));
    for (const match_jump_entry_t &entry : paths.entries) {
        size_t at = place_of(jump, entry.key);
        while (jump.table[at].depth != UINT32_MAX)
            at = (at + 1) & (size - 1);
        jump.table[at] = entry;
    }
    jump.short_ends = paths.short_ends;
    jump.length = paths.length;
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

/// Folds the capitals among eight bytes at once.
uint64_t folded(uint64_t key)
{
    constexpr uint64_t ones = 0x0101010101010101ULL;
    const uint64_t low = key & (0x7F * ones);
    const uint64_t from_a = low + (0x80 - 'A') * ones;
    const uint64_t above_z = low + (0x80 - 'Z' - 1) * ones;
    return key | ((from_a & ~above_z & ~key & (0x80 * ones)) >> 2);
}

/// Returns the key of the last bytes of `data`, which has as many.
uint64_t key_of(const match_jump_t &jump, std::span<const uint8_t> data)
{
    uint64_t key = 0;
    if (std::endian::native == std::endian::little && data.size() >= sizeof key)
        std::memcpy(&key, data.data() + data.size() - sizeof key, sizeof key);
    else
        for (uint32_t i = 0; i < jump.length; ++i)
            key |= key_byte(data[data.size() - 1 - i], i);
    key &= UINT64_MAX << (64 - 8 * jump.length);
    return jump.icase ? folded(key) : key;
}

} // namespace

void match_jump_make(const view_radix_t &tree, bool icase, std::span<const uint32_t> roles,
                     match_jump_t &jump)
{
    jump = {};
    jump.icase = icase;
    if (tree.rows.nr_row < SMALL_TREE || (icase && !codes_fold(tree)))
        return;
    jump.ends.resize(tree.rows.nr_row);
    for (uint32_t row = 0; row < tree.rows.nr_row; ++row)
        jump.ends[row] = end_of(tree, roles, row);
    constexpr size_t share = 8; // of the tree, at half full
    const size_t room = tree.rows.area.size / share / (4 * sizeof(match_jump_entry_t));
    for (uint32_t length = LENGTH_MAX; length >= LENGTH_MIN; --length) {
        paths_t paths{tree, length, room, edge_bytes(tree, icase)};
        if (!paths.find())
            continue;
        fill_table(paths, jump);
        return;
    }
}

bool match_jump_find(const match_jump_t &jump, std::span<const uint8_t> data, uint32_t &row,
                     uint32_t &depth)
{
    row = 0;
    depth = 0;
    if (data.size() < jump.length)
        return true;
    const uint64_t key = key_of(jump, data);
    for (size_t at = place_of(jump, key); jump.table[at].depth != UINT32_MAX;
         at = (at + 1) & (jump.table.size() - 1)) {
        if (jump.table[at].key != key)
            continue;
        row = jump.table[at].row;
        depth = jump.table[at].depth;
        return true;
    }
    return jump.short_ends;
}
