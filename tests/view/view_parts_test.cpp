#include "view_parts.h"

#include <gtest/gtest.h>

#include <string>

#include "words.h"

namespace
{

using bytes_t = std::vector<uint8_t>;

TEST(ViewParts, ReadsAliasesOf18Bytes)
{
    const bytes_t pairs = {0, 0, 0, 1, 0, 0, 0, 2, 1, 0, 0, 0, 3, 0, 0, 0, 4, 2, //
                           0, 0, 0, 5, 0, 0, 0, 6, 3, 0, 0, 0, 7, 0, 0, 0, 8, 1, //
                           0, 0, 0, 0};
    ASSERT_EQ(view_alias_count(view_file(pairs)), 2u);
    const view_alias_t first = view_alias_at(view_file(pairs), 0);
    EXPECT_EQ(first.alias.protocol, 1u);
    EXPECT_EQ(first.alias.attribute, 2u);
    EXPECT_EQ(first.alias.way, 1u);
    EXPECT_EQ(first.reference.protocol, 3u);
    EXPECT_EQ(first.reference.attribute, 4u);
    EXPECT_EQ(first.reference.way, 2u);
    EXPECT_EQ(view_alias_at(view_file(pairs), 1).reference.attribute, 8u);
    EXPECT_EQ(view_alias_count({}), 0u);
}

TEST(ViewParts, ReadsTagsInBothByteOrders)
{
    const bytes_t tags = {0, 0, 0, 4, 0, 0, 0, 12, 5, 0, 0, 0, 13, 0, 0, 0, 1, 2, 3, 4};
    ASSERT_EQ(view_tag_count(view_file(tags)), 2u);
    EXPECT_EQ(view_tag_at(view_file(tags), 0).name, 4u);
    EXPECT_EQ(view_tag_at(view_file(tags), 0).number, 12u);
    EXPECT_EQ(view_tag_at(view_file(tags), 1, true).name, 5u);
    EXPECT_EQ(view_tag_at(view_file(tags), 1, true).number, 13u);
}

TEST(ViewParts, AGroupNeedsItsStringsAndItsProtocols)
{
    view_group_t group;
    view_error_t error;
    bytes_t bytes = stored(join({record(1, {7}), record(2, {8, 9})}));
    ASSERT_TRUE(view_group_open(view_file(bytes), group, error));
    EXPECT_EQ(group.protocols.size, 4u);
    EXPECT_EQ(group.pool.area.size, 8u);
    EXPECT_EQ(group.pool.area.offset, 12u);
    bytes = stored(record(1, {7}));
    EXPECT_FALSE(view_group_open(view_file(bytes), group, error));
    EXPECT_EQ(error.fault, VIEW_ABSENT);
    EXPECT_STREQ(error.text, "strings of the group: no record of type 2");
    bytes = stored(record(2, {7}));
    EXPECT_FALSE(view_group_open(view_file(bytes), group, error));
    EXPECT_STREQ(error.text, "protocols: no record of type 1");
}

} // namespace
