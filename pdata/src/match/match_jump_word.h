/// Bytes in words, the one that is passed first most significant: keys of jump tables.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <span>

/// Bytes of a word.
constexpr uint32_t MATCH_JUMP_WORD = 8;

/// Returns byte `depth` of a path where it stands in a word.
inline uint64_t match_jump_byte(uint8_t byte, uint32_t depth)
{
    constexpr uint32_t top_shift = 56;
    return uint64_t{byte} << (top_shift - 8 * depth);
}

/// Folds the capitals among eight bytes at once. Most names have none, and not even a byte without
/// the bit that tells them from small letters.
inline uint64_t match_jump_folded(uint64_t word)
{
    constexpr uint64_t ones = 0x0101010101010101ULL;
    if ((~word & (0x20 * ones)) == 0)
        return word;
    const uint64_t low = word & (0x7F * ones);
    const uint64_t from_a = low + (0x80 - 'A') * ones;
    const uint64_t above_z = low + (0x80 - 'Z' - 1) * ones;
    return word | ((from_a & ~above_z & ~word & (0x80 * ones)) >> 2);
}

/// Returns eight bytes, the last one most significant.
inline uint64_t match_jump_load(const uint8_t *data)
{
    uint64_t word = 0;
    std::memcpy(&word, data, sizeof word);
    return std::endian::native == std::endian::little ? word : __builtin_bswap64(word);
}

/// Returns the bytes of the data in front of `end`, not 0, from the back: eight, or zeros for those
/// that the data does not have.
inline uint64_t match_jump_word_before(std::span<const uint8_t> data, size_t end)
{
    if (data.size() >= MATCH_JUMP_WORD) {
        const size_t begin = end < MATCH_JUMP_WORD ? 0 : end - MATCH_JUMP_WORD;
        return match_jump_load(data.data() + begin) << 8 * (begin + MATCH_JUMP_WORD - end);
    }
    uint64_t word = 0;
    for (uint32_t i = 0; i < end; ++i)
        word |= match_jump_byte(data[end - 1 - i], i);
    return word;
}
