#include <gtest/gtest.h>

#include "captured.h"
#include "plu_record.h"

namespace
{

/// The slot that the rule's first sub-rule is copied into.
ruledesc_build_t copied(record_run &run, const rule_model &rule)
{
    EXPECT_EQ(run.copy(make_protocol(1, "acme", {rule})), "0");
    return run.pb.pb_rules.at(0);
}

template <typename Texts>
std::string texts_of(const Texts &texts, uint32_t nr)
{
    std::string out;
    for (uint32_t i = 0; i < nr; ++i)
        out.append(csa_str_view(texts[i])).append(" ");
    return out;
}

template <typename Pairs>
std::string pairs_of(const Pairs &pairs)
{
    std::string out;
    for (uint32_t i = 0; i < pairs.nv_nr; ++i)
        out.append(csa_str_view(pairs.nv_name[i]))
            .append("=")
            .append(csa_str_view(pairs.nv_val[i]))
            .append(" ");
    return out;
}

TEST(plu_protobuild, a_first_copy_takes_everything)
{
    protocol_model protocol = make_protocol(0x01000043, "acme");
    protocol.default_port = "443";
    protocol.max_trans = 6;
    protocol.cacheable = 0;
    protocol.http_reclassify = 1;
    protocol.version = {1, 2, 3};
    protocol.implicit_bottom_layer = 4;
    protocol.tags = {{"category", "web"}, {"family", "x"}};
    protocol.descs = {{"en", "text"}, {"fr", "texte"}};
    protocol.compat = {"c1", "c2"};
    protocol.altnames = {"a1", "a2"};
    record_run run;
    EXPECT_EQ(run.copy(protocol), "0");
    const protodesc_build_t &pb = run.pb;
    EXPECT_EQ(csa_str_view(pb.pb_name), "acme");
    EXPECT_EQ(csa_str_view(pb.pb_default_port), "443");
    EXPECT_EQ(pb.pb_id, 0x01000043U);
    EXPECT_EQ(pb.pb_max_trans, 6U);
    EXPECT_EQ(pb.pb_cacheable, 0U);
    EXPECT_EQ(pb.pb_http_reclassify, 1U);
    EXPECT_EQ(pb.pb_implicit_bottom_layer, 4U);
    EXPECT_EQ(pb.pb_version, (std::array<uint32_t, 3>{1, 2, 3}));
    EXPECT_EQ(pairs_of(pb.pb_tags), "category=web family=x ");
    EXPECT_EQ(pairs_of(pb.pb_desc), "en=text fr=texte ");
    EXPECT_EQ(texts_of(pb.pb_compat.v_val, pb.pb_compat.v_nr), "c1 c2 ");
    EXPECT_EQ(texts_of(pb.pb_altname.v_val, pb.pb_altname.v_nr), "a1 a2 ");
    EXPECT_EQ(pb.pb_nr_sub_rule, 0U);
    EXPECT_EQ(run.nr_rules, 0U);
}

TEST(plu_protobuild, an_update_keeps_the_lists_and_overwrites_the_rest)
{
    protocol_model base = make_protocol(1, "acme");
    base.tags = {{"category", "web"}};
    base.altnames = {"a1"};
    protocol_model incoming = make_protocol(2, "other");
    incoming.default_port = "7";
    incoming.max_trans = 9;
    incoming.version = {4, 5, 6};
    incoming.tags = {{"category", "x"}, {"category", "y"}};
    incoming.descs = {{"fr", "z"}};
    incoming.compat = {"c"};
    incoming.altnames = {"a2"};
    record_run run;
    EXPECT_EQ(run.copy(base), "0");
    EXPECT_EQ(run.update(incoming), "0");
    const protodesc_build_t &pb = run.pb;
    EXPECT_EQ(csa_str_view(pb.pb_name), "other");
    EXPECT_EQ(csa_str_view(pb.pb_default_port), "7");
    EXPECT_EQ(pb.pb_id, 2U);
    EXPECT_EQ(pb.pb_max_trans, 9U);
    EXPECT_EQ(pb.pb_version, (std::array<uint32_t, 3>{4, 5, 6}));
    ASSERT_EQ(pb.pb_tags.nv_nr, 1U);
    EXPECT_EQ(csa_str_view(pb.pb_tags.nv_val[0]), "web");
    EXPECT_EQ(pb.pb_desc.nv_nr, 0U);
    EXPECT_EQ(pb.pb_compat.v_nr, 0U);
    EXPECT_EQ(pb.pb_altname.v_nr, 1U);
}

TEST(plu_protobuild, a_rule_goes_into_every_slot_of_its_sub_rules)
{
    rule_model rule = make_rule({make_sub_rule("tcp", {make_attr("port", {"80"})}),
                                 make_sub_rule("udp", {make_attr("port", {"81"})})});
    rule.meta_version = 6;
    rule.ruleorder = 1;
    rule.vid = 7;
    rule.fastpass = 1;
    rule.preempt = 1;
    rule.path = {"ip", "acme"};
    rule.tags = {"video"};
    rule.sub_rules[1].bottom_protocol = "ip";
    rule.sub_rules[1].stc_mindata = 3;
    rule.sub_rules[1].cts_mindata = 4;
    record_run run;
    EXPECT_EQ(run.copy(make_protocol(1, "acme", {rule})), "0");
    EXPECT_EQ(run.ids(), "1.1 1.2");
    EXPECT_EQ(run.nr_rules, 1U);
    const ruledesc_build_t &slot = run.pb.pb_rules[1];
    EXPECT_EQ(slot.rule_order, rule.order);
    EXPECT_EQ(slot.rule_ruleorder, 1U);
    EXPECT_EQ(slot.rule_vid, 7U);
    EXPECT_EQ(slot.rule_fastpass, 1U);
    EXPECT_EQ(slot.rule_preempt, 1U);
    EXPECT_EQ(slot.rule_scope, 0x800U);
    EXPECT_EQ(slot.rule_nr_path, 2U);
    EXPECT_EQ(csa_str_view(slot.rule_path[1]), "acme");
    EXPECT_EQ(slot.rule_nr_tags, 1U);
    EXPECT_EQ(csa_str_view(slot.rule_tags[0]), "video");
    EXPECT_EQ(csa_str_view(slot.rule_protocol), "udp");
    EXPECT_EQ(csa_str_view(slot.rule_bottom_protocol), "ip");
    EXPECT_EQ(slot.rule_stc_mindata, 3U);
    EXPECT_EQ(slot.rule_cts_mindata, 4U);
    EXPECT_EQ(slot.rule_nr_attr, 1U);
    EXPECT_EQ(csa_str_view(slot.rule_attr[0].attr_val[0]), "81");
}

TEST(plu_protobuild, tags_are_left_out_without_a_table)
{
    rule_model rule = port_rule({"80"});
    rule.tags = {"video"};
    record_run run;
    const stored_protocol &from = run.keep(make_protocol(1, "acme", {rule}));
    const plu_strings_t strings = {from.strings.pg_hstring, {}};
    EXPECT_EQ(
        outcome(plu_merge_proto_to_protobuild(&run.pb, from.view, strings, &run.nr_rules, nullptr)),
        "0");
    EXPECT_EQ(run.pb.pb_rules[0].rule_nr_tags, 0U);
    run.reset();
    // An empty table is a table: no tag can be read from it.
    const uint8_t nothing = 0;
    const plu_strings_t empty = {from.strings.pg_hstring, {&nothing, 0}};
    EXPECT_EQ(
        outcome(plu_merge_proto_to_protobuild(&run.pb, from.view, empty, &run.nr_rules, nullptr)),
        OUTCOME_ENGINE);
}

TEST(plu_protobuild, no_scope_means_http_for_whatever_http_begins_with)
{
    const auto scope = [](const std::string &protocol, uint32_t stored_scope) {
        rule_model rule = make_rule({make_sub_rule(protocol, {})});
        rule.scope = stored_scope;
        record_run run;
        return copied(run, rule).rule_scope;
    };
    EXPECT_EQ(scope("http", 0), 0x802U);
    EXPECT_EQ(scope("ht", 0), 0x802U);
    EXPECT_EQ(scope("http2", 0), 0U);
    EXPECT_EQ(scope("hq", 0), 0U);
    EXPECT_EQ(scope("tcp", 0), 0U);
    EXPECT_EQ(scope("http", 0x20), 0x20U);
}

TEST(plu_protobuild, the_oldest_rules_wait_for_data)
{
    rule_model rule = make_rule({make_sub_rule("tcp", {}), make_sub_rule("tcp", {})});
    rule.sub_rules[1].cts_mindata = 5;
    record_run run;
    EXPECT_EQ(copied(run, rule).rule_stc_mindata, 0U);
    rule.meta_version = 1;
    run.reset();
    EXPECT_EQ(run.copy(make_protocol(1, "acme", {rule})), "0");
    EXPECT_EQ(run.pb.pb_rules[0].rule_stc_mindata, 0x10000U);
    EXPECT_EQ(run.pb.pb_rules[0].rule_cts_mindata, 0x10000U);
    EXPECT_EQ(run.pb.pb_rules[1].rule_stc_mindata, 0x10000U);
    EXPECT_EQ(run.pb.pb_rules[1].rule_cts_mindata, 5U);
    for (const uint32_t form : {2U, 3U, 4U, 5U, 6U}) {
        rule.meta_version = form;
        run.reset();
        EXPECT_EQ(copied(run, rule).rule_stc_mindata, 0U) << form;
    }
}

TEST(plu_protobuild, older_rules_have_the_version_identifier_0)
{
    const auto vid = [](uint32_t form) {
        rule_model rule = make_rule({make_sub_rule("tcp", {})});
        rule.meta_version = form;
        rule.vid = 9;
        record_run run;
        return copied(run, rule).rule_vid;
    };
    EXPECT_EQ(vid(1), 0U);
    EXPECT_EQ(vid(2), 0U);
    EXPECT_EQ(vid(3), 0U);
    EXPECT_EQ(vid(4), 0U);
    EXPECT_EQ(vid(5), 0xFFFFFFFFU);
    EXPECT_EQ(vid(6), 9U);
}

TEST(plu_protobuild, attributes_are_added_value_by_value)
{
    rule_model rule = make_rule(
        {make_sub_rule("tcp", {make_attr("stream", {"a", "b"}, MATCHER_TYPE_STREAM, ATTR_WAY_STC),
                               make_attr("stream", {"c"}, MATCHER_TYPE_STREAM, ATTR_WAY_CTS),
                               make_attr("none", {}),
                               make_attr("stream", {"d"}, MATCHER_TYPE_STREAM, ATTR_WAY_STC),
                               make_attr("old", {"e"}, MATCHER_TYPE_STREAM_OFFSET)})});
    rule.sub_rules[0].attrs[0].values[1].second = 40;
    rule.sub_rules[0].attrs[1].proto = ATTR_PROTO_UDP;
    record_run run;
    const ruledesc_build_t slot = copied(run, rule);
    ASSERT_EQ(slot.rule_nr_attr, 3U);
    EXPECT_EQ(slot.rule_attr[0].attr_nr_val, 3U);
    EXPECT_EQ(csa_str_view(slot.rule_attr[0].attr_val[2]), "d");
    EXPECT_EQ(slot.rule_attr[0].attr_offset, (std::vector<uint32_t>{0, 40, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(slot.rule_attr[0].attr_way, ATTR_WAY_STC);
    EXPECT_EQ(slot.rule_attr[1].attr_way, ATTR_WAY_CTS);
    EXPECT_EQ(slot.rule_attr[1].attr_proto, ATTR_PROTO_UDP);
    EXPECT_EQ(csa_str_view(slot.rule_attr[2].attr_name), "old");
    EXPECT_EQ(slot.rule_attr[2].attr_type, MATCHER_TYPE_STREAM);
}

TEST(plu_protobuild, a_duplicate_leaves_a_gap_in_the_ids)
{
    record_run run;
    EXPECT_EQ(run.copy(make_protocol(1, "acme", {port_rule({"1"}), port_rule({"2"})})), "0");
    EXPECT_EQ(run.ids(), "1.1 2.1");
    EXPECT_EQ(run.update(make_protocol(1, "acme",
                                       {port_rule({"2"}), port_rule({"3"}), port_rule({"1"}),
                                        port_rule({"3"}), port_rule({"4"})})),
              "0");
    EXPECT_EQ(run.ids(), "1.1 2.1 4.1 7.1");
    EXPECT_EQ(run.nr_rules, 4U);
}

TEST(plu_protobuild, a_first_copy_keeps_duplicates)
{
    record_run run;
    EXPECT_EQ(run.copy(make_protocol(1, "acme", {port_rule({"1"}), port_rule({"1"})})), "0");
    EXPECT_EQ(run.ids(), "1.1 2.1");
}

TEST(plu_protobuild, scope_and_mindata_are_compared_as_stored)
{
    rule_model http = make_rule({make_sub_rule("http", {make_attr("host", {"x"})})});
    http.scope = 0;
    rule_model oldest = port_rule({"1"});
    oldest.meta_version = 1;
    const protocol_model protocol = make_protocol(1, "acme", {http, oldest});
    record_run run;
    EXPECT_EQ(run.copy(protocol), "0");
    EXPECT_EQ(run.update(protocol), "0");
    EXPECT_EQ(run.ids(), "1.1 2.1 3.1 4.1");
}

TEST(plu_protobuild, a_rule_without_sub_rules_takes_an_id_and_no_slot)
{
    record_run run;
    EXPECT_EQ(run.copy(make_protocol(1, "acme", {make_rule({}), port_rule({"1"})})), "0");
    EXPECT_EQ(run.ids(), "2.1");
    EXPECT_EQ(run.nr_rules, 2U);
}

TEST(plu_protobuild, a_slot_beyond_the_capacity_is_refused)
{
    const sub_rule_model bare = make_sub_rule("tcp", {});
    std::vector<rule_model> rules(1200, make_rule({bare, bare}));
    record_run run;
    EXPECT_EQ(run.copy(make_protocol(1, "acme", rules)), "0");
    EXPECT_EQ(run.pb.pb_nr_sub_rule, 2400U);
    EXPECT_EQ(run.update(make_protocol(1, "acme", {port_rule({"1"})})), OUTCOME_OVERFLOW
              ": Try to merge a rule entry (2401) superior to maximum rules (2400)\n");
    run.reset();
    rules.push_back(port_rule({"1"}));
    EXPECT_EQ(run.copy(make_protocol(1, "acme", rules)), OUTCOME_OVERFLOW
              ": Try to merge a rule entry (2401) superior to maximum rules (2400)\n");
}

TEST(plu_protobuild, no_rule_follows_the_last_id)
{
    const rule_model bare = make_rule({make_sub_rule("tcp", {})});
    record_run run;
    EXPECT_EQ(run.copy(make_protocol(1, "acme", std::vector<rule_model>(2400, bare))), "0");
    // Also an update without rules needs an id for the next one.
    EXPECT_EQ(run.update(make_protocol(1, "acme")),
              OUTCOME_OVERFLOW ": Number of maximum rules reached (2400)\n");
    run.reset();
    EXPECT_EQ(run.copy(make_protocol(1, "acme", std::vector<rule_model>(2399, bare))), "0");
    EXPECT_EQ(run.update(make_protocol(1, "acme", {bare})), "0");
}

TEST(plu_protobuild, capacities_of_a_foreign_description)
{
    const auto refused = [](auto &&change) {
        protocol_model protocol = make_protocol(1, "acme", {port_rule({"1"})});
        change(protocol);
        record_run run;
        std::string status;
        (void)stderr_of([&] { status = run.copy(protocol); });
        return status;
    };
    EXPECT_EQ(refused([](protocol_model &p) {
                  p.tags.assign(13, {"a", "b"});
              }),
              OUTCOME_OVERFLOW ": Maximum number of tags (12) has been reached");
    EXPECT_EQ(refused([](protocol_model &p) {
                  p.descs.assign(3, {"a", "b"});
              }),
              OUTCOME_OVERFLOW ": Maximum number of description (2) has been reached");
    EXPECT_EQ(refused([](protocol_model &p) { p.compat.assign(11, "a"); }),
              OUTCOME_OVERFLOW ": Maximum number of compat (10) has been reached");
    EXPECT_EQ(refused([](protocol_model &p) { p.altnames.assign(11, "a"); }),
              OUTCOME_OVERFLOW ": Maximum number of altname (10) has been reached");
    EXPECT_EQ(refused([](protocol_model &p) { p.rules[0].path.assign(5, "a"); }),
              OUTCOME_OVERFLOW ": Maximum number of protocols (4) in path has been reached");
    EXPECT_EQ(refused([](protocol_model &p) { p.rules[0].tags.assign(5, "video"); }),
              OUTCOME_OVERFLOW ": Maximum number of rule tags (4) has been reached");
    EXPECT_EQ(refused([](protocol_model &p) {
                  for (int i = 0; i < 16; ++i)
                      p.rules[0].sub_rules[0].attrs.push_back(
                          make_attr("a" + std::to_string(i), {"1"}));
              }),
              OUTCOME_OVERFLOW ": Maximum number of attribute (16) has been reached acme");
    EXPECT_EQ(refused([](protocol_model &p) {
                  p.rules[0].sub_rules[0].attrs.assign(9, make_attr("port", {"1"}));
              }),
              OUTCOME_OVERFLOW ": Maximum number of attribute value (8) has been reached acme.");
}

TEST(plu_protobuild, what_cannot_be_read_is_refused)
{
    const auto refused = [](auto &&change) {
        protocol_model protocol = make_protocol(1, "acme", {port_rule({"1"})});
        protocol.tags = {{"a", "b"}};
        protocol.descs = {{"a", "b"}};
        protocol.compat = {"a"};
        protocol.altnames = {"a"};
        protocol.rules[0].path = {"ip", "acme"};
        protocol.rules[0].tags = {"video"};
        change(protocol);
        record_run run;
        return run.copy(protocol);
    };
    EXPECT_EQ(refused([](protocol_model &) {}), "0");
    // An empty text has no place in a pool: its offset lies behind every table.
    EXPECT_EQ(refused([](protocol_model &p) { p.name = ""; }), OUTCOME_ENGINE);
    EXPECT_EQ(refused([](protocol_model &p) { p.default_port = ""; }), OUTCOME_ENGINE);
    EXPECT_EQ(refused([](protocol_model &p) { p.tags[0].second = ""; }), OUTCOME_ENGINE);
    EXPECT_EQ(refused([](protocol_model &p) { p.descs[0].first = ""; }), OUTCOME_ENGINE);
    EXPECT_EQ(refused([](protocol_model &p) { p.compat[0] = ""; }), OUTCOME_ENGINE);
    EXPECT_EQ(refused([](protocol_model &p) { p.altnames[0] = ""; }), OUTCOME_ENGINE);
    EXPECT_EQ(refused([](protocol_model &p) { p.rules[0].path[0] = ""; }), OUTCOME_ENGINE);
    EXPECT_EQ(refused([](protocol_model &p) { p.rules[0].tags[0] = ""; }), OUTCOME_ENGINE);
    EXPECT_EQ(refused([](protocol_model &p) { p.rules[0].sub_rules[0].protocol = ""; }),
              OUTCOME_ENGINE);
    EXPECT_EQ(refused([](protocol_model &p) { p.rules[0].sub_rules[0].bottom_protocol = ""; }),
              OUTCOME_ENGINE);
    EXPECT_EQ(refused([](protocol_model &p) { p.rules[0].sub_rules[0].attrs[0].name = ""; }),
              OUTCOME_ENGINE);
    EXPECT_EQ(
        refused([](protocol_model &p) { p.rules[0].sub_rules[0].attrs[0].values[0].first = ""; }),
        OUTCOME_ENGINE);
    EXPECT_EQ(
        refused([](protocol_model &p) { p.rules[0].sub_rules[0].attrs[0].way = ATTR_WAY_UNKNOWN; }),
        OUTCOME_PROTODESC_ATTR ": Unknown way for attribute");
}

} // namespace
