#include "view_aho_corasick.h"

#include <set>

#include "format_types.h"
#include "view_blobs.h"

namespace
{

/// Patterns a (item 5) and ab (item 7, private item 0). Codes: a 2, b 3.
const word_list plain = join({
    blob(34, {0x0000FFFF, 0x00030000,   // state 0: a leads to 1, where a pattern ends
              0x00008005, 0x00030005,   // state 1: item 5 inline; b leads to 2
              0x00000000, 0x00030000}), // state 2: item record 0
    blob(35, {2, 7, 0x80000000}),
    alphabet(37, 4, {{'a', 2}, {'b', 3}}),
    blob(36, {2, 2}),
});

/// Offset-aware: item 7 must end at 7, item 8 anywhere; both after 100 bytes of data.
const word_list ahoff = join({
    blob(34, {0x0000FFFF, 0x00030000, 0x00000000}), // two states of 3 words
    blob(35, {0xFFFE0064, 2, 7, 7, 8, 0xFFFFFFFF}),
    alphabet(37, 3, {{'a', 2}}),
    blob(36, {1, 1}),
});

bool check_plain(const view_area_t &area, view_error_t &error)
{
    view_aho_corasick_t view;
    return view_aho_corasick_open(area, false, view, error) &&
           view_aho_corasick_check(view, 1, error);
}

bool check_ahoff(const view_area_t &area, view_error_t &error)
{
    view_aho_corasick_t view;
    return view_aho_corasick_open(area, true, view, error) &&
           view_aho_corasick_check(view, 0, error);
}

TEST(ViewAhoCorasick, RunsWhereItLies)
{
    const std::vector<uint8_t> bytes = stored(plain);
    view_error_t error;
    view_aho_corasick_t view;
    ASSERT_TRUE(view_aho_corasick_open({bytes.data(), bytes.size(), 0}, false, view, error))
        << error.text;
    ASSERT_TRUE(view_aho_corasick_check(view, 1, error)) << error.text;
    EXPECT_EQ(view.rows.nr_row, 3u);
    EXPECT_EQ(view.nr_item_max, 2u);
    EXPECT_EQ(view.item_length, 2u);
    EXPECT_EQ(view_aho_corasick_items(view, 0).count, 0u);
    EXPECT_EQ(view_aho_corasick_next(view, 0, 'a'), 3u);
    EXPECT_EQ(view_aho_corasick_next(view, 0, 'x'), 0u);
    const view_item_record_t one = view_aho_corasick_items(view, 1);
    ASSERT_EQ(one.count, 1u);
    EXPECT_EQ(view_item_id(one, 0), 5u);
    EXPECT_EQ(view_item_end(one, 0), PATTERN_NO_OFFSET);
    EXPECT_EQ(view_aho_corasick_next(view, 1, 'b'), 5u);
    const view_item_record_t two = view_aho_corasick_items(view, 2);
    ASSERT_EQ(two.count, 2u);
    EXPECT_EQ(view_item_id(two, 0), 7u);
    EXPECT_EQ(view_item_id(two, 1), 0x80000000u);
    EXPECT_EQ(two.mindata, PATTERN_MINDATA_NONE);
}

TEST(ViewAhoCorasick, GivesOffsetsAndMinimumData)
{
    const std::vector<uint8_t> bytes = stored(ahoff);
    view_error_t error;
    view_aho_corasick_t view;
    ASSERT_TRUE(view_aho_corasick_open({bytes.data(), bytes.size(), 0}, true, view, error));
    ASSERT_TRUE(view_aho_corasick_check(view, 0, error)) << error.text;
    const view_item_record_t record = view_aho_corasick_items(view, 1);
    ASSERT_EQ(record.count, 2u);
    EXPECT_EQ(record.mindata, 100u);
    EXPECT_EQ(view_item_id(record, 0), 7u);
    EXPECT_EQ(view_item_end(record, 0), 7u);
    EXPECT_EQ(view_item_id(record, 1), 8u);
    EXPECT_EQ(view_item_end(record, 1), PATTERN_NO_OFFSET);
}

TEST(ViewAhoCorasick, IsEmptyWithoutPatterns)
{
    view_error_t error;
    EXPECT_TRUE(check_plain({}, error)) << error.text;
    EXPECT_TRUE(check_ahoff({}, error)) << error.text;
}

// The last bytes of an alphabet of more bytes than codes get the code of a reserved word.
TEST(ViewAhoCorasick, TakesReservedCodesForNoByte)
{
    word_list words = plain;
    words[8 + 5 + ALPHABET_MAP_WORD + 'z' / 4] |= 1U << (24 - 'z' % 4 * 8);
    const std::vector<uint8_t> bytes = stored(words);
    view_error_t error;
    view_aho_corasick_t view;
    ASSERT_TRUE(view_aho_corasick_open({bytes.data(), bytes.size(), 0}, false, view, error));
    ASSERT_TRUE(view_aho_corasick_check(view, 1, error)) << error.text;
    EXPECT_EQ(view_aho_corasick_next(view, 1, 'z'), 0u);
}

// Words: 2 to 7 transitions, 10 to 12 items, 13 the alphabet, 17 its size, 84 the meta.
TEST(ViewAhoCorasick, FindsEveryChangedWord)
{
    expect_faults(plain,
                  {
                      {0, 33, VIEW_UNKNOWN, 0},             // no transitions
                      {1, 20, VIEW_UNKNOWN, 28},            // a shorter table
                      {1, 0x7FFFFFFF, VIEW_OVERLONG, 0},    // one beyond the blob
                      {1, 23, VIEW_LENGTH, 0},              // not of words
                      {3, 0x00060000, VIEW_REFERENCE, 12},  // state 0 on a: to state 3
                      {3, 0x0003FFFF, VIEW_REFERENCE, 14},  // on b: to state 32767
                      {4, 0x0000C001, VIEW_REFERENCE, 18},  // private item 1 of 1
                      {6, 0x00000003, VIEW_REFERENCE, 26},  // record 3 of 3 words
                      {10, 3, VIEW_COUNT, 40},              // 3 items in 2 words
                      {10, 0xFFFE0001, VIEW_COUNT, 40},     // mindata; 7 items in 1 word
                      {12, 0x80000001, VIEW_REFERENCE, 48}, // private item 1 of 1
                      {12, 0xC0000000, VIEW_REFERENCE, 48}, // bits 28 to 30 are no index
                      {17, 1, VIEW_COUNT, 68},              // fewer codes than reserved
                      {17, 259, VIEW_COUNT, 68},            // more than reserved and bytes
                      {17, 5, VIEW_LENGTH, 8},              // rows that do not fit
                      {20 + 'a' / 4, 0x00020400, VIEW_REFERENCE, 80 + 'b'}, // b has code 4 of 4
                      {84, 35, VIEW_UNKNOWN, 84 * 4},                       // no meta
                      {85, 4, VIEW_LENGTH, 84 * 4},                         // a short one
                  },
                  check_plain);
    expect_cuts_refused(plain, 1, check_plain);
}

TEST(ViewAhoCorasick, FindsEveryChangedWordOfTheOffsetForm)
{
    expect_faults(ahoff,
                  {
                      {4, 0x80050000, VIEW_REFERENCE, 16}, // nothing is inline here
                      {8, 3, VIEW_COUNT, 28},              // 3 items of 2 words in 4
                      {11, 0x80000000, VIEW_REFERENCE, 44},
                  },
                  check_ahoff);
    expect_cuts_refused(ahoff, 1, check_ahoff);
}

// A record that is reached through the words of another: the item in front of them is seen too.
TEST(ViewAhoCorasick, ChecksRecordsThatOverlap)
{
    const word_list items = {0xFFFE0001, 1, 3, 0x80000009};
    const std::vector<uint8_t> bytes = stored(items);
    const view_items_t view = {{bytes.data(), bytes.size(), BLOB_PLACE}, VIEW_ITEMS_MINDATA};
    view_error_t error;
    view_item_marks_t marks;
    ASSERT_TRUE(view_item_marks_init(marks, view, error));
    ASSERT_TRUE(view_item_mark(marks, view, 0));
    EXPECT_TRUE(view_items_check(view, marks, 0, error));
    ASSERT_TRUE(view_item_mark(marks, view, 1)); // the same record without its mindata word
    EXPECT_TRUE(view_items_check(view, marks, 0, error));
    ASSERT_TRUE(view_item_mark(marks, view, 2)); // 3 items in 1 word
    EXPECT_FALSE(view_items_check(view, marks, 0, error));
    EXPECT_EQ(error.offset, BLOB_PLACE + 8);
    EXPECT_FALSE(view_item_mark(marks, view, 4));
}

// Records that nothing refers to may be cut; those that are passed over all the same end there.
TEST(ViewAhoCorasick, EndsAtARecordThatIsCut)
{
    const word_list items = {1, 7, 2, 8, 0xFFFE0001};
    const std::vector<uint8_t> bytes = stored(items);
    const view_items_t view = {{bytes.data(), bytes.size(), BLOB_PLACE}, VIEW_ITEMS_MINDATA};
    EXPECT_EQ(view_items_behind(view, 0), 2u);
    EXPECT_EQ(view_items_behind(view, 2), 5u);
    EXPECT_EQ(view_items_behind(view, 4), 5u) << "a mindata word, and nothing behind it";
    view_error_t error;
    view_item_marks_t marks;
    ASSERT_TRUE(view_item_marks_init(marks, view, error));
    ASSERT_TRUE(view_item_mark(marks, view, 0));
    ASSERT_TRUE(view_item_mark(marks, view, 4));
    EXPECT_FALSE(view_items_check(view, marks, 0, error));
    EXPECT_EQ(error.offset, BLOB_PLACE + 16);
    std::set<uint32_t> ids;
    view_items_each(
        view, marks,
        [](void *context, uint32_t id) { static_cast<std::set<uint32_t> *>(context)->insert(id); },
        &ids);
    EXPECT_EQ(ids, std::set<uint32_t>{7});
}

// In a table with mindata behind the mark, the items of a record may begin in front of those of
// the record before it.
TEST(ViewAhoCorasick, ChecksTheItemInFrontOfTheOneChecked)
{
    const word_list items = {0xFFFE0000, 2, 1, 0x80000001, 4}; // record 0: item at word 3
    const std::vector<uint8_t> bytes = stored(items);
    const view_items_t view = {{bytes.data(), bytes.size(), BLOB_PLACE}, VIEW_ITEMS_WIDE_MINDATA};
    view_error_t error;
    view_item_marks_t marks;
    ASSERT_TRUE(view_item_marks_init(marks, view, error));
    ASSERT_TRUE(view_item_mark(marks, view, 0));
    EXPECT_TRUE(view_items_check(view, marks, 2, error)) << error.text;
    ASSERT_TRUE(view_item_mark(marks, view, 1)); // two items at words 2 and 3
    EXPECT_TRUE(view_items_check(view, marks, 2, error)) << error.text;
    word_list broken = items;
    broken[2] = 0x80000005;
    const std::vector<uint8_t> other = stored(broken);
    view_item_marks_t front;
    const view_items_t at_front = {{other.data(), other.size(), BLOB_PLACE}, VIEW_ITEMS_PLAIN};
    ASSERT_TRUE(view_item_marks_init(front, at_front, error));
    ASSERT_TRUE(view_item_mark(front, at_front, 1));
    EXPECT_FALSE(view_items_check(at_front, front, 2, error));
    EXPECT_EQ(error.offset, BLOB_PLACE + 8);
}

} // namespace
