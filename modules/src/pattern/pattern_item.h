/// Item lists: which patterns end at a state, in the order of registration.
///
/// Nearly all states of an automaton have no item, so a list is three numbers and the items of
/// all states of an engine share one pool; a container per state would cost more memory than the
/// serialized automaton.
#pragma once

#include <cstdint>
#include <vector>

/// The end of every list that is linked by positions, and the number of no state.
constexpr uint32_t PATTERN_NONE = 0xFFFFFFFFU;

/// One item.
struct pattern_item {
    uint32_t id;
    uint32_t offset; ///< where a match must end, PATTERN_NO_OFFSET for anywhere
    uint32_t next;   ///< position of the next item of the list, or PATTERN_NONE
};

/// The items of all states of one engine.
using pattern_item_pool_t = std::vector<pattern_item>;

/// A list of items, by positions in a pool.
struct list_pattern_item {
    uint32_t first = PATTERN_NONE;
    uint32_t last = PATTERN_NONE;
    uint32_t nr = 0;
};

/// Empties `list`; its items stay in the pool, unreachable.
void pattern_item_init(list_pattern_item &list);

/// Appends an item in constant time. Throws std::bad_alloc, which the engine's operation turns
/// into a module code.
void pattern_item_add(pattern_item_pool_t &pool, list_pattern_item &list, uint32_t id,
                      uint32_t offset);

/// Returns the position of the first item of `list` with that id, or PATTERN_NONE. Walks the
/// list: for short lists only.
uint32_t pattern_item_find(const pattern_item_pool_t &pool, const list_pattern_item &list,
                           uint32_t id);

/// Releases every item of the pool; no list into it may be used afterwards.
void pattern_item_clean(pattern_item_pool_t &pool);
