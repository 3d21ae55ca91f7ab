#include "pattern_item.h"

void pattern_item_init(list_pattern_item &list)
{
    list = {};
}

void pattern_item_add(pattern_item_pool_t &pool, list_pattern_item &list, uint32_t id,
                      uint32_t offset)
{
    const auto at = static_cast<uint32_t>(pool.size());
    pool.push_back({id, offset, PATTERN_NONE});
    if (list.nr == 0)
        list.first = at;
    else
        pool[list.last].next = at;
    list.last = at;
    ++list.nr;
}

uint32_t pattern_item_find(const pattern_item_pool_t &pool, const list_pattern_item &list,
                           uint32_t id)
{
    uint32_t at = list.first;
    while (at != PATTERN_NONE && pool[at].id != id)
        at = pool[at].next;
    return at;
}

void pattern_item_clean(pattern_item_pool_t &pool)
{
    pool = {};
}
