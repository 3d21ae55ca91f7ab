#include <utility>

#include "dot_prefix_memo.h"
#include "dot_prefix_propagation.h"

namespace
{

/// A pair of nodes with edges, some of which are merged already.
struct merge_frame {
    uint32_t x;
    uint32_t y;
    uint32_t edge;                     ///< the edge of x whose pair is on the stack above
    uint32_t clock;                    ///< changes that had come when the pair was pushed
    merge_result kept = MERGE_PENDING; ///< result of the first edge
};

struct merger {
    dp_build &build;
    std::vector<uint32_t> mark; ///< by node: the last inclusion test that saw it
    uint32_t stamp = 0;
    std::vector<merge_frame> stack = {};
    std::vector<std::pair<uint32_t, uint32_t>> path = {}; ///< the pairs of a comparison
    merge_memo memo = {};
};

const dp_node &node_of(const merger &m, uint32_t at)
{
    return m.build.dp_l_node[at];
}

uint32_t first_child(const merger &m, uint32_t at)
{
    return m.build.dp_trans_pool[node_of(m, at).trans].node;
}

uint32_t find_edge(const merger &m, uint32_t at, uint16_t c)
{
    uint32_t t = node_of(m, at).trans;
    while (t != PATTERN_NONE && m.build.dp_trans_pool[t].c != c)
        t = m.build.dp_trans_pool[t].next;
    return t;
}

/// Tells whether all propagations of `part` are among those of `whole`, and whether `member`, if
/// it is not PATTERN_NONE, is as well.
bool includes(merger &m, uint32_t whole, uint32_t part, uint32_t member)
{
    const auto &pool = m.build.dp_propagation_pool;
    ++m.stamp;
    for (uint32_t p = node_of(m, whole).propagation; p != PATTERN_NONE; p = pool[p].next)
        m.mark[pool[p].node] = m.stamp;
    for (uint32_t p = node_of(m, part).propagation; p != PATTERN_NONE; p = pool[p].next)
        if (m.mark[pool[p].node] != m.stamp)
            return false;
    return member == PATTERN_NONE || m.mark[member] == m.stamp;
}

/// Merges X, which has edges, and Y, which has none.
merge_result merge_with_leaf(merger &m, uint32_t x, uint32_t y)
{
    const dp_node &node_x = node_of(m, x);
    const dp_node &node_y = node_of(m, y);
    if (node_y.l_item.nr < node_x.l_item.nr && node_x.nb_propagations > node_y.nb_propagations &&
        includes(m, x, y, PATTERN_NONE))
        return MERGE_X_COVERS;
    if (node_y.l_item.nr > node_x.l_item.nr && includes(m, y, x, x))
        return MERGE_Y_COVERS;
    return MERGE_KEEP_BOTH;
}

/// Merges X and Y, one of which at least has no edge.
merge_result merge_end(merger &m, uint32_t x, uint32_t y)
{
    if (node_of(m, x).nb_trans != 0)
        return merge_with_leaf(m, x, y);
    if (node_of(m, y).nb_trans == 0)
        return node_of(m, x).l_item.nr <= node_of(m, y).l_item.nr ? MERGE_Y_COVERS : MERGE_X_COVERS;
    const merge_result mirrored = merge_with_leaf(m, y, x);
    if (mirrored == MERGE_X_COVERS)
        return MERGE_Y_COVERS;
    return mirrored == MERGE_Y_COVERS ? MERGE_X_COVERS : mirrored;
}

/// Removes the only propagation of `at` if it leads to `target`.
bool drop_only_propagation(merger &m, uint32_t at, uint32_t target)
{
    dp_node &node = m.build.dp_l_node[at];
    if (node.nb_propagations != 1 || m.build.dp_propagation_pool[node.propagation].node != target)
        return false;
    node.propagation = PATTERN_NONE;
    node.nb_propagations = 0;
    merge_memo_change(m.memo, at);
    return true;
}

/// Takes the result of the pair of the last edge into account. Returns the result of the pair on
/// top of the stack where that decides it, or MERGE_PENDING.
merge_result take_result(merger &m, merge_frame &top, merge_result returned)
{
    if (top.kept == MERGE_PENDING)
        top.kept = returned;
    else if (top.kept != returned)
        return MERGE_KEEP_BOTH;
    if (top.kept == MERGE_KEEP_BOTH)
        return MERGE_UNDECIDED;
    top.edge = m.build.dp_trans_pool[top.edge].next;
    return MERGE_PENDING;
}

merge_result known_merge(const merger &m, uint32_t x, uint32_t y)
{
    const merge_known *known = merge_memo_find(m.memo, x, y);
    return known != nullptr ? known->merged : MERGE_PENDING;
}

void push_pair(merger &m, uint32_t x, uint32_t y)
{
    m.stack.push_back({x, y, node_of(m, x).trans, m.memo.clock});
}

/// Goes on with the pair on top of the stack, whose nodes both have edges. `returned` is the
/// result of the pair of its last edge, MERGE_PENDING at first. Returns the result of the pair, or
/// MERGE_PENDING with the pair of an edge on top that is not known.
merge_result merge_edges(merger &m, merge_result returned)
{
    merge_frame &top = m.stack.back();
    for (;;) {
        if (returned != MERGE_PENDING)
            if (const merge_result result = take_result(m, top, returned); result != MERGE_PENDING)
                return result;
        if (top.edge == PATTERN_NONE) {
            if (!drop_only_propagation(m, top.x, top.y))
                (void)drop_only_propagation(m, top.y, top.x); // either way the pair is done
            return top.kept;
        }
        const dp_trans &edge = m.build.dp_trans_pool[top.edge];
        const uint32_t partner = find_edge(m, top.y, edge.c);
        if (partner == PATTERN_NONE)
            return MERGE_UNDECIDED;
        const uint32_t y = m.build.dp_trans_pool[partner].node;
        returned = known_merge(m, edge.node, y);
        if (returned == MERGE_PENDING) {
            push_pair(m, edge.node, y);
            return MERGE_PENDING;
        }
    }
}

/// Merges X and Y. What a merge without a change said, it says again until something changes.
merge_result merge(merger &m, uint32_t x, uint32_t y)
{
    merge_result result = known_merge(m, x, y);
    if (result != MERGE_PENDING)
        return result;
    push_pair(m, x, y);
    while (!m.stack.empty()) {
        const merge_frame &top = m.stack.back();
        const bool is_end = node_of(m, top.x).nb_trans == 0 || node_of(m, top.y).nb_trans == 0;
        result = is_end ? merge_end(m, top.x, top.y) : merge_edges(m, result);
        if (result == MERGE_PENDING)
            continue;
        const merge_frame done = m.stack.back();
        m.stack.pop_back();
        if (done.clock == m.memo.clock)
            merge_memo_store(m.memo, done.x, done.y, &merge_known::merged, result);
    }
    return result;
}

/// Compares two nodes along their first edges, until one covers the other or the numbers of
/// edges differ. Every pair on the way has the result of the first.
merge_result compare(merger &m, uint32_t x, uint32_t y)
{
    merge_result result = MERGE_KEEP_BOTH;
    const uint32_t clock = m.memo.clock;
    m.path.clear();
    while (node_of(m, x).nb_trans == node_of(m, y).nb_trans) {
        const merge_known *known = merge_memo_find(m.memo, x, y);
        if (known != nullptr && known->compared != MERGE_PENDING) {
            result = known->compared;
            break;
        }
        m.path.emplace_back(x, y);
        const merge_result merged = merge(m, x, y);
        if (merged == MERGE_X_COVERS || merged == MERGE_Y_COVERS) {
            result = merged;
            break;
        }
        x = first_child(m, x);
        y = first_child(m, y);
    }
    if (clock == m.memo.clock)
        for (const auto &[path_x, path_y] : m.path)
            merge_memo_store(m.memo, path_x, path_y, &merge_known::compared, result);
    return result;
}

void remove_propagation(dp_build &build, uint32_t at, uint32_t entry)
{
    uint32_t *link = &build.dp_l_node[at].propagation;
    while (*link != entry)
        link = &build.dp_propagation_pool[*link].next;
    *link = build.dp_propagation_pool[entry].next;
    --build.dp_l_node[at].nb_propagations;
}

void merge_propagations(merger &m, uint32_t at)
{
    const auto &pool = m.build.dp_propagation_pool;
    for (uint32_t a = node_of(m, at).propagation; a != PATTERN_NONE; a = pool[a].next) {
        for (uint32_t b = node_of(m, at).propagation; b != PATTERN_NONE; b = pool[b].next) {
            const merge_result result =
                a == b ? MERGE_KEEP_BOTH : compare(m, pool[a].node, pool[b].node);
            if (result == MERGE_X_COVERS)
                remove_propagation(m.build, at, b);
            if (result != MERGE_Y_COVERS)
                continue;
            remove_propagation(m.build, at, a);
            break;
        }
    }
}

} // namespace

void dot_prefix_propagation_merge(dp_build &build)
{
    merger m{build, std::vector<uint32_t>(build.dp_l_node.size())};
    merge_memo_init(m.memo, build);
    for (uint32_t at = 0; at < build.dp_l_node.size(); ++at) {
        dp_node &node = build.dp_l_node[at];
        const bool had_failure = node.failure != PATTERN_NONE;
        if (had_failure) {
            dot_prefix_push_propagation(build, at, node.failure);
            node.failure = PATTERN_NONE;
        }
        const uint32_t propagations = node.nb_propagations;
        if (propagations > 1)
            merge_propagations(m, at);
        // The nodes that were compared are of the depth of this one, which lies below none of them.
        if (had_failure || node.nb_propagations != propagations)
            merge_memo_change(m.memo, at);
    }
}
