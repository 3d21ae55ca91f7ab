#include <algorithm>

#include "module_error.h"
#include "pattern_tlv.h"
#include "radix_tree.h"

namespace
{

constexpr uint32_t RT_EXACT_BITMAP_BITS = 1024;
constexpr uint32_t RT_C_EDGES_BITMAP_BITS = 65536;

/// Follows the edge with byte `c`, which is made if there is none. Returns the target.
uint32_t follow_or_create(rt_build &build, uint32_t node, uint8_t c)
{
    const uint32_t target = pattern_oe_find(build.rt_oe, build.rt_l_state[node].rt_l_oe, c);
    if (target != PATTERN_NONE)
        return target;
    const auto created = static_cast<uint32_t>(build.rt_l_state.size());
    build.rt_l_state.emplace_back();
    pattern_oe_add(build.rt_oe, build.rt_l_state[node].rt_l_oe, created, c);
    return created;
}

int radix_tree_do_register(rt_build &build, const pattern_info &info)
{
    if (build.rt_l_state.empty())
        build.rt_l_state.emplace_back();
    uint32_t at = 0;
    for (uint32_t i = 0; i < info.pattern_len; ++i) {
        const uint32_t from = info.type == PATTERN_SUFFIX ? info.pattern_len - 1 - i : i;
        const auto c = static_cast<uint8_t>(info.pattern[from]);
        at = follow_or_create(build, at, conv_char(build.rt_alphabet.config, c));
    }
    rt_state &node = build.rt_l_state[at];
    pattern_item_add(build.rt_item, node.rt_l_item, info.item_id, PATTERN_NO_OFFSET);
    node.rt_status |= RT_STATUS_TERMINAL;
    if (info.preempt != 0)
        node.rt_status |= RT_STATUS_MINDATA;
    node.rt_mindata = info.mindata;
    ++build.rt_nr_pattern;
    return MODULE_SUCCESS;
}

void fill_exact_bitmap(rt_build &build, uint32_t idx)
{
    bitmap_build_t &bitmap = build.rt_exact_bitmap;
    uint64_t nr_bit = bitmap_build_tot_size(bitmap);
    if (nr_bit == 0)
        nr_bit = RT_EXACT_BITMAP_BITS;
    while (nr_bit <= idx)
        nr_bit *= 2;
    if (nr_bit != bitmap_build_tot_size(bitmap))
        bitmap_build_grow(bitmap, nr_bit);
    bitmap_build_set(bitmap, idx);
}

/// Tells whether the node can stand inside a chain.
bool passes_through(const rt_state &node)
{
    return node.rt_l_oe.nr == 1 && (node.rt_status & (RT_STATUS_TERMINAL | RT_STATUS_MINDATA)) == 0;
}

uint32_t only_child(const rt_build &build, const rt_state &node)
{
    return build.rt_oe.edge[node.rt_l_oe.first].state;
}

/// Makes a compressed edge of the run of nodes behind `entry`, when it has two nodes or more.
void compress(rt_build &build, const oe &entry)
{
    rt_ce chain{entry.state, entry.state, 0, entry.oe_char};
    for (; passes_through(build.rt_l_state[chain.ce_endstate]); ++chain.ce_len)
        chain.ce_endstate = only_child(build, build.rt_l_state[chain.ce_endstate]);
    if (chain.ce_len < 2)
        return;
    for (uint32_t at = chain.ce_first; at != chain.ce_endstate;
         at = only_child(build, build.rt_l_state[at]))
        build.rt_l_state[at].rt_status |= RT_STATUS_CHAIN;
    build.rt_l_state[chain.ce_first].rt_status |= RT_STATUS_CHAIN_FIRST;
    build.rt_l_c_edges.push_back(chain);
}

/// Finds the chains. Edges that leave the start state are never compressed.
void radix_tree_create_c_edges(rt_build &build)
{
    for (size_t at = 1; at < build.rt_l_state.size(); ++at) {
        const rt_state &node = build.rt_l_state[at];
        if ((node.rt_status & RT_STATUS_CHAIN) != 0)
            continue;
        for (uint32_t e = node.rt_l_oe.first; e != PATTERN_NONE; e = build.rt_oe.edge[e].next)
            compress(build, build.rt_oe.edge[e]);
    }
    std::sort(build.rt_l_c_edges.begin(), build.rt_l_c_edges.end(),
              [](const rt_ce &a, const rt_ce &b) { return a.ce_first < b.ce_first; });
}

/// Gives each chain the word index of its record as number.
void number_chains(rt_build &build)
{
    bitmap_build_t &bitmap = build.rt_c_edges_bitmap;
    build.rt_c_edges_length = 1;
    for (const rt_ce &chain : build.rt_l_c_edges) {
        const uint32_t id = build.rt_c_edges_length;
        uint64_t nr_bit = bitmap_build_tot_size(bitmap);
        if (id >= nr_bit / 8)
            nr_bit += RT_C_EDGES_BITMAP_BITS;
        while (nr_bit <= id)
            nr_bit += RT_C_EDGES_BITMAP_BITS;
        if (nr_bit != bitmap_build_tot_size(bitmap))
            bitmap_build_grow(bitmap, nr_bit);
        build.rt_l_state[chain.ce_first].rt_id = id;
        bitmap_build_set(bitmap, id);
        build.rt_c_edges_length += (chain.ce_len + 2) / 4 + 1;
    }
}

/// Returns the next number for an ordinary node. Behind numbers that chains took it leaves one
/// unused. Oddity O160.
uint32_t next_number(const bitmap_build_t &chains, uint32_t &counter)
{
    uint32_t number = counter;
    while (bitmap_build_test(chains, number))
        number = counter++;
    ++counter;
    return number;
}

void number_nodes(rt_build &build)
{
    uint32_t counter = 0;
    for (rt_state &node : build.rt_l_state) {
        if ((node.rt_status & RT_STATUS_CHAIN) != 0)
            continue;
        node.rt_id = next_number(build.rt_c_edges_bitmap, counter);
        build.rt_last_state_id = node.rt_id;
    }
    // An empty bitmap has a last index of 0, which raises nothing.
    build.rt_last_state_id =
        std::max(build.rt_last_state_id, build.rt_c_edges_bitmap.bitmap_last_idx);
}

int collect_alphabet(rt_build &build)
{
    for (const rt_state &node : build.rt_l_state) {
        if ((node.rt_status & RT_STATUS_CHAIN) != 0)
            continue;
        const int code = pattern_oe_count_bytes(build.rt_oe, node.rt_l_oe, build.rt_alphabet);
        if (code != MODULE_SUCCESS)
            return code;
    }
    pattern_alphabet_finalize(build.rt_alphabet);
    return MODULE_SUCCESS;
}

void mark_leaves(rt_build &build)
{
    for (rt_state &node : build.rt_l_state) {
        if ((node.rt_status & RT_STATUS_TERMINAL) == 0)
            continue;
        if (node.rt_l_oe.nr == 0)
            node.rt_status |= RT_STATUS_LEAF;
        build.rt_nr_item_max = std::max(build.rt_nr_item_max, node.rt_l_item.nr);
    }
}

int finalize(rt_build &build)
{
    (void)pattern_preempt_finalize(build.rt_l_preempt, [&](const pattern_info &info) {
        return radix_tree_do_register(build, info);
    }); // which succeeds or throws
    radix_tree_create_c_edges(build);
    number_chains(build);
    number_nodes(build);
    const int code = collect_alphabet(build);
    if (code == MODULE_SUCCESS)
        mark_leaves(build);
    return code;
}

} // namespace

int radix_tree_init(rt_build &build, uint8_t alpha_config)
{
    return module_guard([&]() -> int {
        build = {};
        build.rt_l_state.emplace_back();
        pattern_alphabet_init(build.rt_alphabet, RADIX_NR_META);
        bitmap_build_init(build.rt_exact_bitmap, RT_EXACT_BITMAP_BITS);
        bitmap_build_init(build.rt_c_edges_bitmap, RT_C_EDGES_BITMAP_BITS);
        build.rt_alphabet.config = alpha_config;
        return MODULE_SUCCESS;
    });
}

int radix_tree_register(rt_build &build, const pattern_info &info)
{
    return module_guard([&]() -> int {
        if (info.preempt == 0)
            return radix_tree_do_register(build, info);
        pattern_preempt_register(build.rt_l_preempt, info);
        return MODULE_SUCCESS;
    });
}

int radix_tree_register_exact(rt_build &build, const pattern_info &info)
{
    return module_guard([&]() -> int {
        if (info.preempt == 0)
            fill_exact_bitmap(build, info.item_id & RT_EXACT_ID_MASK);
        return radix_tree_register(build, info);
    });
}

int radix_tree_finalize(rt_build &build)
{
    return module_guard([&] { return finalize(build); });
}

void radix_tree_clean(rt_build &build)
{
    build = {};
}
