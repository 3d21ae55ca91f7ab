#include "view_pool.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "failing_alloc.h"

namespace
{

using bytes_t = std::vector<uint8_t>;

/// "abc" at 0, "de" at 6, "f" at 10; two bytes of padding.
const bytes_t three_strings = {0, 3, 'a', 'b', 'c', 0, 0, 2, 'd', 'e', 0, 1, 'f', 0, 0, 0};

view_pool_t pool_of(const bytes_t &bytes)
{
    return {view_file(bytes)};
}

TEST(ViewPool, GivesTextsByTheirOffset)
{
    std::string_view text;
    ASSERT_TRUE(view_pool_get(pool_of(three_strings), 0, text));
    EXPECT_EQ(text, "abc");
    ASSERT_TRUE(view_pool_get(pool_of(three_strings), 6, text));
    EXPECT_EQ(text, "de");
    ASSERT_TRUE(view_pool_get(pool_of(three_strings), 10, text));
    EXPECT_EQ(text, "f");
}

TEST(ViewPool, RefusesOffsetsThatHoldNoWholeText)
{
    std::string_view text;
    EXPECT_FALSE(view_pool_get(pool_of(three_strings), 1, text)) << "odd";
    EXPECT_FALSE(view_pool_get(pool_of(three_strings), 2, text)) << "runs past the end";
    EXPECT_FALSE(view_pool_get(pool_of(three_strings), 14, text)) << "too near the end";
    EXPECT_FALSE(view_pool_get(pool_of(three_strings), 0xFFFFFFFF, text));
    EXPECT_FALSE(view_pool_get({}, 0, text));
    const bytes_t empty = {0, 0, 0, 0};
    EXPECT_FALSE(view_pool_get(pool_of(empty), 0, text)) << "an empty text";
}

TEST(ViewPool, CutsATextAtTheEndForWhoWantsIt)
{
    std::string_view text;
    ASSERT_TRUE(view_pool_cut(pool_of(three_strings), 2, text));
    EXPECT_EQ(text, (std::string_view{"c\0\0\2de\0\1f\0\0\0", 12}));
    ASSERT_TRUE(view_pool_cut(pool_of(three_strings), 13, text));
    EXPECT_EQ(text, "");
    EXPECT_FALSE(view_pool_cut(pool_of(three_strings), 14, text));
}

TEST(ViewPool, WalksItsEntries)
{
    view_pool_cursor_t cursor = view_pool_walk(pool_of(three_strings));
    view_pool_entry_t entry;
    std::string all;
    while (view_pool_next(cursor, entry))
        all += std::to_string(entry.offset) + std::string(entry.text) + " ";
    EXPECT_EQ(all, "0abc 6de 10f ");
    EXPECT_EQ(cursor.end, VIEW_WALK_DONE);
    EXPECT_EQ(view_pool_count(pool_of(three_strings)), 3u);
    EXPECT_EQ(view_pool_count({}), 0u);
}

TEST(ViewPool, EveryCutGivesTheWholeEntriesInFrontOfIt)
{
    const size_t ends[] = {5, 10, 13}; // behind the bytes of each text
    for (size_t size = 0; size <= three_strings.size(); ++size) {
        const bytes_t cut(three_strings.begin(),
                          three_strings.begin() + static_cast<ptrdiff_t>(size));
        uint32_t whole = 0;
        while (whole < 3 && ends[whole] <= size)
            ++whole;
        EXPECT_EQ(view_pool_count(pool_of(cut)), whole) << size;
        view_pool_starts_t starts;
        view_error_t error;
        const bool sound = size == 0 || size == 16;
        EXPECT_EQ(view_pool_check(pool_of(cut), starts, error), sound) << size;
    }
}

TEST(ViewPool, KnowsWhereEntriesStart)
{
    view_pool_starts_t starts;
    view_error_t error;
    ASSERT_TRUE(view_pool_check(pool_of(three_strings), starts, error));
    for (uint32_t offset = 0; offset < 300; ++offset)
        EXPECT_EQ(view_pool_starts_at(starts, offset), offset == 0 || offset == 6 || offset == 10)
            << offset;
    EXPECT_FALSE(view_pool_starts_at(starts, 0xFFFFFFFE));
}

TEST(ViewPool, CheckNamesTheFaultAndItsPlace)
{
    const struct {
        bytes_t bytes;
        view_fault_t fault;
        size_t offset;
    } cases[] = {
        {{0, 2, 'a', 'b', 0, 0}, VIEW_LENGTH, 0},
        {{0, 1, 'a', 'x'}, VIEW_VALUE, 0},
        {{0, 2, 'a', 'b', 0, 1, 'c', 'x'}, VIEW_VALUE, 4},
        {{0, 2, 'a', 'b', 0, 3, 'c', 'd'}, VIEW_OVERLONG, 4},
        {{0, 2, 'a', 'b', 0, 0, 0, 0}, VIEW_VALUE, 4},
        {{0, 4, 'a', 'b', 'c', 'd', 0, 0, 0, 0, 0, 0}, VIEW_VALUE, 6},
        {{0, 0, 0, 0}, VIEW_VALUE, 0},
    };
    for (const auto &one : cases) {
        view_pool_starts_t starts;
        view_error_t error;
        view_area_t area = view_file(one.bytes);
        area.offset = 100;
        EXPECT_FALSE(view_pool_check({area}, starts, error));
        EXPECT_EQ(error.fault, one.fault) << error.text;
        EXPECT_EQ(error.offset, 100 + one.offset) << error.text;
    }
}

TEST(ViewPool, SaysWhenMemoryRunsOut)
{
    view_pool_starts_t starts;
    view_error_t error;
    failing_alloc_arm(1);
    EXPECT_FALSE(view_pool_check(pool_of(three_strings), starts, error));
    EXPECT_TRUE(failing_alloc_disarm());
    EXPECT_EQ(error.fault, VIEW_MEMORY);
}

} // namespace
