#include "format_fields.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>

namespace
{

TEST(FormatFields, RowsStandAtTheIndexOfTheirNumber)
{
    for (size_t i = 0; i < std::size(format_fields); ++i)
        EXPECT_EQ(format_fields[i].id, i);
    ASSERT_EQ(std::size(format_fields), FIELD_NONE);
}

TEST(FormatFields, FieldsOfARecordStandTogetherAndHaveDifferentNames)
{
    std::set<uint32_t> closed;
    std::set<std::pair<uint32_t, std::string>> names;
    for (size_t i = 0; i < std::size(format_fields); ++i) {
        const format_field_t &field = format_fields[i];
        EXPECT_EQ(closed.count(field.record), 0u) << field.name;
        if (i + 1 == std::size(format_fields) || format_fields[i + 1].record != field.record)
            closed.insert(field.record);
        EXPECT_TRUE(names.insert({field.record, field.name}).second) << field.name;
    }
}

TEST(FormatFields, TheRecordsWithFieldsAreThoseThatSaySo)
{
    for (const format_record_t &record : format_records())
        EXPECT_EQ(!format_fields_of(record.kind).empty(), record.content == FORMAT_CONTENT_FIELDS)
            << record.name;
}

TEST(FormatFields, ReferencesLeadToPoolsAndLists)
{
    for (const format_field_t &field : format_fields) {
        if (field.kind == FORMAT_FIELD_STRING) {
            ASSERT_NE(field.target, FORMAT_KIND_NONE) << field.name;
            EXPECT_EQ(format_records()[field.target].content, FORMAT_CONTENT_POOL) << field.name;
        } else if (field.kind == FORMAT_FIELD_POSITION) {
            ASSERT_NE(field.target, FORMAT_KIND_NONE) << field.name;
            EXPECT_EQ(format_records()[field.target].content, FORMAT_CONTENT_RECORDS) << field.name;
        } else {
            EXPECT_EQ(field.target, FORMAT_KIND_NONE) << field.name;
        }
    }
}

TEST(FormatFields, RepetitionsFollowOneAnotherAsAReaderExpects)
{
    for (const format_record_t &record : format_records()) {
        const std::span<const format_field_t> fields = format_fields_of(record.kind);
        for (size_t i = 0; i < fields.size(); ++i) {
            const std::string name = std::string(record.name) + "." + fields[i].name;
            const bool last = i + 1 == fields.size();
            EXPECT_EQ(fields[i].kind == FORMAT_FIELD_COUNT,
                      !last && fields[i + 1].repeat == FORMAT_COUNTED)
                << name;
            const format_repeat_t next = last ? FORMAT_ONCE : fields[i + 1].repeat;
            EXPECT_TRUE(fields[i].repeat != FORMAT_REST || last) << name;
            EXPECT_TRUE(fields[i].repeat != FORMAT_HALF || next == FORMAT_REST) << name;
            EXPECT_TRUE(fields[i].repeat != FORMAT_ROW || last || next == FORMAT_ROW) << name;
            EXPECT_TRUE(fields[i].repeat != FORMAT_IF_ROOM || last || next == FORMAT_IF_ROOM)
                << name;
        }
    }
}

TEST(FormatFields, PlacesAreThoseOfTheWrittenRecords)
{
    EXPECT_EQ(format_word_of(FIELD_PROTO_META_id), 0u);
    EXPECT_EQ(format_word_of(FIELD_PROTO_META_implicit_bottom_layer), 9u);
    EXPECT_EQ(format_bytes_of(FORMAT_PROTO_META), 40u);
    EXPECT_EQ(format_word_of(FIELD_PROTO_RULE_META_V6_vid), 3u);
    EXPECT_EQ(format_word_of(FIELD_PROTO_RULE_META_V5_fastpass), 3u);
    EXPECT_EQ(format_byte_of(FIELD_MATCHER_ALIAS_reference_protocol), 9u);
    EXPECT_EQ(format_bytes_of(FORMAT_MATCHER_ALIAS), 18u);
    EXPECT_EQ(format_bytes_of(FORMAT_TAGS), 8u);
    EXPECT_EQ(format_byte_of(FIELD_VERSION_text), 12u);
}

} // namespace
