#include "match_jump.h"

#include <algorithm>
#include <array>
#include <bit>

namespace
{

/// Returns the last eight bytes of data that has them, folded as keys are.
uint64_t last_word(const match_jump_t &jump, std::span<const uint8_t> data)
{
    return match_jump_folded(match_jump_load(data.data() + data.size() - MATCH_JUMP_WORD),
                             jump.letters);
}

/// Tells whether the data in front of a key goes on with the rest of an entry, byte for byte.
bool fits_bytes(const match_jump_t &jump, const view_radix_t &tree, std::span<const uint8_t> data,
                const match_jump_entry_t &entry)
{
    const uint8_t *rest = tree.c_edges.data + entry.front;
    const size_t end = data.size() - entry.length;
    for (size_t at = 0; at < entry.nr_rest; ++at) {
        const uint8_t byte = data[end - 1 - at];
        const bool capital = jump.letters != 0 && byte >= 'A' && byte <= 'Z';
        if ((capital ? byte | 0x20 : byte) != rest[at])
            return false;
    }
    return true;
}

/// Looks for keys of some lengths, the longest first: it leads to all others.
const match_jump_entry_t *find_longest(const match_jump_t &jump, uint64_t word, uint32_t lengths)
{
    while (lengths != 0) {
        const uint32_t length = static_cast<uint32_t>(std::bit_width(lengths)) - 1;
        const uint64_t key = word & match_jump_mask(length);
        const match_jump_entry_t &entry = match_jump_look(jump, key, length);
        if (match_jump_has_key(entry, key, length))
            return &entry;
        lengths ^= 1U << length;
    }
    return nullptr;
}

/// Finds the entry for data of less than a word, which is filled up to one.
const match_jump_entry_t *find_in_short(const match_jump_t &jump, std::span<const uint8_t> data)
{
    std::array<uint8_t, MATCH_JUMP_WORD> filled{};
    std::copy(data.begin(), data.end(), filled.end() - data.size());
    const uint32_t lengths = (jump.short_lengths | 1U << jump.length) & ((2U << data.size()) - 1);
    return find_longest(jump, last_word(jump, filled), lengths);
}

} // namespace

bool match_jump_goes_on(const match_jump_t &jump, const view_radix_t &tree,
                        std::span<const uint8_t> data, const match_jump_entry_t &entry)
{
    if (entry.nr_rest == 0 || data.size() < match_jump_bytes_of(entry))
        return entry.nr_rest == 0;
    return match_jump_has_front(entry) ? match_jump_fits_front(jump, entry, data)
                                       : fits_bytes(jump, tree, data, entry);
}

const match_jump_entry_t *match_jump_find_shorter(const match_jump_t &jump,
                                                  std::span<const uint8_t> data)
{
    return find_longest(jump, last_word(jump, data), jump.short_lengths);
}

const match_jump_entry_t *match_jump_find(const match_jump_t &jump, const view_radix_t &tree,
                                          std::span<const uint8_t> data)
{
    const match_jump_entry_t *entry = nullptr;
    if (data.size() < MATCH_JUMP_WORD) {
        entry = find_in_short(jump, data);
    } else {
        const uint64_t key = last_word(jump, data) & jump.mask;
        entry = &match_jump_look(jump, key, jump.length);
        if (!match_jump_has_key(*entry, key, jump.length))
            entry = match_jump_find_shorter(jump, data);
    }
    return entry != nullptr && match_jump_goes_on(jump, tree, data, *entry) ? entry : nullptr;
}
