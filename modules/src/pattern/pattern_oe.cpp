#include "pattern_oe.h"

namespace
{

void make_table(ps_oe_pool_t &pool, ps_oe &list)
{
    ps_oe_table_t &table = pool.table.emplace_back();
    table.fill(PATTERN_NONE);
    for (uint32_t at = list.first; at != PATTERN_NONE; at = pool.edge[at].next)
        table[pool.edge[at].oe_char] = pool.edge[at].state;
    list.table = static_cast<uint32_t>(pool.table.size() - 1);
}

} // namespace

void pattern_oe_init(ps_oe &list)
{
    list = {};
}

void pattern_oe_add(ps_oe_pool_t &pool, ps_oe &list, uint32_t state, uint8_t oe_char)
{
    const auto at = static_cast<uint32_t>(pool.edge.size());
    pool.edge.push_back({state, PATTERN_NONE, oe_char});
    if (list.nr == 0)
        list.first = at;
    else
        pool.edge[list.last].next = at;
    list.last = at;
    ++list.nr;
    if (list.table != PATTERN_NONE)
        pool.table[list.table][oe_char] = state;
    else if (list.nr == PATTERN_OE_WIDE)
        make_table(pool, list);
}

void pattern_oe_clean(ps_oe_pool_t &pool)
{
    pool = {};
}
