#include <gtest/gtest.h>

#include "bytes.h"
#include "captured.h"
#include "description_reader.h"
#include "protodesc_fixture.h"
#include "protodesc_serializer.h"

namespace
{

/// What every description of these tests has behind its meta, up to its rules: four empty lists
/// around the placeholder, whose string stands at `supported`.
std::string lists(const char *supported)
{
    std::string text = "02000000 03000000 06000000 04000001 ";
    text += supported;
    return text + " 05000000 ";
}

class protodesc_serializer : public protodesc_fixture
{
protected:
    /// The stored description, in memory of exactly its size.
    std::vector<uint8_t> serialized()
    {
        std::vector<uint8_t> buf(protodesc_get_tlv_size(pb));
        EXPECT_EQ(outcome(protodesc_serialize(pb, buf)), "0");
        return buf;
    }

    /// What refuses the description.
    std::string refusal()
    {
        std::vector<uint8_t> buf(10000);
        return outcome(protodesc_serialize(pb, buf));
    }

    /// A rule of one sub-rule on "tcp" in the first slot of protocol "web".
    void begin_rule()
    {
        name_protocol("web", "tcp");
        protodesc_set_id(&pb, 1);
        protodesc_set_rule(&pb, 0, 1, 1);
        protodesc_set_rule_vid(&pb, 0, RULE_VID_NONE);
        protodesc_set_nr_sub_rule(&pb, 1);
    }

    void add_attr(const char *name, const char *value, uint32_t n_rule = 0)
    {
        EXPECT_EQ(outcome(protodesc_add_rule_attr(&pb, n_rule, csa_str(name), csa_str(value))),
                  "0");
    }

    void add_path(std::initializer_list<const char *> path)
    {
        for (const char *element : path)
            EXPECT_EQ(outcome(protodesc_add_rule_path_elt(&pb, 0, csa_str(element))), "0");
    }
};

TEST_F(protodesc_serializer, an_empty_description_takes_19_words)
{
    protodesc_set_name(&pb, csa_str("a"));
    protodesc_set_id(&pb, 7);
    EXPECT_EQ(protodesc_get_tlv_size(pb), 76U);
    EXPECT_EQ(serialized(), bytes("0100000A 00000007 00000000 00000004 00000000 00000001 00000000"
                                  "         00000000 00000000 00000000 00000000"
                                  "02000000 03000000 06000000 04000001 00000008 05000000"
                                  "08000000 07000000"));
    EXPECT_EQ(strings_of(strings),
              (std::vector<std::string>{"a", std::string(1, '\0'), "See atlas for details"}))
        << "an empty default port is one 0 byte";
    EXPECT_TRUE(strings_of(tag_strings).empty());
}

TEST_F(protodesc_serializer, the_meta_words_stand_as_the_record_has_them)
{
    protodesc_set_name(&pb, csa_str("http"));
    protodesc_set_id(&pb, 0x01000043);
    protodesc_set_default_port(&pb, csa_str("80"));
    protodesc_set_max_trans(&pb, 5);
    protodesc_set_cacheable(&pb, 0);
    protodesc_set_http_reclassify(&pb, 1);
    protodesc_set_version_major(&pb, 2);
    protodesc_set_version_minor(&pb, 3);
    protodesc_set_version_revision(&pb, 4);
    protodesc_set_implicit_bottom_layer(&pb, 6);
    EXPECT_EQ(serialized(), bytes("0100000A 01000043 00000000 00000006 00000005 00000000 00000001"
                                  "         00000002 00000003 00000004 00000006" +
                                  lists("0000000A") + "08000000 07000000"));
}

TEST_F(protodesc_serializer, the_lists_of_a_protocol)
{
    protodesc_set_name(&pb, csa_str("a"));
    EXPECT_EQ(outcome(protodesc_add_tag(&pb, csa_str("n"), csa_str("v"))), "0");
    EXPECT_EQ(outcome(protodesc_add_tag(&pb, csa_str("n"), csa_str("w"))), "0");
    EXPECT_EQ(outcome(protodesc_add_description(&pb, csa_str("en"), csa_str("d"))), "0");
    EXPECT_EQ(outcome(protodesc_add_compat(&pb, csa_str("c"))), "0");
    EXPECT_EQ(outcome(protodesc_add_altname(&pb, csa_str("x"))), "0");
    EXPECT_EQ(outcome(protodesc_add_altname(&pb, csa_str("y"))), "0");
    EXPECT_EQ(serialized(), bytes("0100000A 00000000 00000000 00000004 00000000 00000001 00000000"
                                  "         00000000 00000000 00000000 00000000"
                                  "02000004 00000008 0000000C 00000008 00000010"
                                  "03000002 00000014 00000018"
                                  "06000001 0000001C"
                                  "04000001 00000020"
                                  "05000002 00000038 0000003C"
                                  "08000000 07000000"));
    EXPECT_EQ(strings_of(strings),
              (std::vector<std::string>{"a", std::string(1, '\0'), "n", "v", "w", "en", "d", "c",
                                        "See atlas for details", "x", "y"}))
        << "strings enter in the order of their words";
}

/// The meta of protocol "web" in front of its rules.
const std::string web = "0100000A 00000001 00000000 00000006 00000000 00000001 00000000"
                        "         00000000 00000000 00000000 00000000" +
                        lists("0000000A");

TEST_F(protodesc_serializer, a_rule_without_a_version_identifier_has_the_fifth_form)
{
    begin_rule();
    protodesc_set_rule_order(&pb, 0, 0x05000003);
    protodesc_set_rule_scope(&pb, 0, 0x802);
    protodesc_set_rule_fastpass(&pb, 0, 1);
    protodesc_set_stc_mindata(&pb, 0, 8);
    protodesc_set_cts_mindata(&pb, 0, 9);
    add_path({"ip", "web"});
    EXPECT_EQ(outcome(protodesc_add_rule_tag(&pb, 0, csa_str("t"))), "0");
    add_attr("port", "80");
    EXPECT_EQ(serialized(), bytes(web + "08000001 00000000 0700001C 0200001B"
                                        "0700000A 05000003 00000000 00000802 00000001 00000000"
                                        "         00000002 00000022 00000000 00000001 00000000"
                                        "03000001 00000000 0200000D 0200000C"
                                        "04000004 00000026 00000026 00000008 00000009"
                                        "03000001 00000000 02000004"
                                        "02000003 00000003 0000002C 00000032"));
    EXPECT_EQ(strings_of(strings),
              (std::vector<std::string>{"web", std::string(1, '\0'), "See atlas for details", "ip",
                                        "tcp", "port", "80"}));
    EXPECT_EQ(strings_of(tag_strings), std::vector<std::string>{"t"});
}

TEST_F(protodesc_serializer, a_rule_with_a_version_identifier_has_the_sixth_form)
{
    begin_rule();
    protodesc_set_rule_vid(&pb, 0, 99);
    protodesc_set_rule_preempt(&pb, 0, 1);
    add_attr("port", "80");
    EXPECT_EQ(serialized(), bytes(web + "08000001 00000000 0700001A 02000019"
                                        "08000008 00000000 00000000 00000000 00000063 00000000"
                                        "         00000001 00000000 00000000"
                                        "03000001 00000000 0200000D 0200000C"
                                        "04000004 00000022 00000022 00000000 00000000"
                                        "03000001 00000000 02000004"
                                        "02000003 00000003 00000028 0000002E"));
}

TEST_F(protodesc_serializer, only_the_one_number_means_no_version_identifier)
{
    begin_rule();
    const size_t fifth = protodesc_get_tlv_size(pb);
    for (const uint32_t vid : {0U, 1U, 0xFFFFFFFEU}) {
        protodesc_set_rule_vid(&pb, 0, vid);
        EXPECT_EQ(protodesc_get_tlv_size(pb), fifth + 4) << vid;
    }
}

TEST_F(protodesc_serializer, a_flag_that_is_not_1_is_stored_as_0)
{
    begin_rule();
    protodesc_set_rule_fastpass(&pb, 0, 2);
    protodesc_set_rule_preempt(&pb, 0, 0xFFFFFFFF);
    EXPECT_EQ(serialized(), bytes(web + "08000001 00000000 07000014 02000013"
                                        "07000007 00000000 00000000 00000000 00000000 00000000"
                                        "         00000000 00000000"
                                        "03000001 00000000 02000008 02000007"
                                        "04000004 00000022 00000022 00000000 00000000"
                                        "03000000 02000000"));
}

TEST_F(protodesc_serializer, a_stream_has_an_offset_behind_its_values_for_every_set_one)
{
    begin_rule();
    for (const char *value : {"a", "b", "c"})
        add_attr("cts-stream", value);
    attrdesc_build_t &attr = pb.pb_rules[0].rule_attr[0];
    attr.attr_val[1] = {}; // a free slot
    attr.attr_offset = {4, 5, 9, 0, 0, 0, 0, 0};
    EXPECT_EQ(serialized(), bytes(web + "08000001 00000000 0700001C 0200001B"
                                        "07000007 00000000 00000000 00000000 00000000 00000000"
                                        "         00000000 00000000"
                                        "03000001 00000000 02000010 0200000F"
                                        "04000004 00000022 00000022 00000000 00000000"
                                        "03000001 00000000 02000007"
                                        "06000006 00000002 00000028 00000030 00000034"
                                        "         00000004 00000009"));
}

TEST_F(protodesc_serializer, the_sub_rules_of_a_rule_stand_behind_their_offsets)
{
    begin_rule();
    protodesc_set_rule_order(&pb, 0, 7);
    protodesc_set_rule_ruleorder(&pb, 0, 1);
    add_attr("port", "80");
    protodesc_set_rule(&pb, 1, 1, 2);
    protodesc_set_rule_order(&pb, 1, 8);
    protodesc_set_rule_bottom(&pb, 1, csa_str("ip"));
    protodesc_set_rule_real_bottom(&pb, 1, csa_str("eth"));
    protodesc_set_rule(&pb, 2, 2, 1);
    protodesc_set_rule_vid(&pb, 2, RULE_VID_NONE);
    protodesc_set_rule_bottom(&pb, 2, csa_str("ip"));
    protodesc_set_rule_real_bottom(&pb, 2, csa_str("ip"));
    protodesc_set_nr_sub_rule(&pb, 3);
    EXPECT_EQ(serialized(),
              bytes(web +
                    "08000002 00000000 00000022 07000036"
                    "01000021 07000007 00000007 00000000 00000000 00000000 00000000"
                    "         00000000 00000000"
                    "03000002 00000000 0000000D 02000015"
                    "0200000C 04000004 00000022 00000022 00000000 00000000"
                    "03000001 00000000 02000004 02000003 00000003 00000028 0000002E"
                    "02000007 04000004 00000032 00000036 00000000 00000000 03000000 02000000"
                    "02000013 07000007 00000000 00000000 00000000 00000000 00000000"
                    "         00000000 00000000"
                    "03000001 00000000 02000008"
                    "02000007 04000004 00000032 00000032 00000000 00000000 03000000 02000000"))
        << "everything of a rule but its sub-rules is that of its first slot";
}

TEST_F(protodesc_serializer, every_type_and_direction_of_an_attribute_has_its_number)
{
    const std::tuple<matcher_type_t, csa_attr_way_t, attr_proto_t, const char *> attrs[] = {
        {MATCHER_TYPE_STREAM, ATTR_WAY_STC, ATTR_PROTO_UNKNOWN, "06000002 00000001"},
        {MATCHER_TYPE_NUMBER_8, ATTR_WAY_CTS, ATTR_PROTO_TCP, "05000002 00000012"},
        {MATCHER_TYPE_NUMBER_16, ATTR_WAY_BOTH, ATTR_PROTO_UDP, "02000002 00000023"},
        {MATCHER_TYPE_IP_4, ATTR_WAY_STC, ATTR_PROTO_TCP, "03000002 00000011"},
        {MATCHER_TYPE_IP_6, ATTR_WAY_CTS, ATTR_PROTO_UDP, "04000002 00000022"},
    };
    for (const auto &[type, way, proto, expected] : attrs) {
        uint32_t n_attr;
        protodesc_reset(&pb);
        begin_rule();
        EXPECT_EQ(outcome(protodesc_add_attr_name_parsed(&pb, csa_str("tcp"), way, type, proto, 0,
                                                         &n_attr)),
                  "0");
        const std::vector<uint8_t> buf = serialized();
        const std::vector<uint8_t> attr(buf.end() - 12, buf.end());
        EXPECT_EQ(attr, bytes(std::string(expected) + "00000022"));
    }
}

TEST_F(protodesc_serializer, an_attribute_without_a_name_has_no_name_word)
{
    begin_rule();
    add_attr("port", "tcp");
    pb.pb_rules[0].rule_attr[0].attr_name = {};
    const std::vector<uint8_t> buf = serialized();
    EXPECT_EQ(std::vector<uint8_t>(buf.end() - 12, buf.end()), bytes("02000002 00000003 00000022"));
}

TEST_F(protodesc_serializer, an_attribute_that_has_no_number_is_refused)
{
    for (const matcher_type_t type :
         {MATCHER_TYPE_UNKNOWN, MATCHER_TYPE_STREAM_OFFSET, MATCHER_TYPE_NUMBER_32,
          MATCHER_TYPE_NUMBER_64, static_cast<matcher_type_t>(9)}) {
        uint32_t n_attr;
        protodesc_reset(&pb);
        begin_rule();
        EXPECT_EQ(outcome(protodesc_add_attr_name_parsed(&pb, csa_str("x"), ATTR_WAY_CTS, type,
                                                         ATTR_PROTO_UNKNOWN, 0, &n_attr)),
                  "0");
        EXPECT_EQ(refusal(), OUTCOME_PROTODESC_ATTR ": Unknown matcher type for tcp:x");
        EXPECT_EQ(protodesc_get_tlv_size(pb), 76U + 25 * 4) << "sized like any other";
    }
    for (const uint32_t way : {0U, 4U, 255U}) {
        uint32_t n_attr;
        protodesc_reset(&pb);
        begin_rule();
        EXPECT_EQ(outcome(protodesc_add_attr_name_parsed(
                      &pb, csa_str("x"), static_cast<csa_attr_way_t>(way), MATCHER_TYPE_STREAM,
                      ATTR_PROTO_TCP, 0, &n_attr)),
                  "0");
        EXPECT_EQ(refusal(), OUTCOME_PROTODESC_ATTR ": Unknown way for tcp:x");
    }
}

TEST_F(protodesc_serializer, a_path_has_two_elements_and_ends_with_the_protocol)
{
    const std::tuple<std::vector<const char *>, const char *, const char *> paths[] = {
        {{}, "0", ""},
        {{"ip", "web"}, "0", ""},
        {{"ip", "tcp", "http", "web"}, "0", ""},
        {{"web", "web"}, "0", ""},
        {{"web"},
         OUTCOME_INVALID_ARGUMENT,
         "Signature: <web> : path must be contain two elements at least.\n"},
        {{"ip"},
         OUTCOME_INVALID_ARGUMENT,
         "Signature: <web> : path must be contain two elements at least.\n"},
        {{"web", "ip"},
         OUTCOME_INVALID_ARGUMENT,
         "Signature <web>: Last element of the path <(ip)> must be the protocol itself.\n"},
        {{"ip", "tcp", "webs"},
         OUTCOME_INVALID_ARGUMENT,
         "Signature <web>: Last element of the path <(webs)> must be the protocol itself.\n"},
    };
    for (const auto &[path, status, printed] : paths) {
        protodesc_reset(&pb);
        begin_rule();
        for (const char *element : path)
            add_path({element});
        std::string seen;
        EXPECT_EQ(stderr_of([&] { seen = refusal(); }), printed);
        EXPECT_EQ(seen, status) << "no message is recorded";
    }
}

TEST_F(protodesc_serializer, a_path_is_checked_when_it_is_written_and_not_when_it_is_sized)
{
    begin_rule();
    add_path({"ip"});
    EXPECT_EQ(outcome(protodesc_add_rule_tag(&pb, 0, csa_str("t"))), "0");
    tlv_sink_t sink = tlv_sink_counting();
    EXPECT_EQ(stderr_of([&] { EXPECT_EQ(outcome(protodesc_emit(pb, sink)), "0"); }), "");
    EXPECT_EQ(sink.offset, protodesc_get_tlv_size(pb));
    EXPECT_EQ(strings_of(tag_strings), std::vector<std::string>{"t"});
    ASSERT_EQ(hstring_init(&strings, 0), 0);
    ASSERT_EQ(hstring_init(&tag_strings, 0), 0);
    EXPECT_NE(stderr_of([&] { EXPECT_EQ(refusal(), OUTCOME_INVALID_ARGUMENT); }), "");
    EXPECT_EQ(strings_of(strings).back(), "ip") << "behind the path, in front of the tags";
    EXPECT_TRUE(strings_of(tag_strings).empty());
}

TEST_F(protodesc_serializer, an_empty_string_is_an_engine_error)
{
    EXPECT_EQ(refusal(), OUTCOME_ENGINE ": Empty string in protocol .") << "no name";
    protodesc_set_name(&pb, csa_str("web"));
    EXPECT_EQ(outcome(protodesc_add_altname(&pb, csa_str(""))), "0");
    EXPECT_EQ(refusal(), OUTCOME_ENGINE ": Empty string in protocol web.");
    protodesc_reset(&pb);
    begin_rule();
    add_attr("port", "");
    EXPECT_EQ(refusal(), OUTCOME_ENGINE ": Empty string in protocol web.");
    protodesc_reset(&pb);
    begin_rule();
    EXPECT_EQ(outcome(protodesc_add_rule_tag(&pb, 0, csa_str(""))), "0");
    EXPECT_EQ(refusal(), OUTCOME_ENGINE ": Empty string in protocol web.");
    protodesc_reset(&pb);
    begin_rule();
    protodesc_set_rule_bottom(&pb, 0, {});
    EXPECT_EQ(refusal(), OUTCOME_ENGINE ": Empty string in protocol web.");
    EXPECT_EQ(protodesc_get_tlv_size(pb), 76U + 21 * 4) << "the size does not look at strings";
}

TEST_F(protodesc_serializer, a_buffer_that_is_too_small_is_not_touched)
{
    begin_rule();
    add_attr("port", "80");
    const size_t size = protodesc_get_tlv_size(pb);
    for (size_t len = 0; len < size; ++len) {
        std::vector<uint8_t> buf(len);
        EXPECT_EQ(outcome(protodesc_serialize(pb, buf)),
                  OUTCOME_INVALID_ARGUMENT ": Can't serialize protocol web");
        EXPECT_EQ(buf, std::vector<uint8_t>(len));
    }
    EXPECT_TRUE(strings_of(strings).empty());
    std::vector<uint8_t> larger(size + 7);
    EXPECT_EQ(outcome(protodesc_serialize(pb, larger)), "0");
    EXPECT_EQ(std::vector<uint8_t>(larger.end() - 7, larger.end()), std::vector<uint8_t>(7));
}

TEST_F(protodesc_serializer, equal_strings_share_an_offset)
{
    begin_rule();
    protodesc_set_rule_bottom(&pb, 0, csa_str("web"));
    protodesc_set_rule_real_bottom(&pb, 0, csa_str("web"));
    EXPECT_EQ(outcome(protodesc_add_altname(&pb, csa_str("web"))), "0");
    const std::vector<uint8_t> buf = serialized();
    EXPECT_EQ(strings_of(strings),
              (std::vector<std::string>{"web", std::string(1, '\0'), "See atlas for details"}));
}

/// The size of a description as its parts add up.
size_t expected_size(const protodesc_build_t &pb)
{
    size_t words =
        19 + 2 * (pb.pb_tags.nv_nr + pb.pb_desc.nv_nr) + pb.pb_compat.v_nr + pb.pb_altname.v_nr;
    for (uint32_t i = 0; i < pb.pb_nr_sub_rule; ++i) {
        const ruledesc_build_t &slot = pb.pb_rules[i];
        if (i == 0 || slot.rule_id != pb.pb_rules[i - 1].rule_id)
            words += 2 + slot.rule_nr_path + slot.rule_nr_tags +
                     (slot.rule_vid == RULE_VID_NONE ? 8 : 9) + 2;
        words += 2 + 7 + slot.rule_nr_attr;
        for (uint32_t n = 0; n < slot.rule_nr_attr; ++n) {
            const attrdesc_build_t &attr = slot.rule_attr[n];
            size_t values = 0;
            for (const csa_str_t &value : attr.attr_val)
                values += value.str_buf != nullptr;
            words += 3 + values * (attr.attr_type == MATCHER_TYPE_STREAM ? 2 : 1);
        }
    }
    return words * 4;
}

TEST_F(protodesc_serializer, a_full_record_is_as_large_as_its_parts)
{
    protodesc_set_name(&pb, csa_str("web"));
    const csa_str_t web_str = csa_str("web");
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(outcome(protodesc_add_tag(&pb, web_str, web_str)), "0");
    for (uint32_t n_rule = 0; n_rule < 2400; ++n_rule) {
        protodesc_set_rule(&pb, n_rule, n_rule / 2 + 1, n_rule % 2 + 1);
        protodesc_set_rule_vid(&pb, n_rule, n_rule % 3 == 0 ? RULE_VID_NONE : n_rule);
        protodesc_set_rule_bottom(&pb, n_rule, csa_str(n_rule % 5 == 0 ? "tcp" : "http"));
        protodesc_set_rule_real_bottom(&pb, n_rule, web_str);
        for (uint32_t i = 0; i < n_rule % 17; ++i) {
            uint32_t n_attr;
            EXPECT_EQ(outcome(protodesc_add_attr_name_parsed(
                          &pb, csa_str(&"0123456789abcdef"[i]), ATTR_WAY_CTS,
                          i % 2 == 0 ? MATCHER_TYPE_STREAM : MATCHER_TYPE_IP_4, ATTR_PROTO_UNKNOWN,
                          n_rule, &n_attr)),
                      "0");
            for (uint32_t n = 0; n < i % 9; ++n)
                EXPECT_EQ(outcome(protodesc_add_attr_val(&pb, n_rule, web_str, n_attr)), "0");
        }
    }
    protodesc_set_nr_sub_rule(&pb, 2400);
    EXPECT_EQ(protodesc_get_tlv_size(pb), expected_size(pb));
    const std::vector<uint8_t> buf = serialized();
    protocol_model model;
    std::vector<uint8_t> blob(hstring_get_size(strings));
    ASSERT_EQ(hstring_serialize(strings, blob), 0);
    const hstring_t table = {blob.data(), static_cast<uint32_t>(blob.size())};
    EXPECT_EQ(outcome(read_protocol(buf, table, table, &model)), "0");
    EXPECT_EQ(model.rules.size(), 1200U);
    EXPECT_EQ(model.rules[1199].sub_rules[1].attrs.size(), 2399U % 17);
}

TEST_F(protodesc_serializer, an_empty_string_is_refused_in_every_list)
{
    const std::string refused = OUTCOME_ENGINE ": Empty string in protocol web.";
    protodesc_set_name(&pb, csa_str("web"));
    EXPECT_EQ(outcome(protodesc_add_tag(&pb, csa_str("category"), csa_str(""))), "0");
    EXPECT_EQ(refusal(), refused);
    protodesc_reset(&pb);
    protodesc_set_name(&pb, csa_str("web"));
    EXPECT_EQ(outcome(protodesc_add_description(&pb, csa_str(""), csa_str("text"))), "0");
    EXPECT_EQ(refusal(), refused);
    protodesc_reset(&pb);
    protodesc_set_name(&pb, csa_str("web"));
    EXPECT_EQ(outcome(protodesc_add_compat(&pb, csa_str(""))), "0");
    EXPECT_EQ(refusal(), refused);
}

} // namespace
