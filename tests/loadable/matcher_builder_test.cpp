/// The matcher builder: set-up, ids, sizes, and the bytes of both families.
#include "bytes.h"
#include "failing_alloc.h"
#include "matcher_fixture.h"

namespace
{

TEST(matcher_builder, only_streams_and_numbers_are_matchers)
{
    for (const uint32_t type : {0U, 2U, 9U, 255U}) {
        clear_status_slot();
        matcher_build matcher;
        EXPECT_EQ(outcome(matcher_init(&matcher, type, 0, stream_desc())),
                  OUTCOME_INVALID_ARGUMENT);
    }
    for (const uint32_t type : {1U, 3U, 4U, 5U, 6U, 7U, 8U})
        matcher_run_t run(stream_desc(), type);
}

TEST(matcher_builder, the_first_public_id_is_bounded)
{
    matcher_desc_t desc = stream_desc();
    matcher_build matcher;
    desc.start_item_id = 0x20000000;
    EXPECT_EQ(outcome(matcher_init(&matcher, MATCHER_TYPE_STREAM, 0, desc)),
              OUTCOME_INVALID_ARGUMENT);
    EXPECT_EQ(outcome(matcher_init(&matcher, MATCHER_TYPE_NUMBER_8, 0, desc)),
              OUTCOME_INVALID_ARGUMENT);
    desc.start_item_id = 0x1FFFFFFF;
    EXPECT_EQ(outcome(matcher_init(&matcher, MATCHER_TYPE_STREAM, 0, desc)), "0");
    EXPECT_EQ(matcher.start_pub_id, 0x1FFFFFFFU);
    EXPECT_EQ(matcher.curr_pub_id, 0x1FFFFFFFU);
    EXPECT_EQ(matcher.curr_prv_id, 0x80000000U);
}

TEST(matcher_builder, engines_that_do_not_go_together_are_refused)
{
    matcher_desc_t desc = stream_desc();
    matcher_build matcher;
    desc.algo = 6;
    EXPECT_EQ(outcome(matcher_init(&matcher, MATCHER_TYPE_STREAM, 0, desc)),
              OUTCOME_INVALID_OPERATION);
}

TEST(matcher_builder, every_value_takes_the_next_public_id_unless_it_is_forced)
{
    matcher_desc_t desc = stream_desc();
    desc.start_item_id = 7;
    matcher_run_t run(desc, MATCHER_TYPE_NUMBER_8);
    EXPECT_EQ(run.add_range(1, 1), "0");
    EXPECT_EQ(run.item_id, 7U);
    EXPECT_EQ(run.add_range(2, 2), "0");
    EXPECT_EQ(run.item_id, 8U);
    run.item_id = 3;
    EXPECT_EQ(run.add_range(3, 3, true), "0");
    EXPECT_EQ(run.item_id, 3U);
    EXPECT_EQ(run.add_range(4, 4), "0");
    EXPECT_EQ(run.item_id, 9U);
}

TEST(matcher_builder, a_range_that_runs_backwards_is_refused_by_the_numbers)
{
    matcher_run_t run(stream_desc(), MATCHER_TYPE_NUMBER_8);
    EXPECT_EQ(run.add_range(2, 1), OUTCOME_REGEX);
}

TEST(matcher_builder, an_operation_on_no_matcher_is_refused)
{
    matcher_build matcher;
    uint32_t item_id = 0;
    EXPECT_EQ(outcome(matcher_register(&matcher, {}, &item_id, false, {}, nullptr)),
              OUTCOME_INVALID_ARGUMENT);
    EXPECT_EQ(outcome(matcher_finalize(&matcher)), OUTCOME_INVALID_ARGUMENT);
}

TEST(matcher_builder, the_bytes_of_an_8_bit_number_matcher)
{
    matcher_desc_t desc;
    desc.start_item_id = 6;
    desc.min_data = 9;
    matcher_run_t run(desc, MATCHER_TYPE_NUMBER_8);
    EXPECT_EQ(run.add_range(5, 5), "0");
    std::vector<uint8_t> endpoints(512);
    endpoints[11] = 1; // the value 5 has the record at word 1
    EXPECT_EQ(run.serialized(), chain({bytes("01 000002  00000003 00000009"
                                             "02 00008C"
                                             "0000000F 00000004 00000003"
                                             "00000010 0000021C"
                                             "0000000D 00000200"),
                                       endpoints,
                                       bytes("0000000E 0000000C"
                                             "00000000 00000001 00000006")}));
}

TEST(matcher_builder, the_bytes_of_a_stream_matcher_with_two_second_level_entries)
{
    matcher_desc_t desc = stream_desc();
    desc.start_item_id = 5;
    desc.min_data = 16;
    matcher_run_t run(desc);
    EXPECT_EQ(run.add("ab.*cd"), "0");
    const auto tree = [](const char *rows, const char *id) {
        return chain({bytes("0000001D 00000014"), bytes(rows), bytes("0000"), // transitions
                      bytes("0000001B 00000004 00000000"),                    // compressed edges
                      bytes("0000001E 00000008 00000001"), bytes(id),         // items
                      bytes("0000001F 00000008 00000000 00000000"),           // exact ids
                      bytes("0000001C 00000008 00000000 00000000"),           // edge numbers
                      bytes("00000021 00000114")});
    };
    const std::vector<uint8_t> one_item = bytes("00000020 00000004 00000001");
    EXPECT_EQ(run.serialized(),
              chain({bytes("01 000002  00000001 00000010"
                           "03 0000C9"                  // 804 bytes of engines
                           "00000012 00000004 0000000E" // classic engines
                           "00000013 00000000"          // the automaton is empty
                           "00000015 00000180"),        // 384 bytes: the prefix tree
                     tree("FFFF 0001 0000  FFFF 0000 0002  0000 0000 0000", "80000000"),
                     alphabet_bytes(3, "ab", 1), one_item,
                     bytes("00000016 00000180"), // the suffix tree, from the end
                     tree("FFFF 0001 0000  FFFF 0000 0002  0000 0000 0000", "80000001"),
                     alphabet_bytes(3, "dc", 1), one_item,
                     bytes("04 000008"
                           "00000005 00000000 02010104 00000000" // piece 1 of 2: a prefix
                           "00000005 00000000 02020108 00000000" // piece 2 of 2: a suffix
                           "05 000000")}));
}

TEST(matcher_builder, a_stream_matcher_without_values_is_empty_records)
{
    matcher_desc_t desc = offset_desc();
    desc.min_data = 1;
    EXPECT_EQ(matcher_run_t(desc).serialized(), bytes("01 000002  00000001 00000001"
                                                      "03 000007"
                                                      "00000012 00000004 00000014"
                                                      "00000014 00000000"
                                                      "00000015 00000000"
                                                      "04 000000"
                                                      "05 000000"));
}

TEST(matcher_builder, a_buffer_of_another_size_is_refused_without_a_message)
{
    matcher_run_t run(stream_desc());
    size_t size = 0;
    EXPECT_EQ(run.finalize(), "0");
    EXPECT_EQ(outcome(matcher_get_size(run.matcher, &size)), "0");
    std::vector<uint8_t> out(size + 4);
    EXPECT_EQ(outcome(matcher_serialize(run.matcher, out, {})), OUTCOME_INVALID_ARGUMENT);
    EXPECT_EQ(outcome(matcher_serialize(run.matcher, std::span(out).subspan(8), {})),
              OUTCOME_INVALID_ARGUMENT);
}

TEST(matcher_builder, sizes_are_those_of_the_engines_and_a_few_words)
{
    matcher_run_t stream(stream_desc());
    EXPECT_EQ(stream.add("..."), "0");  // one entry, and a string of 3 bytes: 8 in the table
    EXPECT_EQ(stream.add("a.*b"), "0"); // two entries
    const size_t size = stream.serialized().size();
    EXPECT_EQ(size, pattern_get_size(stream.matcher.pattern) + 8 + 16 * 3 + 24);
    matcher_run_t number(stream_desc(), MATCHER_TYPE_IP_4);
    EXPECT_EQ(number.add_range(1, 2), "0");
    const size_t number_size = number.serialized().size();
    EXPECT_EQ(number_size, number_get_size(number.matcher.number) + 16);
}

TEST(matcher_builder, an_export_that_refuses_a_value_is_a_status)
{
    matcher_run_t run(stream_desc());
    const auto sig_export = pdata_sig_export_init("signature_coverage");
    ASSERT_NE(sig_export, nullptr);
    matcher_data_t data;
    data.pattern = "word";
    sig_export->proto_id = 65536;
    EXPECT_EQ(outcome(matcher_register(&run.matcher, data, &run.item_id, false, run.info,
                                       sig_export.get())),
              OUTCOME_SIG_EXPORT);
}

TEST(matcher_builder, a_failed_allocation_is_a_status)
{
    for (const uint32_t type : {1U, 3U, 7U})
        failing_alloc_sweep(
            [&] {
                matcher_build matcher;
                const pdata_status_t status = matcher_init(&matcher, type, 0, stream_desc());
                matcher_build_clean(&matcher);
                return static_cast<int>(status);
            },
            [type](int status) {
                // A string table that cannot be made is not told from one that refuses.
                EXPECT_TRUE(status == PDATA_ERR_NO_MEMORY ||
                            (type == 1 && status == PDATA_ERR_ENGINE))
                    << status;
            });
}

/// Makes the string table so long that its record has `words` words.
void lengthen_strings(matcher_run_t &run, uint32_t words)
{
    run.matcher.hstring.hb_offset = words * 4;
}

TEST(matcher_builder, what_no_record_can_hold_is_refused_while_it_is_sized)
{
    size_t size = 0;
    matcher_run_t strings(stream_desc());
    lengthen_strings(strings, TLV_LEN_FIELD_MAX);
    EXPECT_EQ(outcome(matcher_get_size(strings.matcher, &size)), "0");
    EXPECT_GT(size, size_t{TLV_LEN_FIELD_MAX} * 4);
    lengthen_strings(strings, TLV_LEN_FIELD_MAX + 1);
    const std::string refusal =
        OUTCOME_OVERFLOW ": tlv len 5 is superior to internal limit 16777215";
    EXPECT_EQ(outcome(matcher_get_size(strings.matcher, &size)), refusal);
    EXPECT_EQ(outcome(matcher_serialize(strings.matcher, {}, {})), refusal);
    // An automaton of 131,072 states with 258 columns of two bytes each.
    matcher_run_t engines(stream_desc());
    std::vector<std::string> bytes;
    for (int byte = 1; byte < 256; ++byte)
        bytes.push_back({'\\', 'x', "0123456789abcdef"[byte / 16], "0123456789abcdef"[byte % 16]});
    for (std::string &byte : bytes)
        EXPECT_EQ(engines.add(byte = ".*" + byte + ".*"), "0");
    EXPECT_EQ(engines.finalize(), "0");
    engines.matcher.pattern.aho_corasick.ac_l_state.resize(1 << 17);
    EXPECT_EQ(outcome(matcher_get_size(engines.matcher, &size)),
              OUTCOME_OVERFLOW ": tlv len 3 is superior to internal limit 16777215");
}

} // namespace
