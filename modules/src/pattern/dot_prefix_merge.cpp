#include "dot_prefix_propagation.h"

namespace
{

/// What the comparison of two nodes X and Y says.
enum merge_result : int {
    MERGE_PENDING = -1, ///< a pair of their children comes first
    MERGE_UNDECIDED = 0,
    MERGE_KEEP_BOTH = 1,
    MERGE_X_COVERS = 2, ///< Y is not needed beside X
    MERGE_Y_COVERS = 3,
};

/// A pair of nodes with edges, some of which are merged already.
struct merge_frame {
    uint32_t x;
    uint32_t y;
    uint32_t edge;   ///< the edge of x whose pair is on the stack above
    int kept;        ///< result of the first edge, or MERGE_PENDING
    bool first_path; ///< only first edges of either side lead here from the bottom of the stack
};

struct merger {
    dp_build &build;
    std::vector<merge_frame> stack;
    std::vector<int> first_path; ///< results of the last merge along first edges, deepest first
    std::vector<uint32_t> mark;  ///< by node: the last inclusion test that saw it
    uint32_t stamp = 0;
    bool changed = false; ///< the last merge removed a propagation
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
int merge_with_leaf(merger &m, uint32_t x, uint32_t y)
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
int merge_end(merger &m, uint32_t x, uint32_t y)
{
    if (node_of(m, x).nb_trans != 0)
        return merge_with_leaf(m, x, y);
    if (node_of(m, y).nb_trans == 0)
        return node_of(m, x).l_item.nr <= node_of(m, y).l_item.nr ? MERGE_Y_COVERS : MERGE_X_COVERS;
    const int mirrored = merge_with_leaf(m, y, x);
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
    m.changed = true;
    return true;
}

/// Goes on with the pair on top of the stack. `returned` is the result of the pair of its last
/// edge, MERGE_PENDING at first. Returns the result of the pair, or MERGE_PENDING with the pair
/// of its next edge on top.
int merge_step(merger &m, int returned)
{
    merge_frame &top = m.stack.back();
    if (node_of(m, top.x).nb_trans == 0 || node_of(m, top.y).nb_trans == 0)
        return merge_end(m, top.x, top.y);
    if (returned != MERGE_PENDING) {
        if (top.kept == MERGE_PENDING)
            top.kept = returned;
        else if (top.kept != returned)
            return MERGE_KEEP_BOTH;
        if (top.kept == MERGE_KEEP_BOTH)
            return MERGE_UNDECIDED;
        top.edge = m.build.dp_trans_pool[top.edge].next;
    }
    if (top.edge == PATTERN_NONE) {
        if (!drop_only_propagation(m, top.x, top.y))
            (void)drop_only_propagation(m, top.y, top.x); // either way the pair is done
        return top.kept;
    }
    const dp_trans &edge = m.build.dp_trans_pool[top.edge];
    const uint32_t partner = find_edge(m, top.y, edge.c);
    if (partner == PATTERN_NONE)
        return MERGE_UNDECIDED;
    const bool first_path =
        top.first_path && top.edge == node_of(m, top.x).trans && partner == node_of(m, top.y).trans;
    const uint32_t y = m.build.dp_trans_pool[partner].node;
    m.stack.push_back({edge.node, y, node_of(m, edge.node).trans, MERGE_PENDING, first_path});
    return MERGE_PENDING;
}

/// Merges X and Y. Leaves in `first_path` the result of the pair, last, and before it those of
/// the pairs along first edges that a merge of their own would repeat.
void merge(merger &m, uint32_t x, uint32_t y)
{
    m.first_path.clear();
    m.changed = false;
    m.stack.push_back({x, y, node_of(m, x).trans, MERGE_PENDING, true});
    int result = MERGE_PENDING;
    while (!m.stack.empty()) {
        result = merge_step(m, result);
        if (result == MERGE_PENDING)
            continue;
        if (m.stack.back().first_path)
            m.first_path.push_back(result);
        m.stack.pop_back();
    }
    if (m.changed)
        m.first_path.assign(1, result);
}

/// Compares two nodes along their first edges, until one covers the other or the numbers of
/// edges differ.
int compare(merger &m, uint32_t x, uint32_t y)
{
    int result = MERGE_KEEP_BOTH;
    m.first_path.clear();
    while (node_of(m, x).nb_trans == node_of(m, y).nb_trans) {
        if (m.first_path.empty())
            merge(m, x, y);
        result = m.first_path.back();
        m.first_path.pop_back();
        if (result == MERGE_X_COVERS || result == MERGE_Y_COVERS)
            break;
        x = first_child(m, x);
        y = first_child(m, y);
    }
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
            const int result =
                a == b ? int{MERGE_KEEP_BOTH} : compare(m, pool[a].node, pool[b].node);
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
    merger m{build, {}, {}, std::vector<uint32_t>(build.dp_l_node.size(), 0)};
    for (uint32_t at = 0; at < build.dp_l_node.size(); ++at) {
        dp_node &node = build.dp_l_node[at];
        if (node.failure != PATTERN_NONE) {
            dot_prefix_push_propagation(build, at, node.failure);
            node.failure = PATTERN_NONE;
        }
        if (node.nb_propagations > 1)
            merge_propagations(m, at);
    }
}
