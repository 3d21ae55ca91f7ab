#include "view_radix_tree.h"

#include "view_blobs.h"

namespace
{

bool check(const view_area_t &area, view_error_t &error)
{
    view_radix_t view;
    return view_radix_open(area, view, error) && view_radix_check(view, 0, error);
}

TEST(ViewRadix, IsWalkedWhereItLies)
{
    const std::vector<uint8_t> bytes = stored(blob_of_tree);
    view_error_t error;
    view_radix_t view;
    ASSERT_TRUE(view_radix_open({bytes.data(), bytes.size(), 0}, view, error)) << error.text;
    ASSERT_TRUE(view_radix_check(view, 0, error)) << error.text;
    EXPECT_EQ(view.rows.nr_row, 5u);
    EXPECT_EQ(view.nr_item_max, 1u);
    EXPECT_EQ(view_radix_next(view, 0, 'a'), 2u);
    EXPECT_EQ(view_radix_next(view, 0, 'c'), 0u) << "a byte that only a chain holds";
    EXPECT_FALSE(view_radix_is_chain(view, 2));
    EXPECT_EQ(view_radix_next(view, 2, 'b'), 1u);
    ASSERT_TRUE(view_radix_is_chain(view, 1));
    const view_radix_chain_t chain = view_radix_chain(view, 1);
    EXPECT_EQ(std::string(chain.bytes.begin(), chain.bytes.end()), "cde");
    EXPECT_EQ(chain.end, 4u);
    EXPECT_EQ(view_radix_items(view, 2).count, 0u);
    const view_item_record_t items = view_radix_items(view, chain.end);
    ASSERT_EQ(items.count, 1u);
    EXPECT_EQ(view_item_id(items, 0), 9u);
    EXPECT_TRUE(view_radix_is_exact(view, 9));
    EXPECT_FALSE(view_radix_is_exact(view, 8));
    EXPECT_FALSE(view_radix_is_exact(view, 10)) << "behind the last bit";
}

TEST(ViewRadix, IsEmptyWithoutPatterns)
{
    view_error_t error;
    EXPECT_TRUE(check({}, error)) << error.text;
}

// A tree whose only pattern is empty has no rows; there is nothing to walk.
TEST(ViewRadix, MayHaveNoRows)
{
    const word_list words = join({blob(29, {}), blob(27, {0}), blob(30, {1, 9}), blob(31, {0, 0}),
                                  blob(28, {0, 0}), alphabet(33, 1, {}), blob(32, {1})});
    const std::vector<uint8_t> bytes = stored(words);
    view_error_t error;
    view_radix_t view;
    ASSERT_TRUE(view_radix_open({bytes.data(), bytes.size(), 0}, view, error)) << error.text;
    EXPECT_TRUE(view_radix_check(view, 0, error)) << error.text;
    EXPECT_EQ(view.rows.nr_row, 0u);
}

// Words: 2 to 9 transitions, 12 to 14 chains, 17 and 18 items, 21 and 22 the exact bitmap, 25 and
// 26 the bitmap of chains, 27 the alphabet, 98 the meta.
TEST(ViewRadix, FindsEveryChangedWord)
{
    expect_faults(blob_of_tree,
                  {
                      {0, 30, VIEW_UNKNOWN, 0},
                      {2, 0xFFFF0005, VIEW_REFERENCE, 10},  // row 0 on a: to row 5 of 5
                      {2, 0x00020002, VIEW_REFERENCE, 8},   // item record 2 of 2 words
                      {13, 0x00050363, VIEW_REFERENCE, 52}, // the chain ends at row 5 of 5
                      {13, 0x00040663, VIEW_REFERENCE, 52}, // 6 bytes where 5 are left
                      {17, 2, VIEW_COUNT, 68},              // 2 items in 1 word
                      {18, 0x80000000, VIEW_REFERENCE, 72}, // no private item
                      {21, 32, VIEW_COUNT, 84},             // 33 bits in 4 bytes
                      {25, 32, VIEW_COUNT, 100},            // the same
                      {98, 33, VIEW_UNKNOWN, 98 * 4},
                  },
                  check);
    expect_harmless(blob_of_tree, 6, 0x00030000, check);  // row 2 on b: to row 3, which is there
    expect_harmless(blob_of_tree, 26, 0x08000000, check); // number 1 names a row then
    expect_cuts_refused(blob_of_tree, 1, check);
}

// The number of a compressed edge is its word, which may lie behind all rows.
TEST(ViewRadix, TakesChainsBehindTheRows)
{
    const word_list words = join({
        blob(29, {0xFFFF0002, 0x0000FFFF, 0x00000000, 0xFFFF0000, 0x00060000, 0x00000000,
                  0x00000000, 0x00000000}), // row 2 on b: to number 6 of 5 rows
        blob(27, {0, 0, 0, 0, 0, 0, 0x00040363, 0x64650000}),
        blob(30, {1, 9}),
        blob(31, {9, 0x00020000}),
        blob(28, {6, 0x40000000}),
        alphabet(33, 3, {{'a', 1}, {'b', 2}}),
        blob(32, {1}),
    });
    const std::vector<uint8_t> bytes = stored(words);
    view_error_t error;
    EXPECT_TRUE(check({bytes.data(), bytes.size(), 0}, error)) << error.text;
    expect_faults(words, {{6, 0x00050000, VIEW_REFERENCE, 24}}, check); // number 5 is neither
}

TEST(ViewRadix, FindsChainsThatAreNotThere)
{
    word_list words = blob_of_tree;
    words[25] = 3;
    words[26] = 0x0A000000; // numbers 1 and 3; the table has 3 words
    expect_faults(words, {{3, 0x0000FFFF, VIEW_REFERENCE, 104}}, check);
}

} // namespace
