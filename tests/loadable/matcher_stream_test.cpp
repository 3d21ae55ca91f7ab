/// Stream values: pieces, permutations, private ids, complete values, offsets.
#include "matcher_fixture.h"

namespace
{

using namespace std::string_view_literals;

TEST(matcher_stream, a_piece_that_may_stand_anywhere_goes_under_the_public_id)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add(".*word.*"), "0");
    EXPECT_EQ(run.entries(), "");
    const std::vector<uint8_t> matcher = run.serialized();
    EXPECT_EQ(found_by(matcher, "a word of"), "1 ");
    EXPECT_EQ(found_by(matcher, "wor"), "");
}

TEST(matcher_stream, a_plain_word_is_an_exact_piece_under_a_private_id)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("word"), "0");
    EXPECT_EQ(run.entries(), "1,0,C ");
    const std::vector<uint8_t> matcher = run.serialized();
    EXPECT_EQ(found_by(matcher, "word"), "p0 ");
    EXPECT_EQ(found_by(matcher, "a word"), "");
    EXPECT_EQ(found_by(matcher, "words"), "");
}

TEST(matcher_stream, a_prefix_and_a_suffix_go_under_private_ids)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("word.*"), "0");
    EXPECT_EQ(run.add(".*end"), "0");
    EXPECT_EQ(run.entries(), "1,0,4 2,0,8 ");
    const std::vector<uint8_t> matcher = run.serialized();
    EXPECT_EQ(found_by(matcher, "word without"), "p0 ");
    EXPECT_EQ(found_by(matcher, "weekend"), "p1 ");
    EXPECT_EQ(found_by(matcher, "sword ends"), "");
}

TEST(matcher_stream, the_pieces_of_one_permutation_are_numbered)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("ab.*cd.*ef"), "0");
    EXPECT_EQ(run.entries(), "1,0,3010104 1,0,3020100 1,0,3030108 ");
    const std::vector<uint8_t> matcher = run.serialized();
    EXPECT_EQ(found_by(matcher, "ab cd ef"), "p0 p1 p2 ");
}

/// An entry of public id 1 for a piece at a place of a permutation, as matcher_run_t shows it.
std::string piece_entry(uint32_t kind, uint32_t permutation, uint32_t position, uint32_t pieces)
{
    const uint32_t flag =
        kind | (permutation & 0xFF) << 8 | (position & 0xFF) << 16 | (pieces & 0xFF) << 24;
    char text[32];
    std::snprintf(text, sizeof(text), "1,0,%X ", flag);
    return text;
}

// Numbers of pieces and permutations have 8 bits each.
TEST(matcher_stream, the_numbers_of_pieces_start_again_at_256)
{
    for (const uint32_t pieces : {255U, 256U, 257U}) {
        matcher_desc_t desc = stream_desc();
        desc.max_prv_id = 1000;
        matcher_run_t run(desc);
        std::string value = "a";
        std::string expected = piece_entry(MATCHER_MAP_PREFIX, 1, 1, pieces);
        for (uint32_t i = 2; i <= pieces; ++i) {
            value += ".*a";
            const bool is_last = i == pieces;
            expected +=
                piece_entry(is_last ? MATCHER_MAP_SUFFIX : MATCHER_MAP_REGULAR, 1, i, pieces);
        }
        EXPECT_EQ(run.add(value), "0");
        EXPECT_EQ(run.entries(), expected) << pieces;
    }
}

TEST(matcher_stream, the_permutation_256_is_numbered_0)
{
    matcher_desc_t desc = stream_desc();
    desc.max_prv_id = 1000;
    desc.max_perm = 256;
    matcher_run_t run(desc);
    EXPECT_EQ(run.add("(a|b)(a|b)(a|b)(a|b)(a|b)(a|b)(a|b)(a|b).*c"), "0");
    std::string expected;
    for (uint32_t i = 1; i <= 256; ++i)
        expected +=
            piece_entry(MATCHER_MAP_PREFIX, i, 1, 2) + piece_entry(MATCHER_MAP_SUFFIX, i, 2, 2);
    EXPECT_EQ(run.entries(), expected);
}

TEST(matcher_stream, two_literal_pieces_take_two_private_ids)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add(".*ab.*cd.*"), "0");
    EXPECT_EQ(run.entries(), "1,0,2010100 1,0,2020100 ");
}

TEST(matcher_stream, permutations_are_numbered_from_one)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("(ab|cd).*ef"), "0");
    EXPECT_EQ(run.entries(), "1,0,2010104 1,0,2020108 1,0,2010204 1,0,2020208 ");
}

TEST(matcher_stream, permutations_of_one_piece_are_counted_too)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("(ab|cd)"), "0");
    EXPECT_EQ(run.entries(), "1,0,C 1,0,C ");
    EXPECT_EQ(run.add("(ab|c.*d)"), "0");
    // The second permutation has two pieces: its number is 2.
    EXPECT_EQ(run.entries(), "1,0,C 1,0,C 2,0,C 2,0,2010204 2,0,2020208 ");
}

TEST(matcher_stream, a_value_that_pieces_do_not_prove_is_stored_whole)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("ab.cde"), "0");
    EXPECT_EQ(run.entries(), "1,0,0 ");
    EXPECT_EQ(run.matcher.hstring.hb_offset, 8U);
    // The longest piece is looked for, anywhere.
    const std::vector<uint8_t> matcher = run.serialized();
    EXPECT_EQ(found_by(matcher, "xxcdexx"), "p0 ");
    EXPECT_EQ(found_by(matcher, "ab"), "");
}

TEST(matcher_stream, of_equally_long_pieces_the_first_is_looked_for)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("abc.def"), "0");
    const std::vector<uint8_t> matcher = run.serialized();
    EXPECT_EQ(found_by(matcher, "abc"), "p0 ");
    EXPECT_EQ(found_by(matcher, "def"), "");
}

TEST(matcher_stream, complete_values_are_interned_once)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("ab.cd"), "0");
    EXPECT_EQ(run.add("xy.zz"), "0");
    EXPECT_EQ(run.add("ab.cd"), "0");
    EXPECT_EQ(run.entries(), "1,0,0 2,8,0 3,0,0 ");
}

TEST(matcher_stream, a_value_without_a_literal_gets_a_catch_all_entry_and_no_pattern)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("..*"), "0");
    EXPECT_EQ(run.entries(), "1,0,2 ");
    const std::vector<uint8_t> matcher = run.serialized();
    EXPECT_EQ(found_by(matcher, "anything"), "");
}

TEST(matcher_stream, an_empty_permutation_ends_the_walk_over_the_others)
{
    // (|ab)x? : the permutations are "", "ab", "x", "abx"; at the first the walk ends.
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("(|ab)x?"), "0");
    EXPECT_EQ(run.entries(), "1,0,2 ");
    // (ab|): "ab" comes first and is registered.
    EXPECT_EQ(run.add("(ab|)"), "0");
    EXPECT_EQ(run.entries(), "1,0,2 2,0,C 2,10,2 ");
}

TEST(matcher_stream, pieces_of_one_to_three_zero_bytes_prove_nothing)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("\\x00 00 00\\x"), "0");
    EXPECT_EQ(run.entries(), "1,0,2 ");
    EXPECT_EQ(run.add("\\x00 00 00 00\\x"), "0"); // four do
    EXPECT_EQ(run.entries(), "1,0,2 2,0,4 ");
    // Beside a piece that does, such a piece makes the value one that is stored whole.
    EXPECT_EQ(run.add("ab.*\\x00"), "0");
    EXPECT_EQ(run.entries().substr(12, 6), "3,14,0");
}

TEST(matcher_stream, a_final_zero_byte_is_not_part_of_the_value)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("word\0"sv), "0");
    EXPECT_EQ(run.add("ab.cd\0"sv), "0");
    EXPECT_EQ(run.entries(), "1,0,C 2,0,0 ");
    EXPECT_EQ(run.matcher.hstring.hb_tab[0].hse_len, 5U);
    const std::vector<uint8_t> matcher = run.serialized();
    EXPECT_EQ(found_by(matcher, "word"), "p0 ");
    EXPECT_EQ(found_by(matcher, "word\0"sv), "");
}

TEST(matcher_stream, only_one_final_zero_byte_is_dropped)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("word\0\0"sv), "0");
    EXPECT_EQ(found_by(run.serialized(), "word\0"sv), "p0 ");
}

TEST(matcher_stream, anchors_stay_in_the_piece_as_bytes)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("^word$"), "0");
    EXPECT_EQ(run.entries(), "1,0,4 ");
    const std::vector<uint8_t> matcher = run.serialized();
    EXPECT_EQ(found_by(matcher, "^word$"), "p0 ");
    EXPECT_EQ(found_by(matcher, "word"), "");
}

TEST(matcher_stream, a_bad_expression_is_refused_by_the_expansion)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("(ab"), OUTCOME_REGEX);
    EXPECT_EQ(run.add("[z-a]"), OUTCOME_REGEX);
    EXPECT_EQ(run.add("\0"sv), OUTCOME_REGEX); // empty
}

TEST(matcher_stream, with_n_private_ids_the_next_one_is_refused)
{
    matcher_desc_t desc = stream_desc();
    desc.max_prv_id = 2;
    matcher_run_t run(desc);
    EXPECT_EQ(run.add("ab"), "0");
    EXPECT_EQ(run.add("cd"), "0");
    EXPECT_EQ(run.add("ef"), OUTCOME_OVERFLOW ": increase max_prv_id (2)\n");
    EXPECT_EQ(run.add(".*gh.*"), "0"); // needs none
    matcher_run_t whole(desc);
    EXPECT_EQ(whole.add("a.c"), "0");
    EXPECT_EQ(whole.add("..."), "0");
    EXPECT_EQ(whole.add("..."), OUTCOME_OVERFLOW ": increase max_prv_id (2)\n");
    EXPECT_EQ(whole.add("a.c"), OUTCOME_OVERFLOW ": increase max_prv_id (2)\n");
    matcher_run_t offset([] {
        matcher_desc_t one = offset_desc();
        one.max_prv_id = 0;
        return one;
    }());
    offset.info.mindata = 65536;
    EXPECT_EQ(offset.add("ab", 3), OUTCOME_OVERFLOW ": increase max_prv_id (0)\n");
}

TEST(matcher_stream, a_preempt_value_must_be_one_piece)
{
    matcher_run_t run(stream_desc());
    run.info.preempt = 1;
    EXPECT_EQ(run.add(".*ab.*"), "0");
    EXPECT_EQ(run.add("ab.*cd.*ef"),
              OUTCOME_INVALID_ARGUMENT ": Invalid preempt pattern : contain 3 permutation ");
    EXPECT_EQ(run.add("ab.cd"), "0"); // stored whole: the pieces are not looked at
}

TEST(matcher_stream, a_piece_may_be_as_long_as_its_minimum_data)
{
    matcher_run_t run(offset_desc());
    run.info.mindata = 4;
    EXPECT_EQ(run.add("abcd"), "0");
    EXPECT_EQ(run.add("abcde"),
              OUTCOME_INVALID_ARGUMENT ": Invalid mindata value : mindata 4  < pattern_len 5");
    EXPECT_EQ(run.add("abcd.*efghi"),
              OUTCOME_INVALID_ARGUMENT ": Invalid mindata value : mindata 4  < pattern_len 5");
}

TEST(matcher_stream, a_missing_minimum_is_refused_by_the_engines)
{
    matcher_run_t run(offset_desc());
    EXPECT_EQ(run.add("abcd"), OUTCOME_REGEX);
    run.info.mindata = 65536;
    EXPECT_EQ(run.add("abcd"), "0");
}

TEST(matcher_stream, no_minimum_is_asked_of_other_attributes)
{
    matcher_run_t run(stream_desc());
    run.info.mindata = 2;
    EXPECT_EQ(run.add("abcd"), "0");
}

// ---------------------------------------------------------------------------------------------
// Values at an offset.

struct offset_run_t : matcher_run_t {
    offset_run_t() : matcher_run_t(offset_desc()) { info.mindata = 65536; }
};

TEST(matcher_stream_offset, a_value_at_an_offset_is_a_private_prefix_entry)
{
    offset_run_t run;
    EXPECT_EQ(run.add("GET ", 3), "0");
    EXPECT_EQ(run.entries(), "1,0,4 ");
    const std::vector<uint8_t> matcher = run.serialized();
    EXPECT_EQ(found_by(matcher, "...GET /"), "p0 ");
    EXPECT_EQ(found_by(matcher, "GET /"), "");
    EXPECT_EQ(found_by(matcher, "....GET /"), "");
}

TEST(matcher_stream_offset, escapes_stand_for_bytes)
{
    offset_run_t run;
    EXPECT_EQ(run.add("ab\\x41", 1), "0");
    EXPECT_EQ(run.add("\\b\\f\\n\\r\\t\\\\\\.\\q", 1), "0");
    EXPECT_EQ(run.add("\\xfE\\x0a", 1), "0");
    EXPECT_EQ(run.add("(.*)", 1), "0"); // nothing else is special
    const std::vector<uint8_t> matcher = run.serialized();
    EXPECT_EQ(found_by(matcher, ".abA"), "p0 ");
    EXPECT_EQ(found_by(matcher, ".\b\f\n\r\t\\.q"), "p1 ");
    EXPECT_EQ(found_by(matcher, ".\xFE\n"), "p2 ");
    EXPECT_EQ(found_by(matcher, ".(.*)"), "p3 ");
}

std::string bad_escape(std::string_view rest)
{
    std::string text = OUTCOME_INVALID_ARGUMENT ": INTERFACE_BUILDER_STREAM :Pattern \"";
    text += rest;
    text += "\" contains an invalid escaped sequence.\n";
    return text;
}

TEST(matcher_stream_offset, an_escape_that_is_cut_is_refused_with_what_follows_it)
{
    offset_run_t run;
    EXPECT_EQ(run.add("ab\\x4", 1), bad_escape("x4"));
    EXPECT_EQ(run.add("ab\\x", 1), bad_escape("x"));
    EXPECT_EQ(run.add("ab\\xg1rest", 1), bad_escape("xg1rest"));
    EXPECT_EQ(run.add("ab\\x1grest", 1), bad_escape("x1grest"));
    EXPECT_EQ(run.add("ab\\", 1), bad_escape(""));
}

TEST(matcher_stream_offset, an_empty_value_is_refused_without_a_message)
{
    offset_run_t run;
    EXPECT_EQ(run.add("", 1), OUTCOME_INVALID_ARGUMENT);
    EXPECT_EQ(run.add("\0"sv, 1), OUTCOME_INVALID_ARGUMENT);
}

TEST(matcher_stream_offset, a_final_zero_byte_is_dropped)
{
    offset_run_t run;
    EXPECT_EQ(run.add("ab\0"sv, 1), "0");
    EXPECT_EQ(found_by(run.serialized(), ".ab"), "p0 ");
}

TEST(matcher_stream_offset, a_value_must_be_shorter_than_its_minimum_data)
{
    matcher_run_t run(offset_desc());
    run.info.mindata = 4;
    EXPECT_EQ(run.add("abcd", 1),
              OUTCOME_INVALID_ARGUMENT ": Invalid mindata value : mindata 4  < pattern_len 4");
    EXPECT_EQ(run.add("abc", 1), "0");
    EXPECT_EQ(run.add("\\x61\\x62c", 1), "0");   // the bytes are counted, not their escapes
    EXPECT_EQ(run.add("abc", 2), OUTCOME_REGEX); // the engines count the offset as well
}

TEST(matcher_stream_offset, the_offset_is_kept_in_sixteen_bits)
{
    offset_run_t run;
    EXPECT_EQ(run.add("ab", 0x10002), "0");
    EXPECT_EQ(found_by(run.serialized(), "..ab"), "p0 ");
}

TEST(matcher_stream_offset, an_attribute_without_offsets_refuses_it)
{
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add("ab", 1), OUTCOME_INVALID_OPERATION);
}

TEST(matcher_stream_offset, the_export_is_asked_before_anything_is_registered)
{
    offset_run_t run;
    const auto sig_export = pdata_sig_export_init("signature_coverage");
    ASSERT_NE(sig_export, nullptr);
    sig_export->nth_rule = 2048;
    matcher_data_t data;
    data.pattern = "\\";
    data.pattern_offset = 1;
    EXPECT_EQ(outcome(matcher_register(&run.matcher, data, &run.item_id, false, run.info,
                                       sig_export.get())),
              OUTCOME_SIG_EXPORT);
    EXPECT_EQ(run.item_id, 1U); // the id is taken all the same
}

} // namespace
