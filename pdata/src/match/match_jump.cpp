#include "match_jump.h"

#include <bit>

#include "match_jump_word.h"

namespace
{

/// Returns the bytes of the data in front of `end`, not 0, as a key has them.
uint64_t word_before(const match_jump_t &jump, std::span<const uint8_t> data, size_t end)
{
    const uint64_t word = match_jump_word_before(data, end);
    return jump.icase ? match_jump_folded(word) : word;
}

/// Tells whether the data in front of `end` goes on with the rest of an entry, which fits a word.
bool has_short_rest(const match_jump_t &jump, std::span<const uint8_t> data, size_t end,
                    const match_jump_entry_t &entry)
{
    const uint64_t differs = word_before(jump, data, end) ^ entry.rest;
    return differs >> (64 - 8 * entry.nr_rest) == 0;
}

/// The same for a longer one.
bool has_long_rest(const match_jump_t &jump, const view_radix_t &tree,
                   std::span<const uint8_t> data, size_t end, const match_jump_entry_t &entry)
{
    const uint8_t *rest = tree.c_edges.data + entry.rest;
    for (size_t at = 0; at < entry.nr_rest; ++at) {
        const uint8_t byte = data[end - 1 - at];
        const bool capital = jump.icase && byte >= 'A' && byte <= 'Z';
        if ((capital ? byte | 0x20 : byte) != rest[at])
            return false;
    }
    return true;
}

/// Tells whether the data goes on with the rest of an entry whose key it has.
bool goes_on(const match_jump_t &jump, const view_radix_t &tree, std::span<const uint8_t> data,
             const match_jump_entry_t &entry)
{
    if (entry.nr_rest == 0)
        return true;
    const size_t end = data.size() - entry.length;
    if (end < entry.nr_rest)
        return false;
    return entry.nr_rest <= MATCH_JUMP_WORD ? has_short_rest(jump, data, end, entry)
                                            : has_long_rest(jump, tree, data, end, entry);
}

/// Returns the entry of the key of `length` bytes at the end of the data, or null.
const match_jump_entry_t *find_entry(const match_jump_t &jump, uint64_t word, uint32_t length)
{
    const uint64_t key = word & UINT64_MAX << (64 - 8 * length);
    const uint64_t hash = match_jump_hash(jump, key, length);
    const uint8_t displacement = jump.displacements[match_jump_bucket(jump, hash)];
    const match_jump_entry_t &entry = jump.entries[match_jump_place_of(jump, hash, displacement)];
    return entry.key == key && entry.length == length ? &entry : nullptr;
}

/// Looks for patterns that are shorter than a key, the longest first: it leads to all others.
const match_jump_entry_t *find_shorter(const match_jump_t &jump, uint64_t word, size_t size)
{
    uint32_t lengths = jump.short_lengths;
    if (size < jump.length)
        lengths &= (2U << size) - 1;
    while (lengths != 0) {
        const uint32_t length = static_cast<uint32_t>(std::bit_width(lengths)) - 1;
        if (const match_jump_entry_t *entry = find_entry(jump, word, length); entry != nullptr)
            return entry;
        lengths ^= 1U << length;
    }
    return nullptr;
}

} // namespace

const match_jump_entry_t *match_jump_find(const match_jump_t &jump, const view_radix_t &tree,
                                          std::span<const uint8_t> data)
{
    if (data.empty())
        return nullptr;
    const uint64_t word = word_before(jump, data, data.size());
    const match_jump_entry_t *entry =
        data.size() >= jump.length ? find_entry(jump, word, jump.length) : nullptr;
    if (entry == nullptr && jump.short_lengths != 0)
        entry = find_shorter(jump, word, data.size());
    return entry != nullptr && goes_on(jump, tree, data, *entry) ? entry : nullptr;
}
