#include "bytes.h"
#include "failing_alloc.h"
#include "pattern_fixtures.h"
#include "radix_tree_reader.h"

namespace
{

struct radix {
    rt_build_t build;

    explicit radix(uint8_t alpha_config = 0) { EXPECT_EQ(radix_tree_init(build, alpha_config), 0); }
    void add(const pattern_info &info) { EXPECT_EQ(radix_tree_register(build, info), 0); }
    void add_exact(const pattern_info &info)
    {
        EXPECT_EQ(radix_tree_register_exact(build, info), 0);
    }
    std::vector<uint8_t> blob()
    {
        EXPECT_EQ(radix_tree_finalize(build), 0);
        return blob_of(build);
    }
};

/// The seven records of a blob, as hexadecimal digits, padding included.
struct radix_bytes {
    std::string_view rows;
    std::string_view c_edges;
    std::string_view items;
    std::string_view exact;
    std::string_view chains;
    std::vector<uint8_t> alphabet;
    std::string_view item_max;
};

std::vector<uint8_t> tree_bytes(const radix_bytes &r)
{
    return joined({record(29, bytes(r.rows)), record(27, bytes(r.c_edges)),
                   record(30, bytes(r.items)), record(31, bytes(r.exact)),
                   record(28, bytes(r.chains)), record(33, r.alphabet),
                   record(32, bytes(r.item_max))});
}

/// Bitmap values of a tree without exact patterns, and without chains.
constexpr std::string_view NO_BITS = "00000000 00 000000";

std::vector<pattern_hit_t> matched(const std::vector<uint8_t> &blob, std::string_view text,
                                   bool backwards = false, bool icase = false)
{
    radix_tree_reader_t reader;
    std::string error;
    std::vector<pattern_hit_t> hits;
    EXPECT_TRUE(radix_tree_reader_open(blob, icase, reader, error)) << error;
    EXPECT_TRUE(radix_tree_reader_match(reader, span_of(text), backwards, hits, error)) << error;
    return hits;
}

/// The compressed edges of a tree.
std::vector<uint8_t> c_edges_of(const std::vector<uint8_t> &blob)
{
    radix_tree_reader_t reader;
    std::string error;
    EXPECT_TRUE(radix_tree_reader_open(blob, false, reader, error)) << error;
    return {reader.c_edges.begin(), reader.c_edges.end()};
}

using hit_list = std::vector<pattern_hit_t>;

TEST(radix_tree, abcde)
{
    radix tree;
    tree.add(make_info("abcde", 9, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = tree.blob();
    EXPECT_EQ(blob, tree_bytes({.rows = "FFFF 0002 0000 FFFF 0000 0000 FFFF 0000 0001"
                                        "0000 0000 0000 0000 0000 0000 0000",
                                .c_edges = "00000000 0004 03 'c 'd 'e 0000",
                                .items = "00000001 00000009",
                                .exact = NO_BITS,
                                .chains = "00000001 02 000000",
                                .alphabet = alphabet_bytes(3, {{'a', 1}, {'b', 2}}),
                                .item_max = "00000001"}));
    EXPECT_EQ(blob.size(), 32U + 12 + 8 + 8 + 8 + 276 + 60);
    EXPECT_EQ(tree.build.rt_last_state_id, 4U);
    EXPECT_EQ(matched(blob, "abcdef"), (hit_list{{9, 5}}));
    EXPECT_EQ(matched(blob, "abcd"), hit_list{});
    EXPECT_EQ(matched(blob, "abcxe"), hit_list{});
}

TEST(radix_tree, abc_alone_makes_no_chain)
{
    radix tree;
    tree.add(make_info("abc", 9, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = tree.blob();
    EXPECT_EQ(blob, tree_bytes({.rows = "FFFF 0001 0000 0000 FFFF 0000 0002 0000"
                                        "FFFF 0000 0000 0003 0000 0000 0000 0000",
                                .c_edges = "00000000",
                                .items = "00000001 00000009",
                                .exact = NO_BITS,
                                .chains = NO_BITS,
                                .alphabet = alphabet_bytes(4, {{'a', 1}, {'b', 2}, {'c', 3}}),
                                .item_max = "00000001"}));
}

TEST(radix_tree, two_chains_leave_holes_in_the_numbering)
{
    // 0 start, 1 x, [2 a, 3 b], 4 c, [5 d, 6 e, 7 f, 8 g], 9 h, 10 y by creation.
    radix tree;
    tree.add(make_info("xabc", 1, PATTERN_PREFIX));
    tree.add(make_info("xdefgh", 2, PATTERN_PREFIX));
    tree.add(make_info("y", 3, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = tree.blob();
    // Chains take 1 and 3; the start is 0, x skips to 2 and leaves 3, c h y are 4 5 6.
    EXPECT_EQ(blob,
              tree_bytes({.rows = "FFFF 0002 0006 0000 0000"
                                  "FFFF 0000 0000 0000 0000"
                                  "FFFF 0000 0000 0001 0003"
                                  "FFFF 0000 0000 0000 0000"
                                  "0000 0000 0000 0000 0000"
                                  "0002 0000 0000 0000 0000"
                                  "0004 0000 0000 0000 0000 0000",
                          .c_edges = "00000000 0004 02 'b 'c 000000 0005 04 'e 'f 'g 'h 00",
                          .items = "00000001 00000001 00000001 00000002 00000001 00000003",
                          .exact = NO_BITS,
                          .chains = "00000003 0A 000000",
                          .alphabet = alphabet_bytes(5, {{'x', 1}, {'y', 2}, {'a', 3}, {'d', 4}}),
                          .item_max = "00000001"}));
    EXPECT_EQ(matched(blob, "xabc"), (hit_list{{1, 4}}));
    EXPECT_EQ(matched(blob, "xdefghi"), (hit_list{{2, 6}}));
    EXPECT_EQ(matched(blob, "y"), (hit_list{{3, 1}}));
}

TEST(radix_tree, chains_are_numbered_in_the_order_of_their_first_nodes)
{
    // The second pattern's chain begins behind the first pattern's node, yet was made later.
    radix tree;
    tree.add(make_info("xya", 1, PATTERN_PREFIX));    // 1 x, 2 y, 3 a
    tree.add(make_info("zabc", 2, PATTERN_PREFIX));   // 4 z, [5 a, 6 b], 7 c
    tree.add(make_info("xyabcd", 3, PATTERN_PREFIX)); // 3 a, [8 b, 9 c], 10 d
    const std::vector<uint8_t> blob = tree.blob();
    // Chains take 1 and 3; x y a z c d are 2 4 5 6 7 8.
    EXPECT_EQ(c_edges_of(blob), bytes("00000000 0007 02 'b 'c 000000 0008 02 'c 'd 000000"));
    EXPECT_EQ(matched(blob, "xyabcd"), (hit_list{{1, 3}, {3, 6}}));
}

TEST(radix_tree, a_terminal_node_ends_a_chain)
{
    radix tree;
    tree.add(make_info("abcdefgh", 1, PATTERN_PREFIX));
    tree.add(make_info("abcd", 2, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = tree.blob();
    // a [b c] d [e f g] h: chains take 1 and 3; a d h are 2 4 5.
    EXPECT_EQ(c_edges_of(blob), bytes("00000000 0004 02 'c 'd 000000 0005 03 'f 'g 'h 0000"));
    EXPECT_EQ(matched(blob, "abcdefgh"), (hit_list{{2, 4}, {1, 8}}));
    EXPECT_EQ(matched(blob, "abcdefg"), (hit_list{{2, 4}}));
}

TEST(radix_tree, a_chain_that_enters_a_branch_ends_before_it)
{
    radix tree;
    tree.add(make_info("abcdx", 1, PATTERN_PREFIX));
    tree.add(make_info("abcdy", 2, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = tree.blob();
    // a [b c] d, then x and y: the chain takes 1; a d x y are 2 4 5 6.
    EXPECT_EQ(c_edges_of(blob), bytes("00000000 0004 02 'c 'd 000000"));
    EXPECT_EQ(matched(blob, "abcdy"), (hit_list{{2, 5}}));
}

TEST(radix_tree, a_suffix_tree_starts_its_walk_with_the_last_byte)
{
    radix tree;
    tree.add(make_info("xyz", 4, PATTERN_SUFFIX));
    const std::vector<uint8_t> blob = tree.blob();
    EXPECT_EQ(blob, tree_bytes({.rows = "FFFF 0001 0000 0000 FFFF 0000 0002 0000"
                                        "FFFF 0000 0000 0003 0000 0000 0000 0000",
                                .c_edges = "00000000",
                                .items = "00000001 00000004",
                                .exact = NO_BITS,
                                .chains = NO_BITS,
                                .alphabet = alphabet_bytes(4, {{'z', 1}, {'y', 2}, {'x', 3}}),
                                .item_max = "00000001"}));
    EXPECT_EQ(matched(blob, "abcxyz", true), (hit_list{{4, 3}}));
    EXPECT_EQ(matched(blob, "xyza", true), hit_list{});
}

TEST(radix_tree, writes_nothing_without_patterns)
{
    radix tree;
    EXPECT_EQ(tree.blob(), bytes(""));
}

TEST(radix_tree, an_empty_pattern_alone_has_no_transition_table)
{
    radix tree;
    tree.add(make_info("", 3, PATTERN_PREFIX));
    EXPECT_EQ(tree.blob(), tree_bytes({.rows = "",
                                       .c_edges = "00000000",
                                       .items = "00000001 00000003",
                                       .exact = NO_BITS,
                                       .chains = NO_BITS,
                                       .alphabet = alphabet_bytes(1, {}),
                                       .item_max = "00000001"}));
    // Its item can therefore not be found; with a second pattern it can.
    EXPECT_EQ(matched(blob_of(tree.build), "a"), hit_list{});
    radix two;
    two.add(make_info("", 3, PATTERN_PREFIX));
    two.add(make_info("a", 4, PATTERN_PREFIX));
    EXPECT_EQ(matched(two.blob(), "a"), (hit_list{{3, 0}, {4, 1}}));
}

TEST(radix_tree, an_exact_pattern_sets_the_bit_of_its_low_28_id_bits)
{
    radix tree;
    tree.add_exact(make_info("ab", 0x10000005, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = tree.blob();
    EXPECT_EQ(blob, tree_bytes({.rows = "FFFF 0001 0000 FFFF 0000 0002 0000 0000 0000 0000",
                                .c_edges = "00000000",
                                .items = "00000001 10000005",
                                .exact = "00000005 20 000000",
                                .chains = NO_BITS,
                                .alphabet = alphabet_bytes(3, {{'a', 1}, {'b', 2}}),
                                .item_max = "00000001"}));
    EXPECT_EQ(matched(blob, "ab"), (hit_list{{0x10000005, 2}}));
    EXPECT_EQ(matched(blob, "abc"), hit_list{});
}

TEST(radix_tree, an_id_is_exact_for_all_its_patterns)
{
    radix tree;
    tree.add_exact(make_info("ab", 0x80000008, PATTERN_PREFIX));
    tree.add(make_info("x", 8, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = tree.blob();
    EXPECT_EQ(matched(blob, "xy"), hit_list{});
    EXPECT_EQ(matched(blob, "x"), (hit_list{{8, 1}}));
}

TEST(radix_tree, the_exact_bitmap_doubles_until_the_id_fits)
{
    const auto capacity = [](uint32_t id) {
        radix tree;
        EXPECT_EQ(bitmap_build_tot_size(tree.build.rt_exact_bitmap), 1024U);
        tree.add_exact(make_info("ab", id, PATTERN_PREFIX));
        return bitmap_build_tot_size(tree.build.rt_exact_bitmap);
    };
    EXPECT_EQ(capacity(1023), 1024U);
    EXPECT_EQ(capacity(1024), 2048U);
    EXPECT_EQ(capacity(5000), 8192U);
    EXPECT_EQ(capacity(0x8FFFFFFF), 0x10000000U);
}

TEST(radix_tree, the_largest_id_makes_a_bitmap_of_32_mebibytes)
{
    radix tree;
    tree.add_exact(make_info("ab", 0xFFFFFFFF, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = tree.blob();
    EXPECT_EQ(blob.size(), 20U + 4 + 8 + (0x2000000 + 4) + 8 + 276 + 60);
    EXPECT_EQ(matched(blob, "ab"), (hit_list{{0xFFFFFFFF, 2}}));
    EXPECT_EQ(matched(blob, "abc"), hit_list{});
}

TEST(radix_tree, a_bitmap_that_cannot_grow_is_reported_and_dropped)
{
    radix tree;
    failing_alloc_arm(1);
    const int code = radix_tree_register_exact(tree.build, make_info("ab", 5000, PATTERN_PREFIX));
    EXPECT_TRUE(failing_alloc_disarm());
    EXPECT_EQ(code, MODULE_ERR_NO_MEMORY);
    EXPECT_EQ(bitmap_build_tot_size(tree.build.rt_exact_bitmap), 0U);
    EXPECT_EQ(tree.blob(), bytes(""));
}

TEST(radix_tree, a_tree_that_was_never_initialised_takes_patterns)
{
    rt_build_t build;
    EXPECT_EQ(radix_tree_register_exact(build, make_info("ab", 5, PATTERN_SUFFIX)), 0);
    EXPECT_EQ(radix_tree_register_exact(build, make_preempt("ab", 5, 9, PATTERN_SUFFIX)), 0);
    EXPECT_EQ(build.rt_nr_pattern, 1U);
}

TEST(radix_tree, a_preempt_has_a_mindata_word_and_never_enters_the_exact_bitmap)
{
    radix tree;
    tree.add_exact(make_preempt("b", 7, 100, PATTERN_PREFIX));
    tree.add(make_info("a", 1, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = tree.blob();
    EXPECT_EQ(blob, tree_bytes({.rows = "FFFF 0001 0002 0000 0000 0000 0002 0000 0000 0000",
                                .c_edges = "00000000",
                                .items = "00000001 00000001 FFFE0064 00000001 00000007",
                                .exact = NO_BITS,
                                .chains = NO_BITS,
                                .alphabet = alphabet_bytes(3, {{'a', 1}, {'b', 2}}),
                                .item_max = "00000001"}));
    EXPECT_EQ(matched(blob, "bx"), (hit_list{{7, 1, 100}}));
}

TEST(radix_tree, the_last_pattern_of_a_node_decides_its_mindata)
{
    radix tree;
    pattern_info plain = make_info("b", 1, PATTERN_PREFIX);
    plain.mindata = 30;
    tree.add(make_preempt("b", 7, 20, PATTERN_PREFIX));
    tree.add(plain);
    tree.add(make_preempt("b", 8, 65536, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = tree.blob();
    // The first preempt was raised to the mindata of its equal and came in before it.
    EXPECT_EQ(tree.build.rt_nr_item_max, 3U);
    EXPECT_EQ(matched(blob, "b"), (hit_list{{1, 1, 65536}, {7, 1, 65536}, {8, 1, 65536}}));
}

TEST(radix_tree, a_preempt_inside_a_would_be_chain_ends_it)
{
    radix tree;
    tree.add(make_info("abcdefg", 1, PATTERN_PREFIX));
    tree.add(make_preempt("abcd", 7, 20, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = tree.blob();
    ASSERT_EQ(tree.build.rt_l_c_edges.size(), 2U);
    EXPECT_EQ(matched(blob, "abcdefg"), (hit_list{{7, 4, 20}, {1, 7}}));
}

TEST(radix_tree, chain_bytes_are_folded_and_need_not_be_in_the_alphabet)
{
    radix tree(ALPHA_CONFIG_ICASE_ENABLE);
    tree.add(make_info("ABCDE", 9, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = tree.blob();
    const auto at = std::search(blob.begin(), blob.end(), std::begin("cde"), std::end("cde"));
    EXPECT_NE(at, blob.end());
    EXPECT_EQ(matched(blob, "aBCdE", false, true), (hit_list{{9, 5}}));
}

TEST(radix_tree, a_chain_of_255_nodes_matches_and_a_longer_one_is_cut_by_its_length_byte)
{
    // The entering byte, then as many as the chain has nodes.
    const auto blob_of_length = [](size_t length) {
        radix tree;
        std::string bytes = "ab" + std::string(length - 2, 'c');
        tree.add(make_info(bytes, 1, PATTERN_PREFIX));
        return std::pair(tree.blob(), bytes);
    };
    const auto length_byte = [](const std::vector<uint8_t> &blob) {
        radix_tree_reader_t reader;
        std::string error;
        EXPECT_TRUE(radix_tree_reader_open(blob, false, reader, error)) << error;
        return reader.c_edges[4 + 2];
    };
    // The first byte leads to an ordinary node, the last one to the end of the chain.
    const auto [fits, fit_bytes] = blob_of_length(257);
    EXPECT_EQ(length_byte(fits), 255);
    EXPECT_EQ(matched(fits, fit_bytes), (hit_list{{1, 257}}));

    // A chain of 256 nodes has length byte 0: its end is reached behind "ab" already.
    const auto [wraps, wrap_bytes] = blob_of_length(258);
    EXPECT_EQ(length_byte(wraps), 0);
    EXPECT_EQ(matched(wraps, wrap_bytes), (hit_list{{1, 2}}));
    EXPECT_EQ(matched(wraps, "ab"), (hit_list{{1, 2}}));
}

TEST(radix_tree, patterns_may_be_as_long_as_a_value)
{
    radix tree;
    const std::string longest = std::string(65534, 'a') + "b";
    tree.add(make_info(longest, 1, PATTERN_PREFIX));
    tree.add(make_info("aaac", 2, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = tree.blob();
    EXPECT_EQ(tree.build.rt_c_edges_length, 1U + (65534 - 4 + 1 + 2) / 4 + 1);
    EXPECT_EQ(matched(blob, "aaac"), (hit_list{{2, 4}}));
}

TEST(radix_tree, numbers_wrap_at_16_bits_without_complaint)
{
    radix tree;
    std::mt19937 random(1);
    for (uint32_t id = 0; tree.build.rt_l_state.size() < 300000; ++id)
        tree.add(make_info(random_string(random, "abcdefghijkl", 10, 14), id, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = tree.blob();
    EXPECT_GT(tree.build.rt_c_edges_length, 65536U);
    EXPECT_GT(tree.build.rt_last_state_id, 65536U);
    EXPECT_GT(bitmap_build_tot_size(tree.build.rt_c_edges_bitmap), 65536U);
    radix_tree_reader_t reader;
    std::string error;
    ASSERT_TRUE(radix_tree_reader_open(blob, false, reader, error)) << error;
    // Reading such a tree finds other patterns or reports where it breaks, and stays within it.
    for (int i = 0; i < 1000; ++i) {
        const std::string text = random_string(random, "abcdefghijkl", 20, 20);
        std::vector<pattern_hit_t> hits;
        error.clear();
        const bool walked = radix_tree_reader_match(reader, span_of(text), false, hits, error);
        EXPECT_EQ(walked, error.empty());
    }
}

TEST(radix_tree, chain_numbers_far_beyond_the_bitmap_make_it_grow)
{
    // One chain of 600,000 nodes moves the next chain's number past twice the first 65,536 bits.
    radix tree;
    tree.add(make_info("a" + std::string(600000, 'b'), 1, PATTERN_PREFIX));
    tree.add(make_info("cddd", 2, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = tree.blob();
    EXPECT_EQ(tree.build.rt_c_edges_bitmap.bitmap_last_idx, 1U + (599999 + 2) / 4 + 1);
    EXPECT_EQ(tree.build.rt_last_state_id, tree.build.rt_c_edges_bitmap.bitmap_last_idx);
}

TEST(radix_tree, a_full_alphabet_fails)
{
    radix tree;
    tree.add(make_info("a", 1, PATTERN_PREFIX));
    tree.build.rt_alphabet.nr = 256;
    EXPECT_EQ(radix_tree_finalize(tree.build), MODULE_ERR_INVALID);
}

TEST(radix_tree, leaves_are_marked)
{
    radix tree;
    tree.add(make_info("a", 1, PATTERN_PREFIX));
    tree.add(make_info("ab", 2, PATTERN_PREFIX));
    EXPECT_EQ(radix_tree_finalize(tree.build), 0);
    EXPECT_EQ(tree.build.rt_l_state[1].rt_status, RT_STATUS_TERMINAL);
    EXPECT_EQ(tree.build.rt_l_state[2].rt_status, RT_STATUS_TERMINAL | RT_STATUS_LEAF);
}

TEST(radix_tree, a_buffer_that_is_too_small_fails_the_sink_and_is_not_overrun)
{
    radix tree;
    tree.add_exact(make_info("abcde", 1, PATTERN_PREFIX));
    const size_t size = tree.blob().size();
    for (size_t cut = 1; cut <= size; ++cut) {
        std::vector<uint8_t> buf(size - cut);
        tlv_sink_t sink = tlv_sink_writing(buf);
        radix_tree_emit(tree.build, sink);
        EXPECT_TRUE(sink.failed);
        EXPECT_EQ(sink.offset, size);
    }
}

TEST(radix_tree, serializing_before_finalize_stays_within_the_buffer)
{
    radix tree;
    tree.add(make_info("she", 1, PATTERN_PREFIX));
    EXPECT_EQ(blob_of(tree.build).size(), 0U + 0 + 8 + 8 + 8 + 276 + 60);
    radix_tree_clean(tree.build);
    EXPECT_EQ(radix_tree_get_size(tree.build), 0U);
}

TEST(radix_tree, every_failed_allocation_is_reported)
{
    failing_alloc_sweep(
        [] {
            rt_build_t build;
            int code = radix_tree_init(build, ALPHA_CONFIG_SORT_ENABLE);
            for (uint32_t id = 0; code == 0 && id < 12; ++id)
                code = radix_tree_register_exact(build, make_info("abcdefz", id * 1000));
            if (code == 0)
                code = radix_tree_register(build, make_preempt("a preempt of some length", 3, 9));
            if (code == 0)
                code = radix_tree_finalize(build);
            radix_tree_clean(build);
            return code;
        },
        // Sorting an alphabet does without a buffer when there is none.
        [](int code) { EXPECT_TRUE(code == MODULE_ERR_NO_MEMORY || code == 0) << code; });
}

} // namespace
