#include <gtest/gtest.h>

#include "captured.h"
#include "json_text.h"
#include "json_tools.h"
#include "visitor_ipbt.h"

namespace
{

class ipbt_visitor : public testing::Test
{
protected:
    void TearDown() override { string_list_clean(); }

    /// Walks a table into `container`; gives what it prints, "accepted" when it is read silently.
    std::string walk(const std::string &text)
    {
        json_text json(text);
        EXPECT_EQ(json.parse(), 0) << text;
        int ret = 0;
        const std::string printed = stderr_of([&] {
            visitor_ipbt_t visitor;
            visitor_ipbt_init(&visitor, &container);
            ret = json_visit(json.json, &visitor.visitor);
        });
        EXPECT_TRUE(ret == 0 || ret == -1);
        if (ret == 0)
            return printed.empty() ? "accepted" : "accepted with " + printed;
        return printed;
    }

    /// Walks a table of one rule with these members.
    std::string walk_rule(const std::string &members)
    {
        return walk("{\"rules\": [{" + members + "}]}");
    }

    ipbt_container_t container;
};

const std::string values = R"("values": [{"type": "protocol", "value": "5"}])";
const std::string ips = R"("ips": ["10.0.0.0\/8"])";

/// Reads a mask; gives it as "address/length" in hexadecimal, or "refused".
std::string mask(std::string_view text)
{
    ipbt_ip4_mask_t read{};
    std::string printed;
    int ret = 0;
    printed = stderr_of([&] { ret = v_ipbt_parse_ip4_mask(text.data(), text.size(), &read); });
    char shown[32];
    std::snprintf(shown, sizeof(shown), "%08X/%u", read.mask, read.mask_length);
    if (ret == 0)
        return printed.empty() ? shown : printed;
    const std::string expected = "IPBT: v_ipbt_parse_ip4_mask: invalid IP mask \"" +
                                 std::string(text.substr(0, 18)) +
                                 "\" should be of the form 255.255.255.255/32\n";
    return printed == expected ? "refused" : printed;
}

TEST_F(ipbt_visitor, a_table_is_a_list_of_rules)
{
    EXPECT_EQ(walk(R"({"rules": [
                   {"values": [{"type": "protocol", "value": "5"},
                               {"value": "6", "type": "protocol"}],
                    "ips": ["10.0.0.0/8", "192.168.1.1"]},
                   {"ips": ["1.2.3.4\/31"], "values": [{"type": "protocol", "value": "0"}]}]})"),
              "accepted");
    ASSERT_EQ(container.rules.size(), 2U);
    ASSERT_EQ(container.rules[0].values.size(), 2U);
    EXPECT_EQ(container.rules[0].values[0].type, IPBT_VALUE_TYPE_PROTOCOL);
    EXPECT_EQ(container.rules[0].values[0].proto_id, 5U);
    EXPECT_EQ(container.rules[0].values[1].proto_id, 6U);
    ASSERT_EQ(container.rules[0].ip4_masks.size(), 2U);
    EXPECT_EQ(container.rules[0].ip4_masks[0].mask, 0x0A000000U);
    EXPECT_EQ(container.rules[0].ip4_masks[0].mask_length, 8U);
    EXPECT_EQ(container.rules[0].ip4_masks[1].mask, 0xC0A80101U);
    EXPECT_EQ(container.rules[0].ip4_masks[1].mask_length, 32U);
    EXPECT_EQ(container.rules[1].values[0].proto_id, 0U) << "an id of 0 is an id";
}

TEST_F(ipbt_visitor, a_document_or_a_rule_list_may_be_empty)
{
    EXPECT_EQ(walk("{}"), "accepted");
    EXPECT_EQ(walk(R"({"rules": []})"), "accepted");
    EXPECT_EQ(container.rules.size(), 0U);
}

TEST_F(ipbt_visitor, a_comment_holds_anything)
{
    for (const char *comment :
         {"\"text\"", "1", "true", "null", "[]", "{}", R"(["a", {"ips": ["x"]}, [[1]]])",
          R"({"rules": [{"values": 1}], "comment": {"type": "y", "z": {}}})"}) {
        const std::string member = "\"comment\": " + std::string(comment);
        EXPECT_EQ(walk_rule(member + ", " + values + ", " + ips), "accepted") << comment;
        EXPECT_EQ(walk_rule(values + ", " + member + ", " + ips + ", " + member), "accepted");
        ASSERT_EQ(container.rules.size(), 1U);
        EXPECT_EQ(container.rules[0].ip4_masks.size(), 1U);
    }
}

TEST_F(ipbt_visitor, an_id_is_the_digits_that_its_text_begins_with)
{
    const std::pair<const char *, uint32_t> ids[] = {
        {"5", 5},
        {"007", 7},
        {"12x34", 12},
        {"", 0},
        {"x", 0},
        {" 5", 0},
        {"-5", 0},
        {"+5", 0},
        {"5.9", 5},
        {"0", 0},
        {"4294967295", 4294967295},
        {"000000000000012", 12},
        {"\\u5", 0},
        {"\\5", 5},
    };
    for (const auto &[text, id] : ids) {
        EXPECT_EQ(walk_rule(R"("values": [{"type": "protocol", "value": ")" + std::string(text) +
                            "\"}], " + ips),
                  "accepted")
            << text;
        EXPECT_EQ(container.rules[0].values[0].proto_id, id) << text;
    }
}

TEST_F(ipbt_visitor, an_id_of_16_characters_or_more_counts_as_0)
{
    EXPECT_EQ(walk_rule(R"("values": [{"type": "protocol", "value": "1234567890123456"}], )" + ips),
              "accepted with IPBT: v_ipbt_value_value_match: string is too long for a proto id: "
              "\"123456789012345...\"");
    EXPECT_EQ(container.rules[0].values[0].proto_id, 0U);
}

TEST_F(ipbt_visitor, masks)
{
    EXPECT_EQ(mask("10.0.0.0/8"), "0A000000/8");
    EXPECT_EQ(mask("192.168.1.1"), "C0A80101/32");
    EXPECT_EQ(mask("255.255.255.255/32"), "FFFFFFFF/32");
    EXPECT_EQ(mask("0.0.0.0/0"), "00000000/0");
    EXPECT_EQ(mask("1.2.3.4/00032"), "01020304/32");
    EXPECT_EQ(mask("001.002.003.004"), "01020304/32");
    EXPECT_EQ(mask("10.1.2.3/8"), "0A010203/8") << "bits behind the length are kept";
}

TEST_F(ipbt_visitor, a_blank_and_a_hash_begin_a_comment)
{
    EXPECT_EQ(mask("10.0.0.0/8 # private"), "0A000000/8");
    EXPECT_EQ(mask("10.0.0.0/8 #"), "0A000000/8");
    EXPECT_EQ(mask("1.2.3.4 #5 #6"), "01020304/32");
    EXPECT_EQ(mask("10.0.0.0/8#"), "refused");
    EXPECT_EQ(mask("10.0.0.0/8  #"), "refused") << "only the last blank is cut";
    EXPECT_EQ(mask("10.0.0.0/8 "), "refused");
    EXPECT_EQ(mask(" #10.0.0.0/8"), "refused");
}

TEST_F(ipbt_visitor, masks_that_are_refused)
{
    for (const char *text : {"300.0.0.0/8",
                             "256.0.0.0",
                             "1.2.3.256",
                             "1.2.3.4/33",
                             "1.2.3.4/99999999999999999999",
                             "1.2.3/8",
                             "1.2.3",
                             "1",
                             "",
                             "1.2.3.4.5",
                             "1.2.3.4.",
                             "1.2.3.",
                             "1..3.4",
                             ".1.2.3.4",
                             "1.2.3.4/",
                             "1.2.3.4//8",
                             "1.2.3.4/8/",
                             "1.2.3.4/8.",
                             "1.2.3.4/-1",
                             " 1.2.3.4",
                             "a.b.c.d",
                             "1,2,3,4",
                             "1.2.3.4/8x",
                             "99999999999999999999.0.0.0",
                             "::1"})
        EXPECT_EQ(mask(text), "refused") << text;
}

TEST_F(ipbt_visitor, the_message_shows_18_characters)
{
    EXPECT_EQ(
        walk_rule(R"("ips": ["255.255.255.255/32/32"])"),
        "IPBT: v_ipbt_parse_ip4_mask: invalid IP mask \"255.255.255.255/32\" should be of the "
        "form 255.255.255.255/32\n");
    EXPECT_EQ(walk_rule(R"("ips": ["x"])"),
              "IPBT: v_ipbt_parse_ip4_mask: invalid IP mask \"x\" should be of the form "
              "255.255.255.255/32\n");
}

TEST_F(ipbt_visitor, what_stands_where_it_may_not_stops_the_walk)
{
    const std::pair<std::string, const char *> tables[] = {
        {R"("rules")", "IPBT: v_ipbt_string: unexpected or invalid string"},
        {R"(["rules"])", "IPBT: v_ipbt_array_start: unexpected array"},
        {R"({"rules": "x"})", "IPBT: v_ipbt_string: unexpected or invalid string"},
        {R"({"rules": 1})", "IPBT: v_ipbt_pair_end: expected elements before pair end"},
        {R"({"rules": true})", "IPBT: v_ipbt_pair_end: expected elements before pair end"},
        {R"({"rules": {}})", "IPBT: v_ipbt_object_start: unexpected object"},
        {R"({"rules": [[]]})", "IPBT: v_ipbt_array_start: unexpected array"},
        {R"({"rules": ["x"]})", "IPBT: v_ipbt_string: unexpected or invalid string"},
        {R"({"Rules": []})", "IPBT: v_ipbt_pair_start: unexpected pair"},
        {R"({"rule": []})", "IPBT: v_ipbt_pair_start: unexpected pair"},
        {R"({"comment": "x"})", "IPBT: v_ipbt_pair_start: unexpected pair"},
        {R"({"rules": [], "values": []})", "IPBT: v_ipbt_pair_start: unexpected pair"},
    };
    for (const auto &[text, message] : tables)
        EXPECT_EQ(walk(text), message) << text;
}

TEST_F(ipbt_visitor, a_rule_needs_values_and_masks)
{
    const std::pair<std::string, const char *> rules[] = {
        {"", "IPBT: v_ipbt_object_end: A rule has no values"},
        {ips, "IPBT: v_ipbt_object_end: A rule has no values"},
        {values, "IPBT: v_ipbt_object_end: A rule has no IP masks"},
        {R"("comment": "x")", "IPBT: v_ipbt_object_end: A rule has no values"},
        {R"("ips": [])", "IPBT: v_ipbt_array_end: expected elements before array end"},
        {R"("values": [])", "IPBT: v_ipbt_array_end: expected elements before array end"},
        {R"("values": [1])", "IPBT: v_ipbt_array_end: expected elements before array end"},
        {R"("ips": [1])", "IPBT: v_ipbt_array_end: expected elements before array end"},
        {R"("ips": "1.2.3.4")", "IPBT: v_ipbt_string: unexpected or invalid string"},
        {R"("ips": 1)", "IPBT: v_ipbt_pair_end: expected elements before pair end"},
        {R"("ips": {})", "IPBT: v_ipbt_object_start: unexpected object"},
        {R"("ips": [[]])", "IPBT: v_ipbt_array_start: unexpected array"},
        {R"("ips": [{}])", "IPBT: v_ipbt_object_start: unexpected object"},
        {R"("values": {})", "IPBT: v_ipbt_object_start: unexpected object"},
        {R"("values": "x")", "IPBT: v_ipbt_string: unexpected or invalid string"},
        {R"("values": ["x"])", "IPBT: v_ipbt_string: unexpected or invalid string"},
        {R"("type": "protocol")", "IPBT: v_ipbt_pair_start: unexpected pair"},
        {R"("Ips": [])", "IPBT: v_ipbt_pair_start: unexpected pair"},
    };
    for (const auto &[members, message] : rules)
        EXPECT_EQ(walk_rule(members), message) << members;
}

TEST_F(ipbt_visitor, a_value_needs_its_type_and_its_id)
{
    const std::pair<std::string, const char *> bad[] = {
        {"", "IPBT: v_ipbt_object_end: A value has no type"},
        {R"("value": "5")", "IPBT: v_ipbt_object_end: A value has no type"},
        {R"("type": "protocol")", "IPBT: v_ipbt_object_end: A protocol value has no proto id"},
        {R"("type": "Protocol")", "IPBT: v_ipbt_string: unexpected or invalid string"},
        {R"("type": "proto")", "IPBT: v_ipbt_string: unexpected or invalid string"},
        {R"("type": 1)", "IPBT: v_ipbt_pair_end: expected elements before pair end"},
        {R"("type": "protocol", "value": 5)",
         "IPBT: v_ipbt_pair_end: expected elements before pair end"},
        {R"("type": {})", "IPBT: v_ipbt_object_start: unexpected object"},
        {R"("value": [])", "IPBT: v_ipbt_array_start: unexpected array"},
        {R"("ips": [])", "IPBT: v_ipbt_pair_start: unexpected pair"},
        {R"("comment": "x")", "IPBT: v_ipbt_pair_start: unexpected pair"},
    };
    for (const auto &[members, message] : bad)
        EXPECT_EQ(walk_rule(R"("values": [{)" + members + "}]"), message) << members;
}

TEST_F(ipbt_visitor, a_value_does_not_lend_its_parts_to_the_next)
{
    EXPECT_EQ(walk_rule(R"("values": [{"type": "protocol", "value": "5"}, {"value": "6"}])"),
              "IPBT: v_ipbt_object_end: A value has no type");
    EXPECT_EQ(walk_rule(R"("values": [{"type": "protocol", "value": "5"}, {"type": "protocol"}])"),
              "IPBT: v_ipbt_object_end: A protocol value has no proto id");
}

TEST_F(ipbt_visitor, values_are_unescaped_and_keys_are_not)
{
    EXPECT_EQ(walk_rule(R"("values": [{"type": "pro\\tocol", "value": "5"}])"),
              "IPBT: v_ipbt_string: unexpected or invalid string");
    EXPECT_EQ(walk_rule(R"("values": [{"type": "\proto\col", "value": "5"}], )" + ips), "accepted");
    EXPECT_EQ(walk(R"({"\rules": []})"), "IPBT: v_ipbt_pair_start: unexpected pair");
}

TEST_F(ipbt_visitor, an_object_ends_where_one_began)
{
    visitor_ipbt_t visitor;
    visitor_ipbt_init(&visitor, &container);
    const std::string printed = stderr_of(
        [&] { EXPECT_EQ(visitor.visitor.json_object_end(&visitor.visitor, nullptr), -1); });
    EXPECT_EQ(printed, "IPBT: v_ipbt_object_end: expected elements before object end");
}

} // namespace
