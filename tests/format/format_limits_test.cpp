#include "format_limits.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace
{

TEST(FormatLimits, RowsStandAtTheIndexOfTheirNumber)
{
    ASSERT_EQ(std::size(format_limits), FORMAT_LIMIT_NONE);
    for (size_t i = 0; i < std::size(format_limits); ++i)
        EXPECT_EQ(format_limits[i].id, i);
}

TEST(FormatLimits, ARowHasTheValueOfItsConstant)
{
    EXPECT_EQ(format_limits[FORMAT_LIMIT_PROTOCOL_RULE_DIM].value, PROTOCOL_RULE_DIM);
    EXPECT_STREQ(format_limits[FORMAT_LIMIT_PROTOCOL_RULE_DIM].name, "PROTOCOL_RULE_DIM");
    EXPECT_EQ(format_limits[FORMAT_LIMIT_HSTRING_LEN_MAX].unit, FORMAT_UNIT_BYTES);
}

TEST(FormatLimits, EveryNameIsGivenOnce)
{
    std::set<std::string> names;
    for (const format_limit_t &limit : format_limits)
        EXPECT_TRUE(names.insert(limit.name).second) << limit.name;
}

TEST(FormatLimits, MessagesStandWithTheirLimits)
{
    format_limit_id_t last = format_refusals[0].limit;
    for (const format_refusal_t &refusal : format_refusals) {
        EXPECT_GE(refusal.limit, last) << refusal.message;
        last = refusal.limit;
    }
}

/// Limits that follow from others, and messages word for word.
TEST(FormatLimits, AgreeAmongThemselves)
{
    EXPECT_EQ(PROTODESC_SLOT_MAX, PROTOCOL_RULE_DIM * PROTOCOL_SUB_RULE_DIM);
    EXPECT_EQ(PDB_PROTOCOL_MAP_STRINGS_MAX, TLV_LEN_FIELD_MAX * 4);
    EXPECT_EQ(PROTODESC_TAGS_MAX, PROTODESC_CATEGORY_MAX + 3);
    EXPECT_STREQ(REFUSED_ATTR, "Error: increase attribut dimension.\n");
    EXPECT_STREQ(REFUSED_RULE_ITEMS, "Too many items when registering rule %u \n");
    EXPECT_STREQ(REFUSED_TLV_LEN, "tlv len %d is superior to internal limit %d");
}

} // namespace
