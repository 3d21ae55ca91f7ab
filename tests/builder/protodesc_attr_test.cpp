#include <gtest/gtest.h>

#include "captured.h"
#include "protodesc_fixture.h"

namespace
{

class protodesc_attr : public protodesc_fixture
{
protected:
    /// Adds a name to slot 0; gives its index, or the outcome of a refusal.
    std::string add(std::string_view name)
    {
        uint32_t n_attr = 0xEE;
        std::string text = outcome(protodesc_add_attr_name(&pb, csa_str(name), 0, &n_attr));
        if (text != "0")
            return text;
        text = "attribute ";
        return text += std::to_string(n_attr);
    }

    const attrdesc_build_t &attr(size_t index) { return pb.pb_rules[0].rule_attr[index]; }
};

TEST_F(protodesc_attr, a_name_without_a_prefix_is_for_both_directions)
{
    name_protocol("web", "http");
    EXPECT_EQ(add("content"), "attribute 0");
    EXPECT_EQ(csa_str_view(attr(0).attr_name), "content");
    EXPECT_EQ(attr(0).attr_way, ATTR_WAY_BOTH);
    EXPECT_EQ(attr(0).attr_type, MATCHER_TYPE_STREAM);
    EXPECT_EQ(attr(0).attr_proto, ATTR_PROTO_UNKNOWN);
    EXPECT_EQ(pb.pb_rules[0].rule_nr_attr, 1U);
}

TEST_F(protodesc_attr, a_prefix_is_the_direction_and_is_dropped)
{
    name_protocol("web", "http");
    EXPECT_EQ(add("stc-content"), "attribute 0");
    EXPECT_EQ(add("cts-content"), "attribute 1");
    EXPECT_EQ(add("cts-uri"), "attribute 2");
    EXPECT_EQ(csa_str_view(attr(0).attr_name), "content");
    EXPECT_EQ(attr(0).attr_way, ATTR_WAY_STC);
    EXPECT_EQ(csa_str_view(attr(1).attr_name), "content");
    EXPECT_EQ(attr(1).attr_way, ATTR_WAY_CTS);
    EXPECT_EQ(attr(2).attr_way, ATTR_WAY_CTS);
}

TEST_F(protodesc_attr, a_prefix_alone_is_a_name)
{
    name_protocol("web", "http");
    EXPECT_EQ(add("stc-"), OUTCOME_PROTODESC_ATTR ": unknown WAY for http:stc-");
    EXPECT_EQ(add("cts-"), OUTCOME_PROTODESC_ATTR ": unknown WAY for http:cts-");
    EXPECT_EQ(add("stc-x"), OUTCOME_PROTODESC_ATTR ": unknown WAY for http:x");
    EXPECT_EQ(add("STC-content"), OUTCOME_PROTODESC_ATTR ": unknown WAY for http:STC-content");
    EXPECT_EQ(add("both-content"), OUTCOME_PROTODESC_ATTR ": unknown WAY for http:both-content");
    EXPECT_EQ(add("stc-cts-content"), OUTCOME_PROTODESC_ATTR ": unknown WAY for http:cts-content");
    EXPECT_EQ(add(""), OUTCOME_PROTODESC_ATTR ": unknown WAY for http:");
    EXPECT_EQ(pb.pb_rules[0].rule_nr_attr, 0U);
}

TEST_F(protodesc_attr, an_unknown_pair_is_refused)
{
    name_protocol("web", "gopher");
    EXPECT_EQ(add("uri"), OUTCOME_PROTODESC_ATTR ": unknown WAY for gopher:uri");
    name_protocol("web", "http");
    EXPECT_EQ(add("urix"), OUTCOME_PROTODESC_ATTR ": unknown WAY for http:urix");
}

TEST_F(protodesc_attr, no_written_direction_becomes_the_allowed_one_with_a_warning)
{
    name_protocol("web", "http");
    EXPECT_EQ(mask_lines(stderr_of([&] { EXPECT_EQ(add("uri"), "attribute 0"); })),
              "[WARNING][#][protodesc_add_attr_name] protocol web attribute http:uri user way both "
              "forced to property cts\n");
    EXPECT_EQ(attr(0).attr_way, ATTR_WAY_CTS);
    EXPECT_EQ(mask_lines(stderr_of([&] { EXPECT_EQ(add("location"), "attribute 1"); })),
              "[WARNING][#][protodesc_add_attr_name] protocol web attribute http:location user way "
              "both forced to property stc\n");
    EXPECT_EQ(attr(1).attr_way, ATTR_WAY_STC);
    EXPECT_EQ(stderr_of([&] { EXPECT_EQ(add("cts-uri"), "attribute 0"); }), "")
        << "the written direction is the allowed one";
}

TEST_F(protodesc_attr, a_written_direction_that_is_not_allowed_is_refused)
{
    name_protocol("web", "http");
    EXPECT_EQ(add("stc-uri"), OUTCOME_PROTODESC_ATTR
              ": protocol: web attribute http:uri user way 2 != property way : 1");
    EXPECT_EQ(add("cts-location"), OUTCOME_PROTODESC_ATTR
              ": protocol: web attribute http:location user way 1 != property way : 2");
    EXPECT_EQ(pb.pb_rules[0].rule_nr_attr, 0U);
}

TEST_F(protodesc_attr, every_kind_of_attribute_has_its_type)
{
    const std::tuple<const char *, const char *, matcher_type_t> kinds[] = {
        {"tcp", "port", MATCHER_TYPE_NUMBER_16}, {"ip", "protoid", MATCHER_TYPE_NUMBER_8},
        {"ip", "address", MATCHER_TYPE_IP_4},    {"ip6", "address", MATCHER_TYPE_IP_6},
        {"udp", "stream", MATCHER_TYPE_STREAM},
    };
    uint32_t n_rule = 0;
    for (const auto &[bottom, name, type] : kinds) {
        uint32_t n_attr;
        name_protocol("p", bottom, n_rule);
        EXPECT_EQ(outcome(protodesc_add_attr_name(&pb, csa_str(name), n_rule, &n_attr)), "0");
        EXPECT_EQ(pb.pb_rules[n_rule].rule_attr[0].attr_type, type) << name;
        ++n_rule;
    }
}

TEST_F(protodesc_attr, the_same_name_and_direction_is_the_same_attribute)
{
    name_protocol("web", "http");
    EXPECT_EQ(add("content"), "attribute 0");
    EXPECT_EQ(add("cts-content"), "attribute 1");
    EXPECT_EQ(add("content"), "attribute 0");
    EXPECT_EQ(add("cts-content"), "attribute 1");
    EXPECT_EQ(pb.pb_rules[0].rule_nr_attr, 2U);
    EXPECT_EQ(outcome(protodesc_add_rule_attr(&pb, 0, csa_str("content"), csa_str("one"))), "0");
    EXPECT_EQ(outcome(protodesc_add_rule_attr(&pb, 0, csa_str("content"), csa_str("two"))), "0");
    EXPECT_EQ(attr(0).attr_nr_val, 2U);
    EXPECT_EQ(csa_str_view(attr(0).attr_val[1]), "two");
}

TEST_F(protodesc_attr, a_name_is_found_by_its_bytes_and_its_direction)
{
    name_protocol("web", "http");
    EXPECT_EQ(protodesc_find_attr_name(pb, 99, csa_str("content"), ATTR_WAY_BOTH, 3), 3U)
        << "a slot that was never used";
    EXPECT_EQ(add("content"), "attribute 0");
    EXPECT_EQ(add("stc-content"), "attribute 1");
    EXPECT_EQ(protodesc_find_attr_name(pb, 0, csa_str("content"), ATTR_WAY_STC, 2), 1U);
    EXPECT_EQ(protodesc_find_attr_name(pb, 0, csa_str("content"), ATTR_WAY_STC, 1), 1U)
        << "only the first one is looked at";
    EXPECT_EQ(protodesc_find_attr_name(pb, 0, csa_str("content"), ATTR_WAY_CTS, 2), 2U);
    EXPECT_EQ(protodesc_find_attr_name(pb, 0, csa_str("conten"), ATTR_WAY_BOTH, 2), 2U);
}

TEST_F(protodesc_attr, a_slot_holds_sixteen_attributes)
{
    name_protocol("web", "http");
    std::vector<std::string> names;
    for (int i = 0; i < 16; ++i)
        names.push_back(std::to_string(i) + "th");
    uint32_t n_attr = 0;
    const auto add_parsed = [&](const std::string &name) {
        return outcome(protodesc_add_attr_name_parsed(
            &pb, csa_str(name), ATTR_WAY_CTS, MATCHER_TYPE_STREAM, ATTR_PROTO_UDP, 0, &n_attr));
    };
    for (const std::string &name : names)
        EXPECT_EQ(add_parsed(name), "0");
    EXPECT_EQ(n_attr, 15U);
    EXPECT_EQ(add_parsed("another"),
              OUTCOME_OVERFLOW ": Maximum number of attribute (16) has been reached web");
    EXPECT_EQ(add("content"),
              OUTCOME_OVERFLOW ": Maximum number of attribute (16) has been reached web");
    EXPECT_EQ(add_parsed("3th"), "0") << "one that is there is found all the same";
    EXPECT_EQ(n_attr, 3U);
    EXPECT_EQ(attr(15).attr_proto, ATTR_PROTO_UDP);
    EXPECT_EQ(pb.pb_rules[0].rule_nr_attr, 16U);
}

TEST_F(protodesc_attr, an_attribute_holds_eight_values)
{
    name_protocol("web", "http");
    EXPECT_EQ(add("content"), "attribute 0");
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(outcome(protodesc_add_attr_val(&pb, 0, csa_str("v"), 0)), "0");
    EXPECT_EQ(attr(0).attr_nr_val, 8U);
    EXPECT_EQ(outcome(protodesc_add_attr_val(&pb, 0, csa_str("v"), 0)),
              OUTCOME_OVERFLOW ": Maximum number of attribute value (8) has been reached web.");
    EXPECT_EQ(outcome(protodesc_add_attr_val_with_offset(&pb, 0, csa_str("v"), 4, 0)),
              OUTCOME_OVERFLOW ": Maximum number of attribute value (8) has been reached web.");
    EXPECT_EQ(attr(0).attr_nr_val, 8U);
}

TEST_F(protodesc_attr, a_value_takes_the_first_free_slot)
{
    name_protocol("web", "http");
    EXPECT_EQ(add("content"), "attribute 0");
    for (const char *value : {"a", "b", "c"})
        EXPECT_EQ(outcome(protodesc_add_attr_val(&pb, 0, csa_str(value), 0)), "0");
    pb.pb_rules[0].rule_attr[0].attr_val[1] = {};
    EXPECT_EQ(outcome(protodesc_add_attr_val_with_offset(&pb, 0, csa_str("d"), 7, 0)), "0");
    EXPECT_EQ(csa_str_view(attr(0).attr_val[1]), "d");
    EXPECT_EQ(attr(0).attr_offset[1], 7U);
    EXPECT_EQ(attr(0).attr_offset[0], 0U);
    EXPECT_EQ(attr(0).attr_nr_val, 2U) << "the index plus one, whatever stands behind";
    EXPECT_EQ(csa_str_view(attr(0).attr_val[2]), "c");
}

TEST_F(protodesc_attr, the_value_count_of_a_slots_last_use_shows_until_a_value_is_added)
{
    name_protocol("web", "http");
    EXPECT_EQ(outcome(protodesc_add_rule_attr(&pb, 0, csa_str("content"), csa_str("a"))), "0");
    EXPECT_EQ(outcome(protodesc_add_rule_attr(&pb, 0, csa_str("content"), csa_str("b"))), "0");
    protodesc_reset(&pb);
    name_protocol("web", "http");
    EXPECT_EQ(add("content"), "attribute 0");
    EXPECT_EQ(attr(0).attr_nr_val, 2U);
    EXPECT_EQ(outcome(protodesc_add_attr_val(&pb, 0, csa_str("c"), 0)), "0");
    EXPECT_EQ(attr(0).attr_nr_val, 1U);
}

TEST_F(protodesc_attr, a_name_and_a_value_at_once)
{
    name_protocol("web", "http");
    EXPECT_EQ(outcome(protodesc_add_rule_attr(&pb, 0, csa_str("stc-content"), csa_str("v"))), "0");
    EXPECT_EQ(csa_str_view(attr(0).attr_val[0]), "v");
    EXPECT_EQ(mask_lines(stderr_of([&] {
                  EXPECT_EQ(outcome(protodesc_add_rule_attr(&pb, 0, csa_str("stc-nothing"),
                                                            csa_str("v"))),
                            OUTCOME_PROTODESC_ATTR ": unknown WAY for http:nothing");
              })),
              "[ERROR  ][#][protodesc_add_rule_attr] Can't add web:stc-nothing\n");
}

TEST_F(protodesc_attr, a_parsed_name_and_a_value_with_its_offset)
{
    name_protocol("web", "tcp");
    const auto add_parsed = [&](const char *name, const char *value, uint32_t offset) {
        return outcome(protodesc_add_rule_attr_parsed(&pb, 0, csa_str(name), ATTR_WAY_STC,
                                                      MATCHER_TYPE_STREAM, ATTR_PROTO_TCP,
                                                      csa_str(value), offset));
    };
    EXPECT_EQ(add_parsed("stc-stream", "a", 40), "0");
    EXPECT_EQ(csa_str_view(attr(0).attr_name), "stc-stream") << "nothing is parsed again";
    EXPECT_EQ(add_parsed("stc-stream", "b", 0), "0");
    EXPECT_EQ(attr(0).attr_offset[0], 40U);
    EXPECT_EQ(attr(0).attr_offset[1], 0U);
    EXPECT_EQ(attr(0).attr_way, ATTR_WAY_STC);
    EXPECT_EQ(attr(0).attr_proto, ATTR_PROTO_TCP);
    std::vector<std::string> names;
    for (int i = 0; i < 15; ++i)
        names.push_back(std::to_string(i) + "th");
    for (const std::string &name : names)
        EXPECT_EQ(add_parsed(name.c_str(), "v", 0), "0");
    EXPECT_EQ(mask_lines(stderr_of([&] {
                  EXPECT_EQ(add_parsed("last", "v", 0), OUTCOME_OVERFLOW
                            ": Maximum number of attribute (16) has been reached web");
              })),
              "[ERROR  ][#][protodesc_add_rule_attr_parsed] Can't add web:last\n");
}

} // namespace
