#include <gtest/gtest.h>

#include "pattern_item.h"
#include "pattern_oe.h"

namespace
{

TEST(pattern_item, a_list_keeps_insertion_order_and_repeated_ids)
{
    pattern_item_pool_t pool;
    list_pattern_item a;
    list_pattern_item b;
    pattern_item_add(pool, a, 5, 10);
    pattern_item_add(pool, b, 6, 11);
    pattern_item_add(pool, a, 5, 12);
    EXPECT_EQ(a.nr, 2U);
    EXPECT_EQ(b.nr, 1U);
    EXPECT_EQ(pool[pattern_item_find(pool, a, 5)].offset, 10U);
    EXPECT_EQ(pool[pool[a.first].next].offset, 12U);
    EXPECT_EQ(pattern_item_find(pool, a, 6), PATTERN_NONE);
    pattern_item_init(a);
    EXPECT_EQ(pattern_item_find(pool, a, 5), PATTERN_NONE);
    pattern_item_clean(pool);
    EXPECT_TRUE(pool.empty());
}

TEST(pattern_oe, finds_edges_the_same_way_before_and_after_a_state_gets_a_table)
{
    ps_oe_pool_t pool;
    ps_oe list;
    for (uint32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(pattern_oe_find(pool, list, static_cast<uint8_t>(i * 7)), PATTERN_NONE);
        pattern_oe_add(pool, list, 1000 + i, static_cast<uint8_t>(i * 7));
        for (uint32_t k = 0; k <= i; ++k)
            ASSERT_EQ(pattern_oe_find(pool, list, static_cast<uint8_t>(k * 7)), 1000 + k);
        EXPECT_EQ(list.table != PATTERN_NONE, i + 1 >= PATTERN_OE_WIDE);
    }
    EXPECT_EQ(list.nr, 256U);
    uint32_t expected = 1000;
    for (uint32_t at = list.first; at != PATTERN_NONE; at = pool.edge[at].next)
        EXPECT_EQ(pool.edge[at].state, expected++);
    pattern_oe_init(list);
    EXPECT_EQ(pattern_oe_find(pool, list, 7), PATTERN_NONE);
    pattern_oe_clean(pool);
    EXPECT_TRUE(pool.edge.empty());
}

} // namespace
