#include <gtest/gtest.h>

#include "captured.h"
#include "protodesc_json_fixture.h"

namespace
{

using vprotocol_rule = protodesc_json_fixture;

TEST_F(vprotocol_rule, every_sub_rule_fills_the_next_slot)
{
    EXPECT_EQ(build(R"({"name": "web", "virtual_id": 99, "rules": [
                        {"order": "5:3", "fastpass": true, "scope": "ssl", "path": ["ip", "web"],
                         "rule-tags": ["t", "u"],
                         "rule": [{"protocol": "tcp", "port": "80"},
                                  {"protocol": "ip", "address": "10.0.0.0\/8", "mindata": 7}]},
                        {"rule": []},
                        {"order": "6:4", "rule": [{"protocol": "udp", "port": "53"}]}]})"),
              "0");
    EXPECT_EQ(pb.pb_nr_sub_rule, 3U);
    EXPECT_EQ(protodesc_get_nr_rule(pb), 2U);
    for (uint32_t i = 0; i < 2; ++i) {
        EXPECT_EQ(slot(i).rule_id, 1U);
        EXPECT_EQ(slot(i).rule_sub_id, i + 1);
        EXPECT_EQ(slot(i).rule_fastpass, 1U);
        EXPECT_EQ(slot(i).rule_preempt, 0U);
        EXPECT_EQ(slot(i).rule_vid, 99U);
        EXPECT_EQ(slot(i).rule_nr_path, 2U);
        EXPECT_EQ(slot(i).rule_nr_tags, 2U);
        EXPECT_EQ(slot(i).rule_ruleorder, 0U);
    }
    EXPECT_EQ(slot(0).rule_order, 0x05000003U);
    EXPECT_EQ(slot(1).rule_order, 0U) << "only the first sub-rule has the order";
    EXPECT_EQ(slot(0).rule_scope, 0x804U);
    EXPECT_EQ(slot(1).rule_scope, 0x814U) << "and ip";
    EXPECT_EQ(csa_str_view(slot(1).rule_protocol), "ip");
    EXPECT_EQ(csa_str_view(slot(1).rule_bottom_protocol), "ip");
    EXPECT_EQ(attr(1, 0), "address:10.0.0.0/8");
    EXPECT_EQ(slot(2).rule_id, 3U) << "the rule without sub-rules has its number";
    EXPECT_EQ(slot(2).rule_sub_id, 1U);
    EXPECT_EQ(slot(2).rule_fastpass, 0U);
    EXPECT_EQ(slot(2).rule_nr_path, 0U);
}

TEST_F(vprotocol_rule, minimum_data_of_one_direction_overrides_that_of_both)
{
    const std::tuple<const char *, uint32_t, uint32_t> cases[] = {
        {R"("protocol": "tcp")", 0, 0},
        {R"("mindata": 5)", 5, 5},
        {R"("mindata": 5, "cts-mindata": 6)", 6, 5},
        {R"("stc-mindata": 7, "mindata": 5)", 5, 7},
        {R"("cts-mindata": 6, "stc-mindata": 7)", 6, 7},
        {R"("cts-mindata": 0, "mindata": 4294967295)", 0, 4294967295},
    };
    for (const auto &[keys, cts, stc] : cases) {
        EXPECT_EQ(build_rule("", keys), "0");
        EXPECT_EQ(slot().rule_cts_mindata, cts) << keys;
        EXPECT_EQ(slot().rule_stc_mindata, stc) << keys;
    }
}

TEST_F(vprotocol_rule, without_a_virtual_id_there_is_no_version_identifier)
{
    EXPECT_EQ(build_rule(R"("order": "1:1", )", R"("protocol": "tcp", "port": "80")"), "0");
    EXPECT_EQ(slot().rule_vid, 0xFFFFFFFFU);
}

TEST_F(vprotocol_rule, an_order_is_a_range_a_colon_and_an_order)
{
    const std::pair<const char *, const char *> orders[] = {
        {"5:3", "0"},
        {"255:16777215", "0"},
        {"5", OUTCOME_JSON_BAD_SEMANTIC ": "},
        {"", OUTCOME_JSON_BAD_SEMANTIC ": "},
        {"5;3", OUTCOME_JSON_BAD_SEMANTIC ": "},
        {"256:0", OUTCOME_INVALID_ARGUMENT ": Range 256 is out of bounds. Max: 255."},
        {"0:16777216",
         OUTCOME_INVALID_ARGUMENT ": Order 16777216 is out of bounds. Max: 16777215."},
        {"4294967296:0", OUTCOME_INVALID_ARGUMENT ": Range 4294967295 is out of bounds. Max: 255."},
        {"99999999999999999999999:0",
         OUTCOME_INVALID_ARGUMENT ": Range 4294967295 is out of bounds. Max: 255."},
    };
    for (const auto &[order, expected] : orders)
        EXPECT_EQ(build_rule("\"order\": \"" + std::string(order) + "\", ",
                             R"("protocol": "tcp", "port": "80")"),
                  expected)
            << order;
}

TEST_F(vprotocol_rule, the_numbers_of_an_order_end_at_their_first_other_byte)
{
    const std::pair<const char *, uint32_t> orders[] = {
        {"5:3", 0x05000003},   {"5x:3y", 0x05000003}, {":", 0},     {":3", 3},
        {"5:", 0x05000000},    {" 5: 3", 0},          {"-5:+3", 0}, {"007:0010", 0x0700000A},
        {"1:2:3", 0x01000002}, {"0x5:3", 3},
    };
    for (const auto &[order, word] : orders) {
        EXPECT_EQ(build_rule("\"order\": \"" + std::string(order) + "\", ",
                             R"("protocol": "tcp", "port": "80")"),
                  "0")
            << order;
        EXPECT_EQ(slot().rule_order, word) << order;
    }
}

TEST_F(vprotocol_rule, an_order_is_needed_where_the_first_sub_rule_has_attributes)
{
    EXPECT_EQ(build_rule("", R"("protocol": "tcp", "port": "80")"), OUTCOME_JSON_BAD_SEMANTIC ": ");
    EXPECT_EQ(build_rule("", R"("protocol": "tcp")"), "0");
    EXPECT_EQ(build_rules(R"({"rule": [{"protocol": "ip"}, {"protocol": "tcp", "port": "80"}]})"),
              "0");
    EXPECT_EQ(slot(1).rule_order, 0U);
    EXPECT_EQ(slot(1).rule_vid, 0xFFFFFFFFU) << "the second sub-rule has everything else";
    EXPECT_EQ(slot(1).rule_scope, 0x800U);
}

TEST_F(vprotocol_rule, a_flag_is_set_by_its_key_whatever_it_says)
{
    for (const char *says : {"true", "false", "null"}) {
        EXPECT_EQ(build_rule(R"("order": "1:1", "fastpass": )" + std::string(says) +
                                 R"(, "preempt": )" + says + ", ",
                             R"("protocol": "tcp", "port": "80")"),
                  "0");
        EXPECT_EQ(slot().rule_fastpass, 1U) << says;
        EXPECT_EQ(slot().rule_preempt, 1U) << says;
    }
}

TEST_F(vprotocol_rule, a_sub_rule_without_attributes_shows_what_its_slot_keeps)
{
    EXPECT_EQ(build_rule(R"("order": "1:1", "fastpass": true, "path": ["ip", "web"], )",
                         R"("protocol": "tcp")"),
              "0");
    EXPECT_EQ(slot().rule_order, 0U);
    EXPECT_EQ(slot().rule_fastpass, 0U);
    EXPECT_EQ(slot().rule_scope, 0U);
    EXPECT_EQ(slot().rule_nr_path, 0U);
    EXPECT_EQ(slot().rule_vid, 0U) << "a slot that was never used";
    EXPECT_EQ(build(R"({"name": "web", "virtual_id": 99, "rules": [{"order": "1:1",
                        "fastpass": true, "preempt": true, "scope": "ssl",
                        "rule": [{"protocol": "tcp", "port": "80"}]}]})"),
              "0");
    EXPECT_EQ(build_rule("", R"("protocol": "udp")"), "0");
    EXPECT_EQ(slot().rule_fastpass, 1U);
    EXPECT_EQ(slot().rule_preempt, 1U);
    EXPECT_EQ(slot().rule_scope, 0x804U);
    EXPECT_EQ(slot().rule_vid, 99U);
    EXPECT_EQ(slot().rule_order, 0U);
    EXPECT_EQ(csa_str_view(slot().rule_bottom_protocol), "udp");
}

TEST_F(vprotocol_rule, a_preempt_rule_has_one_attribute_for_each_direction_or_a_port)
{
    constexpr const char *same =
        OUTCOME_JSON_BAD_SEMANTIC ": A preempt rule contains two attributes with the same way";
    constexpr const char *many =
        OUTCOME_JSON_BAD_SEMANTIC ": A preempt rule contains more than two attributes";
    const std::pair<const char *, const char *> cases[] = {
        {R"("port": "80")", "0"},
        {R"("cts-stream": "a", "stc-stream": "b")", "0"},
        {R"("stc-stream": "a", "cts-stream": "b")", "0"},
        {R"("cts-stream": "a", "cts-pattern": "b")", same},
        {R"("stc-stream": "a", "stc-pattern": "b")", same},
        {R"("stream": "a", "pattern": "b")", same},
        {R"("cts-stream": "a", "pattern": "b")", same},
        {R"("stc-stream": "a", "pattern": "b")", same},
        {R"("port": "80", "stream": "a")", "0"},
        {R"("stream": "a", "port": "80")", "0"},
        {R"("cts-stream": "a", "port": "80")", "0"},
        {R"("cts-port": "80", "stream": "a")", same},
        {R"("cts-stream": ["a", "b"])", same},
        {R"("port": ["80", "81"])", "0"},
        {R"("port": ["80", "81", "82"])", many},
        {R"("port": "80", "cts-stream": "a", "stc-stream": "b")", many},
        {R"("cts-stream_offset": {"offset": 1, "pattern": "a"}, "stc-stream": "b")", "0"},
    };
    for (const auto &[attrs, expected] : cases)
        EXPECT_EQ(build_rule(R"("order": "1:1", "preempt": true, )",
                             R"("protocol": "tcp", )" + std::string(attrs)),
                  expected)
            << attrs;
}

TEST_F(vprotocol_rule, the_test_of_a_preempt_rule_goes_through_all_its_sub_rules)
{
    EXPECT_EQ(build_rules(R"({"order": "1:1", "preempt": true,
                              "rule": [{"protocol": "tcp", "port": "80"},
                                       {"protocol": "tcp", "stream": ["a", "b"]}]})"),
              OUTCOME_JSON_BAD_SEMANTIC
              ": A preempt rule contains two attributes with the same way");
    EXPECT_EQ(build_rules(R"({"order": "1:1", "preempt": true, "rule": [{"protocol": "tcp"}]})"),
              "0");
}

struct scope_row {
    const char *word;
    uint32_t bit;
};

TEST_F(vprotocol_rule, the_words_of_a_scope)
{
    const scope_row words[] = {
        {"all", 0x1},        {"http", 0x2},   {"ssl", 0x4},     {"stun", 0x8},
        {"ip", 0x10},        {"dns", 0x20},   {"sip", 0x40},    {"rtsp", 0x80},
        {"facebook", 0x100}, {"quic", 0x200}, {"http2", 0x400}, {"http_proxy", 0x800},
        {"spdy", 0x1000},
    };
    for (const scope_row &row : words) {
        ruledesc_build_t rule;
        EXPECT_EQ(outcome(process_scop_field(&rule, csa_str(row.word))), "0");
        EXPECT_EQ(rule.rule_scope, row.bit) << row.word;
        EXPECT_EQ(build_rule(R"("order": "1:1", "scope": [")" + std::string(row.word) + "\"], ",
                             R"("protocol": "tcp", "port": "80")"),
                  "0");
        EXPECT_EQ(slot().rule_scope, row.bit | 0x800) << "the proxy is always in it";
    }
}

TEST_F(vprotocol_rule, the_first_scope_word_that_begins_with_a_text_is_meant)
{
    const scope_row texts[] = {
        {"", 0x1},   {"a", 0x1},  {"htt", 0x2}, {"http_", 0x800}, {"s", 0x4},
        {"st", 0x8}, {"i", 0x10}, {"si", 0x40}, {"sp", 0x1000},   {"f", 0x100},
    };
    for (const scope_row &row : texts) {
        ruledesc_build_t rule;
        EXPECT_EQ(outcome(process_scop_field(&rule, csa_str(row.word))), "0");
        EXPECT_EQ(rule.rule_scope, row.bit) << row.word;
    }
    ruledesc_build_t rule;
    for (const char *text : {"tcp", "HTTP", "httpx", "alll", " ", "http "})
        EXPECT_EQ(outcome(process_scop_field(&rule, csa_str(text))), OUTCOME_INVALID_ARGUMENT)
            << text;
    EXPECT_EQ(rule.rule_scope, 0U);
}

TEST_F(vprotocol_rule, a_scope_gathers_its_words_the_proxy_and_the_bottom_protocol)
{
    EXPECT_EQ(build_rule(R"("order": "1:1", "scope": ["ssl", "quic", "ssl"], )",
                         R"("protocol": "http", "cts-uri": "x")"),
              "0");
    EXPECT_EQ(slot().rule_scope, 0xA06U);
    EXPECT_EQ(build_rule(R"("order": "1:1", )", R"("protocol": "quic", "cts-server_name": "x")"),
              "0");
    EXPECT_EQ(slot().rule_scope, 0xA00U);
    EXPECT_EQ(build_rule(R"("order": "1:1", )", R"("protocol": "tcp", "port": "1")"), "0");
    EXPECT_EQ(slot().rule_scope, 0x800U) << "tcp is no scope word";
    EXPECT_EQ(
        build_rule(R"("order": "1:1", "scope": "tcp", )", R"("protocol": "tcp", "port": "1")"),
        OUTCOME_JSON_BAD_SEMANTIC ": Scope array contains invalid protocol");
}

TEST_F(vprotocol_rule, dns_is_no_scope_of_an_ip_rule)
{
    constexpr const char *refused =
        OUTCOME_JSON_BAD_SEMANTIC ": DNS scope included within an IP:resolv_name rule";
    EXPECT_EQ(build_rule(R"("order": "1:1", "scope": ["dns"], )",
                         R"("protocol": "ip", "resolv_name": "x")"),
              refused);
    EXPECT_EQ(build_rule(R"("order": "1:1", "scope": ["d"], )",
                         R"("protocol": "ip", "address": "1.2.3.4")"),
              refused);
    EXPECT_EQ(
        build_rule(R"("order": "1:1", "scope": ["dns"], )", R"("protocol": "ip6", "dscp": "1")"),
        "0");
    EXPECT_EQ(build_rule(R"("order": "1:1", "scope": ["ssl"], )",
                         R"("protocol": "ip", "resolv_name": "x")"),
              "0");
}

TEST_F(vprotocol_rule, an_array_of_values_is_one_attribute)
{
    EXPECT_EQ(build_rule(R"("order": "1:1", )",
                         R"("protocol": "http", "content": ["a", "b", "c"], "stc-content": "d")"),
              "0");
    EXPECT_EQ(slot().rule_nr_attr, 2U);
    EXPECT_EQ(attr(0, 0), "content:a,b,c");
    EXPECT_EQ(attr(0, 1), "content:d");
    EXPECT_EQ(slot().rule_attr[1].attr_way, ATTR_WAY_STC);
}

TEST_F(vprotocol_rule, a_name_met_again_gathers_its_values)
{
    EXPECT_EQ(
        build_rule(R"("order": "1:1", )",
                   R"("protocol": "http", "content": "a", "cts-uri": "u", "content": ["b", "c"],
                            "cts-uri": "v", "cts-host": "x")"),
        OUTCOME_PROTODESC_ATTR ": unknown WAY for http:host");
    EXPECT_EQ(attr(0, 0), "content:a,b,c");
    EXPECT_EQ(attr(0, 1), "uri:u,v");
    EXPECT_EQ(stderr_of([&] {
                  EXPECT_EQ(build_rule(R"("order": "1:1", )",
                                       R"("protocol": "http", "cts-uri": "u", "uri": "v")"),
                            "0");
              }).empty(),
              false);
    EXPECT_EQ(attr(0, 0), "uri:u,v") << "a forced direction is the same attribute";
}

TEST_F(vprotocol_rule, values_may_have_offsets)
{
    EXPECT_EQ(build_rule(R"("order": "1:1", )",
                         R"("protocol": "tcp", "stream_offset": {"offset": 4, "pattern": "a"},
                            "stream": "b", "cts-stream_offset": {"pattern": "c", "offset": 0})"),
              "0");
    EXPECT_EQ(slot().rule_nr_attr, 2U);
    EXPECT_EQ(attr(0, 0), "stream:a@4,b");
    EXPECT_EQ(attr(0, 1), "stream:c");
    EXPECT_EQ(slot().rule_attr[1].attr_way, ATTR_WAY_CTS);
}

TEST_F(vprotocol_rule, a_ninth_value_is_refused_and_one_with_an_offset_dropped)
{
    const std::string eight = R"("protocol": "tcp", "stream": ["1","2","3","4","5","6","7","8"])";
    EXPECT_EQ(build_rule(R"("order": "1:1", )", eight), "0");
    EXPECT_EQ(build_rule(R"("order": "1:1", )", eight + R"(, "stream": "9")"),
              OUTCOME_OVERFLOW ": Maximum number of attribute value (8) has been reached web.");
    (void)build_rule(R"("order": "1:1", )",
                     eight + R"(, "stream_offset": {"offset": 1, "pattern": "9"})");
    EXPECT_EQ(pb.pb_nr_sub_rule, 1U) << "the rule is built all the same";
    EXPECT_EQ(attr(0, 0), "stream:1,2,3,4,5,6,7,8");
}

TEST_F(vprotocol_rule, a_refused_attribute_ends_the_building)
{
    EXPECT_EQ(build_rule(R"("order": "1:1", )", R"("protocol": "http", "stc-uri": "x")"),
              OUTCOME_PROTODESC_ATTR
              ": protocol: web attribute http:uri user way 2 != property way : 1");
    EXPECT_EQ(build_rule(R"("order": "1:1", )", R"("port": "80")"),
              OUTCOME_PROTODESC_ATTR ": unknown WAY for :port")
        << "a sub-rule without a protocol";
    EXPECT_EQ(build_rule("", R"("protocol": "http", "stc-uri": "x")"), OUTCOME_PROTODESC_ATTR
              ": protocol: web attribute http:uri user way 2 != property way : 1")
        << "attributes come before the order";
}

TEST_F(vprotocol_rule, sixteen_different_attributes_fit)
{
    std::string members = R"("protocol": "http")";
    const char *names[] = {"cts-header_raw", "stc-header_raw", "header_raw",   "cts-content",
                           "stc-content",    "content",        "cts-uri",      "cts-referer",
                           "cts-server",     "cts-cookie",     "stc-location", "cts-user_agent",
                           "stc-mime_type",  "cts-mime_type",  "mime_type",    "stc-server_agent"};
    for (const char *name : names)
        members += ", \"" + std::string(name) + "\": \"x\"";
    EXPECT_EQ(build_rule(R"("order": "1:1", )", members), "0");
    EXPECT_EQ(slot().rule_nr_attr, 16U);
    EXPECT_EQ(stderr_of([&] {
                  EXPECT_EQ(
                      build_rule(R"("order": "1:1", )", members + R"(, "cts-uri_decoded": "x")"),
                      OUTCOME_JSON_BAD_SEMANTIC ": ");
              }),
              "Error: increase attribut dimension.\n")
        << "the container is full before the record is";
}

TEST_F(vprotocol_rule, a_record_of_smaller_lists_is_full_before_the_container_is)
{
    const std::string tcp = R"("protocol": "tcp", "port": "80")";
    const auto limited = [&](uint32_t protodesc_bounds_t::*bound) {
        protodesc_bounds_t bounds = pb.pb_bounds;
        bounds.*bound = 1;
        ASSERT_TRUE(protodesc_init(&pb, bounds, &strings, &tag_strings));
    };
    limited(&protodesc_bounds_t::pi_max_path);
    EXPECT_EQ(build_rule(R"("order": "1:1", "path": ["ip", "web"], )", tcp),
              OUTCOME_OVERFLOW ": Maximum number of protocols (1) in path has been reached");
    limited(&protodesc_bounds_t::pi_max_rule_tags);
    EXPECT_EQ(build_rule(R"("order": "1:1", "rule-tags": ["a", "b"], )", tcp),
              OUTCOME_OVERFLOW ": Maximum number of rule tags (1) has been reached");
    limited(&protodesc_bounds_t::pi_max_altname);
    EXPECT_EQ(build(R"({"name": "web", "altname": ["a", "b"], "rules": []})"),
              OUTCOME_OVERFLOW ": Maximum number of altname (1) has been reached");
}

TEST_F(vprotocol_rule, values_without_a_name_are_one_attribute_without_a_name)
{
    json_string_t value = {};
    value.str = "80";
    value.len = 2;
    json_string_t port = value;
    port.str = "port";
    port.len = 4;
    name_protocol("web", "tcp");
    protodesc_set_rule(&pb, 0, 1, 1);
    const auto add = [&](const std::vector<protocol_attr_t> &attrs) {
        return outcome(
            vattrs_to_protodesc_attrs(&pb, 0, static_cast<uint32_t>(attrs.size()), attrs.data()));
    };
    EXPECT_EQ(add({{nullptr, &value, nullptr}}), OUTCOME_PROTODESC_ATTR ": unknown WAY for tcp:");
    EXPECT_EQ(add({{&port, &value, nullptr}, {nullptr, &value, nullptr}}),
              OUTCOME_PROTODESC_ATTR ": unknown WAY for tcp:");
    EXPECT_EQ(add({{nullptr, &value, nullptr}, {&port, &value, nullptr}}),
              OUTCOME_PROTODESC_ATTR ": unknown WAY for tcp:");
}

} // namespace
