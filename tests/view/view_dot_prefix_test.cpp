#include "view_dot_prefix.h"

#include "view_blobs.h"

namespace
{

bool check(const view_area_t &area, view_error_t &error)
{
    view_dot_prefix_t view;
    return view_dot_prefix_open(area, view, error) && view_dot_prefix_check(view, 0, error);
}

TEST(ViewDotPrefix, IsWalkedWhereItLies)
{
    const std::vector<uint8_t> bytes = stored(blob_of_dot_prefix);
    view_error_t error;
    view_dot_prefix_t view;
    ASSERT_TRUE(view_dot_prefix_open({bytes.data(), bytes.size(), 0}, view, error)) << error.text;
    ASSERT_TRUE(view_dot_prefix_check(view, 0, error)) << error.text;
    EXPECT_EQ(view.rows.nr_row, 5u);
    EXPECT_EQ(view_dot_prefix_next(view, 0, 'x'), 3u);
    EXPECT_EQ(view_dot_prefix_next(view, 0, 'q'), 1u) << "by wildcard";
    EXPECT_EQ(view_dot_prefix_next(view, 0, 'b'), 1u) << "in the alphabet, but no edge has it";
    EXPECT_EQ(view_dot_prefix_next(view, 2, 'b'), 0u);
    EXPECT_EQ(view_dot_prefix_propagation(view, 3), 1u);
    EXPECT_EQ(view_dot_prefix_propagation(view, 0), DOT_PREFIX_NO_PROPAGATION);
    EXPECT_EQ(view_dot_prefix_items(view, 1).count, 0u);
    const view_item_record_t preempt = view_dot_prefix_items(view, 2);
    ASSERT_EQ(preempt.count, 1u);
    EXPECT_EQ(preempt.mindata, 20u);
    EXPECT_EQ(view_item_id(preempt, 0), 4u);
    const view_item_record_t both = view_dot_prefix_items(view, 4);
    ASSERT_EQ(both.count, 2u);
    EXPECT_EQ(both.mindata, PATTERN_MINDATA_NONE);
    EXPECT_EQ(view_item_id(both, 1), 4u);
}

// Words: 0 the alphabet, 71 the transitions (73 to 87), 88 the items (90 to 96).
TEST(ViewDotPrefix, FindsEveryChangedWord)
{
    expect_faults(blob_of_dot_prefix,
                  {
                      {71, 40, VIEW_UNKNOWN, 284},
                      {74, 0xFFFF0005, VIEW_REFERENCE, 298}, // wildcard to node 5 of 5
                      {75, 0x00050000, VIEW_REFERENCE, 300}, // x to node 5
                      {82, 0x00000005, VIEW_REFERENCE, 330}, // propagation to node 5
                      {86, 0x00070000, VIEW_REFERENCE, 344}, // record 7 of 7 words
                      {92, 6, VIEW_COUNT, 360},              // 6 items in 4 words
                      {93, 0x80000000, VIEW_REFERENCE, 372}, // no private item
                      {4, 3, VIEW_COUNT, 16},                // fewer codes than reserved
                  },
                  check);
    expect_harmless(blob_of_dot_prefix, 91, 0x80000000, check); // any minimum of data
    expect_harmless(blob_of_dot_prefix, 73, 0x77770003,
                    check); // word 0 is not used; propagation in a circle
    expect_cuts_refused(blob_of_dot_prefix, 0, check);
}

TEST(ViewDotPrefix, HasAStartNode)
{
    const word_list words = join({alphabet(41, 4, {}), blob(39, {}), blob(40, {})});
    const std::vector<uint8_t> bytes = stored(words);
    view_error_t error;
    EXPECT_FALSE(check({bytes.data(), bytes.size(), BLOB_PLACE}, error));
    EXPECT_EQ(error.fault, VIEW_COUNT);
    EXPECT_EQ(error.offset, BLOB_PLACE + 292);
}

TEST(ViewItems, GivesARecordBehindItsMinimum)
{
    // Records at words 0, 2 and 5: one item; two items and a minimum; none and no minimum.
    const std::vector<uint8_t> narrow = stored({1, 7, 0xFFFE0014, 2, 8, 9, 0xFFFF0000, 0});
    const view_items_t items = {{narrow.data(), narrow.size(), 0}, VIEW_ITEMS_MINDATA};
    EXPECT_EQ(view_items_at(items, 0).mindata, PATTERN_MINDATA_NONE);
    EXPECT_EQ(view_items_at(items, 0).count, 1U);
    EXPECT_EQ(csa_get_be32(view_items_at(items, 0).first), 7U);
    EXPECT_EQ(view_items_at(items, 2).mindata, 20U);
    EXPECT_EQ(view_items_at(items, 2).count, 2U);
    EXPECT_EQ(csa_get_be32(view_items_at(items, 2).first), 8U);
    EXPECT_EQ(view_items_at(items, 6).count, 0U);
    // A minimum of a word of its own.
    const std::vector<uint8_t> wide = stored({0xFFFE0000, 70000, 1, 9});
    const view_item_record_t record =
        view_items_at({{wide.data(), wide.size(), 0}, VIEW_ITEMS_WIDE_MINDATA}, 0);
    EXPECT_EQ(record.mindata, 70000U);
    EXPECT_EQ(record.count, 1U);
    EXPECT_EQ(csa_get_be32(record.first), 9U);
}

} // namespace
