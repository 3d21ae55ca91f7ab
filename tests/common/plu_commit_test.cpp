// What a commit refuses, fails with, and may be asked for again.
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

TEST(plu_commit, nothing_is_recorded_after_the_commit)
{
    update_run run;
    ASSERT_EQ(run.open({make_protocol(1, "a")}), "0");
    ASSERT_EQ(run.apply(), "0");
    EXPECT_EQ(run.merge({make_protocol(1, "a")}), FINALIZED);
    EXPECT_EQ(run.remove(1), FINALIZED);
    EXPECT_EQ(run.apply(), FINALIZED);
    EXPECT_EQ(names_of(run.result()), "a");
}

TEST(plu_commit, nothing_is_written_before_the_commit)
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

TEST(plu_commit, a_buffer_that_is_too_small)
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

TEST(plu_commit, a_closed_update_can_be_opened_again)
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

TEST(plu_commit, a_base_needs_strings_and_descriptions)
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

TEST(plu_commit, rule_tags_keep_their_offsets)
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

TEST(plu_commit, an_empty_string_table_holds_no_tag)
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

TEST(plu_commit, a_merge_without_strings_leaves_the_tags_out)
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

TEST(plu_commit, an_incoming_pdb_of_another_shape)
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

TEST(plu_commit, a_base_of_another_shape)
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

TEST(plu_commit, what_cannot_be_serialized_fails_the_commit)
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

TEST(plu_commit, a_failed_commit_can_be_repeated)
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

TEST(plu_commit, a_result_that_no_record_can_hold)
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

TEST(plu_commit, memory_that_runs_out_is_reported)
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
