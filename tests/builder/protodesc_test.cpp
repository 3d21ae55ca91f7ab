#include <gtest/gtest.h>

#include "failing_alloc.h"
#include "protodesc_fixture.h"

namespace
{

using protodesc = protodesc_fixture;

TEST_F(protodesc, the_default_capacities)
{
    protodesc_bounds_t bounds;
    protodesc_populate_bounds(&bounds);
    EXPECT_EQ(bounds.pi_max_tags, 12U);
    EXPECT_EQ(bounds.pi_max_desc, 2U);
    EXPECT_EQ(bounds.pi_max_compat, 10U);
    EXPECT_EQ(bounds.pi_max_altname, 10U);
    EXPECT_EQ(bounds.pi_max_rules, 1200U);
    EXPECT_EQ(bounds.pi_max_subrules, 2U);
    EXPECT_EQ(bounds.pi_max_path, 4U);
    EXPECT_EQ(bounds.pi_max_rule_tags, 4U);
    EXPECT_EQ(bounds.pi_max_attr, 16U);
    EXPECT_EQ(bounds.pi_max_attr_val, 8U);
    EXPECT_EQ(pb.pb_max_rules, 2400U);
    EXPECT_EQ(pb.pb_bounds.pi_max_rules, 1200U) << "the record keeps a copy";
}

TEST_F(protodesc, a_new_record_is_zeroed_and_knows_its_tables)
{
    protodesc_build_t fresh;
    ASSERT_TRUE(protodesc_init(&fresh, pb.pb_bounds, &strings, &tag_strings));
    EXPECT_EQ(fresh.pb_htable, &strings);
    EXPECT_EQ(fresh.pb_tagtable_hstring, &tag_strings);
    EXPECT_EQ(fresh.pb_cacheable, 0U);
    EXPECT_EQ(fresh.pb_id, 0U);
    EXPECT_EQ(fresh.pb_nr_sub_rule, 0U);
    EXPECT_EQ(fresh.pb_tags.nv_nr, 0U);
    EXPECT_EQ(fresh.pb_name.str_buf, nullptr);
}

TEST_F(protodesc, setters_store_the_fields_of_the_protocol)
{
    protodesc_set_name(&pb, csa_str("http"));
    protodesc_set_id(&pb, 67);
    protodesc_set_max_trans(&pb, 5);
    protodesc_set_default_port(&pb, csa_str("80"));
    protodesc_set_http_reclassify(&pb, 1);
    protodesc_set_implicit_bottom_layer(&pb, 2);
    protodesc_set_cacheable(&pb, 0);
    protodesc_set_version_major(&pb, 1);
    protodesc_set_version_minor(&pb, 2);
    protodesc_set_version_revision(&pb, 3);
    protodesc_set_nr_sub_rule(&pb, 4);
    EXPECT_EQ(csa_str_view(pb.pb_name), "http");
    EXPECT_EQ(pb.pb_id, 67U);
    EXPECT_EQ(pb.pb_max_trans, 5U);
    EXPECT_EQ(csa_str_view(pb.pb_default_port), "80");
    EXPECT_EQ(pb.pb_http_reclassify, 1U);
    EXPECT_EQ(pb.pb_implicit_bottom_layer, 2U);
    EXPECT_EQ(pb.pb_cacheable, 0U);
    EXPECT_EQ(pb.pb_version, (std::array<uint32_t, 3>{1, 2, 3}));
    EXPECT_EQ(pb.pb_nr_sub_rule, 4U);
    EXPECT_GE(pb.pb_rules.size(), 4U) << "slots in use exist";
}

TEST_F(protodesc, setters_store_the_fields_of_a_slot)
{
    protodesc_set_rule(&pb, 3, 7, 2);
    protodesc_set_rule_scope(&pb, 3, 0x802);
    protodesc_set_rule_vid(&pb, 3, 99);
    protodesc_set_rule_order(&pb, 3, 0x05000003);
    protodesc_set_rule_ruleorder(&pb, 3, 1);
    protodesc_set_rule_preempt(&pb, 3, 1);
    protodesc_set_rule_fastpass(&pb, 3, 1);
    protodesc_set_rule_bottom(&pb, 3, csa_str("tcp"));
    protodesc_set_rule_real_bottom(&pb, 3, csa_str("ip"));
    protodesc_set_mindata(&pb, 3, 10);
    const ruledesc_build_t &slot = pb.pb_rules[3];
    EXPECT_EQ(slot.rule_cts_mindata, 10U);
    EXPECT_EQ(slot.rule_stc_mindata, 10U);
    protodesc_set_cts_mindata(&pb, 3, 11);
    protodesc_set_stc_mindata(&pb, 3, 12);
    EXPECT_EQ(slot.rule_cts_mindata, 11U);
    EXPECT_EQ(slot.rule_stc_mindata, 12U);
    EXPECT_EQ(slot.rule_id, 7U);
    EXPECT_EQ(slot.rule_sub_id, 2U);
    EXPECT_EQ(slot.rule_scope, 0x802U);
    EXPECT_EQ(slot.rule_vid, 99U);
    EXPECT_EQ(slot.rule_order, 0x05000003U);
    EXPECT_EQ(slot.rule_ruleorder, 1U);
    EXPECT_EQ(slot.rule_preempt, 1U);
    EXPECT_EQ(slot.rule_fastpass, 1U);
    EXPECT_EQ(csa_str_view(slot.rule_protocol), "tcp");
    EXPECT_EQ(csa_str_view(slot.rule_bottom_protocol), "ip");
    EXPECT_EQ(pb.pb_rules[0].rule_id, 0U) << "the other slots are free";
}

TEST_F(protodesc, a_reset_clears_the_protocol_but_not_its_version)
{
    protodesc_set_name(&pb, csa_str("http"));
    protodesc_set_id(&pb, 67);
    protodesc_set_max_trans(&pb, 5);
    protodesc_set_default_port(&pb, csa_str("80"));
    protodesc_set_http_reclassify(&pb, 1);
    protodesc_set_implicit_bottom_layer(&pb, 1);
    protodesc_set_cacheable(&pb, 0);
    protodesc_set_version_major(&pb, 9);
    EXPECT_EQ(outcome(protodesc_add_tag(&pb, csa_str("a"), csa_str("b"))), "0");
    EXPECT_EQ(outcome(protodesc_add_description(&pb, csa_str("a"), csa_str("b"))), "0");
    EXPECT_EQ(outcome(protodesc_add_compat(&pb, csa_str("a"))), "0");
    EXPECT_EQ(outcome(protodesc_add_altname(&pb, csa_str("a"))), "0");
    protodesc_reset(&pb);
    EXPECT_EQ(pb.pb_name.str_buf, nullptr);
    EXPECT_EQ(pb.pb_default_port.str_buf, nullptr);
    EXPECT_EQ(pb.pb_id, 0U);
    EXPECT_EQ(pb.pb_max_trans, 0U);
    EXPECT_EQ(pb.pb_http_reclassify, 0U);
    EXPECT_EQ(pb.pb_implicit_bottom_layer, 0U);
    EXPECT_EQ(pb.pb_cacheable, 1U) << "true in a reset record";
    EXPECT_EQ(pb.pb_version[0], 9U);
    EXPECT_EQ(pb.pb_tags.nv_nr + pb.pb_desc.nv_nr + pb.pb_compat.v_nr + pb.pb_altname.v_nr, 0U);
    EXPECT_EQ(pb.pb_tags.nv_name[0].str_buf, nullptr);
    EXPECT_EQ(pb.pb_tags.nv_val[0].str_buf, nullptr);
    EXPECT_EQ(pb.pb_desc.nv_name[0].str_buf, nullptr);
    EXPECT_EQ(pb.pb_compat.v_val[0].str_buf, nullptr);
    EXPECT_EQ(pb.pb_altname.v_val[0].str_buf, nullptr);
}

TEST_F(protodesc, a_reset_frees_the_slots_but_for_what_they_keep)
{
    for (uint32_t n_rule : {0U, 2399U}) {
        protodesc_set_rule(&pb, n_rule, 7, 2);
        protodesc_set_rule_scope(&pb, n_rule, 0x802);
        protodesc_set_rule_vid(&pb, n_rule, 99);
        protodesc_set_rule_order(&pb, n_rule, 5);
        protodesc_set_rule_ruleorder(&pb, n_rule, 1);
        protodesc_set_rule_preempt(&pb, n_rule, 1);
        protodesc_set_rule_fastpass(&pb, n_rule, 1);
        protodesc_set_mindata(&pb, n_rule, 10);
        protodesc_set_rule_bottom(&pb, n_rule, csa_str("tcp"));
        protodesc_set_rule_real_bottom(&pb, n_rule, csa_str("ip"));
        EXPECT_EQ(outcome(protodesc_add_rule_path_elt(&pb, n_rule, csa_str("ip"))), "0");
        EXPECT_EQ(outcome(protodesc_add_rule_tag(&pb, n_rule, csa_str("t"))), "0");
        EXPECT_EQ(outcome(protodesc_add_rule_attr_parsed(&pb, n_rule, csa_str("stream"),
                                                         ATTR_WAY_CTS, MATCHER_TYPE_STREAM,
                                                         ATTR_PROTO_TCP, csa_str("v"), 40)),
                  "0");
    }
    protodesc_set_nr_sub_rule(&pb, 2400);
    protodesc_reset_rules(&pb);
    EXPECT_EQ(pb.pb_nr_sub_rule, 0U);
    for (uint32_t n_rule : {0U, 2399U}) {
        const ruledesc_build_t &slot = pb.pb_rules[n_rule];
        EXPECT_EQ(slot.rule_id + slot.rule_sub_id + slot.rule_order + slot.rule_ruleorder, 0U);
        EXPECT_EQ(slot.rule_nr_path + slot.rule_nr_tags + slot.rule_nr_attr, 0U);
        EXPECT_EQ(slot.rule_stc_mindata + slot.rule_cts_mindata, 0U);
        EXPECT_EQ(slot.rule_protocol.str_buf, nullptr);
        const attrdesc_build_t &attr = slot.rule_attr[0];
        EXPECT_EQ(attr.attr_name.str_buf, nullptr);
        EXPECT_EQ(attr.attr_val[0].str_buf, nullptr);
        EXPECT_EQ(attr.attr_offset[0], 0U);
        EXPECT_EQ(attr.attr_way, ATTR_WAY_UNKNOWN);
        EXPECT_EQ(attr.attr_type, MATCHER_TYPE_UNKNOWN);
        // What is kept.
        EXPECT_EQ(attr.attr_proto, ATTR_PROTO_TCP);
        EXPECT_EQ(attr.attr_nr_val, 1U);
        EXPECT_EQ(slot.rule_fastpass, 1U);
        EXPECT_EQ(slot.rule_preempt, 1U);
        EXPECT_EQ(slot.rule_scope, 0x802U);
        EXPECT_EQ(slot.rule_vid, 99U);
        EXPECT_EQ(csa_str_view(slot.rule_bottom_protocol), "ip");
    }
}

/// Fills a list and tries one entry more; gives the outcome of that one.
template <typename Add>
std::string fill(uint32_t capacity, Add &&add)
{
    for (uint32_t i = 0; i < capacity; ++i)
        EXPECT_EQ(outcome(add()), "0") << i;
    return outcome(add());
}

TEST_F(protodesc, full_lists_name_their_capacity_and_keep_what_they_hold)
{
    const csa_str_t a = csa_str("a");
    EXPECT_EQ(fill(12, [&] { return protodesc_add_tag(&pb, a, a); }),
              OUTCOME_OVERFLOW ": Maximum number of tags (12) has been reached");
    EXPECT_EQ(fill(2, [&] { return protodesc_add_description(&pb, a, a); }),
              OUTCOME_OVERFLOW ": Maximum number of description (2) has been reached");
    EXPECT_EQ(fill(10, [&] { return protodesc_add_compat(&pb, a); }),
              OUTCOME_OVERFLOW ": Maximum number of compat (10) has been reached");
    EXPECT_EQ(fill(10, [&] { return protodesc_add_altname(&pb, a); }),
              OUTCOME_OVERFLOW ": Maximum number of altname (10) has been reached");
    EXPECT_EQ(fill(4, [&] { return protodesc_add_rule_path_elt(&pb, 0, a); }),
              OUTCOME_OVERFLOW ": Maximum number of protocols (4) in path has been reached");
    EXPECT_EQ(fill(4, [&] { return protodesc_add_rule_tag(&pb, 0, a); }),
              OUTCOME_OVERFLOW ": Maximum number of rule tags (4) has been reached");
    EXPECT_EQ(pb.pb_tags.nv_nr, 12U);
    EXPECT_EQ(pb.pb_desc.nv_nr, 2U);
    EXPECT_EQ(pb.pb_compat.v_nr, 10U);
    EXPECT_EQ(pb.pb_altname.v_nr, 10U);
    EXPECT_EQ(pb.pb_rules[0].rule_nr_path, 4U);
    EXPECT_EQ(pb.pb_rules[0].rule_nr_tags, 4U);
}

TEST_F(protodesc, entries_stand_in_the_order_in_which_they_came)
{
    EXPECT_EQ(outcome(protodesc_add_tag(&pb, csa_str("n0"), csa_str("v0"))), "0");
    EXPECT_EQ(outcome(protodesc_add_tag(&pb, csa_str("n1"), csa_str("v1"))), "0");
    EXPECT_EQ(csa_str_view(pb.pb_tags.nv_name[1]), "n1");
    EXPECT_EQ(csa_str_view(pb.pb_tags.nv_val[1]), "v1");
    EXPECT_EQ(outcome(protodesc_add_rule_path_elt(&pb, 1, csa_str("ip"))), "0");
    EXPECT_EQ(outcome(protodesc_add_rule_path_elt(&pb, 1, csa_str("tcp"))), "0");
    EXPECT_EQ(csa_str_view(pb.pb_rules[1].rule_path[0]), "ip");
    EXPECT_EQ(csa_str_view(pb.pb_rules[1].rule_path[1]), "tcp");
    EXPECT_EQ(pb.pb_rules[0].rule_nr_path, 0U);
}

TEST_F(protodesc, other_capacities_hold_as_well)
{
    protodesc_build_t small;
    ASSERT_TRUE(protodesc_init(&small, {1, 1, 1, 1, 2, 1, 1, 1, 1, 1}, &strings, &tag_strings));
    EXPECT_EQ(small.pb_max_rules, 2U);
    EXPECT_EQ(fill(1, [&] { return protodesc_add_tag(&small, csa_str("a"), csa_str("a")); }),
              OUTCOME_OVERFLOW ": Maximum number of tags (1) has been reached");
    EXPECT_EQ(fill(1, [&] { return protodesc_add_rule_path_elt(&small, 1, csa_str("a")); }),
              OUTCOME_OVERFLOW ": Maximum number of protocols (1) in path has been reached");
    EXPECT_EQ(fill(1,
                   [&, n = 0]() mutable {
                       uint32_t n_attr;
                       return protodesc_add_attr_name_parsed(&small, csa_str(n++ == 0 ? "a" : "b"),
                                                             ATTR_WAY_CTS, MATCHER_TYPE_STREAM,
                                                             ATTR_PROTO_UNKNOWN, 1, &n_attr);
                   }),
              OUTCOME_OVERFLOW ": Maximum number of attribute (1) has been reached ");
}

TEST_F(protodesc, the_elements_of_a_version_are_words)
{
    EXPECT_EQ(outcome(protodesc_add_version(&pb, csa_str("major"), 1)), "0");
    EXPECT_EQ(outcome(protodesc_add_version(&pb, csa_str("minor"), 2)), "0");
    EXPECT_EQ(outcome(protodesc_add_version(&pb, csa_str("revision"), 3)), "0");
    EXPECT_EQ(pb.pb_version, (std::array<uint32_t, 3>{1, 2, 3}));
    for (const char *word : {"patch", "Major", "majo", "majors", ""})
        EXPECT_EQ(outcome(protodesc_add_version(&pb, csa_str(word), 9)), OUTCOME_JSON_BAD_SEMANTIC)
            << "no message";
    EXPECT_EQ(pb.pb_version, (std::array<uint32_t, 3>{1, 2, 3}));
}

TEST_F(protodesc, rules_are_runs_of_equal_ids)
{
    const uint32_t ids[] = {1, 1, 2, 3, 3};
    for (uint32_t i = 0; i < 5; ++i)
        protodesc_set_rule(&pb, i, ids[i], 1);
    EXPECT_EQ(protodesc_get_nr_rule(pb), 0U) << "no slot is in use";
    protodesc_set_nr_sub_rule(&pb, 5);
    EXPECT_EQ(protodesc_get_nr_rule(pb), 3U);
    protodesc_set_nr_sub_rule(&pb, 3);
    EXPECT_EQ(protodesc_get_nr_rule(pb), 2U);
    protodesc_set_rule(&pb, 2, 1, 1);
    protodesc_set_rule(&pb, 3, 2, 1);
    protodesc_set_rule(&pb, 4, 1, 1);
    protodesc_set_nr_sub_rule(&pb, 5);
    EXPECT_EQ(protodesc_get_nr_rule(pb), 3U) << "an id that comes back is another run";
}

TEST_F(protodesc, the_length_of_a_run_is_counted_over_every_slot)
{
    const uint32_t ids[] = {1, 1, 2, 3, 3};
    for (uint32_t i = 0; i < 5; ++i)
        protodesc_set_rule(&pb, i, ids[i], 1);
    EXPECT_EQ(protocol_get_nr_sub_rule(pb, 0, 1), 2U);
    EXPECT_EQ(protocol_get_nr_sub_rule(pb, 1, 1), 1U);
    EXPECT_EQ(protocol_get_nr_sub_rule(pb, 2, 2), 1U);
    EXPECT_EQ(protocol_get_nr_sub_rule(pb, 3, 3), 2U) << "a free slot ends the run";
    EXPECT_EQ(protocol_get_nr_sub_rule(pb, 0, 2), 0U);
    EXPECT_EQ(protocol_get_nr_sub_rule(pb, 5, 0), 2395U) << "free slots bear the id 0";
    EXPECT_EQ(protocol_get_nr_sub_rule(pb, 2400, 0), 0U);
    EXPECT_EQ(protocol_get_nr_sub_rule(pb, 2400, 3), 0U);
    EXPECT_EQ(protocol_get_nr_sub_rule(pb, 9999, 0), 0U);
}

TEST_F(protodesc, every_slot_of_the_capacity_can_be_used)
{
    for (uint32_t i = 0; i < 2400; ++i)
        protodesc_set_rule(&pb, i, i / 2 + 1, i % 2 + 1);
    protodesc_set_nr_sub_rule(&pb, 2400);
    EXPECT_EQ(protodesc_get_nr_rule(pb), 1200U);
    protodesc_reset(&pb);
    EXPECT_EQ(protocol_get_nr_sub_rule(pb, 0, 0), 2400U);
}

TEST_F(protodesc, a_cleaned_record_holds_nothing)
{
    protodesc_set_rule(&pb, 5, 1, 1);
    protodesc_clean(&pb);
    EXPECT_EQ(pb.pb_rules.size(), 0U);
    EXPECT_EQ(pb.pb_htable, nullptr);
    EXPECT_EQ(pb.pb_tags.nv_name.size(), 0U);
}

TEST_F(protodesc, a_record_is_not_made_when_memory_runs_out)
{
    int failures = 0;
    failing_alloc_sweep(
        [&] {
            protodesc_build_t fresh;
            return protodesc_init(&fresh, pb.pb_bounds, &strings, &tag_strings) ? 0 : -1;
        },
        [&](int code) {
            EXPECT_EQ(code, -1);
            ++failures;
        });
    EXPECT_GT(failures, 0);
}

} // namespace
