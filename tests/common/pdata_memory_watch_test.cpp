#include "pdata_memory_watch.h"

#include <gtest/gtest.h>

#include <string>

#include "failing_alloc.h"
#include "pdata_error.h"

namespace
{

/// Returns the status of an operation in which memory runs out, as the compiler makes one of it.
pdata_status_t run_out_of_memory()
{
    failing_alloc_arm(1);
    const pdata_status_t status = pdata_guard([] {
        const std::string text(1000, 'x');
        return text.empty() ? PDATA_ERR_IO : PDATA_SUCCESS;
    });
    (void)failing_alloc_disarm();
    return status;
}

TEST(pdata_memory_watch, a_status_without_a_failed_allocation_is_none)
{
    const pdata_memory_watch_t watch;
    EXPECT_EQ(pdata_guard([] { return PDATA_ERR_NO_MEMORY; }), PDATA_ERR_NO_MEMORY);
    EXPECT_NO_THROW(pdata_memory_watch_expect(watch));
}

TEST(pdata_memory_watch, an_allocation_that_failed_is_noticed_though_it_was_caught)
{
    const pdata_memory_watch_t watch;
    ASSERT_EQ(run_out_of_memory(), PDATA_ERR_NO_MEMORY);
    EXPECT_THROW(pdata_memory_watch_expect(watch), std::bad_alloc);
}

TEST(pdata_memory_watch, what_failed_before_is_nothing_to_a_watch_and_what_fails_later_all_see)
{
    const pdata_memory_watch_t outer;
    ASSERT_EQ(run_out_of_memory(), PDATA_ERR_NO_MEMORY);
    {
        const pdata_memory_watch_t inner;
        EXPECT_NO_THROW(pdata_memory_watch_expect(inner));
        ASSERT_EQ(run_out_of_memory(), PDATA_ERR_NO_MEMORY);
        EXPECT_THROW(pdata_memory_watch_expect(inner), std::bad_alloc);
    }
    EXPECT_THROW(pdata_memory_watch_expect(outer), std::bad_alloc);
}

TEST(pdata_memory_watch, the_handler_before_is_there_again_afterwards)
{
    const std::new_handler before = std::get_new_handler();
    {
        const pdata_memory_watch_t watch;
        EXPECT_NE(std::get_new_handler(), before);
    }
    EXPECT_EQ(std::get_new_handler(), before);
}

} // namespace
