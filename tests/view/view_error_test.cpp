#include "view_error.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

TEST(ViewError, StartsSound)
{
    const view_error_t error;
    EXPECT_EQ(error.fault, VIEW_SOUND);
    EXPECT_STREQ(error.text, "");
}

TEST(ViewError, SaysWhatAndWhere)
{
    view_error_t error;
    EXPECT_FALSE(view_fail(error, VIEW_COUNT, 44, "%u tags", 3u));
    EXPECT_EQ(error.fault, VIEW_COUNT);
    EXPECT_EQ(error.offset, 44u);
    EXPECT_STREQ(error.text, "3 tags");
    EXPECT_FALSE(view_within(error, "rule %u", 7u));
    EXPECT_FALSE(view_within(error, "protocol %u", 1u));
    EXPECT_STREQ(error.text, "protocol 1: rule 7: 3 tags");
    EXPECT_EQ(error.offset, 44u);
}

TEST(ViewError, CutsALongText)
{
    view_error_t error;
    const std::string name(500, 'n');
    (void)view_fail(error, VIEW_VALUE, 0, "%s", name.c_str());
    EXPECT_EQ(std::string(error.text), name.substr(0, VIEW_TEXT_DIM - 1));
    (void)view_within(error, "%s", name.c_str());
    EXPECT_EQ(std::string(error.text), name.substr(0, VIEW_TEXT_DIM - 1));
}

TEST(ViewError, NamesEveryFault)
{
    for (uint32_t fault = VIEW_SOUND; fault <= VIEW_MEMORY; ++fault)
        EXPECT_STRNE(view_fault_name(static_cast<view_fault_t>(fault)), "unknown fault");
    EXPECT_STREQ(view_fault_name(static_cast<view_fault_t>(99)), "unknown fault");
}

} // namespace
