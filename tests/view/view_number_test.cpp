#include "view_number.h"

#include "view_blobs.h"

namespace
{

/// 8 bits: [10, 11] item 7. Record 1 for 10, record 3 for 11.
word_list mapper()
{
    word_list table(128);
    table[5] = 0x00010003;
    return join({blob(15, {3}), blob(16, join({blob(13, table), blob(14, {0, 1, 7, 1, 7})}))});
}

/// IPv4: [1.0.0.0, 1.0.0.255] item 7; endpoints 1.0.0.0, 1.0.0.255, 1.0.1.0.
word_list intervals()
{
    word_list msb(64);
    msb[0] = 0x00010000;
    return join({blob(15, {7}), blob(17, join({blob(42, {4, 3}), blob(43, msb),
                                               blob(44, {0x01000000, 0x010000FF, 0x01000100}),
                                               blob(45, {0, 2, 4}), blob(46, {1, 7, 1, 7, 0})}))});
}

bool check(const view_area_t &area, view_error_t &error)
{
    view_number_t view;
    return view_number_open(area, view, error) && view_number_check(view, error);
}

/// The ids of a value in a sound blob.
std::vector<uint32_t> find(const word_list &words, const view_value_t &value)
{
    const std::vector<uint8_t> bytes = stored(words);
    view_error_t error;
    view_number_t view;
    EXPECT_TRUE(view_number_open({bytes.data(), bytes.size(), 0}, view, error)) << error.text;
    EXPECT_TRUE(view_number_check(view, error)) << error.text;
    std::vector<uint32_t> ids;
    const view_item_record_t record = view_number_find(view, value);
    for (uint32_t i = 0; i < record.count; ++i)
        ids.push_back(view_item_id(record, i));
    return ids;
}

using ids_t = std::vector<uint32_t>;

TEST(ViewNumber, FindsValuesInAMapper)
{
    EXPECT_EQ(find(mapper(), {0, 9}), ids_t{});
    EXPECT_EQ(find(mapper(), {0, 10}), ids_t{7});
    EXPECT_EQ(find(mapper(), {0, 11}), ids_t{7});
    EXPECT_EQ(find(mapper(), {0, 256 + 10}), ids_t{}) << "wider than the matcher";
    EXPECT_EQ(find(mapper(), {1, 10}), ids_t{});
}

TEST(ViewNumber, FindsValuesInIntervals)
{
    EXPECT_EQ(find(intervals(), {0, 0x00FFFFFF}), ids_t{});
    EXPECT_EQ(find(intervals(), {0, 0x01000000}), ids_t{7});
    EXPECT_EQ(find(intervals(), {0, 0x01000080}), ids_t{7});
    EXPECT_EQ(find(intervals(), {0, 0x010000FF}), ids_t{7});
    EXPECT_EQ(find(intervals(), {0, 0x01000100}), ids_t{});
    EXPECT_EQ(find(intervals(), {0, 0x02000000}), ids_t{}) << "no interval has the top byte";
    EXPECT_EQ(find(intervals(), {0, 0x101000000}), ids_t{}) << "wider than the matcher";
}

// A 64-bit value has its low word first, an address its most significant word.
TEST(ViewNumber, ReadsWideValues)
{
    word_list msb(64);
    msb[0] = 0x01000000;
    const auto of = [&](uint32_t type, uint32_t size, const word_list &values) {
        return join(
            {blob(15, {type}), blob(17, join({blob(42, {size, 1}), blob(43, msb), blob(44, values),
                                              blob(45, {0}), blob(46, {1, 7})}))});
    };
    EXPECT_EQ(find(of(6, 8, {5, 1}), {0, 0x100000005}), ids_t{7});
    EXPECT_EQ(find(of(6, 8, {5, 1}), {0, 0x100000004}), ids_t{});
    EXPECT_EQ(find(of(8, 16, {0, 1, 2, 3}), {1, 0x200000003}), ids_t{7});
    EXPECT_EQ(find(of(8, 16, {0, 1, 2, 3}), {1, 0x200000002}), ids_t{});
    EXPECT_EQ(find(of(8, 16, {0, 1, 2, 3}), {0, 0xFFFFFFFFFFFFFFFF}), ids_t{});
}

// Words: 2 the type, 7 to 134 the table, 137 to 141 the items.
TEST(ViewNumber, FindsEveryChangedWordOfAMapper)
{
    expect_faults(mapper(),
                  {
                      {0, 16, VIEW_UNKNOWN, 0},
                      {2, 1, VIEW_VALUE, 8},                // no type of numbers
                      {2, 7, VIEW_UNKNOWN, 12},             // addresses have intervals
                      {2, 4, VIEW_LENGTH, 20},              // 16 bits need more
                      {12, 0x00050003, VIEW_REFERENCE, 48}, // value 10: record 5 of 5 words
                      {138, 4, VIEW_COUNT, 552},            // 4 items in 3 words
                      {139, 0x80000000, VIEW_REFERENCE, 556},
                  },
                  check);
    expect_cuts_refused(mapper(), 0, check);
}

// Words: 7 and 8 the meta, 11 to 74 the flags, 77 to 79 the endpoints, 82 to 84 the offsets, 87 to
// 91 the items.
TEST(ViewNumber, FindsEveryChangedWordOfIntervals)
{
    expect_faults(intervals(),
                  {
                      {7, 8, VIEW_VALUE, 28},   // values of another width
                      {8, 4, VIEW_LENGTH, 300}, // more endpoints than there are
                      {8, 0xFFFFFFFF, VIEW_LENGTH, 300},
                      {83, 5, VIEW_REFERENCE, 332}, // record 5 of 5 words
                      {87, 5, VIEW_COUNT, 348},     // 5 items in 4 words
                      {90, 0x80000000, VIEW_REFERENCE, 360},
                  },
                  check);
    expect_harmless(intervals(), 78, 0, check); // out of order: nothing is found there
    expect_cuts_refused(intervals(), 0, check);
}

} // namespace
