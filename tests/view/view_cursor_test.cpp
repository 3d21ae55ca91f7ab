#include "view_cursor.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using bytes_t = std::vector<uint8_t>;

/// Type 1 with one word, type 2 without a value, type 3 with two words.
const bytes_t three_records = {
    1, 0, 0, 1, 0xAA, 0xBB, 0xCC, 0xDD,             //
    2, 0, 0, 0,                                     //
    3, 0, 0, 2, 0,    0,    0,    5,    0, 0, 0, 6, //
};

struct walked_t {
    std::vector<uint32_t> types;
    view_cursor_t cursor;
    view_record_t last;
};

walked_t walk_all(const view_area_t &area, view_framing_t framing = VIEW_RECORDS)
{
    walked_t walked = {{}, view_walk(area, framing), {}};
    while (view_next(walked.cursor, walked.last))
        walked.types.push_back(walked.last.type);
    return walked;
}

TEST(ViewCursor, WalksWholeRecords)
{
    view_cursor_t cursor = view_walk(view_file(three_records));
    view_record_t record;
    ASSERT_TRUE(view_next(cursor, record));
    EXPECT_EQ(record.type, 1u);
    EXPECT_EQ(record.length, 1u);
    EXPECT_EQ(record.offset, 0u);
    EXPECT_EQ(record.value.offset, 4u);
    EXPECT_EQ(view_word(record.value, 0), 0xAABBCCDDu);
    ASSERT_TRUE(view_next(cursor, record));
    EXPECT_EQ(record.type, 2u);
    EXPECT_EQ(record.value.size, 0u);
    ASSERT_TRUE(view_next(cursor, record));
    EXPECT_EQ(record.offset, 12u);
    EXPECT_EQ(view_words(record.value), 2u);
    EXPECT_EQ(view_word(record.value, 1), 6u);
    EXPECT_EQ(cursor.end, VIEW_WALK_ON);
    EXPECT_FALSE(view_next(cursor, record));
    EXPECT_EQ(cursor.end, VIEW_WALK_DONE);
    view_error_t error;
    EXPECT_TRUE(view_walk_sound(cursor, error));
    EXPECT_EQ(error.fault, VIEW_SOUND);
}

TEST(ViewCursor, KeepsThePlaceInTheFile)
{
    const view_area_t area = view_part(view_file(three_records), 8, 16);
    const walked_t walked = walk_all(area);
    EXPECT_EQ(walked.types, (std::vector<uint32_t>{2, 3}));
    EXPECT_EQ(walked.last.offset, 12u);
}

TEST(ViewCursor, EndsAtOnceInAnEmptyArea)
{
    EXPECT_EQ(walk_all({}).cursor.end, VIEW_WALK_DONE);
}

/// Every cut ends at the record it cuts: as a cut header, or as a record that claims too much.
TEST(ViewCursor, EveryCutEndsTheWalkWhereItIs)
{
    const size_t starts[] = {0, 8, 12, 24};
    for (size_t size = 0; size < three_records.size(); ++size) {
        const bytes_t cut(three_records.begin(),
                          three_records.begin() + static_cast<ptrdiff_t>(size));
        size_t whole = 0;
        while (starts[whole + 1] <= size)
            ++whole;
        const walked_t walked = walk_all(view_file(cut));
        EXPECT_EQ(walked.types.size(), whole) << size;
        EXPECT_EQ(walked.cursor.at, starts[whole]) << size;
        const size_t left = size - starts[whole];
        const view_end_t end = left == 0  ? VIEW_WALK_DONE
                               : left < 4 ? VIEW_WALK_CUT
                                          : VIEW_WALK_OVERLONG;
        EXPECT_EQ(walked.cursor.end, end) << size;
        view_error_t error;
        EXPECT_EQ(view_walk_sound(walked.cursor, error), end == VIEW_WALK_DONE) << size;
        if (end != VIEW_WALK_DONE) {
            EXPECT_EQ(error.offset, starts[whole]) << size;
            EXPECT_EQ(error.fault, end == VIEW_WALK_CUT ? VIEW_CUT : VIEW_OVERLONG) << size;
        }
    }
}

TEST(ViewCursor, GivesWhatIsThereOfAnOverlongRecord)
{
    const bytes_t bytes = {9, 0xFF, 0xFF, 0xFF, 0, 0, 0, 1, 2};
    const walked_t walked = walk_all(view_file(bytes));
    EXPECT_EQ(walked.cursor.end, VIEW_WALK_OVERLONG);
    EXPECT_EQ(walked.last.type, 9u);
    EXPECT_EQ(walked.last.length, 0xFFFFFFu);
    EXPECT_EQ(walked.last.value.size, 5u);
    view_error_t error;
    EXPECT_FALSE(view_walk_sound(walked.cursor, error));
    EXPECT_STREQ(error.text, "record of type 9 claims 16777215 words, 5 bytes are left");
}

TEST(ViewCursor, StaysAtItsEnd)
{
    const bytes_t bytes = {1, 0, 0, 0, 7};
    view_cursor_t cursor = view_walk(view_file(bytes));
    view_record_t record;
    EXPECT_TRUE(view_next(cursor, record));
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(view_next(cursor, record));
        EXPECT_EQ(cursor.end, VIEW_WALK_CUT);
        EXPECT_EQ(cursor.at, 4u);
    }
}

TEST(ViewCursor, CountsBytesInsideTheConfiguration)
{
    const bytes_t bytes = {38, 0, 0, 8, 'a', 'b', 'c', 'd', 'e', 0, 0, 0};
    const walked_t walked = walk_all(view_file(bytes), VIEW_BYTE_COUNT);
    EXPECT_EQ(walked.types, std::vector<uint32_t>{38});
    EXPECT_EQ(walked.cursor.end, VIEW_WALK_DONE);
    EXPECT_EQ(walk_all(view_file(bytes)).cursor.end, VIEW_WALK_OVERLONG);
}

TEST(ViewCursor, WalksBlobs)
{
    const bytes_t bytes = {
        0, 0, 0, 18, 0, 0, 0, 4, 1, 2, 3, 4, //
        0, 0, 1, 19, 0, 0, 0, 0,             //
        0, 0, 0, 1,  0, 0,                   //
    };
    const walked_t walked = walk_all(view_file(bytes), VIEW_BLOBS);
    EXPECT_EQ(walked.types, (std::vector<uint32_t>{18, 275}));
    EXPECT_EQ(walked.cursor.end, VIEW_WALK_CUT);
    const bytes_t hostile = {0, 0, 0, 18, 0xFF, 0xFF, 0xFF, 0xFF, 1};
    EXPECT_EQ(walk_all(view_file(hostile), VIEW_BLOBS).cursor.end, VIEW_WALK_OVERLONG);
}

TEST(ViewFind, TakesTheFirstWholeRecordOfItsType)
{
    bytes_t bytes = three_records;
    bytes.insert(bytes.end(), {2, 0, 0, 1, 0, 0, 0, 9});
    view_record_t record;
    ASSERT_TRUE(view_find(view_file(bytes), 2, record));
    EXPECT_EQ(record.offset, 8u);
    EXPECT_FALSE(view_find(view_file(bytes), 4, record));
    EXPECT_FALSE(view_find({}, 0, record));
}

TEST(ViewFind, DoesNotLookBehindAnOverlongRecord)
{
    const bytes_t bytes = {1, 0, 0, 2, 2, 0, 0, 0};
    view_record_t record;
    EXPECT_FALSE(view_find(view_file(bytes), 1, record));
    EXPECT_FALSE(view_find(view_file(bytes), 2, record));
}

TEST(ViewRequire, SaysWhatIsMissingOrInTheWay)
{
    view_record_t record;
    view_error_t error;
    EXPECT_TRUE(view_require(view_file(three_records), 3, "rules", record, error));
    EXPECT_FALSE(view_require(view_file(three_records), 5, "rules", record, error));
    EXPECT_EQ(error.fault, VIEW_ABSENT);
    EXPECT_STREQ(error.text, "rules: no record of type 5");
    const bytes_t cut(three_records.begin(), three_records.end() - 1);
    EXPECT_FALSE(view_require(view_file(cut), 5, "rules", record, error));
    EXPECT_EQ(error.fault, VIEW_OVERLONG);
    EXPECT_EQ(error.offset, 12u);
}

/// The bytes of a list of words.
bytes_t words(std::initializer_list<uint32_t> list)
{
    bytes_t bytes(list.size() * 4);
    size_t at = 0;
    for (const uint32_t word : list) {
        csa_set_be32(bytes.data() + at, word);
        at += 4;
    }
    return bytes;
}

/// The end of taking record `index` of the three records by these positions.
view_end_t end_at(std::initializer_list<uint32_t> positions, uint32_t index)
{
    const bytes_t offsets = words(positions);
    const view_list_t list = {view_file(three_records), view_file(offsets)};
    EXPECT_EQ(view_list_count(list), positions.size());
    view_record_t record;
    return view_list_at(list, index, record);
}

TEST(ViewList, TakesRecordsByTheirPosition)
{
    const bytes_t offsets = words({0, 2, 3});
    const view_list_t list = {view_file(three_records), view_file(offsets)};
    view_record_t record;
    for (uint32_t i = 0; i < 3; ++i) {
        EXPECT_EQ(view_list_at(list, i, record), VIEW_WALK_ON);
        EXPECT_EQ(record.type, i + 1);
    }
}

TEST(ViewList, MaySkipRecordsButNotGoBack)
{
    EXPECT_EQ(end_at({0, 3}, 1), VIEW_WALK_ON);
    EXPECT_EQ(end_at({3}, 0), VIEW_WALK_ON);
    EXPECT_EQ(end_at({2, 0}, 1), VIEW_WALK_OVERLAP);
    EXPECT_EQ(end_at({0, 0}, 1), VIEW_WALK_OVERLAP);
    EXPECT_EQ(end_at({0, 1}, 1), VIEW_WALK_OVERLAP);
    EXPECT_EQ(end_at({9, 3}, 1), VIEW_WALK_OVERLAP);
}

TEST(ViewList, EndsBehindItsRecords)
{
    EXPECT_EQ(end_at({6}, 0), VIEW_WALK_DONE);
    EXPECT_EQ(end_at({0xFFFFFFFF}, 0), VIEW_WALK_DONE);
    EXPECT_EQ(end_at({0, 6}, 1), VIEW_WALK_DONE);
    const bytes_t bytes = {1, 0, 0, 1};
    const bytes_t offsets = words({0});
    view_record_t record;
    EXPECT_EQ(view_list_at({view_file(bytes), view_file(offsets)}, 0, record), VIEW_WALK_OVERLONG);
    const bytes_t behind = words({0, 9}); // the record in front claims 1 word, and has none
    EXPECT_EQ(view_list_at({view_file(bytes), view_file(behind)}, 1, record), VIEW_WALK_OVERLAP);
}

} // namespace
