/// Outgoing edges of the states of a trie, in the order in which they were added.
///
/// Alphabets number bytes by that order. A state has one edge per byte
/// at most and nearly all states have one edge in all, so edges are lists in a shared pool. The
/// few states with many edges also get a table by byte. As every edge of such a state leads to
/// patterns of its own, the tables take about 130 bytes per pattern at most; tables for all states
/// would take hundreds per state, and a hash of all edges is slower than the short lists. Most
/// searches are for an edge that is not there; a word of bits in the state itself answers nearly
/// all of them.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "pattern_alphabet.h"
#include "pattern_item.h"

/// Edges of a state from which on it has a table.
constexpr uint32_t PATTERN_OE_WIDE = 9;

/// One edge.
struct oe {
    uint32_t state; ///< number of the target state
    uint32_t next;  ///< position of the next edge of the list, or PATTERN_NONE
    uint8_t oe_char;
};

/// The edges of a state with many.
struct ps_oe_table_t {
    std::array<uint32_t, 256> target; ///< by byte, PATTERN_NONE for no edge
    uint32_t last;                    ///< position of the last edge of the list
};

/// The edges of all states of one engine.
struct ps_oe_pool_t {
    std::vector<oe> edge;
    std::vector<ps_oe_table_t> table;
};

/// The edges of one state, by positions in a pool.
struct ps_oe {
    uint32_t first = PATTERN_NONE;
    uint32_t bytes = 0;            ///< bit b: an edge has a byte that is b modulo 32
    uint32_t table = PATTERN_NONE; ///< from PATTERN_OE_WIDE edges on
    uint32_t nr = 0;
};

/// The bit of a byte in `bytes`.
inline uint32_t pattern_oe_bit(uint8_t oe_char)
{
    return uint32_t{1} << (oe_char % 32);
}

/// Empties `list`; its edges stay in the pool, unreachable.
void pattern_oe_init(ps_oe &list);

/// Appends an edge in constant time. The list has no edge with that byte yet. Throws
/// std::bad_alloc, which the engine's operation turns into a module code.
void pattern_oe_add(ps_oe_pool_t &pool, ps_oe &list, uint32_t state, uint8_t oe_char);

/// Returns the target of the edge of `list` with that byte, or PATTERN_NONE.
inline uint32_t pattern_oe_find(const ps_oe_pool_t &pool, const ps_oe &list, uint8_t oe_char)
{
    if ((list.bytes & pattern_oe_bit(oe_char)) == 0)
        return PATTERN_NONE;
    if (list.table != PATTERN_NONE)
        return pool.table[list.table].target[oe_char];
    for (uint32_t at = list.first; at != PATTERN_NONE; at = pool.edge[at].next)
        if (pool.edge[at].oe_char == oe_char)
            return pool.edge[at].state;
    return PATTERN_NONE;
}

/// Counts the byte of every edge of `list` in `alphabet`, in the order in which they were added.
/// Returns 0, or what pattern_alphabet_insert returns.
[[nodiscard]] int pattern_oe_count_bytes(const ps_oe_pool_t &pool, const ps_oe &list,
                                         ps_alphabet &alphabet);

/// Releases every edge of the pool; no list into it may be used afterwards.
void pattern_oe_clean(ps_oe_pool_t &pool);
