#include "pattern_oe.h"

#include "module_error.h"

namespace
{

void make_table(ps_oe_pool_t &pool, ps_oe &list)
{
    ps_oe_table_t &table = pool.table.emplace_back();
    table.target.fill(PATTERN_NONE);
    for (uint32_t at = list.first; at != PATTERN_NONE; at = pool.edge[at].next) {
        table.target[pool.edge[at].oe_char] = pool.edge[at].state;
        table.last = at;
    }
    list.table = static_cast<uint32_t>(pool.table.size() - 1);
}

/// Returns the position of the last edge of a list that has one. Without a table it is short.
uint32_t last_edge(const ps_oe_pool_t &pool, const ps_oe &list)
{
    if (list.table != PATTERN_NONE)
        return pool.table[list.table].last;
    uint32_t at = list.first;
    while (pool.edge[at].next != PATTERN_NONE)
        at = pool.edge[at].next;
    return at;
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
        pool.edge[last_edge(pool, list)].next = at;
    list.bytes |= pattern_oe_bit(oe_char);
    ++list.nr;
    if (list.table != PATTERN_NONE) {
        pool.table[list.table].target[oe_char] = state;
        pool.table[list.table].last = at;
    } else if (list.nr == PATTERN_OE_WIDE) {
        make_table(pool, list);
    }
}

int pattern_oe_count_bytes(const ps_oe_pool_t &pool, const ps_oe &list, ps_alphabet &alphabet)
{
    int code = MODULE_SUCCESS;
    for (uint32_t at = list.first; at != PATTERN_NONE && code == MODULE_SUCCESS;
         at = pool.edge[at].next)
        code = pattern_alphabet_insert(alphabet, pool.edge[at].oe_char);
    return code;
}

void pattern_oe_clean(ps_oe_pool_t &pool)
{
    pool = {};
}
