#include "format_tables.h"

#include <gtest/gtest.h>

#include <set>
#include <utility>

namespace
{

TEST(FormatTables, RowsStandAtTheIndexOfTheirNumber)
{
    ASSERT_EQ(format_levels().size(), FORMAT_LEVEL_NONE);
    for (size_t i = 0; i < format_levels().size(); ++i)
        EXPECT_EQ(format_levels()[i].level, i);
    ASSERT_EQ(format_records().size(), FORMAT_KIND_NONE);
    for (size_t i = 0; i < format_records().size(); ++i)
        EXPECT_EQ(format_records()[i].kind, i);
}

TEST(FormatTables, TypesAreUniqueOnALevel)
{
    std::set<std::pair<uint32_t, uint32_t>> seen;
    for (const format_record_t &record : format_records())
        EXPECT_TRUE(seen.insert({record.level, record.type}).second) << record.name;
}

TEST(FormatTables, LevelsAreReachedFromTheRecordsThatHoldThem)
{
    std::set<uint32_t> reached = {FORMAT_LEVEL_PDB};
    for (const format_record_t &record : format_records()) {
        EXPECT_EQ(record.inner != FORMAT_LEVEL_NONE, record.content == FORMAT_CONTENT_RECORDS)
            << record.name;
        if (record.inner != FORMAT_LEVEL_NONE)
            reached.insert(record.inner);
    }
    EXPECT_EQ(reached.size(), format_levels().size());
}

TEST(FormatTables, EveryLevelHasItsRecords)
{
    size_t total = 0;
    for (const format_level_row_t &level : format_levels()) {
        EXPECT_FALSE(format_records_of(level.level).empty()) << level.name;
        for (const format_record_t &record : format_records_of(level.level))
            EXPECT_EQ(record.level, level.level);
        total += format_records_of(level.level).size();
    }
    EXPECT_EQ(total, format_records().size());
    EXPECT_TRUE(format_records_of(FORMAT_LEVEL_NONE).empty());
}

TEST(FormatTables, FindsARecordOnItsLevelAlone)
{
    ASSERT_NE(format_find(FORMAT_LEVEL_PROTO, 8), nullptr);
    EXPECT_EQ(format_find(FORMAT_LEVEL_PROTO, 8)->kind, FORMAT_PROTO_RULES_OFFSET);
    EXPECT_EQ(format_find(FORMAT_LEVEL_PROTO_RULE, 8)->kind, FORMAT_PROTO_RULE_META_V6);
    EXPECT_EQ(format_find(FORMAT_LEVEL_PROTOS, 8), nullptr);
    EXPECT_EQ(format_find(FORMAT_LEVEL_PDB, 2), nullptr);
    EXPECT_EQ(format_find(FORMAT_LEVEL_NONE, 1), nullptr);
}

TEST(FormatTables, EnumeratorsAreTheNumbersOfTheTables)
{
    EXPECT_EQ(TLV_TYPE_ROOT_PROTODESCS, 1u);
    EXPECT_EQ(TLV_TYPE_CFG_SEMANTIC, 38u);
    EXPECT_EQ(TLV_TYPE_PROTO_COMPAT, 6u);
    EXPECT_EQ(TLV_TYPE_PROTO_ATTR_NUMBER_16, 2u);
    EXPECT_EQ(TLV_TYPE_PDB_RULE_TAG_MAP, 5u);
}

} // namespace
