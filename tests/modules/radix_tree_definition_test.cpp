/// The radix tree against a model that follows its definition step by step, byte for byte.
#include <map>
#include <set>

#include "pattern_fixtures.h"
#include "rounds.h"

namespace
{

struct model_node {
    std::vector<std::pair<uint8_t, size_t>> edges; ///< byte and target, oldest first
    std::vector<uint32_t> items;
    std::map<uint8_t, uint32_t> compressed; ///< nodes of the chain that a byte enters
    uint32_t mindata = 0;
    uint32_t status = 0; ///< 1 terminal, 2 mindata, 8 first node of a chain, 16 inside a chain
    uint32_t id = 0;
    uint32_t chain = 0; ///< nodes of the chain that begins here
};

struct model_tree {
    uint8_t config = 0;
    std::vector<model_node> nodes = std::vector<model_node>(1);
    std::set<uint32_t> exact;
    std::set<uint32_t> chain_ids;
    std::vector<std::pair<uint8_t, uint32_t>> alphabet; ///< byte and edges that carry it
    uint32_t c_edges_length = 1;
    uint32_t last_id = 0;
    uint32_t item_max = 0;
};

void model_insert(model_tree &tree, const pattern_info &info)
{
    std::string walked(info.pattern, info.pattern_len);
    if (info.type == PATTERN_SUFFIX)
        std::reverse(walked.begin(), walked.end());
    size_t at = 0;
    for (const char byte : walked) {
        const uint8_t c = folded(byte, (tree.config & ALPHA_CONFIG_ICASE_ENABLE) != 0);
        const auto &edges = tree.nodes[at].edges;
        const auto edge =
            std::find_if(edges.begin(), edges.end(), [&](const auto &e) { return e.first == c; });
        if (edge != edges.end()) {
            at = edge->second;
            continue;
        }
        tree.nodes[at].edges.emplace_back(c, tree.nodes.size());
        at = tree.nodes.size();
        tree.nodes.emplace_back();
    }
    model_node &node = tree.nodes[at];
    node.status |= info.preempt != 0 ? 3U : 1U;
    node.mindata = info.mindata;
    node.items.push_back(info.item_id);
}

void model_chains(model_tree &tree)
{
    std::vector<model_node> &nodes = tree.nodes;
    for (size_t parent = 1; parent < nodes.size(); ++parent) {
        if ((nodes[parent].status & 16) != 0)
            continue;
        for (const auto &[byte, first] : nodes[parent].edges) {
            uint32_t length = 0;
            for (size_t at = first; nodes[at].edges.size() == 1 && (nodes[at].status & 3) == 0;
                 at = nodes[at].edges[0].second)
                nodes[at].status |= length++ == 0 ? 24U : 16U;
            if (length == 1)
                nodes[first].status = 0;
            if (length < 2)
                continue;
            nodes[parent].compressed[byte] = length;
            nodes[first].chain = length;
        }
    }
}

void model_numbers(model_tree &tree)
{
    for (model_node &node : tree.nodes) {
        if ((node.status & 8) == 0)
            continue;
        node.id = tree.c_edges_length;
        tree.chain_ids.insert(node.id);
        tree.c_edges_length += (node.chain + 2) / 4 + 1;
    }
    uint32_t counter = 0;
    for (model_node &node : tree.nodes) {
        if ((node.status & 16) != 0)
            continue;
        uint32_t number = counter;
        while (tree.chain_ids.count(number) != 0) {
            number = counter;
            counter += 1;
        }
        counter += 1;
        node.id = tree.last_id = number;
    }
    if (!tree.chain_ids.empty() && *tree.chain_ids.rbegin() > tree.last_id)
        tree.last_id = *tree.chain_ids.rbegin();
}

void model_alphabet(model_tree &tree)
{
    for (const model_node &node : tree.nodes) {
        if ((node.status & 1) != 0)
            tree.item_max = std::max(tree.item_max, static_cast<uint32_t>(node.items.size()));
        if ((node.status & 16) != 0)
            continue;
        for (const auto &edge : node.edges) {
            const auto entry = std::find_if(tree.alphabet.begin(), tree.alphabet.end(),
                                            [&](const auto &e) { return e.first == edge.first; });
            if (entry == tree.alphabet.end())
                tree.alphabet.emplace_back(edge.first, 1);
            else
                ++entry->second;
        }
    }
    if ((tree.config & ALPHA_CONFIG_SORT_ENABLE) != 0)
        std::stable_sort(tree.alphabet.begin(), tree.alphabet.end(),
                         [](const auto &a, const auto &b) { return a.second > b.second; });
}

void put16_at(std::vector<uint8_t> &out, size_t at, size_t word)
{
    out[at] = static_cast<uint8_t>(word >> 8);
    out[at + 1] = static_cast<uint8_t>(word);
}

std::vector<uint8_t> padded(std::vector<uint8_t> value)
{
    value.resize((value.size() + 3) / 4 * 4);
    return value;
}

std::vector<uint8_t> model_bitmap(const std::set<uint32_t> &bits)
{
    const uint32_t last = bits.empty() ? 0 : *bits.rbegin();
    std::vector<uint8_t> out = be32(last);
    out.resize(4 + last / 8 + 1);
    for (const uint32_t bit : bits)
        out[4 + bit / 8] = static_cast<uint8_t>(out[4 + bit / 8] | 1U << bit % 8);
    return padded(out);
}

std::vector<uint8_t> model_rows(const model_tree &tree)
{
    const size_t row_size = (tree.alphabet.size() + 1) * 2;
    std::vector<uint8_t> rows(tree.last_id == 0 ? 0 : (tree.last_id + 1) * row_size);
    size_t cursor = 0;
    for (const model_node &node : tree.nodes) {
        const bool terminal = (node.status & 1) != 0;
        if ((node.status & 24) != 16 && !rows.empty()) {
            const size_t row = node.id * row_size;
            put16_at(rows, row, terminal ? cursor : 0xFFFF);
            for (const auto &[byte, target] : node.edges)
                for (size_t code = 1; code <= tree.alphabet.size(); ++code)
                    if (tree.alphabet[code - 1].first == byte)
                        put16_at(rows, row + code * 2, tree.nodes[target].id);
        }
        cursor += (node.status & 2) != 0 ? 1U : 0U;
        cursor += terminal ? node.items.size() + 1 : 0;
    }
    return padded(rows);
}

std::vector<uint8_t> model_c_edges(const model_tree &tree)
{
    std::vector<uint8_t> out(tree.c_edges_length * size_t{4});
    for (const model_node &node : tree.nodes) {
        for (const auto &[byte, target] : node.edges) {
            if (node.compressed.count(byte) == 0)
                continue;
            const uint32_t length = node.compressed.at(byte);
            const size_t record = tree.nodes[target].id * size_t{4};
            out[record + 2] = static_cast<uint8_t>(length);
            size_t at = target;
            for (uint32_t i = 0; i < length; ++i) {
                out[record + 3 + i] = tree.nodes[at].edges[0].first;
                at = tree.nodes[at].edges[0].second;
            }
            put16_at(out, record, tree.nodes[at].id);
        }
    }
    return out;
}

std::vector<uint8_t> model_blob(const model_tree &tree)
{
    std::vector<uint8_t> items;
    for (const model_node &node : tree.nodes) {
        if ((node.status & 2) != 0)
            append(items, be32(node.mindata | 0xFFFE0000));
        if ((node.status & 1) != 0)
            append(items, be32(static_cast<uint32_t>(node.items.size())));
        for (const uint32_t id : node.items)
            append(items, be32(id));
    }
    std::vector<uint8_t> map(256, 0);
    for (unsigned c = 0; c < 256; ++c)
        for (size_t i = 0; i < tree.alphabet.size(); ++i)
            if (tree.alphabet[i].first ==
                folded(static_cast<char>(c), (tree.config & ALPHA_CONFIG_ICASE_ENABLE) != 0))
                map[c] = static_cast<uint8_t>(i + 1);
    const auto width = static_cast<uint32_t>(tree.alphabet.size() + 1);
    return joined({record(29, model_rows(tree)), record(27, model_c_edges(tree)), record(30, items),
                   record(31, model_bitmap(tree.exact)), record(28, model_bitmap(tree.chain_ids)),
                   record(33, joined({record(25, be32(width)), record(26, map)})),
                   record(32, be32(tree.item_max))});
}

pattern_info random_info(std::mt19937 &random, const std::string &bytes, pattern_type_t type)
{
    pattern_info info = make_info(bytes, random_below(random, 3000), type);
    info.item_id |= random() % 4 == 0 ? 0x90000000U : 0U;
    info.mindata = random() % 8 == 0 ? 65536 : random_below(random, 50);
    info.priority = random_below(random, 3);
    info.preempt = random() % 4 == 0 ? 1 : 0;
    return info;
}

TEST(radix_tree_definition, the_blob_is_that_of_the_definition)
{
    std::mt19937 random(78);
    for (uint32_t round = 0; round < rounds(6000); ++round) {
        const auto config = static_cast<uint8_t>((round % 2 == 0 ? 0 : ALPHA_CONFIG_SORT_ENABLE) |
                                                 (round % 3 == 0 ? ALPHA_CONFIG_ICASE_ENABLE : 0));
        const pattern_type_t type = round % 4 < 2 ? PATTERN_PREFIX : PATTERN_SUFFIX;
        const std::string_view letters = round % 5 == 0 ? "abcdefghijklmnop" : "abA";
        model_tree tree;
        tree.config = config;
        rt_build_t build;
        ASSERT_EQ(radix_tree_init(build, config), 0);
        ps_preempt preempts;
        const size_t nr = 1 + random() % (round % 7 == 0 ? 60 : 8);
        for (size_t i = 0; i < nr; ++i) {
            const std::string bytes = random_string(random, letters, 0, 2 + i % 12);
            const pattern_info info = random_info(random, bytes, type);
            const bool exact = random() % 3 == 0;
            ASSERT_EQ(exact ? radix_tree_register_exact(build, info)
                            : radix_tree_register(build, info),
                      0);
            if (info.preempt != 0) {
                pattern_preempt_register(preempts, info);
                continue;
            }
            if (exact)
                tree.exact.insert(info.item_id & 0x0FFFFFFF);
            model_insert(tree, info);
        }
        pattern_preempt_resolve_conflict(preempts);
        for (const preempt &p : preempts)
            model_insert(tree, pattern_preempt_info(p));
        ASSERT_EQ(radix_tree_finalize(build), 0);
        model_chains(tree);
        model_numbers(tree);
        model_alphabet(tree);
        ASSERT_EQ(blob_of(build), model_blob(tree)) << "round " << round;
    }
}

} // namespace
