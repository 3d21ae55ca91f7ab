#include <gtest/gtest.h>

#include "bytes.h"
#include "outcome.h"
#include "protodesc_deserializer.h"
#include "string_pool.h"
#include "words.h"

namespace
{

class protodesc_deserializer : public testing::Test
{
protected:
    void SetUp() override { clear_status_slot(); }

    /// Reads a description into `view`; gives the outcome.
    std::string read(const word_list &words)
    {
        buf = stored(words);
        return outcome(protodesc_deserialize(&view, buf));
    }

    std::vector<uint8_t> buf;
    protodesc_t view;
    string_pool pool;
};

TEST_F(protodesc_deserializer, the_words_of_the_meta)
{
    const uint32_t name = pool.put("http");
    const uint32_t port = pool.put("80");
    EXPECT_EQ(read(record(1, {67, name, port, 5, 1, 2, 3, 4, 6, 7})), "0");
    const hstring_t strings = pool.view();
    csa_str_t str;
    EXPECT_EQ(protodesc_get_id(view), 67U);
    EXPECT_EQ(outcome(protodesc_get_name(view, strings, &str)), "0");
    EXPECT_EQ(csa_str_view(str), "http");
    EXPECT_EQ(outcome(protodesc_get_default_port(view, strings, &str)), "0");
    EXPECT_EQ(csa_str_view(str), "80");
    EXPECT_EQ(protodesc_get_max_trans(view), 5U);
    EXPECT_EQ(protodesc_get_cacheable(view), 1U);
    EXPECT_EQ(protodesc_get_http_reclassify(view), 2U);
    EXPECT_EQ(protodesc_get_version_major(view), 3U);
    EXPECT_EQ(protodesc_get_version_minor(view), 4U);
    EXPECT_EQ(protodesc_get_version_revision(view), 6U);
    EXPECT_EQ(protodesc_get_implicit_bottom_layer(view), 7U);
}

TEST_F(protodesc_deserializer, the_namespace_stands_in_bits_24_and_25_of_the_id)
{
    const std::pair<uint32_t, uint32_t> ids[] = {
        {0x00FFFFFF, 0}, {0x01000000, 1}, {0x02000007, 2}, {0x03000000, 3}, {0xFC000000, 0}};
    for (const auto &[id, ns] : ids) {
        EXPECT_EQ(read(record(1, {id, 0, 0, 0, 0})), "0");
        EXPECT_EQ(protodesc_get_ns(view), ns) << id;
    }
}

TEST_F(protodesc_deserializer, older_metas_are_shorter_and_what_they_lack_reads_as_0)
{
    EXPECT_EQ(read(record(1, {9, 1, 2, 3, 4})), "0");
    EXPECT_EQ(view.proto_cacheable, 4U);
    EXPECT_EQ(view.proto_http_reclassify, 0U);
    EXPECT_EQ(read(record(1, {9, 1, 2, 3, 4, 5})), "0");
    EXPECT_EQ(view.proto_http_reclassify, 5U);
    EXPECT_EQ(view.proto_version_major, 0U);
    EXPECT_EQ(read(record(1, {9, 1, 2, 3, 4, 5, 6, 7, 8})), "0");
    EXPECT_EQ(view.proto_version_major, 6U);
    EXPECT_EQ(view.proto_version_minor, 7U);
    EXPECT_EQ(view.proto_version_revision, 8U);
    EXPECT_EQ(view.proto_implicit_bottom_layer, 0U);
}

TEST_F(protodesc_deserializer, a_meta_of_another_length_is_refused)
{
    for (uint32_t len : {0U, 1U, 4U, 7U, 8U, 11U, 100U})
        EXPECT_EQ(read(record(1, word_list(len))), OUTCOME_INVALID_ARGUMENT ": invalid Tlv len " +
                                                       std::to_string(len) +
                                                       ", cannot deserialize meta");
}

TEST_F(protodesc_deserializer, tags_and_descriptions_are_pairs)
{
    const uint32_t a = pool.put("category");
    const uint32_t b = pool.put("Web");
    const uint32_t c = pool.put("en");
    EXPECT_EQ(read(join({record(2, {a, b, a, c}), record(3, {c, b})})), "0");
    EXPECT_EQ(protodesc_get_tag_nr(view), 2U);
    EXPECT_EQ(protodesc_get_desc_nr(view), 1U);
    const hstring_t strings = pool.view();
    csa_str_t name;
    csa_str_t value;
    EXPECT_EQ(outcome(protodesc_get_tag(view, 1, strings, &name, &value)), "0");
    EXPECT_EQ(csa_str_view(name), "category");
    EXPECT_EQ(csa_str_view(value), "en");
    EXPECT_EQ(outcome(protodesc_get_desc(view, 0, strings, &name, &value)), "0");
    EXPECT_EQ(csa_str_view(name), "en");
    EXPECT_EQ(csa_str_view(value), "Web");
    EXPECT_EQ(read(record(2, {1, 2, 3})),
              OUTCOME_INVALID_ARGUMENT ": Invalid Tlv len 3, cannot deserialize tags");
    EXPECT_EQ(read(record(3, {1})),
              OUTCOME_INVALID_ARGUMENT ": Invalid Tlv len 1, cannot deserialize desc");
}

TEST_F(protodesc_deserializer, single_lists)
{
    const uint32_t a = pool.put("one");
    const uint32_t b = pool.put("two");
    EXPECT_EQ(read(join({record(6, {a}), record(4, {a, b}), record(5, {b, a, a})})), "0");
    EXPECT_EQ(protodesc_get_compat_nr(view), 1U);
    EXPECT_EQ(protodesc_get_supported_version_nr(view), 2U);
    EXPECT_EQ(protodesc_get_altname_nr(view), 3U);
    const hstring_t strings = pool.view();
    csa_str_t str;
    EXPECT_EQ(outcome(protodesc_get_compat(view, 0, strings, &str)), "0");
    EXPECT_EQ(csa_str_view(str), "one");
    EXPECT_EQ(outcome(protodesc_get_supported_version(view, 1, strings, &str)), "0");
    EXPECT_EQ(csa_str_view(str), "two");
    EXPECT_EQ(outcome(protodesc_get_altname(view, 0, strings, &str)), "0");
    EXPECT_EQ(csa_str_view(str), "two");
}

TEST_F(protodesc_deserializer, empty_lists_leave_their_pointers_unset)
{
    EXPECT_EQ(
        read(join({record(2), record(3), record(4), record(5), record(6), record(8), record(7)})),
        "0");
    EXPECT_EQ(view.proto_tags, nullptr);
    EXPECT_EQ(view.proto_desc, nullptr);
    EXPECT_EQ(view.proto_compat, nullptr);
    EXPECT_EQ(view.proto_supported_version, nullptr);
    EXPECT_EQ(view.proto_altname, nullptr);
    EXPECT_EQ(view.proto_rules_offset, nullptr);
    EXPECT_EQ(view.proto_rules, nullptr);
    EXPECT_EQ(view.proto_nr_rules, 0U);
}

TEST_F(protodesc_deserializer, the_records_may_stand_in_any_order)
{
    const word_list meta = record(1, {9, 0, 0, 0, 0});
    EXPECT_EQ(read(join({record(5, {1}), record(8), record(7), record(3, {1, 2}), meta})), "0");
    EXPECT_EQ(view.proto_id, 9U);
    EXPECT_EQ(view.proto_nr_altname, 1U);
    EXPECT_EQ(view.proto_nr_desc, 1U);
}

TEST_F(protodesc_deserializer, an_empty_buffer_is_a_description_without_anything)
{
    view.proto_id = 77;
    EXPECT_EQ(outcome(protodesc_deserialize(&view, {})), "0");
    EXPECT_EQ(view.proto_id, 0U) << "the view is zeroed";
}

TEST_F(protodesc_deserializer, bytes_behind_the_last_whole_word_do_not_count)
{
    buf = bytes("05000001 00000007 010000");
    EXPECT_EQ(outcome(protodesc_deserialize(&view, buf)), "0");
    EXPECT_EQ(protodesc_get_altname_nr(view), 1U);
}

TEST_F(protodesc_deserializer, a_record_must_end_within_the_buffer)
{
    EXPECT_EQ(read({0x0100000A, 0, 0, 0}),
              OUTCOME_INVALID_ARGUMENT ": too small buffer for deserialization: 10 + 1 > 4\n");
    EXPECT_EQ(read({0x05000001, 0, 0x02000002, 0}),
              OUTCOME_INVALID_ARGUMENT ": too small buffer for deserialization: 2 + 3 > 4\n");
    EXPECT_EQ(read({0x09FFFFFF}),
              OUTCOME_INVALID_ARGUMENT ": too small buffer for deserialization: 16777215 + 1 > 1\n")
        << "the length is looked at before the type";
    buf = bytes("05000001 000000");
    EXPECT_EQ(outcome(protodesc_deserialize(&view, buf)),
              OUTCOME_INVALID_ARGUMENT ": too small buffer for deserialization: 1 + 1 > 1\n");
}

TEST_F(protodesc_deserializer, a_type_outside_1_to_8_is_not_found)
{
    EXPECT_EQ(read(record(0, {1})), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(read(record(9)), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(read(record(255)), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(read(join({record(5, {1}), record(9)})), OUTCOME_TLV_NOT_FOUND);
}

TEST_F(protodesc_deserializer, the_rules_are_at_least_as_long_as_their_offsets)
{
    EXPECT_EQ(read(join({record(8, {0, 1, 2}), record(7, {1, 2})})),
              OUTCOME_INVALID_ARGUMENT ": Invalid Tlv len 2, cannot deserialize rules");
    EXPECT_EQ(read(join({record(8, {0, 1, 2}), record(7, {1, 2, 3})})), "0");
    EXPECT_EQ(protodesc_get_ruledesc_nr(view), 3U);
    EXPECT_EQ(read(join({record(7, {1}), record(8, {0, 1, 2})})), "0")
        << "only offsets that come first are known";
}

TEST_F(protodesc_deserializer, a_rule_that_is_not_there_cannot_be_got)
{
    ruledesc_t rule;
    EXPECT_EQ(read(record(1, {12, 0, 0, 0, 0})), "0");
    EXPECT_EQ(outcome(protodesc_get_ruledesc(view, 0, &rule)),
              OUTCOME_INVALID_ARGUMENT ": Cannot get rule desc at index 0 for proto id 12");
    const word_list meta = record(1, {12, 0, 0, 0, 0});
    EXPECT_EQ(read(join({meta, record(8, {0, 5, 0xFFFFFFFF}), record(7, {0x02000000, 0, 0})})),
              "0");
    EXPECT_EQ(outcome(protodesc_get_ruledesc(view, 0, &rule)), "0") << "a rule without anything";
    EXPECT_EQ(outcome(protodesc_get_ruledesc(view, 1, &rule)), OUTCOME_INVALID_ARGUMENT
              ": Cannot get rule desc at index 1 for proto id 12, len mismatch");
    EXPECT_EQ(outcome(protodesc_get_ruledesc(view, 2, &rule)), OUTCOME_INVALID_ARGUMENT
              ": Cannot get rule desc at index 2 for proto id 12, len mismatch");
    EXPECT_EQ(read(join({meta, record(8, {0})})), "0") << "offsets without a list";
    EXPECT_EQ(outcome(protodesc_get_ruledesc(view, 0, &rule)), OUTCOME_INVALID_ARGUMENT
              ": Cannot get rule desc at index 0 for proto id 12, len mismatch");
}

TEST_F(protodesc_deserializer, an_index_out_of_bounds_is_named)
{
    const hstring_t strings = pool.view();
    csa_str_t a;
    csa_str_t b;
    EXPECT_EQ(read(record(1, {33, 0, 0, 0, 0})), "0");
    EXPECT_EQ(outcome(protodesc_get_tag(view, 0, strings, &a, &b)),
              OUTCOME_INVALID_ARGUMENT ": Cannot get tag at index 0 for proto id 33");
    EXPECT_EQ(outcome(protodesc_get_desc(view, 1, strings, &a, &b)),
              OUTCOME_INVALID_ARGUMENT ": Cannot get desc at index 1 for proto id 33");
    EXPECT_EQ(outcome(protodesc_get_compat(view, 2, strings, &a)),
              OUTCOME_INVALID_ARGUMENT ": Cannot get compat at index 2 for proto id 33");
    EXPECT_EQ(outcome(protodesc_get_altname(view, 3, strings, &a)),
              OUTCOME_INVALID_ARGUMENT ": Cannot get altname at index 3 for proto id 33");
    EXPECT_EQ(outcome(protodesc_get_supported_version(view, 4, strings, &a)),
              OUTCOME_INVALID_ARGUMENT ": Cannot get supported version at index 4 for proto id 33");
    EXPECT_EQ(outcome(protodesc_get_compat(view, 0xFFFFFFFF, strings, &a)),
              OUTCOME_INVALID_ARGUMENT ": Cannot get compat at index -1 for proto id 33");
}

TEST_F(protodesc_deserializer, a_string_that_the_table_refuses_is_an_engine_error)
{
    pool.put("abcd"); // the table is 8 bytes long: offsets from 6 on are refused
    const hstring_t strings = pool.view();
    csa_str_t a;
    csa_str_t b;
    EXPECT_EQ(read(join({record(1, {1, 6, 8, 0, 0}), record(2, {0, 7}), record(3, {9, 0}),
                         record(4, {0xFFFFFFFF}), record(5, {100}), record(6, {6})})),
              "0");
    EXPECT_EQ(outcome(protodesc_get_name(view, strings, &a)), OUTCOME_ENGINE);
    EXPECT_EQ(outcome(protodesc_get_default_port(view, strings, &a)), OUTCOME_ENGINE);
    EXPECT_EQ(outcome(protodesc_get_tag(view, 0, strings, &a, &b)), OUTCOME_ENGINE);
    EXPECT_EQ(outcome(protodesc_get_desc(view, 0, strings, &a, &b)), OUTCOME_ENGINE);
    EXPECT_EQ(outcome(protodesc_get_supported_version(view, 0, strings, &a)), OUTCOME_ENGINE);
    EXPECT_EQ(outcome(protodesc_get_altname(view, 0, strings, &a)), OUTCOME_ENGINE);
    EXPECT_EQ(outcome(protodesc_get_compat(view, 0, strings, &a)), OUTCOME_ENGINE);
    EXPECT_EQ(outcome(protodesc_get_name(view, {}, &a)), OUTCOME_ENGINE) << "no table at all";
}

TEST_F(protodesc_deserializer, a_string_that_runs_past_its_table_is_cut_there)
{
    const std::vector<uint8_t> blob = bytes("0009 'a'b'c 00");
    csa_str_t str;
    EXPECT_EQ(read(record(1, {1, 0, 0, 0, 0})), "0");
    EXPECT_EQ(outcome(protodesc_get_name(view, {blob.data(), 6}, &str)), "0");
    EXPECT_EQ(csa_str_view(str), std::string_view("abc\0", 4));
}

} // namespace
