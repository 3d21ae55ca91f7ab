// What lists of ranges lose, held against the endpoints that the engines make of them.
#include "value_ranges.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "pdb_attr_properties.h"

namespace
{

constexpr unsigned top = 255; ///< of icmp:code, which has 8 bits

/// What an engine knows of the item of a list at one number.
struct endpoint_t {
    bool begins = false;
    bool ends = false;
    bool alone = false;
    bool covered = false;
};

/// The endpoints of a list: where parts begin and end, and behind each end.
std::map<unsigned, endpoint_t> endpoints(const std::vector<std::pair<unsigned, unsigned>> &list)
{
    std::map<unsigned, endpoint_t> all;
    for (const auto &[low, high] : list) {
        all[low].begins |= low != high;
        all[high].ends |= low != high;
        all[low].alone |= low == high;
        if (high != top)
            all[high + 1];
    }
    for (auto at = all.begin(); at != all.end(); ++at)
        for (auto on = at; at->second.begins && ++on != all.end() && !on->second.ends;)
            on->second.covered = true;
    return all;
}

/// The numbers that an engine finds: each goes by the last endpoint at or below it.
std::set<unsigned> found(const std::vector<std::pair<unsigned, unsigned>> &list)
{
    const std::map<unsigned, endpoint_t> all = endpoints(list);
    std::set<unsigned> numbers;
    for (unsigned number = 0; number <= top; ++number) {
        auto at = all.upper_bound(number);
        if (at == all.begin())
            continue;
        const auto &[place, point] = *--at;
        if (point.begins || point.covered || (place == number && (point.ends || point.alone)))
            numbers.insert(number);
    }
    return numbers;
}

TEST(value_ranges, random_lists_lose_what_the_engines_do_not_find)
{
    const pdb_attr_properties_t &code = *pdb_get_attr_properties(csa_str("icmp"), csa_str("code"));
    std::mt19937 random(3);
    size_t nr_lost = 0;
    for (int round = 0; round < 20000; ++round) {
        std::vector<std::pair<unsigned, unsigned>> list(1 + random() % 5);
        std::string text;
        std::set<unsigned> lost;
        for (auto &[low, high] : list) {
            low = static_cast<unsigned>(random() % 40 + (random() % 20 == 0 ? 215 : 0));
            high = std::min(low + static_cast<unsigned>(random() % 12), top);
            text += (text.empty() ? "" : ",") + std::to_string(low) + '-' + std::to_string(high);
            for (unsigned number = low; number <= high; ++number)
                lost.insert(number);
        }
        for (const unsigned number : found(list))
            lost.erase(number);
        std::set<unsigned> said;
        for (const value_range_t &range : value_ranges_lost(value_ranges(code, text)))
            for (value_point_t number = range.low; number <= range.high; ++number)
                said.insert(static_cast<unsigned>(number));
        ASSERT_EQ(said, lost) << text;
        nr_lost += lost.empty() ? 0 : 1;
    }
    EXPECT_GT(nr_lost, 2000U);
}

TEST(value_ranges, addresses_are_ranges_too)
{
    const pdb_attr_properties_t &address =
        *pdb_get_attr_properties(csa_str("ip"), csa_str("address"));
    const auto lost = value_ranges_lost(value_ranges(address, "10.0.0.0/8,10.1.0.0/16"));
    ASSERT_EQ(lost.size(), 1U);
    EXPECT_EQ(value_range_text(MATCHER_TYPE_IP_4, lost[0].low, lost[0].high),
              "10.2.0.0-10.255.255.254");
}

TEST(value_ranges, addresses_of_128_bits_are_ranges_too)
{
    const pdb_attr_properties_t &address =
        *pdb_get_attr_properties(csa_str("ip6"), csa_str("address"));
    const auto lost = value_ranges_lost(value_ranges(address, "fd00::/16,fd00:1::/32"));
    ASSERT_EQ(lost.size(), 1U);
    EXPECT_EQ(value_range_text(MATCHER_TYPE_IP_6, lost[0].low, lost[0].high),
              "fd00:2::-fd00:ffff:ffff:ffff:ffff:ffff:ffff:fffe");
    EXPECT_TRUE(value_ranges_lost(value_ranges(address, "nothing")).empty());
    EXPECT_TRUE(value_ranges_lost(value_ranges(address, "")).empty());
}

} // namespace
