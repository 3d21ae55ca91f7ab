#include <algorithm>
#include <bit>

#include "prove_bytes.h"

namespace
{

/// Returns the first or the last byte of a set, which is not empty.
uint8_t first_byte(const prove_set_t &set)
{
    uint32_t word = 0;
    while (set[word] == 0)
        ++word;
    return static_cast<uint8_t>(64 * word + static_cast<uint32_t>(std::countr_zero(set[word])));
}

uint8_t last_byte(const prove_set_t &set)
{
    uint32_t word = 3;
    while (set[word] == 0)
        --word;
    return static_cast<uint8_t>(64 * word + 63 -
                                static_cast<uint32_t>(std::countl_zero(set[word])));
}

/// Returns the byte of a set that has `nth` smaller ones in it.
uint8_t nth_byte(const prove_set_t &set, uint32_t nth)
{
    for (uint32_t i = 0;; ++i) {
        uint64_t word = set[i];
        const auto here = static_cast<uint32_t>(std::popcount(word));
        if (nth >= here) {
            nth -= here;
            continue;
        }
        if (here == 64)
            return static_cast<uint8_t>(64 * i + nth);
        for (; nth != 0; --nth)
            word &= word - 1;
        return static_cast<uint8_t>(64 * i + static_cast<uint32_t>(std::countr_zero(word)));
    }
}

std::string_view literal_of(const rexpand_tree &tree, uint32_t index)
{
    return rexpand_ast_literal(tree, tree.nodes[index]);
}

prove_set_t range_set(const rexpand_tree &tree, const rexpand_node &range, bool icase)
{
    prove_set_t set{};
    const std::string_view low = literal_of(tree, range.first_child);
    const std::string_view high = literal_of(tree, range.last_child);
    if (low.size() == 1 && high.size() == 1) // anything else stands for no byte
        for (uint32_t c = static_cast<uint8_t>(low[0]); c <= static_cast<uint8_t>(high[0]); ++c)
            prove_set_unite(set, prove_byte_set(static_cast<uint8_t>(c), icase));
    return set;
}

} // namespace

uint32_t prove_set_size(const prove_set_t &set)
{
    uint32_t nr = 0;
    for (const uint64_t word : set)
        if ((word & (word - 1)) == 0) // none or one, as in most words
            nr += word != 0 ? 1 : 0;
        else
            nr += static_cast<uint32_t>(std::popcount(word));
    return nr;
}

uint8_t prove_set_byte(const prove_set_t &set, uint32_t size, uint32_t turn)
{
    if (size == 1)
        return first_byte(set);
    const uint32_t turns = std::max(PROVE_TURNS, std::min(size, 8U));
    if (turn >= turns)
        turn %= turns;
    if (turn == 0)
        return first_byte(set);
    if (turn == 1)
        return last_byte(set);
    if (turn == 2)
        for (const char c : {'x', '0', '.', '-', '/', ' ', 'q', '7', '_', 'Q'})
            if (prove_set_has(set, static_cast<uint8_t>(c)))
                return static_cast<uint8_t>(c);
    return nth_byte(set, size * turn / 8 % size);
}

bool prove_node_set(const rexpand_tree &tree, uint32_t index, bool icase, prove_set_t &set)
{
    const rexpand_node &at = tree.nodes[index];
    switch (at.kind) {
    case REXPAND_AST_WILDCARD_NODE:
        set = PROVE_ANY_BYTE;
        return true;
    case REXPAND_AST_DECIMAL_NODE:
        set = prove_set_of(prove_is_digit);
        return true;
    case REXPAND_AST_PART_OF_WORD_NODE:
        set = prove_set_of(prove_is_word_part);
        return true;
    case REXPAND_AST_WHITESPACE_NODE:
        set = prove_set_of(prove_is_blank);
        return true;
    case REXPAND_AST_RANGE_NODE:
        set = range_set(tree, at, icase);
        return true;
    case REXPAND_AST_WORD_NODE:
    case REXPAND_AST_NUMBER_NODE:
        set = prove_byte_set(static_cast<uint8_t>(literal_of(tree, index)[0]), icase);
        return literal_of(tree, index).size() == 1;
    default:
        return false;
    }
}
