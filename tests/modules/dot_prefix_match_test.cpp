/// The dot-prefix matcher against naive matching, and against a model that follows its
/// definition step by step with recursion.
#include <list>

#include "dot_prefix_reader.h"
#include "pattern_fixtures.h"
#include "rounds.h"

namespace
{

struct opened_dots {
    std::vector<uint8_t> blob;
    dot_prefix_reader_t reader;

    explicit opened_dots(const std::vector<given_pattern> &patterns)
    {
        dp_build_t build;
        EXPECT_EQ(dot_prefix_init(build), 0);
        for (const given_pattern &p : patterns)
            EXPECT_EQ(dot_prefix_register(build, make_info(p.bytes, p.id, p.type, p.offset)), 0);
        EXPECT_EQ(dot_prefix_finalize(build), 0);
        blob = blob_of(build);
        std::string error;
        EXPECT_TRUE(dot_prefix_reader_open(blob, reader, error)) << error;
    }
    std::vector<pattern_hit_t> match(std::string_view text) const
    {
        std::string error;
        std::vector<pattern_hit_t> hits;
        EXPECT_TRUE(dot_prefix_reader_match(reader, span_of(text), hits, error)) << error;
        pattern_hits_normalize(hits);
        return hits;
    }
};

std::vector<given_pattern> patterns_at_offsets(size_t max_length, type_offset max_offset)
{
    std::vector<given_pattern> all;
    for (const std::string &bytes : all_strings("ab", 1, max_length))
        for (type_offset offset = 0; offset <= max_offset; ++offset)
            all.push_back({bytes, static_cast<uint32_t>(all.size() + 1),
                           offset == 0 ? PATTERN_PREFIX : PATTERN_OFFSET, offset});
    return all;
}

/// Checks that every hit is a true one. Returns how many true ones are missing.
size_t missing_hits(const opened_dots &dots, const std::vector<given_pattern> &patterns,
                    std::string_view text)
{
    std::vector<pattern_hit_t> expected = naive_match_all(patterns, text);
    for (const pattern_hit_t &hit : dots.match(text)) {
        const auto found = std::find(expected.begin(), expected.end(), hit);
        if (found == expected.end())
            ADD_FAILURE() << "item " << hit.item_id << " at " << hit.at << " of " << text;
        else
            expected.erase(found);
    }
    return expected.size();
}

void expect_naive(const std::vector<given_pattern> &patterns, const std::vector<std::string> &texts)
{
    const opened_dots dots(patterns);
    for (const std::string &text : texts)
        ASSERT_EQ(dots.match(text), naive_match_all(patterns, text)) << text;
}

TEST(dot_prefix_match, every_set_of_up_to_four_short_patterns_at_small_offsets)
{
    const std::vector<given_pattern> all = patterns_at_offsets(2, 2);
    const std::vector<std::string> texts = all_strings("abc", 4, 4);
    for (size_t i = 0; i < all.size(); ++i)
        for (size_t k = i; k < all.size(); ++k)
            for (size_t m = k; m < all.size(); ++m)
                for (size_t n = m; n < all.size(); n += ROUNDS_STEP)
                    expect_naive({all[i], all[k], all[m], all[n]}, texts);
}

TEST(dot_prefix_match, every_pair_of_longer_patterns_at_offsets)
{
    const std::vector<given_pattern> all = patterns_at_offsets(3, 4);
    const std::vector<std::string> texts = all_strings("ab", 7, 7);
    for (size_t i = 0; i < all.size(); ++i)
        for (size_t k = i; k < all.size(); ++k)
            expect_naive({all[i], all[k]}, texts);
}

TEST(dot_prefix_match, random_sets_of_a_large_alphabet)
{
    std::string letters;
    for (unsigned c = 0; c < 252; ++c)
        letters.push_back(static_cast<char>(c));
    std::mt19937 random(21);
    for (uint32_t round = 0; round < 60; ++round) {
        std::vector<given_pattern> patterns(1 + random_below(random, 200));
        for (given_pattern &p : patterns)
            p = {random_string(random, letters, 2, 10), random_below(random, 1000000),
                 PATTERN_OFFSET, static_cast<type_offset>(random_below(random, 11))};
        const opened_dots dots(patterns);
        for (int t = 0; t < 50; ++t) {
            std::string text = random_string(random, letters, 10, 30);
            for (int copies = 0; copies < 3; ++copies) {
                const given_pattern &p = patterns[random_below(random, patterns.size())];
                text.replace(std::min<size_t>(p.offset, text.size()), p.bytes.size(), p.bytes);
            }
            ASSERT_EQ(dots.match(text), naive_match_all(patterns, text)) << "round " << round;
        }
    }
}

TEST(dot_prefix_match, dense_overlapping_offsets_can_hide_a_pattern)
{
    // "bba" at 1 covers "ba.." at 2 along its only edge, which drops the link that "bb" at 2
    // needs behind ".bb". The patterns for themselves are found.
    const std::vector<given_pattern> patterns = {{"babb", 1, PATTERN_OFFSET, 2},
                                                 {"bb", 2, PATTERN_OFFSET, 2},
                                                 {"aba", 3, PATTERN_PREFIX, 0},
                                                 {"bba", 4, PATTERN_OFFSET, 1}};
    const opened_dots dots(patterns);
    EXPECT_EQ(dots.match("ccbb"), (std::vector<pattern_hit_t>{{2, 4}}));
    EXPECT_EQ(dots.match("cbbb"), std::vector<pattern_hit_t>{});
    EXPECT_EQ(naive_match_all(patterns, "cbbb"), (std::vector<pattern_hit_t>{{2, 4}}));
}

TEST(dot_prefix_match, bytes_beyond_252_distinct_ones_have_no_edge)
{
    // The last four bytes share the reserved codes; only a wildcard goes on for them.
    std::vector<given_pattern> patterns{{"zz", 1000, PATTERN_OFFSET, 1}};
    for (unsigned c = 0; c < 256; ++c)
        patterns.push_back({std::string(1, static_cast<char>(255 - c)), c, PATTERN_PREFIX});
    const opened_dots dots(patterns);
    for (unsigned c = 0; c < 256; ++c) {
        const std::string text(1, static_cast<char>(255 - c));
        EXPECT_EQ(dots.match(text).size(), c >= 4 ? 1U : 0U) << c;
        EXPECT_EQ(dots.match(text + "zz").back(), (pattern_hit_t{1000, 3})) << c;
    }
}

TEST(dot_prefix_match, random_dense_sets_report_only_true_hits_and_seldom_miss_one)
{
    std::mt19937 random(22);
    const std::vector<std::string> texts = all_strings("ab", 8, 8);
    size_t missing = 0;
    size_t expected = 0;
    for (uint32_t round = 0; round < 600; ++round) {
        std::vector<given_pattern> patterns(2 + random_below(random, 12));
        for (size_t i = 0; i < patterns.size(); ++i)
            patterns[i] = {random_string(random, "ab", 1, 4), static_cast<uint32_t>(i),
                           PATTERN_OFFSET, static_cast<type_offset>(random_below(random, 5))};
        const opened_dots dots(patterns);
        for (const std::string &text : texts) {
            expected += naive_match_all(patterns, text).size();
            missing += missing_hits(dots, patterns, text);
        }
    }
    EXPECT_GT(missing, 0U);
    EXPECT_LT(missing * 1000, expected);
}

/// A matcher built by its definition, with recursion and lists.
struct model_node {
    struct edge {
        uint16_t c;
        size_t node;
    };
    std::list<edge> edges; ///< newest first
    std::list<size_t> propagations;
    std::vector<uint32_t> items;
    size_t failure = 0; ///< 0 for none
    uint32_t priority = 0;
    uint32_t depth = 0;
    uint32_t mindata = 0;
    bool is_preempt = false;
};

using model_dots = std::vector<model_node>;

void model_insert(model_dots &nodes, const pattern_info &info)
{
    size_t at = 0;
    for (uint32_t p = 1; p <= info.pattern_len + info.offset; ++p) {
        const uint16_t c = p <= info.offset
                               ? DP_WILDCARD
                               : static_cast<uint8_t>(info.pattern[p - info.offset - 1]);
        const auto &edges = nodes[at].edges;
        const auto edge =
            std::find_if(edges.begin(), edges.end(), [&](const auto &e) { return e.c == c; });
        if (edge != edges.end()) {
            at = edge->node;
            continue;
        }
        nodes[at].edges.push_front({c, nodes.size()});
        at = nodes.size();
        nodes.emplace_back().depth = p;
    }
    if (info.preempt != 0) {
        nodes[at].is_preempt = true;
        nodes[at].mindata =
            info.mindata + (info.type == PATTERN_OFFSET ? uint32_t{info.offset} : 0);
    }
    nodes[at].items.push_back(info.item_id);
}

void model_priority(model_dots &nodes, size_t at, uint32_t priority)
{
    if (!nodes[at].edges.empty())
        nodes[at].priority = priority;
    for (const auto &edge : nodes[at].edges)
        model_priority(nodes, edge.node,
                       priority + (edge.c == DP_WILDCARD && nodes[at].edges.size() > 1 ? 1 : 0));
}

void model_walk(model_dots &nodes, size_t wildcard, size_t specific)
{
    model_node &w = nodes[wildcard];
    model_node &s = nodes[specific];
    s.items.insert(s.items.end(), w.items.begin(), w.items.end());
    if (w.edges.empty())
        return;
    if (wildcard != specific && s.failure != wildcard)
        s.propagations.push_front(wildcard);
    for (const auto &edge : w.edges) {
        if (edge.c == DP_WILDCARD)
            continue;
        for (const auto &other : s.edges) {
            if (other.c != edge.c)
                continue;
            if (s.failure != 0 && nodes[s.failure].edges.size() == 1)
                s.failure = 0;
            if (w.edges.size() < 2)
                s.propagations.remove(wildcard);
            model_walk(nodes, edge.node, other.node);
        }
    }
}

void model_propagate(model_dots &nodes, uint32_t wildcard_depth)
{
    for (uint32_t depth = 1; depth <= wildcard_depth; ++depth) {
        size_t wildcard = 0;
        for (size_t at = 0; at < nodes.size() && wildcard == 0; ++at)
            for (const auto &edge : nodes[at].edges)
                if (nodes[at].depth == depth - 1 && edge.c == DP_WILDCARD && wildcard == 0)
                    wildcard = edge.node;
        ASSERT_NE(wildcard, 0U);
        for (size_t at = 0; at < nodes.size(); ++at)
            if (nodes[at].depth == depth && at != wildcard)
                nodes[at].failure = wildcard;
    }
    for (uint32_t depth = 1; depth <= wildcard_depth; ++depth) {
        size_t wildcard = 0;
        for (size_t at = 0; at < nodes.size(); ++at)
            for (const auto &edge : nodes[at].edges)
                if (nodes[at].depth == depth - 1 && edge.c == DP_WILDCARD)
                    wildcard = edge.node;
        for (size_t at = 0; at < nodes.size(); ++at)
            if (nodes[at].depth == depth && at != wildcard)
                model_walk(nodes, wildcard, at);
    }
}

bool includes_all(const std::list<size_t> &whole, const std::list<size_t> &part)
{
    return std::all_of(part.begin(), part.end(), [&](size_t node) {
        return std::find(whole.begin(), whole.end(), node) != whole.end();
    });
}

/// X has edges, Y has none.
int model_merge_leaf(const model_dots &nodes, size_t x, size_t y)
{
    const model_node &nx = nodes[x];
    const model_node &ny = nodes[y];
    if (ny.items.size() < nx.items.size() && includes_all(nx.propagations, ny.propagations) &&
        nx.propagations.size() > ny.propagations.size())
        return 2;
    if (ny.items.size() > nx.items.size() && includes_all(ny.propagations, nx.propagations) &&
        includes_all(ny.propagations, {x}))
        return 3;
    return 1;
}

int model_merge(model_dots &nodes, size_t x, size_t y)
{
    model_node &nx = nodes[x];
    model_node &ny = nodes[y];
    if (nx.edges.empty() && ny.edges.empty())
        return nx.items.size() <= ny.items.size() ? 3 : 2;
    if (ny.edges.empty())
        return model_merge_leaf(nodes, x, y);
    if (nx.edges.empty()) {
        const int mirrored = model_merge_leaf(nodes, y, x);
        return mirrored == 2 ? 3 : mirrored == 3 ? 2 : 1;
    }
    int kept = -1;
    for (const auto &edge : nx.edges) {
        bool has_partner = false;
        for (const auto &other : ny.edges) {
            if (other.c != edge.c)
                continue;
            has_partner = true;
            const int result = model_merge(nodes, edge.node, other.node);
            if (kept == -1)
                kept = result;
            else if (kept != result)
                return 1;
        }
        if (!has_partner || kept == 1)
            return 0;
    }
    if (nx.propagations == std::list<size_t>{y})
        nx.propagations.clear();
    else if (ny.propagations == std::list<size_t>{x})
        ny.propagations.clear();
    return kept;
}

int model_compare(model_dots &nodes, size_t x, size_t y)
{
    int result = 1;
    while (nodes[x].edges.size() == nodes[y].edges.size()) {
        result = model_merge(nodes, x, y);
        if (result == 2 || result == 3)
            return result;
        x = nodes[x].edges.front().node;
        y = nodes[y].edges.front().node;
    }
    return result;
}

void model_merge_propagations(model_dots &nodes, model_node &node)
{
    if (node.failure != 0)
        node.propagations.push_front(node.failure);
    node.failure = 0;
    if (node.propagations.size() < 2)
        return;
    auto &list = node.propagations;
    for (auto a = list.begin(); a != list.end();) {
        bool removed = false;
        for (auto b = list.begin(); b != list.end() && !removed;) {
            const int result = a == b ? 1 : model_compare(nodes, *a, *b);
            removed = result == 3;
            b = result == 2 ? list.erase(b) : std::next(b);
        }
        a = removed ? list.erase(a) : std::next(a);
    }
}

void put16(std::vector<uint8_t> &out, size_t word)
{
    out.push_back(static_cast<uint8_t>(word >> 8));
    out.push_back(static_cast<uint8_t>(word));
}

std::vector<uint8_t> model_blob(const model_dots &nodes)
{
    std::vector<uint16_t> alphabet;
    for (const model_node &node : nodes)
        for (const auto &edge : node.edges)
            if (edge.c != DP_WILDCARD &&
                std::find(alphabet.begin(), alphabet.end(), edge.c) == alphabet.end())
                alphabet.push_back(edge.c);
    std::vector<uint8_t> map(256, 0);
    for (size_t i = 0; i < alphabet.size(); ++i)
        map[alphabet[i]] = static_cast<uint8_t>(i + 4);
    std::vector<uint8_t> rows;
    std::vector<uint8_t> items;
    for (const model_node &node : nodes) {
        const auto target = [&](uint16_t c) {
            const auto edge = std::find_if(node.edges.begin(), node.edges.end(),
                                           [&](const auto &e) { return e.c == c; });
            return edge == node.edges.end() ? 0 : edge->node;
        };
        put16(rows, 0);
        put16(rows, node.propagations.empty() ? 0xFFFF : node.propagations.front());
        put16(rows, node.items.empty() ? 0xFFFF : items.size() / 4);
        put16(rows, target(DP_WILDCARD));
        for (const uint16_t c : alphabet)
            put16(rows, target(c));
        if (node.is_preempt)
            append(items, joined({be32(0xFFFE0000), be32(node.mindata)}));
        if (!node.items.empty())
            append(items, be32(static_cast<uint32_t>(node.items.size())));
        for (const uint32_t id : node.items)
            append(items, be32(id));
    }
    rows.resize((rows.size() + 3) / 4 * 4);
    const auto width = static_cast<uint32_t>(alphabet.size() + 4);
    return joined({record(41, joined({record(25, be32(width)), record(26, map)})), record(39, rows),
                   record(40, items)});
}

std::vector<uint8_t> model_finalize(model_dots &nodes, uint32_t wildcard_depth)
{
    model_priority(nodes, 0, 0);
    model_propagate(nodes, wildcard_depth);
    for (model_node &node : nodes)
        model_merge_propagations(nodes, node);
    for (model_node &node : nodes)
        node.propagations.sort(
            [&](size_t a, size_t b) { return nodes[a].priority < nodes[b].priority; });
    return model_blob(nodes);
}

TEST(dot_prefix_match, the_blob_is_that_of_the_definition)
{
    std::mt19937 random(23);
    for (uint32_t round = 0; round < rounds(6000); ++round) {
        dp_build_t build;
        ASSERT_EQ(dot_prefix_init(build), 0);
        model_dots nodes(1);
        ps_preempt preempts;
        uint32_t wildcard_depth = 0;
        const std::string_view letters = round % 4 == 0 ? "a" : round % 4 == 1 ? "abcd" : "ab";
        const size_t nr = 1 + random_below(random, round % 3 == 0 ? 60 : 10);
        for (size_t i = 0; i < nr; ++i) {
            const std::string bytes = random_string(random, letters, 1, 2 + i % 7);
            pattern_info info = make_info(bytes, random_below(random, 50), PATTERN_OFFSET);
            info.offset = static_cast<type_offset>(random_below(random, 1 + round % 8));
            info.mindata = random_below(random, 90);
            info.preempt = random_below(random, 6) == 0 ? 1 : 0;
            if (random_below(random, 2) == 0)
                info.type = PATTERN_PREFIX;
            wildcard_depth = std::max(wildcard_depth, uint32_t{info.offset});
            ASSERT_EQ(dot_prefix_register(build, info), 0);
            if (info.preempt != 0)
                pattern_preempt_register(preempts, info);
            else
                model_insert(nodes, info);
        }
        pattern_preempt_resolve_conflict(preempts);
        for (const preempt &p : preempts)
            model_insert(nodes, pattern_preempt_info(p));
        ASSERT_EQ(dot_prefix_finalize(build), 0);
        ASSERT_EQ(blob_of(build), model_finalize(nodes, wildcard_depth)) << "round " << round;
    }
}

} // namespace
