// Everything that the reader gives back equals what the text said.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "random_description.h"
#include "serialize_fixture.h"
#include "tlv_description.h"

namespace
{

class round_trip : public serialize_fixture
{
protected:
    /// Serializes a random description and compares everything that a reader gives.
    void check(uint32_t seed, std::span<const alias_model> with_aliases,
               std::vector<std::string> expected_main)
    {
        const random_description description = make_random_description(seed, with_aliases);
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + description.json);
        std::string came_to;
        (void)stderr_of([&] { came_to = run(description.json); }); // warnings of directions
        ASSERT_EQ(came_to, "0");
        const std::vector<uint8_t> root = part(PDB_TYPE_PROTOCOL_DESCRIPTION);
        const std::vector<uint8_t> main = part(PDB_TYPE_MAIN_HSTRING);
        std::vector<protocol_model> read;
        EXPECT_EQ(outcome(read_protocols(
                      root, {main.data() + 4, static_cast<uint32_t>(main.size() - 4)}, &read)),
                  "0");
        ASSERT_EQ(read.size(), description.protocols.size());
        for (size_t i = 0; i < read.size(); ++i)
            EXPECT_EQ(read[i], description.protocols[i]);
        std::span<const uint8_t> group_strings;
        ASSERT_EQ(tlv_value_search(2, std::span(root).subspan(8), &group_strings), PDATA_SUCCESS);
        EXPECT_EQ(strings_of(group_strings), description.group_strings);
        for (const std::string &tag : description.rule_tags)
            if (std::find(expected_main.begin(), expected_main.end(), tag) == expected_main.end())
                expected_main.push_back(tag);
        EXPECT_EQ(main_strings(), expected_main);
        const std::vector<uint8_t> first = root;
        (void)stderr_of([&] { came_to = run(description.json); }); // as above
        EXPECT_EQ(part(PDB_TYPE_PROTOCOL_DESCRIPTION), first) << "the same text, the same bytes";
    }
};

/// What the random descriptions of these tests are made of, summed up.
TEST_F(round_trip, random_descriptions_hold_everything)
{
    std::map<std::string, size_t> met;
    for (uint32_t seed = 1001; seed <= 1300; ++seed) {
        for (const protocol_model &protocol :
             make_random_description(seed, random_aliases).protocols) {
            met["tags"] += protocol.tags.size();
            met["full tags"] += protocol.tags.size() == 11;
            met["full altnames"] += protocol.altnames.size() == 10;
            for (const rule_model &rule : protocol.rules) {
                met[rule.meta_version == 5 ? "fifth form" : "sixth form"] += 1;
                met["preempt"] += rule.preempt;
                met["paths"] += !rule.path.empty();
                met["rule tags"] += rule.tags.size();
                met["two sub-rules"] += rule.sub_rules.size() == 2;
                met["kept metas"] += rule.sub_rules[0].attrs.empty() && rule.scope != 0;
                for (const sub_rule_model &sub_rule : rule.sub_rules) {
                    met["rewritten"] += sub_rule.protocol != sub_rule.bottom_protocol;
                    for (const attr_model &attr : sub_rule.attrs)
                        for (const auto &[value, offset] : attr.values)
                            met[offset != 0 ? "values with offsets" : "values"] += 1;
                }
            }
        }
    }
    for (const char *what :
         {"tags", "full tags", "full altnames", "fifth form", "sixth form", "preempt", "paths",
          "rule tags", "two sub-rules", "kept metas", "rewritten", "values", "values with offsets"})
        EXPECT_GE(met[what], 5U) << what;
}

TEST_F(round_trip, descriptions_without_aliases)
{
    for (uint32_t seed = 1; seed <= 300 && !HasFailure(); ++seed)
        check(seed, {}, {});
}

TEST_F(round_trip, descriptions_with_aliases_and_tags)
{
    configure_aliases(random_aliases_json);
    configure_tags(R"({"tag_table": {"video": 1, "audio": 2, "http": 3}})");
    for (uint32_t seed = 1001; seed <= 1300 && !HasFailure(); ++seed)
        check(seed, random_aliases,
              {"http", "user_agent", "quic", "tcp", "stream", "udp", "ssl", "common_name",
               "subject_alt_name", "content", "video", "audio"});
}

/// Damaged groups read without harm, whatever the reader makes of them.
TEST_F(round_trip, damaged_groups_read_without_harm)
{
    std::mt19937 random(7);
    for (const uint32_t seed : {3U, 14U, 15U, 92U}) {
        (void)stderr_of([&] { (void)run(make_random_description(seed, {}).json); }); // as above
        const std::vector<uint8_t> root = part(PDB_TYPE_PROTOCOL_DESCRIPTION);
        std::vector<protocol_model> read;
        for (size_t len = 0; len < root.size(); len += 1 + random() % 16) {
            const std::vector<uint8_t> cut(root.begin(), root.begin() + static_cast<long>(len));
            EXPECT_NE(read_protocols(cut, {}, &read), PDATA_SUCCESS) << len;
        }
        for (int round = 0; round < 300; ++round) {
            std::vector<uint8_t> damaged = root;
            for (auto n = 1 + random() % 6; n != 0; --n)
                damaged[random() % damaged.size()] = static_cast<uint8_t>(random());
            (void)read_protocols(damaged, {}, &read); // only how it reads matters
        }
    }
    clear_status_slot();
}

} // namespace
