// The record that aliases are looked up in, against a search from the first pair to the last.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "matcher_alias_keys.h"
#include "outcome.h"

namespace
{

using set_t = std::vector<alias_pair_t>;

alias_elt_t elt(const char *protocol, const char *attr, csa_attr_way_t way)
{
    return {csa_str(protocol), csa_str(attr), way};
}

/// Which pair is found, as its reference's attribute, or "none".
std::string found(const matcher_alias_t &record, const char *protocol, const char *attr,
                  csa_attr_way_t way)
{
    const alias_pair_t *pair = matcher_alias_find(record, csa_str(protocol), csa_str(attr), way);
    return pair == nullptr ? "none" : std::string(csa_str_view(pair->reference.attr_name));
}

TEST(matcher_alias_keys, a_key_is_the_hash_of_lengths_names_and_direction)
{
    EXPECT_EQ(matcher_alias_compute_key(csa_str("http"), csa_str("host"), ATTR_WAY_CTS),
              0x3a60cf9cf010b50au);
    EXPECT_EQ(matcher_alias_compute_key(csa_str("http"), {}, ATTR_WAY_UNKNOWN),
              0x367819e49f321a5bu);
}

TEST(matcher_alias_keys, the_first_of_equal_aliases_is_found)
{
    const set_t pairs = {{elt("http", "host", ATTR_WAY_CTS), elt("quic", "one", ATTR_WAY_CTS)},
                         {elt("http", "host", ATTR_WAY_STC), elt("quic", "two", ATTR_WAY_CTS)},
                         {elt("http", "host", ATTR_WAY_CTS), elt("ssl", "three", ATTR_WAY_CTS)}};
    matcher_alias_t record;
    ASSERT_EQ(outcome(matcher_alias_make_alias_keys(&record, pairs)), "0");
    EXPECT_EQ(found(record, "http", "host", ATTR_WAY_CTS), "one");
    EXPECT_EQ(found(record, "http", "host", ATTR_WAY_STC), "two");
    EXPECT_EQ(found(record, "http", "host", ATTR_WAY_BOTH), "none");
    EXPECT_EQ(found(record, "httph", "ost", ATTR_WAY_CTS), "none");
    EXPECT_TRUE(matcher_alias_has_proto(record, csa_str("http")));
    EXPECT_FALSE(matcher_alias_has_proto(record, csa_str("quic")));
    EXPECT_EQ(record.nr_proto_alias, 2u) << "http to quic, http to ssl";
}

TEST(matcher_alias_keys, the_record_holds_64_pairs)
{
    set_t pairs(64, {elt("http", "host", ATTR_WAY_CTS), elt("quic", "sni", ATTR_WAY_CTS)});
    matcher_alias_t record;
    EXPECT_EQ(outcome(matcher_alias_make_alias_keys(&record, pairs)), "0");
    pairs.push_back({elt("ssl", "host", ATTR_WAY_CTS), elt("quic", "sni", ATTR_WAY_CTS)});
    EXPECT_EQ(outcome(matcher_alias_make_alias_keys(&record, pairs)),
              OUTCOME_OVERFLOW ": Too many matcher alias");
    EXPECT_EQ(record.nr_alias, 64u) << "a refused set leaves the record";
    EXPECT_EQ(record.nr_proto_alias, 1u);
}

constexpr const char *names[] = {"", "a", "b", "ab", "ba", "abc"};
constexpr csa_attr_way_t ways[] = {ATTR_WAY_CTS, ATTR_WAY_STC, ATTR_WAY_BOTH};

/// Compares every question that the names allow.
void compare(const matcher_alias_t &record, const set_t &pairs)
{
    for (const char *protocol : names)
        for (const char *attr : names)
            for (const csa_attr_way_t way : ways) {
                const auto naive =
                    std::find_if(pairs.begin(), pairs.end(), [&](const alias_pair_t &pair) {
                        return csa_str_view(pair.alias.proto_name) == protocol &&
                               csa_str_view(pair.alias.attr_name) == attr && pair.alias.way == way;
                    });
                const alias_pair_t *pair =
                    matcher_alias_find(record, csa_str(protocol), csa_str(attr), way);
                ASSERT_EQ(pair == nullptr, naive == pairs.end());
                if (pair != nullptr) {
                    ASSERT_EQ(pair - record.aliases.data(), naive - pairs.begin());
                }
            }
}

TEST(matcher_alias_keys, random_sets_answer_as_a_search_from_the_first_pair_does)
{
    std::mt19937 random(20);
    const auto any = [&] { return names[random() % std::size(names)]; };
    const auto any_way = [&] { return ways[random() % std::size(ways)]; };
    for (int round = 0; round < 300; ++round) {
        set_t pairs(random() % 65);
        for (alias_pair_t &pair : pairs)
            pair = {elt(any(), any(), any_way()), elt(any(), any(), any_way())};
        matcher_alias_t record;
        ASSERT_EQ(outcome(matcher_alias_make_alias_keys(&record, pairs)), "0");
        compare(record, pairs);
        for (const char *protocol : names)
            ASSERT_EQ(matcher_alias_has_proto(record, csa_str(protocol)),
                      std::any_of(pairs.begin(), pairs.end(), [&](const alias_pair_t &pair) {
                          return csa_str_view(pair.alias.proto_name) == protocol;
                      }));
    }
}

TEST(matcher_alias_keys, names_of_one_key_are_told_apart)
{
    const set_t pairs = {{elt("http", "host", ATTR_WAY_CTS), elt("quic", "one", ATTR_WAY_CTS)}};
    const alias_elt_t others[] = {elt("http", "host", ATTR_WAY_STC),
                                  elt("http", "port", ATTR_WAY_CTS),
                                  elt("smtp", "host", ATTR_WAY_CTS)};
    for (const alias_elt_t &other : others) {
        matcher_alias_t record;
        ASSERT_EQ(outcome(matcher_alias_make_alias_keys(&record, pairs)), "0");
        EXPECT_EQ(found(record, "http", "host", ATTR_WAY_CTS), "one");
        record.aliases[0].alias = other; // under the key of the first
        EXPECT_EQ(found(record, "http", "host", ATTR_WAY_CTS), "none");
    }
}

} // namespace
