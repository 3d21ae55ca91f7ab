#include <gtest/gtest.h>

#include "outcome.h"
#include "protodesc_deserializer.h"
#include "string_pool.h"
#include "words.h"

namespace
{

/// A description of one rule, read as far as its parts.
class ruledesc_deserializer : public testing::Test
{
protected:
    void SetUp() override { clear_status_slot(); }

    /// Reads the rule whose record of `type` has this value; gives the outcome.
    std::string read_rule(const word_list &value, uint32_t type = 2)
    {
        buf = stored(join({record(8, {0}), record(7, record(type, value))}));
        protodesc_t view;
        EXPECT_EQ(outcome(protodesc_deserialize(&view, buf)), "0");
        view.proto_id = 7;
        return outcome(protodesc_get_ruledesc(view, 0, &rule));
    }

    /// Reads the sub-rule whose record has this value, of a rule without a meta.
    std::string read_sub_rule(const word_list &value)
    {
        EXPECT_EQ(read_rule(join({record(3, {0}), record(2, record(2, value))})), "0");
        return outcome(ruledesc_get_sub_ruledesc(rule, 0, &sub_rule));
    }

    /// Reads an attribute's record, of a sub-rule without a meta.
    std::string read_attr(uint32_t type, const word_list &value)
    {
        EXPECT_EQ(read_sub_rule(join({record(3, {0}), record(2, record(type, value))})), "0");
        return outcome(sub_ruledesc_get_attrdesc(sub_rule, 0, &attr));
    }

    /// The strings of a rule's path or tags, as "a b c".
    std::string path() { return list(ruledesc_get_path_nr(rule), ruledesc_get_path_elt); }
    std::string tags() { return list(ruledesc_get_tag_nr(rule), ruledesc_get_tag); }

    std::string list(uint32_t nr, pdata_status_t (*get)(const ruledesc_t &, uint32_t,
                                                        const hstring_t &, csa_str_t *))
    {
        std::string text;
        const hstring_t strings = pool.view();
        for (uint32_t i = 0; i < nr; ++i) {
            csa_str_t str;
            EXPECT_EQ(outcome(get(rule, i, strings, &str)), "0");
            text += i == 0 ? "" : " ";
            text += csa_str_view(str);
        }
        return text;
    }

    string_pool pool;
    std::vector<uint8_t> buf;
    ruledesc_t rule{};
    sub_ruledesc_t sub_rule{};
    attrdesc_t attr{};
    const uint32_t ip = pool.put("ip");
    const uint32_t tcp = pool.put("tcp");
    const uint32_t x = pool.put("x");
};

constexpr const char *RULE_MISMATCH =
    OUTCOME_INVALID_ARGUMENT ": Cannot get rule desc at index 0 for proto id 7, len mismatch";
constexpr const char *SUB_RULE_MISMATCH =
    OUTCOME_INVALID_ARGUMENT ": Len mismatch, cannot serialize";

TEST_F(ruledesc_deserializer, the_sixth_form_holds_everything)
{
    EXPECT_EQ(read_rule(record(8, {0x05000003, 11, 0x802, 99, 1, 1, 2, ip, tcp, 1, x})), "0");
    EXPECT_EQ(rule.rule_meta_version, 6);
    EXPECT_EQ(ruledesc_get_order(rule), 0x05000003U);
    EXPECT_EQ(ruledesc_get_rule_params(rule), 11U);
    EXPECT_EQ(ruledesc_get_scope(rule), 0x802U);
    EXPECT_EQ(rule.rule_vid, 99U);
    EXPECT_EQ(ruledesc_get_fastpass(rule), 1U);
    EXPECT_EQ(ruledesc_get_preempt(rule), 1U);
    EXPECT_EQ(path(), "ip tcp");
    EXPECT_EQ(tags(), "x");
}

TEST_F(ruledesc_deserializer, the_fifth_form_has_no_version_identifier)
{
    EXPECT_EQ(read_rule(record(7, {3, 11, 0x802, 1, 0, 0, 2, x, tcp})), "0");
    EXPECT_EQ(rule.rule_meta_version, 5);
    EXPECT_EQ(rule.rule_order, 3U);
    EXPECT_EQ(rule.rule_params, 11U);
    EXPECT_EQ(rule.rule_scope, 0x802U);
    EXPECT_EQ(rule.rule_vid, 0xFFFFFFFFU);
    EXPECT_EQ(rule.rule_fastpass, 1U);
    EXPECT_EQ(rule.rule_preempt, 0U);
    EXPECT_EQ(path(), "");
    EXPECT_EQ(rule.rule_path, nullptr);
    EXPECT_EQ(tags(), "x tcp");
}

TEST_F(ruledesc_deserializer, the_fourth_form_has_no_scope)
{
    EXPECT_EQ(read_rule(record(6, {3, 11, 1, 0, 1, x, 1, ip})), "0");
    EXPECT_EQ(rule.rule_meta_version, 4);
    EXPECT_EQ(rule.rule_order, 3U);
    EXPECT_EQ(rule.rule_params, 11U);
    EXPECT_EQ(rule.rule_fastpass, 1U);
    EXPECT_EQ(rule.rule_preempt, 0U);
    EXPECT_EQ(rule.rule_scope, 0U);
    EXPECT_EQ(rule.rule_vid, 0U);
    EXPECT_EQ(path(), "x");
    EXPECT_EQ(tags(), "ip");
}

TEST_F(ruledesc_deserializer, the_third_form_has_the_preempt_flag_alone)
{
    EXPECT_EQ(read_rule(record(5, {3, 1, 2, ip, x, 0})), "0");
    EXPECT_EQ(rule.rule_meta_version, 3);
    EXPECT_EQ(rule.rule_order, 3U);
    EXPECT_EQ(rule.rule_preempt, 1U);
    EXPECT_EQ(rule.rule_fastpass, 0U);
    EXPECT_EQ(rule.rule_params, 0U);
    EXPECT_EQ(rule.rule_vid, 0U);
    EXPECT_EQ(path(), "ip x");
    EXPECT_EQ(tags(), "");
}

TEST_F(ruledesc_deserializer, the_second_form_has_no_flags)
{
    EXPECT_EQ(read_rule(record(4, {3, 1, tcp, 2, ip, x})), "0");
    EXPECT_EQ(rule.rule_meta_version, 2);
    EXPECT_EQ(rule.rule_order, 3U);
    EXPECT_EQ(rule.rule_preempt, 0U);
    EXPECT_EQ(rule.rule_fastpass, 0U);
    EXPECT_EQ(path(), "tcp");
    EXPECT_EQ(tags(), "ip x");
}

TEST_F(ruledesc_deserializer, the_first_form_is_an_order_and_a_path)
{
    EXPECT_EQ(read_rule(record(1, {3, ip, tcp, x})), "0");
    EXPECT_EQ(rule.rule_meta_version, 1);
    EXPECT_EQ(rule.rule_order, 3U);
    EXPECT_EQ(path(), "ip tcp x");
    EXPECT_EQ(ruledesc_get_tag_nr(rule), 0U);
    EXPECT_EQ(rule.rule_vid, 0U);
    EXPECT_EQ(read_rule(record(1, {3})), "0");
    EXPECT_EQ(path(), "");
}

TEST_F(ruledesc_deserializer, the_type_of_a_rule_tells_whether_its_order_matters)
{
    const word_list meta = record(7, {3, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(read_rule(meta, 1), "0");
    EXPECT_EQ(rule.rule_ruleorder, 1);
    EXPECT_EQ(read_rule(meta, 2), "0");
    EXPECT_EQ(rule.rule_ruleorder, 0);
}

TEST_F(ruledesc_deserializer, a_meta_that_ends_early_is_refused)
{
    const word_list whole[] = {
        {3},                              // 1: its path is what follows
        {3, 1, ip, 1, x},                 // 2
        {3, 1, 1, ip, 1, x},              // 3
        {3, 0, 1, 0, 1, ip, 1, x},        // 4
        {3, 0, 0, 1, 0, 1, ip, 1, x},     // 5
        {3, 0, 0, 99, 1, 0, 1, ip, 1, x}, // 6
    };
    const uint32_t types[] = {1, 4, 5, 6, 7, 8};
    for (size_t form = 0; form < 6; ++form) {
        EXPECT_EQ(read_rule(record(types[form], whole[form])), "0") << form;
        for (size_t len = 0; len < whole[form].size(); ++len) {
            const word_list cut(whole[form].begin(), whole[form].begin() + static_cast<long>(len));
            EXPECT_EQ(read_rule(record(types[form], cut)), RULE_MISMATCH) << form << " " << len;
        }
    }
}

TEST_F(ruledesc_deserializer, counts_that_claim_more_words_than_the_record_holds_are_refused)
{
    for (const uint32_t count : {3U, 4U, 0x40000000U, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(read_rule(record(4, {3, count, ip, x})), RULE_MISMATCH) << count;
        EXPECT_EQ(read_rule(record(4, {3, 0, count, ip, x})), RULE_MISMATCH) << count;
    }
}

TEST_F(ruledesc_deserializer, an_index_of_a_path_or_tag_out_of_bounds_is_named)
{
    const hstring_t strings = pool.view();
    csa_str_t str;
    EXPECT_EQ(read_rule(record(4, {3, 1, ip, 1, x})), "0");
    EXPECT_EQ(outcome(ruledesc_get_path_elt(rule, 1, strings, &str)),
              OUTCOME_INVALID_ARGUMENT ": Cannot get rule path element at index 1 for a rule ");
    EXPECT_EQ(outcome(ruledesc_get_tag(rule, 5, strings, &str)),
              OUTCOME_INVALID_ARGUMENT ": Cannot get rule tag at index 5 for a rule ");
    EXPECT_EQ(outcome(ruledesc_get_path_elt(rule, 0, {}, &str)), OUTCOME_ENGINE);
    EXPECT_EQ(outcome(ruledesc_get_tag(rule, 0, {}, &str)), OUTCOME_ENGINE);
}

TEST_F(ruledesc_deserializer, a_rule_holds_records_of_its_own_level_only)
{
    EXPECT_EQ(read_rule(record(0)), RULE_MISMATCH);
    EXPECT_EQ(read_rule(record(9)), RULE_MISMATCH);
    EXPECT_EQ(read_rule({0x03000002, 0}), RULE_MISMATCH) << "a record that does not end";
}

TEST_F(ruledesc_deserializer, the_second_form_of_a_sub_rules_meta)
{
    csa_str_t str;
    EXPECT_EQ(read_sub_rule(record(4, {tcp, ip, 8, 9})), "0");
    EXPECT_EQ(outcome(sub_ruledesc_get_protocol(sub_rule, pool.view(), &str)), "0");
    EXPECT_EQ(csa_str_view(str), "tcp");
    EXPECT_EQ(outcome(sub_ruledesc_get_bottom_protocol(sub_rule, pool.view(), &str)), "0");
    EXPECT_EQ(csa_str_view(str), "ip");
    EXPECT_EQ(sub_ruledesc_get_stc_mindata(sub_rule), 8U);
    EXPECT_EQ(sub_ruledesc_get_cts_mindata(sub_rule), 9U);
    EXPECT_EQ(sub_ruledesc_get_attrdesc_nr(sub_rule), 0U);
}

TEST_F(ruledesc_deserializer, in_the_first_form_the_protocol_is_the_bottom_protocol_as_well)
{
    csa_str_t str;
    EXPECT_EQ(read_sub_rule(record(1, {tcp, 8, 9})), "0");
    EXPECT_EQ(outcome(sub_ruledesc_get_protocol(sub_rule, pool.view(), &str)), "0");
    EXPECT_EQ(csa_str_view(str), "tcp");
    EXPECT_EQ(outcome(sub_ruledesc_get_bottom_protocol(sub_rule, pool.view(), &str)), "0");
    EXPECT_EQ(csa_str_view(str), "tcp");
    EXPECT_EQ(sub_ruledesc_get_stc_mindata(sub_rule), 8U);
    EXPECT_EQ(sub_ruledesc_get_cts_mindata(sub_rule), 9U);
}

TEST_F(ruledesc_deserializer, a_sub_rules_meta_of_another_length_is_refused)
{
    for (uint32_t len = 0; len < 7; ++len) {
        EXPECT_EQ(read_sub_rule(record(1, word_list(len))), len == 3 ? "0" : SUB_RULE_MISMATCH)
            << len;
        EXPECT_EQ(read_sub_rule(record(4, word_list(len))), len == 4 ? "0" : SUB_RULE_MISMATCH)
            << len;
    }
}

TEST_F(ruledesc_deserializer, sub_rules_are_found_through_their_offsets)
{
    const word_list one = record(2, record(4, {tcp, tcp, 1, 1}));
    const word_list two = record(2, record(4, {ip, ip, 2, 2}));
    EXPECT_EQ(read_rule(join({record(3, {0, 6, 12}), record(2, join({one, two}))})), "0");
    EXPECT_EQ(ruledesc_get_sub_ruledesc_nr(rule), 3U);
    EXPECT_EQ(outcome(ruledesc_get_sub_ruledesc(rule, 0, &sub_rule)), "0");
    EXPECT_EQ(sub_rule.srule_stc_mindata, 1U);
    EXPECT_EQ(outcome(ruledesc_get_sub_ruledesc(rule, 1, &sub_rule)), "0");
    EXPECT_EQ(sub_rule.srule_stc_mindata, 2U);
    EXPECT_EQ(outcome(ruledesc_get_sub_ruledesc(rule, 2, &sub_rule)), SUB_RULE_MISMATCH);
    EXPECT_EQ(outcome(ruledesc_get_sub_ruledesc(rule, 3, &sub_rule)),
              OUTCOME_INVALID_ARGUMENT ": sub rule index is out of bounds");
    EXPECT_EQ(read_rule(record(3, {0})), "0") << "offsets without a list";
    EXPECT_EQ(outcome(ruledesc_get_sub_ruledesc(rule, 0, &sub_rule)), SUB_RULE_MISMATCH);
}

TEST_F(ruledesc_deserializer, records_that_overlap_or_go_backwards_are_refused)
{
    // Its last word would do as a record.
    const word_list one = record(2, record(4, {tcp, tcp, 1, 0x02000000}));
    for (const uint32_t second : {0U, 1U, 5U, 0xFFFFFFFFU}) {
        EXPECT_EQ(read_rule(join({record(3, {0, second}), record(2, join({one, one}))})), "0");
        EXPECT_EQ(outcome(ruledesc_get_sub_ruledesc(rule, 0, &sub_rule)), "0");
        EXPECT_EQ(outcome(ruledesc_get_sub_ruledesc(rule, 1, &sub_rule)), SUB_RULE_MISMATCH);
    }
    EXPECT_EQ(read_rule(join({record(3, {6, 0}), record(2, join({one, one}))})), "0");
    EXPECT_EQ(outcome(ruledesc_get_sub_ruledesc(rule, 1, &sub_rule)), SUB_RULE_MISMATCH);
}

TEST_F(ruledesc_deserializer, a_stream_attribute_has_an_offset_for_every_value)
{
    csa_str_t str;
    EXPECT_EQ(read_attr(6, {2, x, ip, tcp, 0, 40}), "0");
    EXPECT_EQ(attrdesc_get_type(attr), MATCHER_TYPE_STREAM);
    EXPECT_EQ(outcome(attrdesc_get_name(attr, pool.view(), &str)), "0");
    EXPECT_EQ(csa_str_view(str), "x");
    EXPECT_EQ(attrdesc_get_value_nr(attr), 2U);
    EXPECT_EQ(outcome(attrdesc_get_value(attr, 0, pool.view(), &str)), "0");
    EXPECT_EQ(csa_str_view(str), "ip");
    EXPECT_EQ(outcome(attrdesc_get_value(attr, 1, pool.view(), &str)), "0");
    EXPECT_EQ(csa_str_view(str), "tcp");
    EXPECT_EQ(attrdesc_get_pattern_offset(attr, 0), 0U);
    EXPECT_EQ(attrdesc_get_pattern_offset(attr, 1), 40U);
    EXPECT_EQ(attrdesc_get_pattern_offset(attr, 2), 0U) << "no such value";
    EXPECT_EQ(outcome(attrdesc_get_value(attr, 2, pool.view(), &str)),
              OUTCOME_INVALID_ARGUMENT ": Cannot get attribute descriptor, Tlv len mismatch");
}

TEST_F(ruledesc_deserializer, other_attributes_have_values_alone)
{
    const std::pair<uint32_t, matcher_type_t> types[] = {
        {1, MATCHER_TYPE_STREAM}, {2, MATCHER_TYPE_NUMBER_16}, {3, MATCHER_TYPE_IP_4},
        {4, MATCHER_TYPE_IP_6},   {5, MATCHER_TYPE_NUMBER_8},  {7, MATCHER_TYPE_UNKNOWN}};
    for (const auto &[type, matcher] : types) {
        EXPECT_EQ(read_attr(type, {3, x, ip, tcp, x}), "0");
        EXPECT_EQ(attrdesc_get_type(attr), matcher) << type;
        EXPECT_EQ(attrdesc_get_value_nr(attr), 3U) << type;
        EXPECT_EQ(attrdesc_get_pattern_offset(attr, 0), 0U) << type;
    }
    EXPECT_EQ(read_attr(2, {3, x}), "0") << "no values";
    EXPECT_EQ(attrdesc_get_value_nr(attr), 0U);
}

TEST_F(ruledesc_deserializer, the_directions_are_stored_the_other_way_round)
{
    csa_attr_way_t way;
    const std::pair<uint32_t, csa_attr_way_t> ways[] = {
        {1, ATTR_WAY_STC}, {2, ATTR_WAY_CTS}, {3, ATTR_WAY_BOTH}, {18, ATTR_WAY_CTS}};
    for (const auto &[word, expected] : ways) {
        EXPECT_EQ(read_attr(2, {word, x}), "0");
        EXPECT_EQ(outcome(attrdesc_get_way(attr, &way)), "0");
        EXPECT_EQ(way, expected) << word;
    }
    for (const uint32_t word : {0U, 4U, 16U}) {
        EXPECT_EQ(read_attr(2, {word, x}), "0");
        EXPECT_EQ(outcome(attrdesc_get_way(attr, &way)),
                  OUTCOME_PROTODESC_ATTR ": Unknown way for attribute")
            << word;
        EXPECT_EQ(way, ATTR_WAY_UNKNOWN);
    }
}

TEST_F(ruledesc_deserializer, the_transport_stands_beside_the_direction)
{
    const std::pair<uint32_t, attr_proto_t> protos[] = {
        {3, ATTR_PROTO_UNKNOWN}, {17, ATTR_PROTO_TCP}, {35, ATTR_PROTO_UDP}};
    for (const auto &[word, proto] : protos) {
        EXPECT_EQ(read_attr(2, {word, x}), "0");
        EXPECT_EQ(attrdesc_get_proto(attr), proto) << word;
    }
}

TEST_F(ruledesc_deserializer, an_attribute_whose_words_do_not_pair_up_is_refused)
{
    constexpr const char *mismatch =
        OUTCOME_INVALID_ARGUMENT ": Cannot get attribute descriptor, Tlv len mismatch";
    EXPECT_EQ(read_attr(6, {2, x, ip}), mismatch) << "a value without its offset";
    EXPECT_EQ(read_attr(6, {2, x}), "0");
    EXPECT_EQ(read_attr(6, {2}), mismatch) << "no name";
    EXPECT_EQ(read_attr(2, {}), mismatch);
    EXPECT_EQ(read_sub_rule(record(3, {0})), "0") << "offsets without a list";
    EXPECT_EQ(outcome(sub_ruledesc_get_attrdesc(sub_rule, 0, &attr)), mismatch);
    EXPECT_EQ(read_sub_rule(join({record(3, {2}), record(2, record(2, {1, x}))})), "0");
    EXPECT_EQ(outcome(sub_ruledesc_get_attrdesc(sub_rule, 0, &attr)), mismatch);
    EXPECT_EQ(outcome(sub_ruledesc_get_attrdesc(sub_rule, 1, &attr)), OUTCOME_INVALID_ARGUMENT
              ": index 1 out of bounds, cannot retrieve attribute for sub rule");
}

} // namespace
