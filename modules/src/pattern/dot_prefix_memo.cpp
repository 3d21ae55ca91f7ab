#include "dot_prefix_memo.h"

#include <algorithm>
#include <bit>

namespace
{

/// Gives `node` and what its bytes lead to a run of places, and then, behind that run, what its
/// wildcard edge leads to: no merge ever follows that edge.
void number_places(merge_memo &memo, const dp_build &build)
{
    uint32_t next = 0;
    std::vector<uint32_t> stack;
    for (uint32_t root = 0; root != PATTERN_NONE;) {
        uint32_t wildcard = PATTERN_NONE;
        stack.push_back(root);
        while (!stack.empty()) {
            const uint32_t at = stack.back();
            if (memo.place[at] != PATTERN_NONE) {
                memo.end[at] = next;
                stack.pop_back();
                continue;
            }
            memo.place[at] = next++;
            for (uint32_t t = build.dp_l_node[at].trans; t != PATTERN_NONE;
                 t = build.dp_trans_pool[t].next) {
                const dp_trans &trans = build.dp_trans_pool[t];
                if (trans.c == DP_WILDCARD)
                    wildcard = trans.node;
                else
                    stack.push_back(trans.node);
            }
        }
        root = wildcard;
    }
}

/// Tells whether something changed below `node` after `clock`.
bool has_changed(const merge_memo &memo, uint32_t node, uint32_t clock)
{
    const size_t size = memo.place.size();
    size_t left = memo.place[node] + size;
    size_t right = memo.end[node] + size;
    for (; left < right; left /= 2, right /= 2) {
        if ((left & 1) != 0 && memo.changed[left++] > clock)
            return true;
        if ((right & 1) != 0 && memo.changed[--right] > clock)
            return true;
    }
    return false;
}

bool holds(const merge_memo &memo, const merge_known &known)
{
    return known.clock == memo.clock ||
           (!has_changed(memo, known.x, known.clock) && !has_changed(memo, known.y, known.clock));
}

size_t slot_of(const merge_memo &memo, uint32_t x, uint32_t y)
{
    const uint64_t mixed = (uint64_t{x} << 32 | y) * 0x9E3779B97F4A7C15ULL;
    return static_cast<size_t>(mixed >> 32) & (memo.known.size() - 1);
}

} // namespace

void merge_memo_init(merge_memo &memo, const dp_build &build)
{
    const size_t nodes = build.dp_l_node.size();
    memo.place.assign(nodes, PATTERN_NONE);
    memo.end.assign(nodes, 0);
    memo.changed.assign(2 * nodes, 0);
    memo.known.assign(std::bit_ceil(2 * nodes), {});
    memo.clock = 0;
    number_places(memo, build);
}

void merge_memo_change(merge_memo &memo, uint32_t node)
{
    ++memo.clock;
    for (size_t at = memo.place[node] + memo.place.size(); at > 0; at /= 2)
        memo.changed[at] = memo.clock;
}

const merge_known *merge_memo_find(const merge_memo &memo, uint32_t x, uint32_t y)
{
    const merge_known &known = memo.known[slot_of(memo, x, y)];
    return known.x == x && known.y == y && holds(memo, known) ? &known : nullptr;
}

void merge_memo_store(merge_memo &memo, uint32_t x, uint32_t y, merge_result merge_known::*field,
                      merge_result result)
{
    merge_known &known = memo.known[slot_of(memo, x, y)];
    if (known.x != x || known.y != y || !holds(memo, known))
        known = {x, y};
    known.clock = memo.clock;
    known.*field = result;
}
