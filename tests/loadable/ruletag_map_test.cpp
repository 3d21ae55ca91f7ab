/// The rule-tag map: the numbers of the tags of each rule.
#include "bytes.h"
#include "loadable_fixture.h"
#include "pdb_ruletag_map.h"

namespace
{

/// Returns the bytes of words in the byte order of a little-endian host.
std::vector<uint8_t> little_endian(const word_list &words)
{
    word_list swapped;
    for (const uint32_t word : words)
        swapped.push_back(csa_swap32(word));
    return stored(swapped);
}

/// A tag table, the strings that it refers to, and rules with tags.
struct tags_t {
    string_pool pool;
    std::vector<uint8_t> table;
    std::vector<std::vector<uint8_t>> rule_tags;

    explicit tags_t(const std::vector<std::pair<std::string, uint32_t>> &tags, bool network = true)
    {
        clear_status_slot();
        const word_list words = tag_words(pool, tags);
        table = network ? stored(words) : little_endian(words);
    }
    pdb_tag_source_t source() { return {pool.view(), {table}}; }

    /// A rule with these tags; they live as long as this.
    ruledesc_t rule(const std::vector<std::string> &names)
    {
        ruledesc_t rule{};
        rule_tags.push_back(stored(description_writer::strings_of(pool, names)));
        rule.rule_tags = rule_tags.back().data();
        rule.rule_nr_tags = static_cast<uint32_t>(names.size());
        return rule;
    }

    std::string resolve(std::string_view name, uint32_t network_endian = 1)
    {
        uint32_t value = 0;
        const std::string text =
            outcome(resolve_rule_tag(source(), csa_str(name), &value, network_endian));
        return text == "0" ? std::to_string(value) : text;
    }
};

struct map_t {
    ruletag_map_build_t map;

    map_t(tags_t &tags, const std::vector<ruledesc_t> &rules)
    {
        EXPECT_EQ(
            outcome(pdb_ruletag_map_init(&map, tags.source(), static_cast<uint32_t>(rules.size()))),
            "0");
        for (uint32_t i = 0; i < rules.size(); ++i)
            EXPECT_EQ(outcome(pdb_ruletag_map_add_entry(&map, i + 1, rules[i])), "0");
    }
    std::vector<uint8_t> serialized(uint32_t network_endian = 1) const
    {
        std::vector<uint8_t> out(pdb_ruletag_map_get_tlv_size(map));
        EXPECT_EQ(outcome(pdb_ruletag_map_serialize(map, out, network_endian)), "0");
        return out;
    }
};

TEST(ruletag_map, three_rules_with_two_no_and_one_tag)
{
    tags_t tags({{"video", 0x11}, {"audio", 0x22}});
    const auto rules = {tags.rule({"video", "audio"}), tags.rule({}), tags.rule({"audio"})};
    EXPECT_EQ(map_t(tags, rules).serialized(), bytes("00000003"
                                                     "00000000 00000003 00000004"
                                                     "00000002 00000011 00000022"
                                                     "00000000"
                                                     "00000001 00000022"));
}

TEST(ruletag_map, without_rules_it_is_a_zero)
{
    tags_t tags({});
    EXPECT_EQ(map_t(tags, {}).serialized(), bytes("00000000"));
}

TEST(ruletag_map, a_rule_that_was_not_added_has_no_tags)
{
    tags_t tags({{"video", 1}});
    ruletag_map_build_t map;
    EXPECT_EQ(outcome(pdb_ruletag_map_init(&map, tags.source(), 2)), "0");
    EXPECT_EQ(outcome(pdb_ruletag_map_add_entry(&map, 2, tags.rule({"video"}))), "0");
    std::vector<uint8_t> out(pdb_ruletag_map_get_tlv_size(map));
    EXPECT_EQ(outcome(pdb_ruletag_map_serialize(map, out, 1)), "0");
    EXPECT_EQ(out, bytes("00000002 00000000 00000001 00000000 00000001 00000001"));
}

TEST(ruletag_map, a_rule_id_beyond_the_map_is_refused)
{
    tags_t tags({});
    ruletag_map_build_t map;
    EXPECT_EQ(outcome(pdb_ruletag_map_init(&map, tags.source(), 1)), "0");
    EXPECT_EQ(outcome(pdb_ruletag_map_add_entry(&map, 0, tags.rule({}))), OUTCOME_INVALID_ARGUMENT);
    EXPECT_EQ(outcome(pdb_ruletag_map_add_entry(&map, 2, tags.rule({}))), OUTCOME_INVALID_ARGUMENT);
}

TEST(ruletag_map, a_buffer_of_another_size_is_refused_without_a_message)
{
    tags_t tags({{"video", 1}});
    const map_t map(tags, {tags.rule({"video"})});
    std::vector<uint8_t> out(pdb_ruletag_map_get_tlv_size(map.map) + 4);
    EXPECT_EQ(outcome(pdb_ruletag_map_serialize(map.map, out, 1)), OUTCOME_INVALID_ARGUMENT);
    EXPECT_EQ(outcome(pdb_ruletag_map_serialize(map.map, std::span(out).subspan(8), 1)),
              OUTCOME_INVALID_ARGUMENT);
}

TEST(ruletag_map, a_tag_that_the_table_lacks_fails_the_whole_map)
{
    tags_t tags({{"video", 1}});
    const map_t map(tags, {tags.rule({"video"}), tags.rule({"audio"})});
    std::vector<uint8_t> out(pdb_ruletag_map_get_tlv_size(map.map));
    std::string status;
    const std::string lines =
        stderr_of([&] { status = outcome(pdb_ruletag_map_serialize(map.map, out, 1)); });
    EXPECT_EQ(status, OUTCOME_PROTODESC_TAG ": Rule tag name audio not found \n");
    EXPECT_EQ(mask_lines(lines), "[ERROR  ][#][pdb_ruletag_map_serialize] "
                                 "Failed to resolve rule tag name(audio).\n");
}

TEST(ruletag_map, a_tag_whose_name_cannot_be_read_fails_the_whole_map)
{
    tags_t tags({{"video", 1}});
    const std::vector<uint8_t> far = stored({1000});
    ruledesc_t rule{};
    rule.rule_tags = far.data();
    rule.rule_nr_tags = 1;
    const map_t map(tags, {rule});
    std::vector<uint8_t> out(pdb_ruletag_map_get_tlv_size(map.map));
    std::string status;
    const std::string lines =
        stderr_of([&] { status = outcome(pdb_ruletag_map_serialize(map.map, out, 1)); });
    EXPECT_EQ(status, OUTCOME_ENGINE);
    EXPECT_EQ(mask_lines(lines),
              "[ERROR  ][#][pdb_ruletag_map_serialize] Failed to get rule tag name.\n");
}

TEST(ruletag_map, a_table_in_network_order_is_read_as_such)
{
    tags_t tags({{"audio", 7}, {"video", 0x01020304}});
    EXPECT_EQ(tags.resolve("video", 1), std::to_string(0x01020304));
    EXPECT_EQ(tags.resolve("video", 0), OUTCOME_PROTODESC_TAG ": Rule tag name video not found \n");
}

TEST(ruletag_map, a_table_in_host_order_is_read_as_such)
{
    tags_t tags({{"audio", 7}, {"video", 0x01020304}}, false);
    EXPECT_EQ(tags.resolve("video", 0), std::to_string(0x01020304));
    EXPECT_EQ(tags.resolve("video", 1), OUTCOME_PROTODESC_TAG ": Rule tag name video not found \n");
    EXPECT_EQ(map_t(tags, {tags.rule({"video"})}).serialized(0),
              bytes("00000001 00000000 00000001 01020304"));
}

TEST(ruletag_map, the_first_entry_of_a_name_counts)
{
    tags_t tags({{"video", 5}, {"video", 6}, {"audio", 7}});
    EXPECT_EQ(tags.resolve("video"), "5");
    EXPECT_EQ(tags.resolve("audio"), "7");
}

TEST(ruletag_map, names_are_equal_over_the_longer_length)
{
    tags_t tags({{"video", 5}});
    EXPECT_EQ(tags.resolve("vide"), OUTCOME_PROTODESC_TAG ": Rule tag name vide not found \n");
    EXPECT_EQ(tags.resolve("videos"), OUTCOME_PROTODESC_TAG ": Rule tag name videos not found \n");
    EXPECT_EQ(tags.resolve("Video"), OUTCOME_PROTODESC_TAG ": Rule tag name Video not found \n");
}

TEST(ruletag_map, an_entry_whose_name_cannot_be_read_equals_nothing)
{
    tags_t tags({{"video", 5}});
    const std::vector<uint8_t> far = stored({0x7FFFFFFF, 9});
    tags.table.insert(tags.table.begin(), far.begin(), far.end());
    EXPECT_EQ(tags.resolve("video"), "5");
}

TEST(ruletag_map, a_table_cut_within_an_entry_ends_in_front_of_it)
{
    tags_t tags({{"video", 5}, {"audio", 6}});
    tags.table.resize(12);
    EXPECT_EQ(tags.resolve("video"), "5");
    EXPECT_EQ(tags.resolve("audio"), OUTCOME_PROTODESC_TAG ": Rule tag name audio not found \n");
}

} // namespace
