#include "pattern_fixtures.h"

namespace
{

/// A preempt as tests state it.
struct given_preempt {
    std::string bytes;
    uint32_t priority;
    uint32_t mindata;
    pattern_type_t type = PATTERN_REGULAR;
};

ps_preempt make_list(const std::vector<given_preempt> &given)
{
    ps_preempt list;
    for (const given_preempt &g : given) {
        pattern_info info = make_preempt(g.bytes, 1, g.mindata, g.type);
        info.priority = g.priority;
        pattern_preempt_register(list, info);
    }
    return list;
}

std::vector<uint32_t> resolved(const std::vector<given_preempt> &given)
{
    ps_preempt list = make_list(given);
    pattern_preempt_resolve_conflict(list);
    std::vector<uint32_t> mindata;
    for (const preempt &p : list)
        mindata.push_back(p.mindata);
    return mindata;
}

/// The resolution as it is defined: every pair in list order, updates in place.
std::vector<uint32_t> resolved_by_pairs(const std::vector<given_preempt> &given)
{
    std::vector<given_preempt> list = given;
    std::vector<uint32_t> mindata;
    [&] {
        for (given_preempt &a : list) {
            for (given_preempt &b : list) {
                if (a.type == PATTERN_OFFSET || b.type == PATTERN_OFFSET)
                    return;
                if (&a == &b || a.bytes.size() > b.bytes.size() ||
                    b.bytes.compare(0, a.bytes.size(), a.bytes) != 0)
                    continue;
                if (a.priority >= b.priority && a.mindata < b.mindata)
                    a.mindata = b.mindata;
            }
        }
    }();
    for (const given_preempt &p : list)
        mindata.push_back(p.mindata);
    return mindata;
}

using numbers = std::vector<uint32_t>;

TEST(pattern_preempt, a_short_preempt_waits_as_long_as_the_longer_one_that_it_begins)
{
    EXPECT_EQ(resolved({{"ab", 5, 10}, {"abc", 5, 40}}), (numbers{40, 40}));
    EXPECT_EQ(resolved({{"abc", 5, 40}, {"ab", 6, 10}}), (numbers{40, 40}));
}

TEST(pattern_preempt, a_short_preempt_of_lower_priority_keeps_its_mindata)
{
    EXPECT_EQ(resolved({{"ab", 4, 10}, {"abc", 5, 40}}), (numbers{10, 40}));
}

TEST(pattern_preempt, mindata_never_shrinks_and_other_patterns_change_nothing)
{
    EXPECT_EQ(resolved({{"ab", 5, 50}, {"abc", 5, 40}}), (numbers{50, 40}));
    EXPECT_EQ(resolved({{"ab", 5, 10}, {"xab", 5, 40}, {"a", 1, 60}}), (numbers{10, 40, 60}));
}

TEST(pattern_preempt, equal_patterns_update_each_other_by_priority)
{
    EXPECT_EQ(resolved({{"ab", 5, 10}, {"ab", 5, 40}}), (numbers{40, 40}));
    EXPECT_EQ(resolved({{"ab", 4, 10}, {"ab", 5, 40}}), (numbers{10, 40}));
    EXPECT_EQ(resolved({{"ab", 5, 10}, {"ab", 4, 40}}), (numbers{40, 40}));
}

TEST(pattern_preempt, an_empty_preempt_begins_every_other)
{
    EXPECT_EQ(resolved({{"", 5, 1}, {"abc", 5, 40}, {"x", 9, 90}}), (numbers{40, 40, 90}));
}

TEST(pattern_preempt, an_offset_preempt_first_in_the_list_stops_all_updates)
{
    EXPECT_EQ(resolved({{"z", 5, 1, PATTERN_OFFSET}, {"ab", 5, 10}, {"abc", 5, 40}}),
              (numbers{1, 10, 40}));
}

TEST(pattern_preempt, an_offset_preempt_further_on_lets_only_the_first_one_look_ahead_to_it)
{
    EXPECT_EQ(
        resolved({{"ab", 5, 10}, {"abc", 5, 40}, {"z", 5, 1, PATTERN_OFFSET}, {"abcd", 5, 90}}),
        (numbers{40, 40, 1, 90}));
}

TEST(pattern_preempt, nothing_happens_to_an_empty_list)
{
    EXPECT_EQ(resolved({}), numbers{});
    EXPECT_EQ(resolved({{"ab", 5, 10}}), numbers{10});
}

TEST(pattern_preempt, the_outcome_is_that_of_comparing_every_pair_in_order)
{
    std::mt19937 random(20240607);
    for (uint32_t round = 0; round < 4000; ++round) {
        std::vector<given_preempt> given(random() % 25);
        const std::string_view letters = round % 3 == 0 ? "a" : "ab";
        const uint32_t priorities = 1 + round % 5;
        for (given_preempt &g : given)
            g = {random_string(random, letters, 0, 6), random_below(random, priorities),
                 random_below(random, 100),
                 round % 7 == 0 && random() % 12 == 0 ? PATTERN_OFFSET : PATTERN_PREFIX};
        ASSERT_EQ(resolved(given), resolved_by_pairs(given)) << "round " << round;
    }
}

TEST(pattern_preempt, many_preempts_are_not_compared_pair_by_pair)
{
    // The pairs of this list are ten thousand millions.
    std::mt19937 random(5);
    std::vector<given_preempt> given(100000);
    for (given_preempt &g : given)
        g = {random_string(random, "ab", 1, 30), 1, random_below(random, 1000)};
    given[0] = {"", 1, 0};
    EXPECT_EQ(resolved(given)[0], 999U);
}

TEST(pattern_preempt, a_preempt_keeps_every_field_and_a_copy_of_its_bytes)
{
    ps_preempt list;
    {
        std::string bytes("a\0b", 3);
        pattern_info info = make_preempt(bytes, 77, 100, PATTERN_OFFSET, 12);
        info.priority = 9;
        pattern_preempt_register(list, info);
        bytes = "xxx";
    }
    ASSERT_EQ(list.size(), 1U);
    const pattern_info info = pattern_preempt_info(list[0]);
    EXPECT_EQ(std::string(info.pattern, info.pattern_len), std::string("a\0b", 3));
    EXPECT_EQ(info.item_id, 77U);
    EXPECT_EQ(info.mindata, 100U);
    EXPECT_EQ(info.priority, 9U);
    EXPECT_EQ(info.type, PATTERN_OFFSET);
    EXPECT_EQ(info.offset, 12);
    EXPECT_EQ(info.preempt, 1);
    pattern_preempt_clean(list);
    EXPECT_TRUE(list.empty());
}

TEST(pattern_preempt, preempts_are_inserted_in_list_order_up_to_the_first_failure)
{
    ps_preempt list = make_list({{"a", 1, 1}, {"b", 1, 2}, {"c", 1, 3}});
    std::string inserted;
    const int code = pattern_preempt_finalize(list, [&](const pattern_info &info) {
        inserted.append(info.pattern, info.pattern_len);
        return info.mindata == 2 ? MODULE_ERR_NO_MEMORY : 0;
    });
    EXPECT_EQ(code, MODULE_ERR_NO_MEMORY);
    EXPECT_EQ(inserted, "ab");
}

} // namespace
