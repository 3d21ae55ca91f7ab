/// Numbers and addresses, against every number one by one where there are few.
#include "prove_number.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "prove_batch.h"
#include "prove_value.h"
#include "rounds.h"

namespace
{

std::string proved(const char *protocol, const char *attribute, std::string_view text)
{
    static constexpr const char *NAMES[] = {"whole", "lossy ", "dead ", "refused"};
    const prove_verdict_t verdict = prove_value({protocol, attribute, text});
    return NAMES[verdict.outcome] + verdict.lost;
}

TEST(prove_number, lists_and_ranges)
{
    EXPECT_EQ(proved("tcp", "port", "80"), "whole");
    EXPECT_EQ(proved("tcp", "port", "67,68"), "whole");
    EXPECT_EQ(proved("tcp", "port", "0-65535"), "whole");
    EXPECT_EQ(proved("icmp", "code", "[5-9]"), "whole");
    EXPECT_EQ(proved("tcp", "port", "10-20,15-30"), "lossy 21-29");
    EXPECT_EQ(proved("ip", "address", "192.0.2.0/24,198.51.100.7"), "whole");
    EXPECT_EQ(proved("ip", "address", "10.0.0.0/8,10.1.0.0/16"), "lossy 10.2.0.0-10.255.255.254");
    EXPECT_EQ(proved("ip6", "address", "2001:db8::/32"), "whole");
    EXPECT_EQ(proved("tcp", "port", ",,"), "dead ");
    EXPECT_EQ(proved("tcp", "port", "http"), "refused");
    EXPECT_EQ(proved("ip", "address", "192.0.2.9-192.0.2.1"), "refused");
}

TEST(prove_number, ends_of_ranges_are_parts_of_their_own)
{
    const std::vector<prove_range_t> parts =
        prove_ranges_cut({{{0, 10}, {0, 20}}, {{0, 15}, {0, 30}}, {{0, 40}, {0, 40}}});
    std::string text;
    for (const prove_range_t &part : parts)
        text += prove_range_text(part, MATCHER_TYPE_NUMBER_16) + " ";
    EXPECT_EQ(text, "10-14 15-19 20 21-29 30 40 ");
    const prove_number_t last = {UINT64_MAX, UINT64_MAX};
    EXPECT_EQ(prove_ranges_cut({{{0, 0}, last}}).size(), 2U);
    EXPECT_EQ(prove_range_middle({{0, 0}, last}), (prove_number_t{UINT64_MAX >> 1, UINT64_MAX}));
}

// Differences that borrow from the high half, and sums that carry into it.
TEST(prove_number, middles_of_ranges_over_both_halves)
{
    EXPECT_EQ(prove_range_middle({{0, UINT64_MAX}, {1, 1}}), (prove_number_t{1, 0}));
    EXPECT_EQ(prove_range_middle({{1, 4}, {2, 2}}), (prove_number_t{1, (UINT64_MAX >> 1) + 4}));
    EXPECT_EQ(prove_range_middle({{0, 4}, {3, 4}}), (prove_number_t{1, (UINT64_MAX >> 1) + 5}));
    EXPECT_EQ(proved("ip6", "address", "2001:db8::/32,2001:db8:1::/48"),
              "lossy 2001:db8:2:: to 2001:db8:ffff:ffff:ffff:ffff:ffff:fffe");
}

/// A list of up to four members over a few numbers.
std::string random_list(std::mt19937 &random, std::set<uint32_t> &described)
{
    std::string text;
    for (uint32_t i = 1 + random() % 4; i != 0; --i) {
        const auto low = static_cast<uint32_t>(random() % 40);
        const auto high = low + static_cast<uint32_t>(random() % 3 == 0 ? 0 : random() % 20);
        for (uint32_t number = low; number <= high; ++number)
            described.insert(number);
        text += (text.empty() ? "" : ",") + std::to_string(low) +
                (low == high ? "" : "-" + std::to_string(high));
    }
    return text;
}

TEST(prove_number, lists_agree_with_every_number_tried)
{
    std::mt19937 random(3);
    uint32_t lossy = 0;
    for (uint32_t round = 0; round < rounds(400); ++round) {
        std::set<uint32_t> described;
        const std::string text = random_list(random, described);
        const char *attribute = random() % 2 == 0 ? "protoid" : "dscp";
        const prove_value_t value = {"ip", attribute, text};
        const prove_value_t *const one[] = {&value};
        prove_batch_t batch;
        ASSERT_TRUE(prove_batch_open(one, batch));
        std::set<uint32_t> lost;
        for (const uint32_t number : described)
            if (!prove_batch_finds(batch, 0, prove_number_t{0, number}))
                lost.insert(number);
        const prove_verdict_t verdict = prove_value(value);
        ASSERT_EQ(verdict.outcome == PROVE_WHOLE_VALUE, lost.empty()) << text;
        ASSERT_EQ(verdict.outcome == PROVE_DEAD, lost.size() == described.size()) << text;
        if (!lost.empty()) {
            ASSERT_EQ(std::stoul(verdict.lost), *lost.begin()) << text << ": " << verdict.lost;
        }
        lossy += lost.empty() ? 0 : 1;
    }
    EXPECT_GT(lossy, rounds(40));
}

} // namespace
