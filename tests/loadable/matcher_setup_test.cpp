/// The set-up of matchers, and what is known of each value.
#include "loadable_fixture.h"
#include "pdb_matcher_setup.h"

namespace
{

struct build_t {
    pdb_build_t pdb_build;
    pdb_config_t config = {32, 77, 16, 2, 4};
    pdb_matcher_list_t list;
    matcher_desc_t desc;

    build_t(std::string_view proto, std::string_view attr)
    {
        clear_status_slot();
        EXPECT_EQ(outcome(pdb_init(&pdb_build, &config)), "0");
        pdb_build.pdb_build_item_id = 9;
        list.matcher_list_key = {csa_str(proto), csa_str(attr), ATTR_WAY_CTS};
        list.matcher_list_min_data = 12;
        list.matcher_elts.resize(3);
    }
    std::string set_desc(uint32_t type)
    {
        return outcome(
            pdb_matcher_set_desc(pdb_build, list, static_cast<matcher_type_t>(type), &desc));
    }
    std::string init(matcher_build *matcher, matcher_type_t *type)
    {
        return outcome(pdb_matcher_build_init(pdb_build, matcher, type, &list));
    }
};

TEST(matcher_setup, a_stream_is_set_up_from_its_attribute)
{
    build_t build("http", "server");
    EXPECT_EQ(build.set_desc(MATCHER_TYPE_STREAM), "0");
    EXPECT_EQ(build.desc.type, 0U);
    EXPECT_EQ(build.desc.start_item_id, 9U);
    EXPECT_EQ(build.desc.min_data, 12U);
    EXPECT_EQ(build.desc.max_perm, 32U);
    EXPECT_EQ(build.desc.max_prv_id, 77U);
    EXPECT_EQ(build.desc.algo, 14U); // the flags of the alphabet are not among the engines
    EXPECT_EQ(build.desc.alpha_config, 6U);
    EXPECT_EQ(build.desc.mindata_status, MINDATA_NOT_MANDATORY);
    EXPECT_EQ(build.desc.em_dispatch, EXACT_MATCH_SUFFIX);
}

TEST(matcher_setup, a_stream_that_must_state_its_data_and_keeps_case)
{
    build_t build("tcp", "stream");
    EXPECT_EQ(build.set_desc(MATCHER_TYPE_STREAM), "0");
    EXPECT_EQ(build.desc.algo, 20U);
    EXPECT_EQ(build.desc.alpha_config, 0U);
    EXPECT_EQ(build.desc.mindata_status, MINDATA_MANDATORY);
    EXPECT_EQ(build.desc.em_dispatch, EXACT_MATCH_PREFIX);
}

TEST(matcher_setup, a_number_gets_the_number_of_its_values_in_place_of_the_type)
{
    for (const uint32_t type : {3U, 4U, 7U, 8U}) {
        build_t build("tcp", "port");
        EXPECT_EQ(build.set_desc(type), "0");
        EXPECT_EQ(build.desc.type, 3U);
        EXPECT_EQ(build.desc.algo, 14U);
        EXPECT_EQ(build.desc.mindata_status, MINDATA_NOT_MANDATORY);
    }
}

TEST(matcher_setup, other_types_are_refused)
{
    for (const uint32_t type : {0U, 2U, 5U, 6U, 9U}) {
        build_t build("tcp", "port");
        EXPECT_EQ(build.set_desc(type), OUTCOME_INVALID_ARGUMENT ": Matcher type [" +
                                            std::to_string(type) + "] not found in the switch.");
    }
}

TEST(matcher_setup, an_unknown_attribute_is_refused_by_name)
{
    build_t build("tcp", "colour");
    matcher_build matcher;
    matcher_type_t type;
    EXPECT_EQ(build.init(&matcher, &type),
              OUTCOME_INVALID_ARGUMENT ": matcher_type unknown [tcp][colour].");
}

TEST(matcher_setup, a_matcher_is_made_and_its_transformer_noted)
{
    build_t build("tcp", "port");
    matcher_build matcher;
    matcher_type_t type;
    EXPECT_EQ(build.init(&matcher, &type), "0");
    EXPECT_EQ(type, MATCHER_TYPE_NUMBER_16);
    EXPECT_EQ(matcher.matcher_type, MATCHER_TYPE_NUMBER_16);
    EXPECT_EQ(matcher.matcher_id, 0U);
    EXPECT_EQ(matcher.curr_pub_id, 9U);
    EXPECT_EQ(build.list.matcher_list_info, &transformer_range16);
    matcher_build_clean(&matcher);
}

TEST(matcher_setup, too_many_items_before_a_matcher_are_refused)
{
    build_t build("tcp", "port");
    matcher_build matcher;
    matcher_type_t type;
    build.pdb_build.pdb_build_item_id = 0x20000000;
    EXPECT_EQ(build.init(&matcher, &type), OUTCOME_INVALID_ARGUMENT);
    build.pdb_build.pdb_build_item_id = 0x1FFFFFFF;
    EXPECT_EQ(build.init(&matcher, &type), "0");
    matcher_build_clean(&matcher);
}

// ---------------------------------------------------------------------------------------------
// What is known of a value.

struct info_t {
    group_t group;
    pdb_config_t config = {32, 77, 16, 2, 4};
    pdb_build_t build;
    pattern_info info;

    explicit info_t(const rule_model &rule) : group({protocol_of(42, "web", {rule_of({}), rule})})
    {
        clear_status_slot();
        EXPECT_EQ(outcome(pdb_init(&build, &config)), "0");
        EXPECT_EQ(outcome(pdb_builder_matcher_register(&build, group.pg)), "0");
    }
    std::string get(uint32_t way = ATTR_WAY_CTS, mindata_status_t status = MINDATA_NOT_MANDATORY,
                    uint32_t proto_idx = 0, uint32_t rule_idx = 1)
    {
        pdb_matcher_elt elt;
        elt.matcher_elt_idx = {proto_idx, rule_idx};
        info = {};
        return outcome(
            pdb_matcher_get_pattern_info(build.pdb_build_facts, elt, way, status, &info));
    }
};

sub_rule_model with_mindata(uint32_t stc, uint32_t cts)
{
    sub_rule_model sub_rule = sub_rule_of("tcp", {stream_attr("stream", {"x"})});
    sub_rule.stc_mindata = stc;
    sub_rule.cts_mindata = cts;
    return sub_rule;
}

TEST(pattern_info, the_first_minimum_of_the_direction_counts)
{
    info_t info(rule_of({with_mindata(0, 30), with_mindata(20, 40)}, 0x01000002));
    EXPECT_EQ(info.get(ATTR_WAY_CTS), "0");
    EXPECT_EQ(info.info.mindata, 30U);
    EXPECT_EQ(info.get(ATTR_WAY_STC), "0");
    EXPECT_EQ(info.info.mindata, 20U);
    EXPECT_EQ(info.get(ATTR_WAY_BOTH), "0"); // all but the client's direction
    EXPECT_EQ(info.info.mindata, 20U);
    EXPECT_EQ(info.info.priority, 0x01000002U);
    EXPECT_EQ(info.info.preempt, 0U);
}

TEST(pattern_info, no_minimum_at_all_is_zero)
{
    info_t info(rule_of({with_mindata(0, 0)}));
    EXPECT_EQ(info.get(), "0");
    EXPECT_EQ(info.info.mindata, 0U);
}

TEST(pattern_info, a_missing_minimum_is_recorded_and_the_build_goes_on)
{
    info_t info(rule_of({with_mindata(5, 0)}));
    EXPECT_EQ(info.get(ATTR_WAY_CTS, MINDATA_MANDATORY),
              "0 (recorded 103): You need to set the mindata when it is mandatory");
    EXPECT_EQ(info.get(ATTR_WAY_STC, MINDATA_MANDATORY), "0");
}

TEST(pattern_info, no_minimum_applies_is_handed_on_as_it_stands)
{
    info_t info(rule_of({with_mindata(0, 65536)}));
    EXPECT_EQ(info.get(ATTR_WAY_CTS, MINDATA_MANDATORY), "0");
    EXPECT_EQ(info.info.mindata, 65536U);
}

rule_model preempt_rule(const std::vector<sub_rule_model> &sub_rules)
{
    rule_model rule = rule_of(sub_rules, 7);
    rule.preempt = 1;
    return rule;
}

TEST(pattern_info, a_preempt_rule_of_one_attribute_is_marked)
{
    info_t info(preempt_rule({sub_rule_of("tcp", {stream_attr("stream", {"x"})}, 8)}));
    EXPECT_EQ(info.get(), "0");
    EXPECT_EQ(info.info.preempt, 1U);
    EXPECT_EQ(info.info.priority, 7U);
    EXPECT_EQ(info.info.mindata, 8U);
}

TEST(pattern_info, a_preempt_rule_of_one_attribute_in_both_ways_is_marked)
{
    info_t info(preempt_rule({sub_rule_of("tcp", {stream_attr("stream", {"x"}, ATTR_WAY_CTS),
                                                  stream_attr("stream", {"y"}, ATTR_WAY_STC)})}));
    EXPECT_EQ(info.get(), "0");
    EXPECT_EQ(info.info.preempt, 1U);
}

TEST(pattern_info, a_preempt_rule_of_several_sub_rules_is_recorded)
{
    info_t info(preempt_rule({with_mindata(0, 0), with_mindata(0, 0)}));
    EXPECT_EQ(info.get(),
              "0 (recorded 103): Protocol 42 has a preempt rule (1) with a multiple-sub-rules.");
    EXPECT_EQ(info.info.preempt, 1U);
}

TEST(pattern_info, a_preempt_rule_without_sub_rules_is_recorded)
{
    info_t info(preempt_rule({}));
    EXPECT_EQ(info.get(),
              "0 (recorded 103): Protocol 42 has a preempt rule (1) with a multiple-sub-rules.");
    EXPECT_EQ(info.info.preempt, 1U);
}

TEST(pattern_info, a_preempt_rule_of_too_many_attributes_is_recorded)
{
    const attr_model attr = stream_attr("stream", {"x"});
    info_t info(preempt_rule({sub_rule_of("tcp", {attr, attr, attr})}));
    EXPECT_EQ(info.get(),
              "0 (recorded 103): Protocol 42 has a preempt rule (1) with too many "
              "attributes.Either 1 or 2 attributes are allowed if they correspond to the same "
              "attribute name on both different ways.");
    EXPECT_EQ(info.info.preempt, 1U);
}

TEST(pattern_info, a_preempt_rule_of_two_attribute_names_is_recorded)
{
    info_t info(preempt_rule(
        {sub_rule_of("tcp", {stream_attr("stream", {"x"}), number_attr("port", {"1"})})}));
    EXPECT_EQ(info.get(), "0 (recorded 103): Both attribute names should be the same (with "
                          "different ways) to allow preempt matching.");
    EXPECT_EQ(info.info.preempt, 1U);
}

TEST(pattern_info, the_attributes_looked_at_are_those_of_the_sub_rule_with_the_minimum)
{
    const attr_model attr = stream_attr("stream", {"x"});
    // The search ends at the first sub-rule, which has one attribute; the second has three.
    info_t info(
        preempt_rule({sub_rule_of("tcp", {attr}, 9), sub_rule_of("tcp", {attr, attr, attr}, 9)}));
    EXPECT_EQ(info.get(),
              "0 (recorded 103): Protocol 42 has a preempt rule (1) with a multiple-sub-rules.");
    // Without a minimum the last one is.
    info_t last(preempt_rule({sub_rule_of("tcp", {attr}), sub_rule_of("tcp", {attr, attr, attr})}));
    EXPECT_NE(last.get().find("too many attributes.Either"), std::string::npos);
}

TEST(pattern_info, a_protocol_or_a_rule_that_cannot_be_read_is_a_status)
{
    info_t info(rule_of({with_mindata(0, 0)}));
    EXPECT_EQ(info.get(ATTR_WAY_CTS, MINDATA_NOT_MANDATORY, 1, 0), OUTCOME_INVALID_ARGUMENT);
    EXPECT_EQ(info.get(ATTR_WAY_CTS, MINDATA_NOT_MANDATORY, 0, 2),
              OUTCOME_INVALID_ARGUMENT ": Cannot get rule desc at index 2 for proto id 42");
}

TEST(pattern_info, what_was_not_noted_is_read_from_the_description)
{
    info_t info(rule_of({with_mindata(0, 30), with_mindata(20, 40), with_mindata(50, 0)}, 0x203));
    info.build.pdb_build_facts.ranges.clear();
    EXPECT_EQ(info.get(ATTR_WAY_CTS), "0");
    EXPECT_EQ(info.info.mindata, 30U);
    EXPECT_EQ(info.get(ATTR_WAY_STC), "0");
    EXPECT_EQ(info.info.mindata, 20U);
    EXPECT_EQ(info.info.priority, 0x203U);
    EXPECT_EQ(info.get(ATTR_WAY_CTS, MINDATA_NOT_MANDATORY, 0, 2),
              OUTCOME_INVALID_ARGUMENT ": Cannot get rule desc at index 2 for proto id 42");
    info_t none(rule_of({with_mindata(0, 0), with_mindata(0, 0)}));
    none.build.pdb_build_facts.ranges.clear();
    EXPECT_EQ(none.get(), "0");
    EXPECT_EQ(none.info.mindata, 0U);
    for (size_t at = 0; at + 4 <= none.group.group.size(); at += 4) // the metas of its sub-rules
        if (tlv_get(&none.group.group[at]) == tlv_header(TLV_TYPE_PROTO_SUB_RULE_META_V2, 4))
            tlv_set(&none.group.group[at], tlv_header(TLV_TYPE_PROTO_SUB_RULE_META_V2, 3));
    EXPECT_EQ(none.get(), OUTCOME_INVALID_ARGUMENT ": Len mismatch, cannot serialize");
}

/// Sets a word of every attribute record of four words, counted from its header.
void damage_attributes(std::vector<uint8_t> &group, size_t word, uint32_t value)
{
    for (size_t at = 0; at + 20 <= group.size(); at += 4)
        if (tlv_get(&group[at]) == tlv_header(TLV_TYPE_PROTO_ATTR_STREAM_OFFSET, 4))
            tlv_set(&group[at + word * 4], value);
}

TEST(pattern_info, a_preempt_rule_that_cannot_be_read_is_a_status)
{
    const rule_model rule = preempt_rule({sub_rule_of(
        "tcp",
        {stream_attr("stream", {"x"}, ATTR_WAY_CTS), stream_attr("stream", {"y"}, ATTR_WAY_STC)},
        8)});
    info_t sub_rules(rule);
    sub_rules.build.pdb_build_facts.views[1].rule.rule_srules_len = 0;
    EXPECT_EQ(sub_rules.get(), OUTCOME_INVALID_ARGUMENT ": Len mismatch, cannot serialize");
    info_t attribute(rule);
    damage_attributes(attribute.group.group, 0,
                      tlv_header(TLV_TYPE_PROTO_ATTR_STREAM_OFFSET, TLV_LEN_FIELD_MAX));
    EXPECT_EQ(attribute.get(),
              OUTCOME_INVALID_ARGUMENT ": Cannot get attribute descriptor, Tlv len mismatch");
    info_t name(rule);
    damage_attributes(name.group.group, 2, 0xFFFF);
    EXPECT_EQ(name.get(), OUTCOME_ENGINE);
}

} // namespace
