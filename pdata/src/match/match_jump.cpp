#include "match_jump.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "match_roles.h"

namespace
{

constexpr uint32_t SMALL_TREE = 256; ///< rows of a tree that is walked from its root
constexpr uint32_t LENGTH_MAX = 8;
constexpr uint32_t LENGTH_MIN = 4;
constexpr uint32_t TOP_SHIFT = 56; ///< of the last byte of the data in a key

/// Where a byte of a path stands in its key.
uint64_t key_byte(uint8_t byte, uint32_t depth)
{
    return uint64_t{byte} << (TOP_SHIFT - 8 * depth);
}

size_t bucket_of(const match_jump_t &jump, uint64_t key)
{
    constexpr uint64_t golden = 0x9E3779B97F4A7C15ULL; // D. E. Knuth, multiplicative hashing
    return static_cast<size_t>(((key ^ key >> 32) * golden) >> jump.shift);
}

/// Where the walk over all paths stands.
struct branch_t {
    uint32_t row = 0;
    uint32_t depth = 0;
    uint64_t key = 0;
    bool ended = false; ///< a pattern ends at a row above
};

/// One path, and where it leads.
struct path_t {
    uint64_t key = 0;
    match_jump_place_t place;
};

/// The walk over all paths of one length. A tree has no more of them than bytes; a damaged one
/// may, and gives up.
struct paths_t {
    const view_radix_t &tree;
    uint32_t length;
    size_t room;                     ///< entries that fit
    std::vector<uint8_t> bytes = {}; ///< that edges carry
    std::vector<branch_t> branches = {branch_t{}};
    std::vector<path_t> entries = {};
    bool short_ends = false;

    bool ends_at(uint32_t row) const
    {
        return view_row_word(tree.rows, row, RADIX_ITEM_COLUMN) != PATTERN_NO_ITEM_WORD;
    }

    /// Notes the end of a path: its place, or the root where a pattern ended before.
    void end_path(const branch_t &at, const match_jump_place_t &place)
    {
        entries.push_back({at.key, at.ended ? match_jump_place_t{} : place});
    }

    /// Follows the compressed edge of a number; `to` has passed its first byte.
    void follow_chain(uint32_t number, branch_t to)
    {
        const view_radix_chain_t chain = view_radix_chain(tree, number);
        uint8_t passed = 0;
        for (; passed < chain.bytes.size() && to.depth < length; ++passed, ++to.depth)
            to.key |= key_byte(chain.bytes[passed], to.depth);
        to.row = chain.end;
        if (passed < chain.bytes.size())
            end_path(to, {static_cast<uint16_t>(number), passed, MATCH_JUMP_CHAIN, chain.end});
        else
            arrive(to);
    }

    void arrive(const branch_t &to)
    {
        if (to.depth == length)
            end_path(to, {static_cast<uint16_t>(to.row), 0, MATCH_JUMP_ROW, to.row});
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
                follow_chain(number, to);
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

/// Puts a path into the first free place from its bucket on.
void add_path(const path_t &path, match_jump_t &jump)
{
    for (size_t bucket = bucket_of(jump, path.key);; bucket = (bucket + 1) % jump.buckets.size())
        for (uint32_t i = 0; i < MATCH_JUMP_BUCKET; ++i)
            if (jump.buckets[bucket].keys[i] == 0) {
                jump.buckets[bucket].keys[i] = path.key;
                jump.buckets[bucket].places[i] = path.place;
                return;
            }
}

/// Returns the buckets for so many paths: a power of two above 1, at most three quarters full.
size_t nr_bucket_for(size_t nr_path)
{
    return std::bit_ceil(nr_path / (MATCH_JUMP_BUCKET * 3 / 4) + 2);
}

void fill_table(const paths_t &paths, std::span<const uint32_t> roles, match_jump_t &jump)
{
    const size_t size = nr_bucket_for(paths.entries.size());
    jump.buckets.resize(size);
    jump.shift = 64 - static_cast<uint32_t>(std::countr_zero(size));
    for (path_t path : paths.entries) {
        if (path.place.kind != MATCH_JUMP_ROOT)
            path.place.end = end_of(paths.tree, roles, path.place.end);
        if (path.key != 0) // data that ends so is walked from the root
            add_path(path, jump);
    }
    jump.short_ends = paths.short_ends;
    jump.length = paths.length;
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

/// Returns eight bytes with the last one most significant.
uint64_t load_last(const uint8_t *data)
{
    uint64_t word = 0;
    std::memcpy(&word, data, sizeof word);
    return std::endian::native == std::endian::little ? word : __builtin_bswap64(word);
}

/// Returns the eight bytes in front of `end`, not 0, the last one most significant and zeros for
/// those that the data does not have.
uint64_t word_before(std::span<const uint8_t> data, size_t end)
{
    constexpr size_t size = sizeof(uint64_t);
    if (end >= size)
        return load_last(data.data() + end - size);
    if (data.size() >= size)
        return load_last(data.data()) << 8 * (size - end);
    uint64_t word = 0;
    for (uint32_t i = 0; i < end; ++i)
        word |= key_byte(data[end - 1 - i], i);
    return word;
}

/// Returns up to eight bytes of an edge from `at` on, the first one most significant.
uint64_t edge_word(const view_radix_t &tree, const uint8_t *at, size_t nr)
{
    uint64_t word = 0;
    if (tree.c_edges.data + tree.c_edges.size - at >= static_cast<ptrdiff_t>(sizeof word))
        return uint64_t{csa_get_be32(at)} << 32 | csa_get_be32(at + 4);
    for (uint32_t i = 0; i < nr; ++i)
        word |= key_byte(at[i], i);
    return word;
}

/// Tells whether the data in front of `end` goes on with `rest`, from the back.
bool goes_on(const match_jump_t &jump, const view_radix_t &tree, std::span<const uint8_t> data,
             size_t end, std::span<const uint8_t> rest)
{
    if (end < rest.size())
        return false;
    for (size_t at = 0; at < rest.size(); at += sizeof(uint64_t)) {
        const size_t nr = std::min(rest.size() - at, sizeof(uint64_t));
        const uint64_t word = word_before(data, end - at);
        const uint64_t differs =
            (jump.icase ? folded(word) : word) ^ edge_word(tree, rest.data() + at, nr);
        if (differs >> (64 - 8 * nr) != 0)
            return false;
    }
    return true;
}

/// Returns the place of a key, or null.
const match_jump_place_t *find_place(const match_jump_t &jump, uint64_t key)
{
    for (size_t at = bucket_of(jump, key);; at = (at + 1) & (jump.buckets.size() - 1)) {
        const match_jump_bucket_t &bucket = jump.buckets[at];
        __builtin_prefetch(bucket.places);
        uint32_t found = 0;
        for (uint32_t i = 0; i < MATCH_JUMP_BUCKET; ++i)
            found |= uint32_t{bucket.keys[i] == key} << i;
        if (found != 0)
            return &bucket.places[std::countr_zero(found)];
        if (bucket.keys[MATCH_JUMP_BUCKET - 1] == 0)
            return nullptr;
    }
}

} // namespace

void match_jump_make(const view_radix_t &tree, bool icase, std::span<const uint32_t> roles,
                     size_t room, match_jump_t &jump)
{
    jump = {};
    jump.icase = icase;
    if (tree.rows.nr_row < SMALL_TREE || (icase && !codes_fold(tree)))
        return;
    const size_t most =
        std::bit_floor(room / sizeof(match_jump_bucket_t)) * (MATCH_JUMP_BUCKET * 3 / 4);
    for (uint32_t length = LENGTH_MAX; length >= LENGTH_MIN; --length) {
        paths_t paths{tree, length, most, edge_bytes(tree, icase)};
        if (!paths.find() ||
            nr_bucket_for(paths.entries.size()) * sizeof(match_jump_bucket_t) > room)
            continue;
        fill_table(paths, roles, jump);
        return;
    }
}

size_t match_jump_bytes(const match_jump_t &jump)
{
    return jump.buckets.capacity() * sizeof(match_jump_bucket_t);
}

bool match_jump_find(const match_jump_t &jump, const view_radix_t &tree,
                     std::span<const uint8_t> data, match_jump_start_t &start)
{
    if (data.size() < jump.length)
        return true;
    const uint64_t word = word_before(data, data.size()) & UINT64_MAX << (64 - 8 * jump.length);
    const uint64_t key = jump.icase ? folded(word) : word;
    if (key == 0)
        return true;
    const match_jump_place_t *place = find_place(jump, key);
    if (place == nullptr)
        return jump.short_ends;
    if (place->kind == MATCH_JUMP_ROOT)
        return true;
    start = {place->number, jump.length, place->end};
    if (place->kind == MATCH_JUMP_ROW)
        return true;
    const view_radix_chain_t chain = view_radix_chain(tree, place->number);
    const std::span<const uint8_t> rest = chain.bytes.subspan(place->passed);
    start.row = chain.end;
    start.depth += static_cast<uint32_t>(rest.size());
    return goes_on(jump, tree, data, data.size() - jump.length, rest);
}
