#include "dot_prefix_propagation.h"

#include <algorithm>
#include <array>

namespace
{

/// Nodes of one depth, in order of numbers.
struct depth_groups {
    std::vector<uint32_t> node;  ///< by depth
    std::vector<uint32_t> first; ///< by depth: position of its first node; one more at the end
};

depth_groups group_by_depth(const dp_build &build, uint32_t max_depth)
{
    depth_groups groups;
    groups.first.assign(size_t{max_depth} + 2, 0);
    for (const dp_node &node : build.dp_l_node)
        if (node.depth <= max_depth)
            ++groups.first[node.depth + 1];
    for (size_t depth = 1; depth < groups.first.size(); ++depth)
        groups.first[depth] += groups.first[depth - 1];
    groups.node.resize(groups.first.back());
    std::vector<uint32_t> next(groups.first);
    for (uint32_t at = 0; at < build.dp_l_node.size(); ++at)
        if (build.dp_l_node[at].depth <= max_depth)
            groups.node[next[build.dp_l_node[at].depth]++] = at;
    return groups;
}

/// A node below a wildcard node and the node with the same bytes below a specific one.
struct node_pair {
    uint32_t wildcard;
    uint32_t specific;
};

void append_items(dp_build &build, node_pair pair)
{
    const list_pattern_item from = build.dp_l_node[pair.wildcard].l_item;
    for (uint32_t i = from.first; i != PATTERN_NONE; i = build.dp_item[i].next) {
        const pattern_item item = build.dp_item[i];
        pattern_item_add(build.dp_item, build.dp_l_node[pair.specific].l_item, item.id,
                         item.offset);
    }
}

/// Stack of the pairs still to visit, and the children of one node by byte (PATTERN_NONE between
/// uses).
struct pair_walk {
    std::vector<node_pair> stack;
    std::array<uint32_t, 256> child;
};

/// Puts the pairs of the edges that both nodes have on the stack. Returns whether there are any.
bool push_shared_edges(dp_build &build, node_pair pair, pair_walk &walk)
{
    const auto each_byte = [&](uint32_t node, auto &&use) {
        for (uint32_t t = build.dp_l_node[node].trans; t != PATTERN_NONE;
             t = build.dp_trans_pool[t].next)
            if (build.dp_trans_pool[t].c != DP_WILDCARD)
                use(build.dp_trans_pool[t]);
    };
    const size_t before = walk.stack.size();
    each_byte(pair.specific, [&](const dp_trans &t) { walk.child[t.c] = t.node; });
    each_byte(pair.wildcard, [&](const dp_trans &t) {
        if (walk.child[t.c] != PATTERN_NONE)
            walk.stack.push_back({t.node, walk.child[t.c]});
    });
    each_byte(pair.specific, [&](const dp_trans &t) { walk.child[t.c] = PATTERN_NONE; });
    return walk.stack.size() != before;
}

void visit_pair(dp_build &build, node_pair pair, pair_walk &walk)
{
    append_items(build, pair);
    const uint32_t nb_trans = build.dp_l_node[pair.wildcard].nb_trans;
    if (nb_trans == 0)
        return;
    dp_node &specific = build.dp_l_node[pair.specific];
    const bool shares = push_shared_edges(build, pair, walk);
    // The only edge of a wildcard node leads nowhere else: a shared one needs no propagation.
    if (specific.failure != pair.wildcard && (!shares || nb_trans > 1))
        dot_prefix_push_propagation(build, pair.specific, pair.wildcard);
    if (shares && specific.failure != PATTERN_NONE &&
        build.dp_l_node[specific.failure].nb_trans == 1)
        specific.failure = PATTERN_NONE;
}

} // namespace

void dot_prefix_push_propagation(dp_build &build, uint32_t node, uint32_t target)
{
    dp_node &from = build.dp_l_node[node];
    build.dp_propagation_pool.push_back({target, from.propagation});
    from.propagation = static_cast<uint32_t>(build.dp_propagation_pool.size() - 1);
    ++from.nb_propagations;
}

void dot_prefix_propagate(dp_build &build, const std::vector<uint32_t> &wildcards)
{
    const depth_groups groups = group_by_depth(build, build.wildcard_depth);
    pair_walk walk;
    walk.child.fill(PATTERN_NONE);
    for (uint32_t depth = 1; depth <= build.wildcard_depth; ++depth) {
        for (uint32_t i = groups.first[depth]; i < groups.first[depth + 1]; ++i) {
            if (groups.node[i] == wildcards[depth])
                continue;
            walk.stack.push_back({wildcards[depth], groups.node[i]});
            while (!walk.stack.empty()) {
                const node_pair pair = walk.stack.back();
                walk.stack.pop_back();
                visit_pair(build, pair, walk);
            }
        }
    }
}

void dot_prefix_sort_propagation(dp_build &build)
{
    std::vector<uint32_t> entries; // positions in the pool
    for (dp_node &node : build.dp_l_node) {
        if (node.nb_propagations < 2)
            continue;
        entries.clear();
        for (uint32_t p = node.propagation; p != PATTERN_NONE;
             p = build.dp_propagation_pool[p].next)
            entries.push_back(p);
        const auto priority = [&](uint32_t p) {
            return build.dp_l_node[build.dp_propagation_pool[p].node].priority;
        };
        std::stable_sort(entries.begin(), entries.end(),
                         [&](uint32_t a, uint32_t b) { return priority(a) < priority(b); });
        uint32_t next = PATTERN_NONE;
        for (auto p = entries.rbegin(); p != entries.rend(); ++p) {
            build.dp_propagation_pool[*p].next = next;
            next = *p;
        }
        node.propagation = next;
    }
}
