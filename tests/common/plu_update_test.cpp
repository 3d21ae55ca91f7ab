#include <gtest/gtest.h>

#include "bytes.h"
#include "plu_fixtures.h"
#include "plu_priv.h"

namespace
{

/// What a protocol without anything takes behind its record header, its name at `name`.
std::string bare_hex(const std::string &id, const std::string &name)
{
    return "0100000A " + id + name +
           "00000004 00000000 00000001 00000000"
           "00000000 00000000 00000000 00000000"
           "02000000 03000000 06000000 04000001 00000008 05000000 08000000 07000000";
}

const std::string COMMON_STRINGS = "0001 'a 00 0001 00 00"
                                   "0015 'S'e'e' 'a't'l'a's' 'f'o'r' 'd'e't'a'i'l's 00";

TEST(plu_bytes, a_tiny_merge)
{
    update_run run;
    ASSERT_EQ(run.open({make_protocol(USER + 1, "a", {port_rule({"80"})})}), "0");
    ASSERT_EQ(run.merge({make_protocol(USER + 1, "a", {port_rule({"80"}), port_rule({"443"})}),
                         make_protocol(USER + 2, "b")}),
              "0");
    ASSERT_EQ(run.apply(), "0");
    const auto rule = [](const std::string &port) {
        return "02000018 07000007 01000002 00000000 00000800 00000000 00000000 00000000 00000000"
               "03000001 00000000 0200000D"
               "0200000C 04000004 00000020 00000020 00000000 00000000 03000001 00000000"
               "02000004 02000003 00000003 00000026" +
               port;
    };
    EXPECT_EQ(run.bytes_out(),
              bytes("0100006E 0100006D 0100005C"
                    "01000013" +
                    bare_hex("01000002", "00000036") +
                    "01000047 0100000A 01000001 00000000 00000004 00000000 00000001 00000000"
                    "00000000 00000000 00000000 00000000"
                    "02000000 03000000 06000000 04000001 00000008 05000000"
                    "08000002 00000000 00000019 07000032" +
                    rule("0000002C") + rule("00000030") + "0200000F" + COMMON_STRINGS +
                    "0003 't'c'p 00 0004 'p'o'r't 0002 '8'0 0003 '4'4'3 00 0001 'b 00 0000"));
}

TEST(plu_bytes, a_tiny_removal)
{
    update_run run;
    ASSERT_EQ(run.open({make_protocol(USER + 1, "a", {port_rule({"80"}), port_rule({"81"})}),
                        make_protocol(7, "x")}),
              "0");
    ASSERT_EQ(run.remove(USER + 1), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(run.bytes_out(),
              bytes("01000034 01000033 01000028"
                    "01000013" +
                    bare_hex("00000007", "00000020") + "01000013" +
                    bare_hex("01000001", "00000000") + "02000009" + COMMON_STRINGS + "0001 'x 00"));
}

TEST(plu_bytes, a_result_without_protocols_is_an_empty_record_and_zeros)
{
    update_run run;
    ASSERT_EQ(run.open({}), "0");
    ASSERT_EQ(run.merge({}), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(pdata_update_get_size(run.commit), 16U);
    EXPECT_EQ(run.bytes_out(), bytes("01000000 00000000 00000000 00000000"));
    EXPECT_EQ(run.open_part(stored(record(1))), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(run.bytes_out(), bytes("01000000 00000000 00000000 00000000"));
}

TEST(plu_update, a_base_without_a_group_takes_no_additions)
{
    update_run run;
    ASSERT_EQ(run.open_part(stored(record(1))), "0");
    ASSERT_EQ(run.merge({make_protocol(USER + 1, "a")}), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(run.bytes_out(), bytes("01000000 00000000 00000000 00000000"));
}

TEST(plu_update, additions_are_created_for_each_group_of_the_base)
{
    update_run run;
    ASSERT_EQ(run.open_part(stored(record(
                  1, join({description_writer::group_record(run.tags, {make_protocol(1, "a")}),
                           description_writer::group_record(run.tags, {make_protocol(2, "b")})})))),
              "0");
    ASSERT_EQ(run.merge({make_protocol(USER + 1, "c")}), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(names_of(run.result()), "c b c a");
}

TEST(plu_update, what_was_serialized_last_stands_first)
{
    // Additions follow the base, bucket by bucket, the newest first within a bucket.
    const std::vector<protocol_model> out =
        merged({make_protocol(1, "a"), make_protocol(2, "b")},
               {make_protocol(USER + 5, "five"), make_protocol(USER + 4, "four"),
                make_protocol(USER + 5 + 128, "late")});
    EXPECT_EQ(names_of(out), "five late four b a");
}

TEST(plu_update, an_identical_rule_is_not_added)
{
    const std::vector<protocol_model> out =
        merged({make_protocol(1, "a", {port_rule({"1"}), port_rule({"2"})})},
               {make_protocol(1, "a", {port_rule({"2"}), port_rule({"3"}), port_rule({"1"})})});
    ASSERT_EQ(out.size(), 1U);
    EXPECT_EQ(ports_of(out[0]), "1 2 3");
}

TEST(plu_update, rules_of_one_update_are_held_against_each_other)
{
    const std::vector<protocol_model> out =
        merged({make_protocol(1, "a")},
               {make_protocol(1, "a", {port_rule({"1"}), port_rule({"1"}), port_rule({"2"})})});
    EXPECT_EQ(ports_of(out.at(0)), "1 2");
    // An addition is a first copy.
    EXPECT_EQ(ports_of(merged({make_protocol(1, "a")},
                              {make_protocol(USER, "b", {port_rule({"1"}), port_rule({"1"})})})
                           .at(0)),
              "1 1");
}

TEST(plu_update, an_update_keeps_the_version_and_the_set_flags_of_the_base)
{
    protocol_model base = make_protocol(1, "a");
    base.version = {1, 2, 3};
    base.cacheable = 0;
    base.http_reclassify = 1;
    base.implicit_bottom_layer = 7;
    base.max_trans = 5;
    base.tags = {{"category", "x"}};
    protocol_model incoming = make_protocol(1, "b");
    incoming.version = {9, 9, 9};
    incoming.max_trans = 6;
    incoming.default_port = "80";
    incoming.tags = {{"category", "y"}};
    protocol_model expected = base;
    expected.name = "b";
    expected.default_port = "80";
    expected.max_trans = 6;
    EXPECT_EQ(merged({base}, {incoming}).at(0), expected);
}

TEST(plu_update, flags_of_the_base_at_their_default_give_way)
{
    const protocol_model base = make_protocol(1, "a");
    protocol_model incoming = base;
    incoming.cacheable = 0;
    incoming.http_reclassify = 1;
    incoming.implicit_bottom_layer = 7;
    EXPECT_EQ(merged({base}, {incoming}).at(0), incoming);
}

TEST(plu_update, an_addition_must_be_in_the_user_namespace)
{
    constexpr const char *refused =
        OUTCOME_PROTODESC_ID_OR_NAME_OR_NS ": You try and add a protocol not in user namespace";
    EXPECT_EQ(names_of(merged({make_protocol(1, "a")}, {make_protocol(2, "b")}, refused)), "");
    merged({make_protocol(1, "a")}, {make_protocol(0x02000002, "b")}, refused);
    merged({make_protocol(1, "a")}, {make_protocol(0x03000002, "b")}, refused);
    EXPECT_EQ(names_of(merged({make_protocol(1, "a")}, {make_protocol(0xFD000002, "b")})), "b a");
}

TEST(plu_update, what_came_before_a_refusal_stays_recorded)
{
    update_run run;
    ASSERT_EQ(run.open({make_protocol(1, "a")}), "0");
    EXPECT_EQ(run.merge({make_protocol(USER, "b"), make_protocol(2, "c")}),
              OUTCOME_PROTODESC_ID_OR_NAME_OR_NS
              ": You try and add a protocol not in user namespace");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(names_of(run.result()), "b a");
}

TEST(plu_update, a_second_protocol_of_a_new_id_is_lost)
{
    // The pending addition counts as found, and an update is applied to protocols of the base.
    EXPECT_EQ(
        names_of(merged({make_protocol(1, "a")}, {make_protocol(USER, "b", {port_rule({"1"})}),
                                                  make_protocol(USER, "c", {port_rule({"2"})})})),
        "b a");
}

TEST(plu_update, every_protocol_of_an_id_in_the_base_is_updated)
{
    const std::vector<protocol_model> out =
        merged({make_protocol(1, "a"), make_protocol(1, "b", {port_rule({"1"})})},
               {make_protocol(1, "c", {port_rule({"1"})}), make_protocol(1, "d")});
    EXPECT_EQ(names_of(out), "d d");
    EXPECT_EQ(ports_of(out[0]), "1");
    EXPECT_EQ(ports_of(out[1]), "1");
}

TEST(plu_update, updates_of_one_id_come_in_the_order_of_recording)
{
    update_run run;
    ASSERT_EQ(run.open({make_protocol(1, "a", {port_rule({"1"})})}), "0");
    ASSERT_EQ(run.merge({make_protocol(1, "b", {port_rule({"2"})})}), "0");
    ASSERT_EQ(run.merge({make_protocol(1, "c", {port_rule({"3"}), port_rule({"2"})})}), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(names_of(run.result()), "c");
    EXPECT_EQ(ports_of(run.result().at(0)), "1 2 3");
}

TEST(plu_update, a_removal_and_an_update_are_applied_in_their_order)
{
    const auto ports = [](bool removal_first) {
        update_run run;
        EXPECT_EQ(run.open({make_protocol(1, "a", {port_rule({"1"})})}), "0");
        const std::string before = removal_first ? run.remove(1) : "0";
        EXPECT_EQ(run.merge({make_protocol(1, "a", {port_rule({"1"}), port_rule({"2"})})}), "0");
        EXPECT_EQ(removal_first ? before : run.remove(1), "0");
        EXPECT_EQ(run.apply(), "0");
        return ports_of(run.result().at(0));
    };
    EXPECT_EQ(ports(true), "1 2");
    EXPECT_EQ(ports(false), "");
}

TEST(plu_update, a_removal_forgets_the_rules_before_it)
{
    update_run run;
    ASSERT_EQ(run.open({make_protocol(1, "a", {port_rule({"9"})})}), "0");
    ASSERT_EQ(run.merge({make_protocol(1, "a", {port_rule({"1"}), port_rule({"2"})})}), "0");
    ASSERT_EQ(run.remove(1), "0");
    ASSERT_EQ(run.merge({make_protocol(1, "a", {port_rule({"2"}), port_rule({"2"})})}), "0");
    ASSERT_EQ(run.merge({make_protocol(1, "a", {port_rule({"9"}), port_rule({"2"})})}), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(ports_of(run.result().at(0)), "2 9");
}

TEST(plu_update, what_comes_behind_a_removal_is_left_to_it)
{
    update_run run;
    ASSERT_EQ(run.open({make_protocol(1, "a", {port_rule({"2"})})}), "0");
    ASSERT_EQ(run.merge({make_protocol(1, "a", {port_rule({"2"})})}), "0");
    ASSERT_EQ(run.remove(1), "0");
    ASSERT_EQ(run.merge({make_protocol(1, "a", {port_rule({"3"})})}), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(ports_of(run.result().at(0)), "3");
}

TEST(plu_update, an_unreadable_value_fails_behind_rules_of_its_shape)
{
    update_run run;
    ASSERT_EQ(run.open({make_protocol(1, "a", {port_rule({"9"})})}), "0");
    ASSERT_EQ(run.merge({make_protocol(1, "a", {port_rule({"1"})})}), "0");
    ASSERT_EQ(run.merge({make_protocol(1, "a", {port_rule({""})})}), "0");
    EXPECT_EQ(run.apply(), OUTCOME_ENGINE);
}

TEST(plu_update, an_addition_changes_nothing_that_is_there)
{
    pdata_commit_priv priv;
    plu_insert_action(&priv.ci_pg.action_table, {ACTION_ADD, 5, {}, {}, {}});
    protodesc_bounds_t bounds;
    protodesc_populate_bounds(&bounds);
    protodesc_build_t pb;
    ASSERT_TRUE(protodesc_init(&pb, bounds, nullptr, nullptr));
    protodesc_set_nr_sub_rule(&pb, 3);
    EXPECT_EQ(outcome(process_pending_actions(&priv, 5, &pb)), "0");
    EXPECT_EQ(pb.pb_nr_sub_rule, 3U);
}

TEST(plu_update, a_string_table_that_no_record_can_hold_is_refused)
{
    update_run run;
    ASSERT_EQ(run.open({make_protocol(1, "a")}), "0");
    ASSERT_EQ(run.apply(), "0");
    hstring_build_t &strings = run.commit.ci_priv->ci_pg.pg_hstring;
    strings.hb_offset = (TLV_LEN_FIELD_MAX + 1) * 4;
    std::vector<uint8_t> buf(64);
    size_t size = 1;
    EXPECT_EQ(outcome(pdata_update_serialize(run.commit, buf, &size)),
              OUTCOME_OVERFLOW ": tlv len 2 is superior to internal limit 16777215");
    EXPECT_EQ(size, 0U);
    EXPECT_GT(pdata_update_get_size(run.commit), size_t{TLV_LEN_FIELD_MAX} * 4);
}

TEST(plu_update, a_removal_leaves_everything_but_the_rules)
{
    protocol_model base = make_protocol(1, "a", {port_rule({"1"}), port_rule({"2"})});
    base.version = {1, 2, 3};
    base.default_port = "7";
    base.tags = {{"category", "x"}};
    base.altnames = {"y"};
    update_run run;
    ASSERT_EQ(run.open({base, make_protocol(2, "b", {port_rule({"1"})})}), "0");
    ASSERT_EQ(run.remove(1), "0");
    ASSERT_EQ(run.apply(), "0");
    base.rules.clear();
    EXPECT_EQ(run.result(),
              (std::vector<protocol_model>{make_protocol(2, "b", {port_rule({"1"})}), base}));
}

TEST(plu_update, an_unknown_id_cannot_be_removed)
{
    update_run run;
    ASSERT_EQ(run.open({make_protocol(1, "a")}), "0");
    EXPECT_EQ(run.remove(512), OUTCOME_PLU ": proto id 512 not found\n");
    EXPECT_EQ(run.remove(0xFFFFFFFF), OUTCOME_PLU ": proto id -1 not found\n");
}

TEST(plu_update, the_removal_of_an_addition_is_recorded_to_no_effect)
{
    update_run run;
    ASSERT_EQ(run.open({make_protocol(1, "a")}), "0");
    ASSERT_EQ(run.merge({make_protocol(USER, "b", {port_rule({"1"})})}), "0");
    EXPECT_EQ(run.remove(USER), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(ports_of(run.result().at(0)), "1");
}

} // namespace
