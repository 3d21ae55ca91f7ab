#include "aho_corasick_reader.h"
#include "bytes.h"
#include "failing_alloc.h"
#include "pattern_fixtures.h"

namespace
{

struct automaton {
    ac_build_t build;

    explicit automaton(uint8_t ahoff = 0, uint8_t alpha_config = 0)
    {
        EXPECT_EQ(aho_corasick_init(build, ahoff, alpha_config), 0);
    }
    void add(const pattern_info &info) { EXPECT_EQ(aho_corasick_register(build, info), 0); }
    std::vector<uint8_t> blob()
    {
        EXPECT_EQ(aho_corasick_finalize(build), 0);
        return blob_of(build);
    }
};

/// The four records of a blob. `rows` and `items` as hexadecimal digits.
std::vector<uint8_t> automaton_bytes(std::string_view rows, std::string_view items,
                                     const std::vector<uint8_t> &alphabet, std::string_view meta)
{
    return joined({record(34, bytes(rows)), record(35, bytes(items)), record(37, alphabet),
                   record(36, bytes(meta))});
}

std::vector<pattern_hit_t> matched(const std::vector<uint8_t> &blob, bool ahoff,
                                   std::string_view text)
{
    aho_corasick_reader_t reader;
    std::string error;
    std::vector<pattern_hit_t> hits;
    EXPECT_TRUE(aho_corasick_reader_open(blob, ahoff, reader, error)) << error;
    EXPECT_TRUE(aho_corasick_reader_match(reader, span_of(text), hits, error)) << error;
    return hits;
}

using hit_list = std::vector<pattern_hit_t>;

/// Rows of the transition table, one a state.
uint32_t nr_state(const std::vector<uint8_t> &blob, bool ahoff = false)
{
    aho_corasick_reader_t reader;
    std::string error;
    EXPECT_TRUE(aho_corasick_reader_open(blob, ahoff, reader, error)) << error;
    return reader.rows.nr_row;
}

TEST(aho_corasick, he_she_his_hers)
{
    automaton ac;
    ac.add(make_info("he", 1));
    ac.add(make_info("she", 2));
    ac.add(make_info("his", 3));
    ac.add(make_info("hers", 4));
    const std::vector<uint8_t> blob = ac.blob();

    // 0 start, 1 h, 2 he, 3 s, 4 sh, 5 she, 6 hi, 7 his, 8 her, 9 hers
    EXPECT_EQ(ac.build.ac_l_state[5].ac_failure, 2U);
    EXPECT_EQ(ac.build.ac_l_state[4].ac_failure, 1U);
    EXPECT_EQ(ac.build.ac_l_state[7].ac_failure, 3U);
    EXPECT_EQ(ac.build.ac_l_state[9].ac_failure, 3U);
    EXPECT_EQ(ac.build.ac_l_state[8].ac_failure, 0U);

    //      0    item h    s    e    i    r
    EXPECT_EQ(blob,
              automaton_bytes("0000 FFFF 0002 0006 0000 0000 0000" //
                              "0000 FFFF 0002 0006 0005 000C 0000"
                              "0000 8001 0002 0006 0000 0000 0010"
                              "0000 FFFF 0008 0006 0000 0000 0000"
                              "0000 FFFF 0002 0006 000B 000C 0000"
                              "0000 0000 0002 0006 0000 0000 0010"
                              "0000 FFFF 0002 000F 0000 0000 0000"
                              "0000 8003 0008 0006 0000 0000 0000"
                              "0000 FFFF 0002 0013 0000 0000 0000"
                              "0000 8004 0008 0006 0000 0000 0000",
                              "00000002 00000002 00000001",
                              alphabet_bytes(7, {{'h', 2}, {'s', 3}, {'e', 4}, {'i', 5}, {'r', 6}}),
                              "00000002 00000003"));
    EXPECT_EQ(blob.size(), 140U + 12U + 316U);
    EXPECT_EQ(matched(blob, false, "ushers"), (hit_list{{2, 4}, {1, 4}, {4, 6}}));
    EXPECT_EQ(matched(blob, false, "hexhe"), (hit_list{{1, 2}, {1, 5}}));
}

TEST(aho_corasick, writes_nothing_without_patterns)
{
    automaton ac;
    EXPECT_EQ(ac.blob(), bytes(""));
    EXPECT_EQ(aho_corasick_get_size(ac.build, 1), 0U);
}

TEST(aho_corasick, a_table_that_does_not_end_on_a_word_is_padded)
{
    automaton ac;
    ac.add(make_info("aa", 5));
    EXPECT_EQ(ac.blob(), automaton_bytes("0000 FFFF 0002 0000 FFFF 0005 0000 8005 0005 0000", "",
                                         alphabet_bytes(3, {{'a', 2}}), "00000001 00000002"));
}

TEST(aho_corasick, a_single_small_id_stands_in_the_item_word)
{
    const auto item_word = [](uint32_t id) {
        automaton ac;
        ac.add(make_info("a", id));
        const std::vector<uint8_t> blob = ac.blob();
        const bool in_table = blob.size() > 12 + 316;
        return std::pair(blob[8 + 8] << 8 | blob[8 + 9], in_table);
    };
    EXPECT_EQ(item_word(5), std::pair(0x8005, false));
    EXPECT_EQ(item_word(0x80000005), std::pair(0xC005, false));
    EXPECT_EQ(item_word(16383), std::pair(0xBFFF, false));
    EXPECT_EQ(item_word(16384), std::pair(0x0000, true));
    EXPECT_EQ(item_word(0x80004000), std::pair(0x0000, true));
    EXPECT_EQ(item_word(0), std::pair(0x8000, false));
}

TEST(aho_corasick, an_id_of_16384_takes_a_record_of_the_item_table)
{
    automaton ac;
    ac.add(make_info("a", 16384));
    EXPECT_EQ(ac.blob(), automaton_bytes("0000 FFFF 0003 0000 0000 0003", "00000001 00004000",
                                         alphabet_bytes(3, {{'a', 2}}), "00000001 00000001"));
}

TEST(aho_corasick, private_id_16383_looks_like_a_state_without_items)
{
    automaton ac;
    ac.add(make_info("a", 0x80003FFF));
    const std::vector<uint8_t> blob = ac.blob();
    EXPECT_EQ(std::vector<uint8_t>(blob.begin() + 8, blob.begin() + 20),
              bytes("0000 FFFF 0003 0000 FFFF 0003"));
    EXPECT_EQ(matched(blob, false, "aa"), hit_list{});
}

TEST(aho_corasick, the_offset_aware_form_never_inlines_and_stores_where_a_match_ends)
{
    automaton ac(1);
    ac.add(make_info("wxyz", 7, PATTERN_OFFSET, 3));
    const std::vector<uint8_t> blob = ac.blob();
    EXPECT_EQ(blob, automaton_bytes("0000 FFFF 0002 0000 0000 0000"
                                    "0000 FFFF 0002 0004 0000 0000"
                                    "0000 FFFF 0002 0000 0006 0000"
                                    "0000 FFFF 0002 0000 0000 0009"
                                    "0000 0000 0002 0000 0000 0000",
                                    "00000001 00000007 00000007",
                                    alphabet_bytes(6, {{'w', 2}, {'x', 3}, {'y', 4}, {'z', 5}}),
                                    "00000001 00000004"));
    EXPECT_EQ(matched(blob, true, "...wxyz"), (hit_list{{7, 7}}));
    EXPECT_EQ(matched(blob, true, "..wxyz.wxyz"), hit_list{});
}

TEST(aho_corasick, a_regular_pattern_of_the_offset_aware_form_has_no_offset)
{
    automaton ac(1);
    ac.add(make_info("a", 7, PATTERN_REGULAR, 3));
    const std::vector<uint8_t> blob = ac.blob();
    EXPECT_EQ(blob, automaton_bytes("0000 FFFF 0003 0000 0000 0003", "00000001 00000007 FFFFFFFF",
                                    alphabet_bytes(3, {{'a', 2}}), "00000001 00000001"));
    EXPECT_EQ(matched(blob, true, "xa"), (hit_list{{7, 2}}));
}

TEST(aho_corasick, a_preempt_offset_pattern_has_a_mindata_word_and_the_item_word_points_at_it)
{
    automaton ac(1);
    ac.add(make_info("a", 1));
    ac.add(make_preempt("b", 7, 100, PATTERN_OFFSET, 3));
    const std::vector<uint8_t> blob = ac.blob();
    EXPECT_EQ(blob,
              automaton_bytes("0000 FFFF 0003 0005 0000 0000 0003 0005 0000 0003 0003 0005",
                              "00000001 00000001 FFFFFFFF FFFE0064 00000001 00000007 00000004",
                              alphabet_bytes(4, {{'a', 2}, {'b', 3}}), "00000001 00000001"));
    EXPECT_EQ(matched(blob, true, "...b"), (hit_list{{7, 4, 100}}));
}

TEST(aho_corasick, the_last_offset_pattern_of_a_state_decides_its_mindata)
{
    automaton ac(1);
    ac.add(make_preempt("b", 7, 100, PATTERN_OFFSET, 3));
    ac.add(make_preempt("b", 8, 65536, PATTERN_OFFSET, 4));
    pattern_info plain = make_info("b", 9, PATTERN_OFFSET, 5);
    plain.mindata = 11; // inserted before the preempts
    ac.add(plain);
    const std::vector<uint8_t> blob = ac.blob();
    EXPECT_EQ(blob, automaton_bytes("0000 FFFF 0003 0000 0000 0003",
                                    "FFFF0000 00000003"
                                    "00000009 00000006 00000007 00000004 00000008 00000005",
                                    alphabet_bytes(3, {{'b', 2}}), "00000001 00000001"));
}

TEST(aho_corasick, preempts_of_other_kinds_have_no_mindata_word)
{
    automaton regular(1);
    regular.add(make_preempt("b", 7, 100));
    EXPECT_EQ(regular.blob(),
              automaton_bytes("0000 FFFF 0003 0000 0000 0003", "00000001 00000007 FFFFFFFF",
                              alphabet_bytes(3, {{'b', 2}}), "00000000 00000000"));
    automaton plain(0);
    plain.add(make_preempt("b", 7, 100, PATTERN_OFFSET, 3));
    EXPECT_EQ(plain.blob(), automaton_bytes("0000 FFFF 0003 0000 8007 0003", "",
                                            alphabet_bytes(3, {{'b', 2}}), "00000000 00000000"));
}

TEST(aho_corasick, an_empty_pattern_ends_at_the_start_state_and_is_seen_only_there)
{
    automaton ac;
    ac.add(make_info("", 5));
    ac.add(make_info("a", 6));
    const std::vector<uint8_t> blob = ac.blob();
    EXPECT_EQ(blob, automaton_bytes("0000 8005 0003 0000 8006 0003", "",
                                    alphabet_bytes(3, {{'a', 2}}), "00000001 00000001"));
    EXPECT_EQ(matched(blob, false, "axa"), (hit_list{{5, 0}, {6, 1}, {6, 3}}));
    automaton alone;
    alone.add(make_info("", 5));
    EXPECT_EQ(alone.blob(),
              automaton_bytes("0000 8005", "", alphabet_bytes(2, {}), "00000001 00000000"));
}

TEST(aho_corasick, items_of_a_state_keep_repeated_ids_but_inherit_each_id_once)
{
    automaton ac(1);
    ac.add(make_info("ab", 1, PATTERN_OFFSET, 0));
    ac.add(make_info("ab", 1, PATTERN_OFFSET, 9));
    ac.add(make_info("b", 1, PATTERN_OFFSET, 5));
    ac.add(make_info("b", 2, PATTERN_OFFSET, 6));
    ac.add(make_info("b", 2, PATTERN_OFFSET, 7));
    ac.add(make_info("b", 3));
    const std::vector<uint8_t> blob = ac.blob();
    // ab: its own two items of id 1, then the first of id 2, then id 3. b: all of its own.
    EXPECT_EQ(blob, automaton_bytes("0000 FFFF 0002 0007 0000 FFFF 0002 0005"
                                    "0000 0000 0002 0007 0000 0009 0002 0007",
                                    "00000004 00000001 00000002 00000001 0000000B"
                                    "00000002 00000007 00000003 FFFFFFFF"
                                    "00000004 00000001 00000006 00000002 00000007"
                                    "00000002 00000008 00000003 FFFFFFFF",
                                    alphabet_bytes(4, {{'a', 2}, {'b', 3}}), "00000004 00000001"));
    // What repeated ids cost: b at offset 5 is not seen behind an a, b at offset 7 likewise.
    EXPECT_EQ(matched(blob, true, ".....b"), (hit_list{{1, 6}, {3, 6}}));
    EXPECT_EQ(matched(blob, true, "....ab"), (hit_list{{3, 6}}));
}

TEST(aho_corasick, long_item_lists_are_joined_like_short_ones)
{
    automaton ac;
    for (uint32_t id = 100; id < 130; ++id)
        ac.add(make_info("xyz", id));
    for (uint32_t id = 90; id < 110; ++id)
        ac.add(make_info("yz", id));
    for (uint32_t id = 85; id < 95; ++id)
        ac.add(make_info("z", id));
    EXPECT_EQ(aho_corasick_finalize(ac.build), 0);
    std::vector<uint32_t> ids;
    const list_pattern_item list = ac.build.ac_l_state[3].ac_l_item;
    for (uint32_t i = list.first; i != PATTERN_NONE; i = ac.build.ac_item[i].next)
        ids.push_back(ac.build.ac_item[i].id);
    std::vector<uint32_t> expected;
    for (uint32_t id = 100; id < 130; ++id)
        expected.push_back(id);
    for (uint32_t id = 90; id < 100; ++id)
        expected.push_back(id);
    for (uint32_t id = 85; id < 90; ++id)
        expected.push_back(id);
    EXPECT_EQ(ids, expected);
    EXPECT_EQ(list.nr, expected.size());
}

TEST(aho_corasick, the_largest_item_count_is_that_of_the_last_state_that_has_it)
{
    automaton ac;
    ac.add(make_info("abcd", 1));
    ac.add(make_info("x", 2));
    EXPECT_EQ(aho_corasick_finalize(ac.build), 0);
    EXPECT_EQ(ac.build.ac_nr_item_max, 1U);
    EXPECT_EQ(ac.build.ac_item_length, 1U);
    automaton turned;
    turned.add(make_info("x", 2));
    turned.add(make_info("abcd", 1));
    EXPECT_EQ(aho_corasick_finalize(turned.build), 0);
    EXPECT_EQ(turned.build.ac_item_length, 4U);
}

TEST(aho_corasick, preempts_come_last_without_failure_links_or_inherited_items)
{
    automaton ac;
    ac.add(make_preempt("she", 2, 10));
    ac.add(make_info("he", 1));
    const std::vector<uint8_t> blob = ac.blob();
    // 0 start, 1 h, 2 he, 3 s, 4 sh, 5 she; the rows of 3 to 5 are the start row and own edges.
    EXPECT_EQ(blob, automaton_bytes("0000 FFFF 0002 0006 0000"
                                    "0000 FFFF 0002 0006 0005"
                                    "0000 8001 0002 0006 0000"
                                    "0000 FFFF 0008 0006 0000"
                                    "0000 FFFF 0002 0006 000B"
                                    "0000 8002 0002 0006 0000",
                                    "", alphabet_bytes(5, {{'h', 2}, {'s', 3}, {'e', 4}}),
                                    "00000001 00000002"));
    // The "he" inside "she" is not seen.
    EXPECT_EQ(matched(blob, false, "she"), (hit_list{{2, 3}}));
    EXPECT_EQ(matched(blob, false, "he"), (hit_list{{1, 2}}));
}

TEST(aho_corasick, a_preempt_that_extends_a_pattern_is_found_through_failure_links)
{
    automaton ac;
    ac.add(make_info("xhe", 1));
    ac.add(make_info("he", 3));
    ac.add(make_preempt("her", 2, 10));
    // xhe fails to he, which has an edge to the preempt's node.
    EXPECT_EQ(matched(ac.blob(), false, "xher"), (hit_list{{1, 3}, {3, 3}, {2, 4}}));
}

TEST(aho_corasick, a_preempt_that_ends_at_an_earlier_state_adds_its_item_there)
{
    automaton ac;
    ac.add(make_preempt("he", 2, 10));
    ac.add(make_info("he", 1));
    ac.add(make_info("she", 3));
    // she took the item of he before the preempt came.
    EXPECT_EQ(matched(ac.blob(), false, "he"), (hit_list{{1, 2}, {2, 2}}));
    EXPECT_EQ(matched(blob_of(ac.build), false, "she"), (hit_list{{3, 3}, {1, 3}}));
}

TEST(aho_corasick, preempts_do_not_count_for_the_largest_item_count)
{
    automaton ac;
    ac.add(make_info("a", 1));
    ac.add(make_preempt("bc", 2, 10));
    ac.add(make_preempt("bc", 3, 10));
    EXPECT_EQ(aho_corasick_finalize(ac.build), 0);
    EXPECT_EQ(ac.build.ac_nr_item_max, 1U);
    EXPECT_EQ(ac.build.ac_item_length, 1U);
    EXPECT_EQ(ac.build.ac_nr_pattern, 3U);
}

TEST(aho_corasick, a_pattern_of_1024_bytes_builds_and_one_of_1025_does_not)
{
    automaton fits;
    fits.add(make_info(std::string(1024, 'a'), 1));
    EXPECT_EQ(aho_corasick_finalize(fits.build), 0);
    automaton exceeds;
    exceeds.add(make_info(std::string(1025, 'a'), 1));
    EXPECT_EQ(aho_corasick_finalize(exceeds.build), MODULE_ERR_OVERFLOW);
}

TEST(aho_corasick, the_length_limit_does_not_hold_for_preempts)
{
    automaton ac;
    const std::string longest(65535, 'a');
    ac.add(make_preempt(longest, 1, 10));
    ac.add(make_info("ab", 2));
    const std::vector<uint8_t> blob = ac.blob();
    EXPECT_EQ(nr_state(blob), 65537U);
}

TEST(aho_corasick, capitals_and_small_letters_share_a_state_when_case_is_folded)
{
    automaton ac(0, ALPHA_CONFIG_ICASE_ENABLE);
    ac.add(make_info("ABC", 1));
    ac.add(make_info("abc", 2));
    const std::vector<uint8_t> blob = ac.blob();
    EXPECT_EQ(nr_state(blob), 4U);
    const std::vector<uint8_t> alphabet(blob.end() - 276 - 16, blob.end() - 16);
    EXPECT_EQ(alphabet,
              alphabet_bytes(5, {{'a', 2}, {'A', 2}, {'b', 3}, {'B', 3}, {'c', 4}, {'C', 4}}));
    EXPECT_EQ(matched(blob, false, "aBc"), (hit_list{{1, 3}, {2, 3}}));
}

TEST(aho_corasick, sorting_moves_frequent_bytes_to_the_front_of_the_rows)
{
    automaton ac(0, ALPHA_CONFIG_SORT_ENABLE);
    ac.add(make_info("abb", 1));
    EXPECT_EQ(ac.blob(),
              automaton_bytes("0000 FFFF 0000 0002" //
                              "0000 FFFF 0004 0002"
                              "0000 FFFF 0007 0002"
                              "0000 8001 0000 0002",
                              "", alphabet_bytes(4, {{'b', 2}, {'a', 3}}), "00000001 00000003"));
}

TEST(aho_corasick, a_full_alphabet_fails)
{
    automaton ac;
    ac.add(make_info("a", 1));
    ac.build.ac_alphabet.nr = 256;
    EXPECT_EQ(aho_corasick_finalize(ac.build), MODULE_ERR_INVALID);
}

TEST(aho_corasick, state_numbers_wrap_at_16_bits_without_complaint)
{
    automaton ac;
    std::mt19937 random(1);
    for (uint32_t id = 0; ac.build.ac_l_state.size() < 70000; ++id)
        ac.add(make_info(random_string(random, "abcdef", 20, 40), id));
    const std::vector<uint8_t> blob = ac.blob();
    const auto nr_state = static_cast<uint32_t>(ac.build.ac_l_state.size());
    // The row of the parent of the last state leads to its number, cut.
    aho_corasick_reader_t reader;
    std::string error;
    ASSERT_TRUE(aho_corasick_reader_open(blob, false, reader, error)) << error;
    ASSERT_EQ(reader.rows.nr_row, nr_state);
    const uint32_t last = nr_state - 1;
    const uint8_t code = reader.alphabet.code[ac.build.ac_oe.edge.back().oe_char];
    EXPECT_EQ(row_table_word(reader.rows, last - 1, code), static_cast<uint16_t>(last * 2 + 1));
    // Reading such a table finds other patterns, but stays within it.
    std::vector<pattern_hit_t> hits;
    EXPECT_TRUE(aho_corasick_reader_match(
        reader, span_of(random_string(random, "abcdef", 5000, 5000)), hits, error))
        << error;
}

TEST(aho_corasick, a_buffer_that_is_too_small_fails_the_sink_and_is_not_overrun)
{
    automaton ac;
    ac.add(make_info("he", 1));
    ac.add(make_info("she", 16384));
    const size_t size = ac.blob().size();
    for (size_t cut = 1; cut <= size; ++cut) {
        std::vector<uint8_t> buf(size - cut);
        tlv_sink_t sink = tlv_sink_writing(buf);
        aho_corasick_emit(ac.build, sink, 0);
        EXPECT_TRUE(sink.failed);
        EXPECT_EQ(sink.offset, size);
    }
}

TEST(aho_corasick, serializing_before_finalize_stays_within_the_buffer)
{
    automaton ac;
    ac.add(make_info("she", 1));
    EXPECT_EQ(blob_of(ac.build).size(), 4U * 4 + 316);
}

TEST(aho_corasick, cleaning_leaves_nothing)
{
    automaton ac;
    ac.add(make_info("she", 1));
    (void)ac.blob();
    aho_corasick_clean(ac.build);
    EXPECT_EQ(aho_corasick_get_size(ac.build, 0), 0U);
    EXPECT_EQ(blob_of(ac.build), bytes(""));
}

TEST(aho_corasick, every_failed_allocation_is_reported)
{
    failing_alloc_sweep(
        [] {
            ac_build_t build;
            int code = aho_corasick_init(build, 1, ALPHA_CONFIG_SORT_ENABLE);
            for (uint32_t id = 0; code == 0 && id < 20; ++id)
                code = aho_corasick_register(build, make_info(id % 2 == 0 ? "abcz" : "bcz", id));
            if (code == 0)
                code = aho_corasick_register(build, make_preempt("a preempt of some length", 3, 9));
            if (code == 0)
                code = aho_corasick_finalize(build);
            aho_corasick_clean(build);
            return code;
        },
        // Sorting an alphabet does without a buffer when there is none.
        [](int code) { EXPECT_TRUE(code == MODULE_ERR_NO_MEMORY || code == 0) << code; });
}

} // namespace
