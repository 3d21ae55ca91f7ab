/// Bytes in words, the one that is passed first most significant: keys of jump tables.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

/// Bytes of a word.
constexpr uint32_t MATCH_JUMP_WORD = 8;

/// Returns byte `depth` of a path where it stands in a word.
inline uint64_t match_jump_byte(uint8_t byte, uint32_t depth)
{
    constexpr uint32_t top_shift = 56;
    return uint64_t{byte} << (top_shift - 8 * depth);
}

/// Returns byte `depth` of the path in a word.
inline uint8_t match_jump_byte_at(uint64_t word, uint32_t depth)
{
    constexpr uint32_t top_shift = 56;
    return static_cast<uint8_t>(word >> (top_shift - 8 * depth));
}

/// The bit that tells small letters from capitals, in all bytes of a word.
constexpr uint64_t MATCH_JUMP_LETTERS = 0x2020202020202020ULL;

/// Folds the capitals among eight bytes at once, where `letters` is not 0 but MATCH_JUMP_LETTERS.
/// Most names have none, and not even a byte without the bit that tells them from small letters.
inline uint64_t match_jump_folded(uint64_t word, uint64_t letters)
{
    if ((~word & letters) == 0)
        return word;
    constexpr uint64_t ones = 0x0101010101010101ULL;
    const uint64_t low = word & (0x7F * ones);
    const uint64_t from_a = low + (0x80 - 'A') * ones;
    const uint64_t above_z = low + (0x80 - 'Z' - 1) * ones;
    return word | ((from_a & ~above_z & ~word & (0x80 * ones)) >> 2);
}

/// Returns the bits of the first `length` bytes of a word, at least one.
inline uint64_t match_jump_mask(uint32_t length)
{
    return UINT64_MAX << (64 - 8 * length);
}

/// Returns eight bytes, the last one most significant.
inline uint64_t match_jump_load(const uint8_t *data)
{
    uint64_t word = 0;
    std::memcpy(&word, data, sizeof word);
    return std::endian::native == std::endian::little ? word : __builtin_bswap64(word);
}
