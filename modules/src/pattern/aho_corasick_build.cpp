#include <algorithm>
#include <unordered_map>
#include <utility>

#include "aho_corasick.h"
#include "module_error.h"
#include "pattern_tlv.h"

namespace
{

/// Item lists up to this length, taken together, are searched; longer ones are marked by id.
constexpr uint32_t AC_SEARCH_MAX = 16;

/// Follows the edge with byte `c`, which is made if there is none. Returns the target.
uint32_t follow_or_create(ac_build &build, uint32_t state, uint8_t c)
{
    const uint32_t target = pattern_oe_find(build.ac_oe, build.ac_l_state[state].ac_l_oe, c);
    if (target != PATTERN_NONE)
        return target;
    const auto created = static_cast<uint32_t>(build.ac_l_state.size());
    build.ac_l_state.emplace_back();
    build.ac_l_state[created].ac_distance = build.ac_l_state[state].ac_distance + 1;
    pattern_oe_add(build.ac_oe, build.ac_l_state[state].ac_l_oe, created, c);
    return created;
}

int aho_corasick_do_register(ac_build &build, const pattern_info &info)
{
    uint32_t at = 0;
    for (uint32_t i = 0; i < info.pattern_len; ++i) {
        const auto c = static_cast<uint8_t>(info.pattern[i]);
        at = follow_or_create(build, at, conv_char(build.ac_alphabet.config, c));
    }
    ac_state &state = build.ac_l_state[at];
    const bool at_offset = build.ac_ahoff_enable != 0 && info.type == PATTERN_OFFSET;
    const uint32_t end = at_offset ? info.offset + info.pattern_len : PATTERN_NO_OFFSET;
    pattern_item_add(build.ac_item, state.ac_l_item, info.item_id, end);
    state.ac_status |= AC_STATUS_TERMINAL;
    if (at_offset) {
        state.ac_mindata = info.mindata;
        if (info.preempt != 0)
            state.ac_status |= AC_STATUS_MINDATA;
    }
    ++build.ac_nr_pattern;
    return MODULE_SUCCESS;
}

/// Returns the greatest depth.
uint32_t find_depth(const ac_build &build)
{
    uint32_t deepest = 0;
    for (const ac_state &state : build.ac_l_state)
        deepest = std::max(deepest, state.ac_distance);
    return deepest;
}

/// Returns the states by depth, equal depths by number.
std::vector<uint32_t> sort_by_depth(const ac_build &build, uint32_t deepest)
{
    std::vector<uint32_t> next(size_t{deepest} + 2, 0);
    for (const ac_state &state : build.ac_l_state)
        ++next[state.ac_distance + 1];
    for (uint32_t depth = 1; depth <= deepest; ++depth)
        next[depth] += next[depth - 1];
    std::vector<uint32_t> order(build.ac_l_state.size());
    for (uint32_t at = 0; at < build.ac_l_state.size(); ++at)
        order[next[build.ac_l_state[at].ac_distance]++] = at;
    return order;
}

/// Returns the target on `c` of the first state of a failure chain that has that edge; the chain
/// begins with `suffix` and ends with the start state, which is the answer when none has it.
uint32_t follow_failures(const ac_build &build, uint32_t suffix, uint8_t c)
{
    for (;;) {
        const ac_state &state = build.ac_l_state[suffix];
        const uint32_t target = pattern_oe_find(build.ac_oe, state.ac_l_oe, c);
        if (target != PATTERN_NONE)
            return target;
        if (suffix == 0)
            return 0;
        suffix = state.ac_failure;
    }
}

/// Links each child of a state to the longest proper suffix of its string that the trie contains:
/// a suffix of the parent's string, one byte longer. The steps along failure chains add up to no
/// more than the total length of the patterns.
void link_failures(ac_build &build, const ac_state &parent)
{
    for (uint32_t e = parent.ac_l_oe.first; e != PATTERN_NONE; e = build.ac_oe.edge[e].next) {
        const oe &edge = build.ac_oe.edge[e];
        build.ac_l_state[edge.state].ac_failure =
            follow_failures(build, parent.ac_failure, edge.oe_char);
    }
}

/// By id: the state that was last seen to hold it.
using item_marks = std::unordered_map<uint32_t, uint32_t>;

/// Marks `id` as held by state `at`. Returns false when it was already.
bool mark(item_marks &marks, uint32_t id, uint32_t at)
{
    const auto [found, inserted] = marks.try_emplace(id, at);
    return inserted || std::exchange(found->second, at) != at;
}

/// Gives a state the items of its failure state whose ids it has not, the first of each id. The
/// failure state has those of the whole chain already, in the order of the chain.
void inherit_items(ac_build &build, uint32_t at, item_marks &marks)
{
    pattern_item_pool_t &pool = build.ac_item;
    list_pattern_item &own = build.ac_l_state[at].ac_l_item;
    const list_pattern_item from = build.ac_l_state[build.ac_l_state[at].ac_failure].ac_l_item;
    const bool searched = own.nr + from.nr <= AC_SEARCH_MAX;
    if (!searched)
        for (uint32_t i = own.first; i != PATTERN_NONE; i = pool[i].next)
            (void)mark(marks, pool[i].id, at); // own items stay even where ids repeat
    for (uint32_t i = from.first; i != PATTERN_NONE; i = pool[i].next) {
        const pattern_item item = pool[i];
        const bool is_new = searched ? pattern_item_find(pool, own, item.id) == PATTERN_NONE
                                     : mark(marks, item.id, at);
        if (is_new)
            pattern_item_add(pool, own, item.id, item.offset);
    }
}

/// Adds to a state the items of its failure chain. The status is that of the last state of the
/// chain that has items: it overwrites the state's own. Oddity O149.
void aho_corasick_pattern_union(ac_build &build, uint32_t at, item_marks &marks)
{
    const uint32_t failure = build.ac_l_state[at].ac_failure;
    if (failure == 0 || build.ac_l_state[failure].ac_l_item.nr == 0)
        return;
    inherit_items(build, at, marks);
    build.ac_l_state[at].ac_status = build.ac_l_state[failure].ac_status;
}

/// Links and completes every state. One walk by depth does both: what a state takes over is that
/// of a state less deep, which is complete by then. The children of the start state have no
/// failure state.
void complete_states(ac_build &build, uint32_t deepest)
{
    item_marks marks;
    for (const uint32_t at : sort_by_depth(build, deepest)) {
        if (at == 0)
            continue;
        aho_corasick_pattern_union(build, at, marks);
        link_failures(build, build.ac_l_state[at]);
    }
}

void find_item_max(ac_build &build)
{
    for (const ac_state &state : build.ac_l_state) {
        if ((state.ac_status & AC_STATUS_TERMINAL) == 0 ||
            state.ac_l_item.nr < build.ac_nr_item_max)
            continue;
        build.ac_nr_item_max = state.ac_l_item.nr;
        build.ac_item_length = state.ac_distance;
    }
}

int collect_alphabet(ac_build &build)
{
    for (const ac_state &state : build.ac_l_state) {
        const int code = pattern_oe_count_bytes(build.ac_oe, state.ac_l_oe, build.ac_alphabet);
        if (code != MODULE_SUCCESS)
            return code;
    }
    pattern_alphabet_finalize(build.ac_alphabet);
    return MODULE_SUCCESS;
}

int finalize(ac_build &build)
{
    const uint32_t deepest = find_depth(build);
    if (deepest > AC_DEPTH_MAX)
        return MODULE_ERR_OVERFLOW;
    complete_states(build, deepest);
    find_item_max(build);
    (void)pattern_preempt_finalize(build.ac_l_preempt, [&](const pattern_info &info) {
        return aho_corasick_do_register(build, info);
    }); // which succeeds or throws
    return collect_alphabet(build);
}

} // namespace

int aho_corasick_init(ac_build &build, uint8_t ahoff, uint8_t alpha_config)
{
    return module_guard([&]() -> int {
        build = {};
        build.ac_l_state.emplace_back();
        pattern_alphabet_init(build.ac_alphabet, AHO_CORASICK_NR_META);
        build.ac_alphabet.config = alpha_config;
        build.ac_ahoff_enable = ahoff;
        return MODULE_SUCCESS;
    });
}

int aho_corasick_register(ac_build &build, const pattern_info &info)
{
    return module_guard([&]() -> int {
        if (info.preempt == 0)
            return aho_corasick_do_register(build, info);
        pattern_preempt_register(build.ac_l_preempt, info);
        return MODULE_SUCCESS;
    });
}

int aho_corasick_finalize(ac_build &build)
{
    return module_guard([&] { return finalize(build); });
}

void aho_corasick_clean(ac_build &build)
{
    build = {};
}
