#include "bytes.h"
#include "dot_prefix_reader.h"
#include "failing_alloc.h"
#include "pattern_fixtures.h"

namespace
{

struct dots {
    dp_build_t build;

    dots() { EXPECT_EQ(dot_prefix_init(build), 0); }
    void add(const pattern_info &info) { EXPECT_EQ(dot_prefix_register(build, info), 0); }
    std::vector<uint8_t> blob()
    {
        EXPECT_EQ(dot_prefix_finalize(build), 0);
        return blob_of(build);
    }
};

/// The three records of a blob. `rows` and `items` as hexadecimal digits.
std::vector<uint8_t> dots_bytes(const std::vector<uint8_t> &alphabet, std::string_view rows,
                                std::string_view items)
{
    return joined({record(41, alphabet), record(39, bytes(rows)), record(40, bytes(items))});
}

std::vector<pattern_hit_t> matched(const std::vector<uint8_t> &blob, std::string_view text)
{
    dot_prefix_reader_t reader;
    std::string error;
    std::vector<pattern_hit_t> hits;
    EXPECT_TRUE(dot_prefix_reader_open(blob, reader, error)) << error;
    EXPECT_TRUE(dot_prefix_reader_match(reader, span_of(text), hits, error)) << error;
    return hits;
}

/// The nodes to which `node` propagates, in list order.
std::vector<uint32_t> propagations(const dp_build_t &build, uint32_t node)
{
    std::vector<uint32_t> nodes;
    for (uint32_t p = build.dp_l_node[node].propagation; p != PATTERN_NONE;
         p = build.dp_propagation_pool[p].next)
        nodes.push_back(build.dp_propagation_pool[p].node);
    EXPECT_EQ(nodes.size(), build.dp_l_node[node].nb_propagations);
    return nodes;
}

using hit_list = std::vector<pattern_hit_t>;
using node_list = std::vector<uint32_t>;

/// Rows of the transition table, one a node.
uint32_t nr_node(const std::vector<uint8_t> &blob)
{
    dot_prefix_reader_t reader;
    std::string error;
    EXPECT_TRUE(dot_prefix_reader_open(blob, reader, error)) << error;
    return reader.rows.nr_row;
}

TEST(dot_prefix, ab_at_offset_2_and_the_prefix_xb)
{
    dots dp;
    dp.add(make_info("ab", 7, PATTERN_OFFSET, 2));
    dp.add(make_info("xb", 9, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = dp.blob();
    // 0 start, 1 and 2 wildcards, 3 a, 4 b, 5 x, 6 b
    EXPECT_EQ(propagations(dp.build, 5), node_list{1});
    EXPECT_EQ(propagations(dp.build, 6), node_list{2});
    EXPECT_EQ(dp.build.wildcard_depth, 2U);
    EXPECT_EQ(dp.build.node_depth, 5U);
    //                 0    prop item any  x    a    b
    EXPECT_EQ(blob, dots_bytes(alphabet_bytes(7, {{'x', 4}, {'a', 5}, {'b', 6}}),
                               "0000 FFFF FFFF 0001 0005 0000 0000"
                               "0000 FFFF FFFF 0002 0000 0000 0000"
                               "0000 FFFF FFFF 0000 0000 0003 0000"
                               "0000 FFFF FFFF 0000 0000 0000 0004"
                               "0000 FFFF 0000 0000 0000 0000 0000"
                               "0000 0001 FFFF 0000 0000 0000 0006"
                               "0000 0002 0002 0000 0000 0000 0000 0000",
                               "00000001 00000007 00000001 00000009"));
    EXPECT_EQ(matched(blob, "xbab"), (hit_list{{9, 2}, {7, 4}}));
    EXPECT_EQ(matched(blob, "xyab"), (hit_list{{7, 4}}));
    EXPECT_EQ(matched(blob, "..abab"), (hit_list{{7, 4}}));
}

TEST(dot_prefix, without_patterns_the_blob_is_an_alphabet_and_one_row)
{
    dots dp;
    EXPECT_EQ(dp.blob(), dots_bytes(alphabet_bytes(4, {}), "0000 FFFF FFFF 0000", ""));
}

TEST(dot_prefix, a_preempt_offset_pattern_waits_offset_bytes_longer)
{
    dots dp;
    dp.add(make_info("b", 1, PATTERN_PREFIX));
    dp.add(make_preempt("a", 7, 20, PATTERN_OFFSET, 3));
    const std::vector<uint8_t> blob = dp.blob();
    // 0 start, 1 b, 2 3 4 wildcards, 5 a. The item word of 5 points at 0xFFFE0000.
    EXPECT_EQ(blob, dots_bytes(alphabet_bytes(6, {{'b', 4}, {'a', 5}}),
                               "0000 FFFF FFFF 0002 0001 0000"
                               "0000 0002 0000 0000 0000 0000"
                               "0000 FFFF FFFF 0003 0000 0000"
                               "0000 FFFF FFFF 0004 0000 0000"
                               "0000 FFFF FFFF 0000 0000 0005"
                               "0000 FFFF 0002 0000 0000 0000",
                               "00000001 00000001 FFFE0000 00000017 00000001 00000007"));
    EXPECT_EQ(matched(blob, "b..a"), (hit_list{{1, 1}, {7, 4, 23}}));
}

TEST(dot_prefix, a_preempt_prefix_pattern_keeps_its_mindata)
{
    dots dp;
    pattern_info info = make_preempt("a", 7, 20, PATTERN_PREFIX, 1);
    dp.add(info);
    EXPECT_EQ(dp.blob(), dots_bytes(alphabet_bytes(5, {{'a', 4}}),
                                    "0000 FFFF FFFF 0001 0000"
                                    "0000 FFFF FFFF 0000 0002"
                                    "0000 FFFF 0000 0000 0000 0000",
                                    "FFFE0000 00000014 00000001 00000007"));
}

TEST(dot_prefix, the_last_preempt_of_a_node_decides_its_mindata)
{
    dots dp;
    dp.add(make_preempt("a", 7, 20, PATTERN_OFFSET, 1));
    dp.add(make_preempt("a", 8, 0x20000, PATTERN_OFFSET, 1));
    dp.add(make_info("a", 9, PATTERN_OFFSET, 1));
    EXPECT_EQ(matched(dp.blob(), "xa"),
              (hit_list{{7, 2, 0x20001}, {8, 2, 0x20001}, {9, 2, 0x20001}}));
}

TEST(dot_prefix, case_is_never_folded_and_the_alphabet_never_sorted)
{
    pattern_build build;
    ASSERT_EQ(
        pattern_init(&build, PATTERN_ALGO_DP, ALPHA_CONFIG_ICASE_ENABLE | ALPHA_CONFIG_SORT_ENABLE),
        0);
    ASSERT_EQ(dot_prefix_register(build.dot_prefix, make_info("aAbb", 1, PATTERN_PREFIX)), 0);
    ASSERT_EQ(dot_prefix_finalize(build.dot_prefix), 0);
    const std::vector<uint8_t> blob = blob_of(build.dot_prefix);
    const std::vector<uint8_t> alphabet = alphabet_bytes(7, {{'a', 4}, {'A', 5}, {'b', 6}});
    EXPECT_EQ(std::vector<uint8_t>(blob.begin() + 8, blob.begin() + 8 + 276), alphabet);
    EXPECT_EQ(matched(blob, "aAbb"), (hit_list{{1, 4}}));
    EXPECT_EQ(matched(blob, "aabb"), hit_list{});
}

TEST(dot_prefix, an_empty_pattern_is_refused)
{
    dots dp;
    EXPECT_EQ(dot_prefix_register(dp.build, make_info("", 1, PATTERN_OFFSET, 4)),
              MODULE_ERR_INVALID);
    EXPECT_EQ(dp.build.wildcard_depth, 0U);
    EXPECT_EQ(dp.blob(), dots_bytes(alphabet_bytes(4, {}), "0000 FFFF FFFF 0000", ""));
}

TEST(dot_prefix, an_empty_preempt_is_refused_when_the_matcher_is_finalized)
{
    dots dp;
    dp.add(make_preempt("", 1, 10, PATTERN_PREFIX));
    EXPECT_EQ(dot_prefix_finalize(dp.build), MODULE_ERR_INVALID);
}

TEST(dot_prefix, a_depth_without_wildcard_node_is_inconsistent)
{
    dots dp;
    dp.add(make_info("a", 1, PATTERN_PREFIX));
    dp.build.wildcard_depth = 1;
    EXPECT_EQ(dot_prefix_finalize(dp.build), MODULE_ERR_RANGE);
}

TEST(dot_prefix, a_full_alphabet_fails)
{
    dots dp;
    dp.add(make_info("a", 1, PATTERN_PREFIX));
    dp.build.alphabet.nr = 256;
    EXPECT_EQ(dot_prefix_finalize(dp.build), MODULE_ERR_INVALID);
}

TEST(dot_prefix, items_are_repeated_as_registered)
{
    dots dp;
    dp.add(make_info("a", 1, PATTERN_PREFIX));
    dp.add(make_info("a", 1, PATTERN_PREFIX));
    EXPECT_EQ(dp.blob(), dots_bytes(alphabet_bytes(5, {{'a', 4}}),
                                    "0000 FFFF FFFF 0000 0001 0000 FFFF 0000 0000 0000",
                                    "00000002 00000001 00000001"));
}

TEST(dot_prefix, edges_run_from_newest_to_oldest_and_so_does_the_alphabet)
{
    dots dp;
    dp.add(make_info("a", 1, PATTERN_PREFIX));
    dp.add(make_info("b", 2, PATTERN_PREFIX));
    dp.add(make_info("c", 3, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = dp.blob();
    EXPECT_EQ(std::vector<uint8_t>(blob.begin() + 8, blob.begin() + 8 + 276),
              alphabet_bytes(7, {{'c', 4}, {'b', 5}, {'a', 6}}));
}

TEST(dot_prefix, items_of_the_wildcard_path_are_appended_along_a_shared_path)
{
    dots dp;
    dp.add(make_info("ab", 1, PATTERN_OFFSET, 1));
    dp.add(make_info("xab", 2, PATTERN_PREFIX));
    const std::vector<uint8_t> blob = dp.blob();
    // 0 start, 1 wildcard, 2 a, 3 b, 4 x, 5 a, 6 b
    EXPECT_EQ(matched(blob, "xab"), (hit_list{{1, 3}, {2, 3}}));
    EXPECT_EQ(dp.build.dp_l_node[6].l_item.nr, 2U);
    // The wildcard node has one edge, which x shares: nothing is left to propagate.
    EXPECT_EQ(propagations(dp.build, 4), node_list{});
    EXPECT_EQ(propagations(dp.build, 5), node_list{});
    EXPECT_EQ(propagations(dp.build, 6), node_list{});
}

TEST(dot_prefix, priority_counts_the_wildcard_edges_that_were_not_the_only_choice)
{
    dots dp;
    dp.add(make_info("ab", 1, PATTERN_OFFSET, 2)); // 1 2 wildcards, 3 a, 4 b
    dp.add(make_info("xy", 2, PATTERN_PREFIX));    // 5 x, 6 y
    dp.add(make_info("pq", 3, PATTERN_OFFSET, 1)); // 1 wildcard, 7 p, 8 q
    EXPECT_EQ(dot_prefix_finalize(dp.build), 0);
    const auto priority = [&](uint32_t node) { return dp.build.dp_l_node[node].priority; };
    EXPECT_EQ(priority(0), 0U);
    EXPECT_EQ(priority(1), 1U);
    EXPECT_EQ(priority(2), 2U);
    EXPECT_EQ(priority(3), 2U);
    EXPECT_EQ(priority(5), 0U);
    EXPECT_EQ(priority(7), 1U);
    // Nodes without edges have none.
    EXPECT_EQ(priority(4), 0U);
    EXPECT_EQ(priority(6), 0U);
    EXPECT_EQ(priority(8), 0U);
}

TEST(dot_prefix, a_wildcard_edge_that_is_the_only_choice_keeps_the_priority)
{
    dots dp;
    dp.add(make_info("ab", 1, PATTERN_OFFSET, 3)); // 1 2 3 wildcards, 4 a, 5 b
    dp.add(make_info("xy", 2, PATTERN_PREFIX));    // 6 x, 7 y
    EXPECT_EQ(dot_prefix_finalize(dp.build), 0);
    for (const uint32_t node : {1U, 2U, 3U, 4U})
        EXPECT_EQ(dp.build.dp_l_node[node].priority, 1U) << node;
    EXPECT_EQ(dp.build.dp_l_node[6].priority, 0U);
}

TEST(dot_prefix, of_several_propagations_the_one_of_lowest_priority_is_written)
{
    // Behind "qa" both the path of offset 1 and that of offset 2 go on in their own ways.
    dots dp;
    dp.add(make_info("axy", 1, PATTERN_OFFSET, 1));  // 1 wildcard, 2 a, 3 x, 4 y
    dp.add(make_info("bzzz", 2, PATTERN_OFFSET, 2)); // 5 wildcard, 6 b, 7 z, 8 z, 9 z
    dp.add(make_info("qas", 3, PATTERN_PREFIX));     // 10 q, 11 a, 12 s
    const std::vector<uint8_t> blob = dp.blob();
    EXPECT_EQ(propagations(dp.build, 11), (node_list{2, 5}));
    EXPECT_EQ(propagations(dp.build, 2), node_list{5});
    dot_prefix_reader_t reader;
    std::string error;
    ASSERT_TRUE(dot_prefix_reader_open(blob, reader, error)) << error;
    EXPECT_EQ(row_table_word(reader.rows, 11, 1), 2);
    EXPECT_EQ(matched(blob, "qas"), (hit_list{{3, 3}}));
    EXPECT_EQ(matched(blob, "qaxy"), (hit_list{{1, 4}}));
    // The second one is reached through the first.
    EXPECT_EQ(matched(blob, "qabzzz"), (hit_list{{2, 6}}));
}

TEST(dot_prefix, long_patterns_overflow_no_stack)
{
    dots dp;
    const std::string longest(65000, 'a');
    dp.add(make_info(longest + "b", 1, PATTERN_PREFIX));
    dp.add(make_info(longest + "c", 2, PATTERN_OFFSET, 1));
    dp.add(make_info(longest + "d", 3, PATTERN_OFFSET, 2));
    dp.add(make_info(longest + "d", 4, PATTERN_OFFSET, 500));
    const std::vector<uint8_t> blob = dp.blob();
    EXPECT_EQ(nr_node(blob), 1U + 65001 + 65002 + 65002 + 498 + 65001);
}

TEST(dot_prefix, node_numbers_wrap_at_16_bits_without_complaint)
{
    dots fits;
    fits.add(make_info("a", 1, PATTERN_OFFSET, 65534));
    EXPECT_EQ(matched(fits.blob(), std::string(65534, '.') + "a"), (hit_list{{1, 65535}}));

    dots wraps;
    wraps.add(make_info("xy", 2, PATTERN_PREFIX));
    wraps.add(make_info("ab", 1, PATTERN_OFFSET, 65535));
    const std::vector<uint8_t> blob = wraps.blob();
    EXPECT_EQ(nr_node(blob), 65540U);
    EXPECT_EQ(matched(blob, "xy"), (hit_list{{2, 2}}));
    // The last wildcard edges lead to nodes 65536 and 65537, which read as none and as x.
    EXPECT_EQ(matched(blob, std::string(65535, '.') + "ab"), hit_list{});
}

TEST(dot_prefix, a_buffer_that_is_too_small_fails_the_sink_and_is_not_overrun)
{
    dots dp;
    dp.add(make_info("ab", 7, PATTERN_OFFSET, 2));
    const size_t size = dp.blob().size();
    for (size_t cut = 1; cut <= size; ++cut) {
        std::vector<uint8_t> buf(size - cut);
        tlv_sink_t sink = tlv_sink_writing(buf);
        dot_prefix_emit(dp.build, sink);
        EXPECT_TRUE(sink.failed);
        EXPECT_EQ(sink.offset, size);
    }
}

TEST(dot_prefix, serializing_before_finalize_stays_within_the_buffer)
{
    dots dp;
    dp.add(make_info("ab", 7, PATTERN_OFFSET, 2));
    EXPECT_EQ(blob_of(dp.build).size(), 276U + 24 + 5 * 4 * 2 + 8);
    dot_prefix_clean(dp.build);
    EXPECT_TRUE(dp.build.dp_l_node.empty());
}

TEST(dot_prefix, every_failed_allocation_is_reported)
{
    failing_alloc_sweep(
        [] {
            dp_build_t build;
            int code = dot_prefix_init(build);
            for (type_offset i = 0; code == 0 && i < 6; ++i)
                code = dot_prefix_register(
                    build, make_info(i % 2 == 0 ? "aab" : "aba", i, PATTERN_OFFSET, i));
            if (code == 0)
                code = dot_prefix_register(
                    build, make_preempt("a preempt of some length", 3, 9, PATTERN_PREFIX));
            if (code == 0)
                code = dot_prefix_finalize(build);
            dot_prefix_clean(build);
            return code;
        },
        // Sorting propagations does without a buffer when there is none.
        [](int code) { EXPECT_TRUE(code == MODULE_ERR_NO_MEMORY || code == 0) << code; });
}

} // namespace
