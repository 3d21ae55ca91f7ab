#include <gtest/gtest.h>

#include "bytes.h"
#include "captured.h"
#include "failing_alloc.h"
#include "plu_fixtures.h"
#include "plu_priv.h"

namespace
{

constexpr const char *FINALIZED =
    OUTCOME_INVALID_OPERATION ": Cannot serialize, commit is finalized\n";
constexpr const char *NOT_FINALIZED =
    OUTCOME_INVALID_OPERATION ": Cannot serialize, commit is not finalized\n";

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

TEST(plu_update, nothing_is_recorded_after_the_commit)
{
    update_run run;
    ASSERT_EQ(run.open({make_protocol(1, "a")}), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(run.merge({make_protocol(1, "a")}), FINALIZED);
    EXPECT_EQ(run.remove(1), FINALIZED);
    EXPECT_EQ(run.apply(), FINALIZED);
    EXPECT_EQ(names_of(run.result()), "a");
}

TEST(plu_update, nothing_is_written_before_the_commit)
{
    update_run run;
    std::vector<uint8_t> out(64);
    size_t size = 1;
    EXPECT_EQ(outcome(pdata_update_serialize(run.commit, out, &size)), NOT_FINALIZED);
    EXPECT_EQ(pdata_update_get_size(run.commit), PDATA_UPDATE_NO_SIZE);
    EXPECT_EQ(run.apply(), OUTCOME_INVALID_ARGUMENT);
    ASSERT_EQ(run.open({make_protocol(1, "a")}), "0");
    EXPECT_EQ(outcome(pdata_update_serialize(run.commit, out, &size)), NOT_FINALIZED);
    EXPECT_EQ(size, 0U);
    EXPECT_EQ(pdata_update_get_size(run.commit), SIZE_MAX);
    EXPECT_EQ(out, std::vector<uint8_t>(64));
}

TEST(plu_update, a_buffer_that_is_too_small)
{
    update_run run;
    ASSERT_EQ(run.open({make_protocol(1, "a", {port_rule({"1"})})}), "0");
    ASSERT_EQ(run.apply(), "0");
    size_t size = 0;
    const size_t whole = pdata_update_get_size(run.commit);
    for (size_t len = 0; len < whole; ++len) {
        std::vector<uint8_t> out(len);
        EXPECT_EQ(outcome(pdata_update_serialize(run.commit, out, &size)),
                  len < 16 ? OUTCOME_INVALID_ARGUMENT
                      ": Cannot serialize, buffer is less than four words\n"
                           : OUTCOME_OVERFLOW ": Cannot serialize, buffer is too small\n");
    }
    std::vector<uint8_t> larger(whole + 8);
    EXPECT_EQ(outcome(pdata_update_serialize(run.commit, larger, &size)), "0");
    EXPECT_EQ(size, whole);
}

TEST(plu_update, a_closed_update_can_be_opened_again)
{
    update_run run;
    ASSERT_EQ(run.open({make_protocol(1, "a")}), "0");
    ASSERT_EQ(run.apply(), "0");
    pdata_update_close(&run.commit);
    EXPECT_EQ(run.commit.ci_tlv, nullptr);
    EXPECT_EQ(run.merge({}), OUTCOME_INVALID_ARGUMENT);
    ASSERT_EQ(run.open({make_protocol(2, "b")}), "0");
    EXPECT_EQ(run.commit.ci_tlv, run.parts.back().data());
    EXPECT_EQ(run.commit.ci_tlvlen, run.parts.back().size());
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(names_of(run.result()), "b");
}

TEST(plu_update, a_base_needs_strings_and_descriptions)
{
    update_run run;
    const std::vector<uint8_t> base = description_writer::descriptions(run.tags, {});
    EXPECT_EQ(outcome(pdata_update_init(&run.commit, base, {})),
              OUTCOME_INVALID_ARGUMENT ": Cannot retrieve root hstring in tlv data\n");
    EXPECT_EQ(outcome(pdata_update_init(&run.commit, base, base)),
              OUTCOME_INVALID_ARGUMENT ": Cannot retrieve root hstring in tlv data\n");
    EXPECT_EQ(outcome(pdata_update_init(&run.commit, run.strings, run.strings)),
              OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(outcome(pdata_update_init(&run.commit, {}, run.strings)), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(run.commit.ci_priv, nullptr);
}

TEST(plu_update, rule_tags_keep_their_offsets)
{
    rule_model rule = port_rule({"1"});
    rule.tags = {"audio", "video"};
    rule_model other = port_rule({"2"});
    other.tags = {"zz"};
    const std::vector<protocol_model> base = {make_protocol(1, "a", {rule})};
    const std::vector<protocol_model> incoming = {make_protocol(1, "a", {other})};
    EXPECT_EQ(merged(base, incoming).at(0).rules.at(0).tags, rule.tags);
    EXPECT_EQ(merged(base, incoming).at(0).rules.at(1).tags, other.tags);
    update_run run;
    ASSERT_EQ(run.open(base), "0");
    ASSERT_EQ(run.remove(1), "0");
    ASSERT_EQ(run.merge(incoming), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(run.result().at(0).rules.at(0).tags, other.tags);
    // Without a merge or a removal as well.
    ASSERT_EQ(run.open(base), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(run.result().at(0).rules.at(0).tags, rule.tags);
}

TEST(plu_update, an_empty_string_table_holds_no_tag)
{
    rule_model tagged = port_rule({"1"});
    tagged.tags = {"video"};
    update_run run;
    run.strings = run.keep(stored(record(3)));
    ASSERT_EQ(run.open({make_protocol(1, "a", {port_rule({"1"})})}), "0");
    ASSERT_EQ(run.merge({make_protocol(1, "a", {port_rule({"2"})})}), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(ports_of(run.result().at(0)), "1 2");
    ASSERT_EQ(run.open({make_protocol(1, "a", {tagged})}), "0");
    EXPECT_EQ(run.apply(), OUTCOME_ENGINE);
}

TEST(plu_update, a_merge_without_strings_leaves_the_tags_out)
{
    rule_model rule = port_rule({"2"});
    rule.tags = {"audio"};
    rule_model base_rule = port_rule({"1"});
    base_rule.tags = {"audio"};
    update_run run;
    ASSERT_EQ(run.open({make_protocol(1, "a", {base_rule})}), "0");
    const auto part =
        run.keep(description_writer::descriptions(run.tags, {make_protocol(1, "a", {rule})}));
    ASSERT_EQ(outcome(pdata_update_merge(&run.commit, part, {})), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(run.result().at(0).rules.at(0).tags, std::vector<std::string>{"audio"});
    EXPECT_EQ(run.result().at(0).rules.at(1).tags, std::vector<std::string>{});
}

TEST(plu_update, an_incoming_pdb_of_another_shape)
{
    const auto merge = [](const word_list &words) {
        update_run run;
        EXPECT_EQ(run.open({make_protocol(1, "a")}), "0");
        return run.merge_part(stored(words));
    };
    const word_list strings = record(2, {0x00017800});
    {
        update_run run;
        EXPECT_EQ(run.open({make_protocol(1, "a")}), "0");
        run.strings = run.keep(stored(strings)); // which are not the main ones
        EXPECT_EQ(run.merge({make_protocol(1, "a")}),
                  OUTCOME_INVALID_ARGUMENT ": Cannot retrieve root hstring in tlv data\n");
    }
    EXPECT_EQ(merge({}), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(merge(record(9)), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(merge({0x01000001}), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(merge(record(1)), "0");
    EXPECT_EQ(merge(record(1, record(2))), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(merge(record(1, record(1, strings))), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(merge(record(1, record(1, record(1)))), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(merge(record(1, record(1, join({record(1), strings})))), "0");
    EXPECT_EQ(merge(record(1, record(1, join({record(1, record(2)), strings})))),
              OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(merge(record(1, record(1, join({record(1, record(1, record(9))), strings})))),
              OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(merge(record(1, record(1, join({record(1, record(1, record(1))), strings})))),
              OUTCOME_INVALID_ARGUMENT ": invalid Tlv len 0, cannot deserialize meta");
    // A protocol without records has the id 0.
    EXPECT_EQ(merge(record(1, record(1, join({record(1, record(1)), strings})))),
              OUTCOME_PROTODESC_ID_OR_NAME_OR_NS
              ": You try and add a protocol not in user namespace");
}

TEST(plu_update, a_base_of_another_shape)
{
    const auto apply = [](const word_list &words) {
        update_run run;
        EXPECT_EQ(run.open_part(stored(words)), "0");
        return run.apply();
    };
    const word_list strings = record(2, {0x00017800});
    EXPECT_EQ(apply(record(1)), "0");
    EXPECT_EQ(apply(record(1, record(2))), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(apply(record(1, record(1))), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(apply(record(1, record(1, join({record(1, record(2)), strings})))),
              OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(apply(record(1, record(1, join({record(1, record(1, record(2, {7}))), strings})))),
              OUTCOME_INVALID_ARGUMENT ": Invalid Tlv len 1, cannot deserialize tags");
    EXPECT_EQ(apply(record(1, record(1, join({record(1, {0x01000009}), strings})))),
              OUTCOME_TLV_NOT_FOUND);
    update_run run;
    ASSERT_EQ(run.open_part(stored(record(1, record(2)))), "0");
    EXPECT_EQ(run.remove(7), OUTCOME_TLV_NOT_FOUND ": Unknown type 0x2");
    EXPECT_EQ(run.merge({make_protocol(USER, "a")}), OUTCOME_TLV_NOT_FOUND ": Unknown type 0x2");
}

TEST(plu_update, what_cannot_be_serialized_fails_the_commit)
{
    rule_model rule = port_rule({"1"});
    rule.sub_rules[0].attrs[0].type = MATCHER_TYPE_UNKNOWN;
    merged({make_protocol(1, "a", {rule})}, {},
           OUTCOME_PROTODESC_ATTR ": Unknown matcher type for tcp:port");
    rule_model path = port_rule({"1"});
    path.path = {"a"};
    std::string text =
        stderr_of([&] { merged({make_protocol(1, "a", {path})}, {}, OUTCOME_INVALID_ARGUMENT); });
    EXPECT_EQ(text, "Signature: <a> : path must be contain two elements at least.\n");
    path.path = {"ip", "b"};
    text =
        stderr_of([&] { merged({make_protocol(1, "a", {path})}, {}, OUTCOME_INVALID_ARGUMENT); });
    EXPECT_EQ(text, "Signature <a>: Last element of the path <(b)> must be the protocol itself.\n");
    // An update that renames a protocol makes the paths of its rules wrong.
    path.path = {"ip", "a"};
    text = stderr_of([&] {
        merged({make_protocol(1, "a", {path})}, {make_protocol(1, "b")}, OUTCOME_INVALID_ARGUMENT);
    });
    EXPECT_EQ(text, "Signature <b>: Last element of the path <(a)> must be the protocol itself.\n");
}

TEST(plu_update, a_failed_commit_can_be_repeated)
{
    rule_model rule = port_rule({"1"});
    rule.sub_rules[0].attrs[0].type = MATCHER_TYPE_UNKNOWN;
    update_run run;
    ASSERT_EQ(run.open({make_protocol(1, "a"), make_protocol(2, "b", {rule})}), "0");
    EXPECT_EQ(run.apply(), OUTCOME_PROTODESC_ATTR ": Unknown matcher type for tcp:port");
    EXPECT_EQ(pdata_update_get_size(run.commit), SIZE_MAX);
    ASSERT_EQ(run.remove(2), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(names_of(run.result()), "b a");
}

TEST(plu_update, a_result_that_no_record_can_hold)
{
    // Each group of the base creates the addition anew: some forty times 1.6 MB.
    std::vector<attr_model> attrs;
    for (int i = 0; i < 10; ++i)
        attrs.push_back(make_attr("attr" + std::to_string(i), {"1", "2", "3", "4", "5", "6", "7"},
                                  MATCHER_TYPE_STREAM));
    const sub_rule_model sub_rule = make_sub_rule("tcp", attrs);
    const std::vector<rule_model> rules(1200, make_rule({sub_rule, sub_rule}));
    update_run run;
    word_list groups;
    for (int i = 0; i < 50; ++i)
        groups = join({groups, description_writer::group_record(run.tags, {})});
    ASSERT_EQ(run.open_part(stored(record(1, groups))), "0");
    ASSERT_EQ(run.merge({make_protocol(USER, "a", rules)}), "0");
    EXPECT_EQ(run.apply(), OUTCOME_OVERFLOW ": tlv len 1 is superior to internal limit 16777215");
}

TEST(plu_update, memory_that_runs_out_is_reported)
{
    update_run run;
    const auto part = [&](const std::vector<protocol_model> &protocols) {
        return run.keep(description_writer::descriptions(run.tags, protocols));
    };
    const auto base = part({make_protocol(1, "a", {port_rule({"1"})}), make_protocol(2, "b")});
    const auto incoming = part({make_protocol(1, "a", {port_rule({"1"}), port_rule({"2"})}),
                                make_protocol(USER, "c", {port_rule({"3"})})});
    const auto check = [](int code) {
        // A string of the pool is lost in its own way.
        EXPECT_TRUE(code == PDATA_ERR_NO_MEMORY || code == PDATA_ERR_ENGINE) << code;
    };
    failing_alloc_sweep(
        [&] {
            pdata_commit commit;
            pdata_status_t status = pdata_update_init(&commit, base, run.strings);
            if (status == PDATA_SUCCESS)
                status = pdata_update_commit(&commit);
            return static_cast<int>(status);
        },
        check);
    failing_alloc_sweep(
        [&] {
            pdata_commit commit;
            pdata_status_t status = pdata_update_init(&commit, base, run.strings);
            if (status == PDATA_SUCCESS)
                status = pdata_update_merge(&commit, incoming, run.strings);
            if (status == PDATA_SUCCESS)
                status = pdata_update_remove(&commit, 2);
            if (status == PDATA_SUCCESS)
                status = pdata_update_commit(&commit);
            return static_cast<int>(status);
        },
        check);
}

} // namespace
