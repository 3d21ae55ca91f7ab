#include <algorithm>

#include "dot_prefix.h"
#include "dot_prefix_propagation.h"
#include "module_error.h"
#include "pattern_tlv.h"

namespace
{

/// Follows the edge with symbol `c`, which is made if there is none. Returns the target.
uint32_t follow_or_create(dp_build &build, uint32_t node, uint16_t c)
{
    for (uint32_t t = build.dp_l_node[node].trans; t != PATTERN_NONE;
         t = build.dp_trans_pool[t].next)
        if (build.dp_trans_pool[t].c == c)
            return build.dp_trans_pool[t].node;
    const auto created = static_cast<uint32_t>(build.dp_l_node.size());
    build.dp_l_node.emplace_back();
    dp_node &parent = build.dp_l_node[node];
    build.dp_l_node[created].depth = parent.depth + 1;
    build.dp_trans_pool.push_back({created, parent.trans, c});
    parent.trans = static_cast<uint32_t>(build.dp_trans_pool.size() - 1);
    ++parent.nb_trans;
    return created;
}

/// Returns the node behind `offset` wildcards, which is made if there is none. All offsets share
/// one chain of nodes, so that the way to an offset is walked once.
uint32_t wildcard_node(dp_build &build, uint32_t offset)
{
    std::vector<uint32_t> &chain = build.dp_wildcard;
    while (chain.size() <= offset)
        chain.push_back(follow_or_create(build, chain.back(), DP_WILDCARD));
    return chain[offset];
}

int dot_prefix_do_register(dp_build &build, const pattern_info &info)
{
    if (info.pattern_len == 0)
        return MODULE_ERR_INVALID;
    build.wildcard_depth = std::max(build.wildcard_depth, uint32_t{info.offset});
    uint32_t at = wildcard_node(build, info.offset);
    for (uint32_t i = 0; i < info.pattern_len; ++i)
        at = follow_or_create(build, at, static_cast<uint8_t>(info.pattern[i]));
    build.node_depth = std::max(build.node_depth, info.pattern_len + info.offset + 1);
    dp_node &node = build.dp_l_node[at];
    pattern_item_add(build.dp_item, node.l_item, info.item_id, PATTERN_NO_OFFSET);
    if (info.preempt != 0) {
        node.is_preempt = 1;
        node.mindata = info.mindata + (info.type == PATTERN_OFFSET ? uint32_t{info.offset} : 0U);
    }
    return MODULE_SUCCESS;
}

/// Counts the wildcard edges on the way to each node that were not the only choice. A node
/// without edges keeps priority 0. Oddity O163.
void dot_prefix_priority(dp_build &build)
{
    // Children have higher numbers than their parents.
    for (dp_node &node : build.dp_l_node) {
        if (node.nb_trans == 0)
            node.priority = 0;
        for (uint32_t t = node.trans; t != PATTERN_NONE; t = build.dp_trans_pool[t].next) {
            const dp_trans &trans = build.dp_trans_pool[t];
            const uint32_t step = trans.c == DP_WILDCARD && node.nb_trans > 1 ? 1 : 0;
            build.dp_l_node[trans.node].priority = node.priority + step;
        }
    }
}

/// Finds the wildcard node of each depth, which becomes the failure of all others of that depth.
int dot_prefix_failure(dp_build &build, std::vector<uint32_t> &wildcards)
{
    wildcards.assign(size_t{build.wildcard_depth} + 1, PATTERN_NONE);
    for (const dp_node &node : build.dp_l_node) {
        if (node.depth >= build.wildcard_depth || wildcards[node.depth + 1] != PATTERN_NONE)
            continue;
        for (uint32_t t = node.trans; t != PATTERN_NONE; t = build.dp_trans_pool[t].next) {
            if (build.dp_trans_pool[t].c != DP_WILDCARD)
                continue;
            wildcards[node.depth + 1] = build.dp_trans_pool[t].node;
            break;
        }
    }
    if (std::find(wildcards.begin() + 1, wildcards.end(), PATTERN_NONE) != wildcards.end())
        return MODULE_ERR_RANGE;
    for (uint32_t at = 1; at < build.dp_l_node.size(); ++at) {
        dp_node &node = build.dp_l_node[at];
        if (node.depth <= build.wildcard_depth && wildcards[node.depth] != at)
            node.failure = wildcards[node.depth];
    }
    return MODULE_SUCCESS;
}

int dot_prefix_create_alphabet_map(dp_build &build)
{
    for (const dp_node &node : build.dp_l_node) {
        for (uint32_t t = node.trans; t != PATTERN_NONE; t = build.dp_trans_pool[t].next) {
            const uint16_t c = build.dp_trans_pool[t].c;
            if (c == DP_WILDCARD)
                continue;
            const int code = pattern_alphabet_insert(build.alphabet, static_cast<uint8_t>(c));
            if (code != MODULE_SUCCESS)
                return code;
        }
    }
    return MODULE_SUCCESS;
}

int finalize(dp_build &build)
{
    int code = pattern_preempt_finalize(build.preempt, [&](const pattern_info &info) {
        return dot_prefix_do_register(build, info);
    });
    if (code != MODULE_SUCCESS)
        return code;
    dot_prefix_priority(build);
    std::vector<uint32_t> wildcards;
    code = dot_prefix_failure(build, wildcards);
    if (code != MODULE_SUCCESS)
        return code;
    dot_prefix_propagate(build, wildcards);
    dot_prefix_propagation_merge(build);
    dot_prefix_sort_propagation(build);
    return dot_prefix_create_alphabet_map(build);
}

} // namespace

int dot_prefix_init(dp_build &build)
{
    return module_guard([&]() -> int {
        build = {};
        build.dp_l_node.emplace_back();
        build.dp_wildcard.push_back(0);
        pattern_alphabet_init(build.alphabet, DOT_PREFIX_NR_META);
        return MODULE_SUCCESS;
    });
}

int dot_prefix_register(dp_build &build, const pattern_info &info)
{
    return module_guard([&]() -> int {
        if (info.preempt == 0)
            return dot_prefix_do_register(build, info);
        pattern_preempt_register(build.preempt, info);
        return MODULE_SUCCESS;
    });
}

int dot_prefix_finalize(dp_build &build)
{
    return module_guard([&] { return finalize(build); });
}

void dot_prefix_clean(dp_build &build)
{
    build = {};
}
