/// The priority word of a rule, and its default.
#include "loadable_fixture.h"
#include "pdb_rule_build.h"
#include "pdb_rule_priority.h"

namespace
{

std::string packed(uint32_t range, uint32_t order)
{
    uint32_t prio = 0x12345678;
    const std::string text = outcome(pdb_rule_get_priority(range, order, &prio));
    return text == "0" ? std::to_string(prio) : text;
}

uint32_t defaulted(uint32_t prio, uint32_t nr_item, uint32_t sum_attr_len)
{
    pdb_rule_set_priority(&prio, nr_item, sum_attr_len);
    return prio;
}

TEST(rule_priority, range_and_order_are_packed_into_one_word)
{
    EXPECT_EQ(packed(0, 0), "0");
    EXPECT_EQ(packed(1, 2), std::to_string(0x01000002));
    EXPECT_EQ(packed(255, 16777215), std::to_string(0xFFFFFFFF));
}

TEST(rule_priority, a_range_or_an_order_out_of_bounds_is_refused_by_name)
{
    EXPECT_EQ(packed(256, 0), OUTCOME_INVALID_ARGUMENT ": Range 256 is out of bounds. Max: 255.");
    EXPECT_EQ(packed(0, 16777216),
              OUTCOME_INVALID_ARGUMENT ": Order 16777216 is out of bounds. Max: 16777215.");
    EXPECT_EQ(packed(300, 16777216),
              OUTCOME_INVALID_ARGUMENT ": Range 300 is out of bounds. Max: 255.");
}

TEST(rule_priority, the_word_is_taken_apart_again)
{
    EXPECT_EQ(pdb_rule_get_range(0xFE000001), 254U);
    EXPECT_EQ(pdb_rule_get_order(0xFE000001), 1U);
    EXPECT_EQ(pdb_rule_get_order(0xFFFFFFFF), 16777215U);
}

TEST(rule_priority, no_order_becomes_one_that_falls_with_items_and_lengths)
{
    EXPECT_EQ(defaulted(0, 3, 20), 16765195U);
    EXPECT_EQ(defaulted(0x07000000, 3, 20), 0x07000000U | 16765195U);
    EXPECT_EQ(defaulted(0, 0, 0), 16777215U);
    EXPECT_LT(defaulted(0, 2, 0), defaulted(0, 1, 3999));
}

TEST(rule_priority, an_order_that_is_written_stays)
{
    EXPECT_EQ(defaulted(0x07000001, 3, 20), 0x07000001U);
    EXPECT_EQ(defaulted(1, 3, 20), 1U);
}

TEST(rule_priority, a_default_below_zero_wraps_into_the_range)
{
    // 16777215 - (5000 * 4000 + 0) = -3222785
    EXPECT_EQ(defaulted(0, 5000, 0), static_cast<uint32_t>(-3222785));
}

} // namespace
