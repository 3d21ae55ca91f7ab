/// Sets of bytes as expressions name them.
#pragma once

#include "prove_automaton.h"

constexpr prove_set_t PROVE_ANY_BYTE = {UINT64_MAX, UINT64_MAX, UINT64_MAX, UINT64_MAX};

inline bool prove_is_digit(uint32_t c)
{
    return c >= '0' && c <= '9';
}

inline bool prove_is_letter(uint32_t c)
{
    return (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
}

/// Returns a letter as a small one, any other byte as it is.
inline uint8_t prove_small(uint8_t c)
{
    return prove_is_letter(c) ? static_cast<uint8_t>(c | 0x20U) : c;
}

inline bool prove_is_word_part(uint32_t c)
{
    return prove_is_digit(c) || prove_is_letter(c) || c == '_';
}

inline bool prove_is_blank(uint32_t c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// Returns the bytes of which `is_member` is true.
template <typename Member>
prove_set_t prove_set_of(const Member &is_member)
{
    prove_set_t set{};
    for (uint32_t c = 0; c < 256; ++c)
        if (is_member(c))
            prove_set_add(set, c);
    return set;
}

/// Returns one byte as a set, with `icase` a letter in both cases.
inline prove_set_t prove_byte_set(uint8_t c, bool icase)
{
    prove_set_t set{};
    prove_set_add(set, c);
    if (icase && prove_is_letter(c))
        prove_set_add(set, c ^ 0x20U);
    return set;
}

/// Word by word: a set that was written just now is not read any sooner as a whole.
inline bool prove_set_equal(const prove_set_t &one, const prove_set_t &other)
{
    return ((one[0] ^ other[0]) | (one[1] ^ other[1]) | (one[2] ^ other[2]) |
            (one[3] ^ other[3])) == 0;
}

inline bool prove_set_is_empty(const prove_set_t &set)
{
    return (set[0] | set[1] | set[2] | set[3]) == 0;
}

inline void prove_set_unite(prove_set_t &set, const prove_set_t &more)
{
    for (size_t i = 0; i < set.size(); ++i)
        set[i] |= more[i];
}

/// Returns all other bytes.
inline prove_set_t prove_set_without(prove_set_t set)
{
    for (uint64_t &word : set)
        word = ~word;
    return set;
}

/// Returns how many bytes a set has.
uint32_t prove_set_size(const prove_set_t &set);

/// Turns after which a set was gone through with the first of its bytes, with the last, and with
/// one that reads well.
constexpr uint32_t PROVE_TURNS = 3;

/// Returns byte `turn` of a set of `size` bytes, at least one: the first, the last, one that reads
/// well, then those between.
uint8_t prove_set_byte(const prove_set_t &set, uint32_t size, uint32_t turn);

/// Gives the bytes of a node of an expression that takes exactly one; false for any other node.
bool prove_node_set(const rexpand_tree &tree, uint32_t index, bool icase, prove_set_t &set);
