#include "match_jump.h"

#include <algorithm>
#include <array>
#include <bit>

#include "match_jump_word.h"

// What few values need is not inlined, so that what all of them need keeps to few registers.
namespace
{

/// Returns the bytes of the data in front of `end`, not 0, from the back: eight, or zeros for those
/// that the data does not have. Folded as keys are. The data has a word.
inline uint64_t word_before(const match_jump_t &jump, std::span<const uint8_t> data, size_t end)
{
    const size_t begin = end < MATCH_JUMP_WORD ? 0 : end - MATCH_JUMP_WORD;
    const uint64_t word = match_jump_folded(match_jump_load(data.data() + begin), jump.letters);
    return word << 8 * (begin + MATCH_JUMP_WORD - end);
}

/// Tells whether the data in front of `end` goes on with the rest of an entry, of more than a word.
[[gnu::noinline]] bool has_long_rest(const match_jump_t &jump, const view_radix_t &tree,
                                     std::span<const uint8_t> data, size_t end,
                                     const match_jump_entry_t &entry)
{
    const uint8_t *rest = tree.c_edges.data + entry.rest;
    for (size_t at = 0; at < entry.nr_rest; ++at) {
        const uint8_t byte = data[end - 1 - at];
        const bool capital = jump.letters != 0 && byte >= 'A' && byte <= 'Z';
        if ((capital ? byte | 0x20 : byte) != rest[at])
            return false;
    }
    return true;
}

/// Tells whether data that has a word goes on with the rest of an entry whose key it has.
inline bool goes_on(const match_jump_t &jump, const view_radix_t &tree,
                    std::span<const uint8_t> data, const match_jump_entry_t &entry)
{
    if (entry.nr_rest == 0)
        return true;
    const size_t end = data.size() - entry.length;
    if (end < entry.nr_rest)
        return false;
    if (entry.nr_rest > MATCH_JUMP_WORD)
        return has_long_rest(jump, tree, data, end, entry);
    return ((word_before(jump, data, end) ^ entry.rest) & match_jump_mask(entry.nr_rest)) == 0;
}

/// Returns the entry of the key of `length` bytes at the end of the data, or null.
inline const match_jump_entry_t *find_entry(const match_jump_t &jump, uint64_t word,
                                            uint32_t length)
{
    const uint64_t key = word & match_jump_mask(length);
    const uint64_t hash = match_jump_hash(jump, key, length);
    const uint8_t displacement = jump.displacements[match_jump_bucket(jump, hash)];
    const match_jump_entry_t &entry = jump.entries[match_jump_place_of(jump, hash, displacement)];
    return entry.key == key && entry.length == length ? &entry : nullptr;
}

/// Looks for keys of some lengths, the longest first: it leads to all others.
[[gnu::noinline]] const match_jump_entry_t *find_longest(const match_jump_t &jump, uint64_t word,
                                                         uint32_t lengths)
{
    while (lengths != 0) {
        const uint32_t length = static_cast<uint32_t>(std::bit_width(lengths)) - 1;
        if (const match_jump_entry_t *entry = find_entry(jump, word, length); entry != nullptr)
            return entry;
        lengths ^= 1U << length;
    }
    return nullptr;
}

/// The same for data of less than a word, which is filled up to one.
[[gnu::noinline]] const match_jump_entry_t *
find_short(const match_jump_t &jump, const view_radix_t &tree, std::span<const uint8_t> data)
{
    std::array<uint8_t, MATCH_JUMP_WORD> filled{};
    std::copy(data.begin(), data.end(), filled.end() - data.size());
    const uint32_t lengths = (jump.short_lengths | 1U << jump.length) & ((2U << data.size()) - 1);
    const match_jump_entry_t *entry =
        find_longest(jump, word_before(jump, filled, filled.size()), lengths);
    const bool fits = entry != nullptr && entry->length + entry->nr_rest <= data.size();
    return fits && goes_on(jump, tree, filled, *entry) ? entry : nullptr;
}

} // namespace

const match_jump_entry_t *match_jump_find(const match_jump_t &jump, const view_radix_t &tree,
                                          std::span<const uint8_t> data)
{
    if (data.size() < MATCH_JUMP_WORD)
        return find_short(jump, tree, data);
    const uint64_t word = word_before(jump, data, data.size());
    const match_jump_entry_t *entry = find_entry(jump, word, jump.length);
    if (entry == nullptr && jump.short_lengths != 0)
        entry = find_longest(jump, word, jump.short_lengths);
    return entry != nullptr && goes_on(jump, tree, data, *entry) ? entry : nullptr;
}
