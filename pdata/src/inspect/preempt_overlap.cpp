#include "preempt_overlap.h"

#include <algorithm>
#include <unordered_map>

namespace
{

constexpr uint32_t NOWHERE = 0xFFFFFFFF;

/// A state. The start state is state 0; states are numbered as they are made.
struct overlap_state_t {
    uint32_t parent = 0;
    uint32_t depth = 0;
    uint32_t child = 0;   ///< the newest, 0 for none
    uint32_t sibling = 0; ///< the one before it, 0 for none
    uint32_t failure = 0; ///< as it should be, preempts included
    uint8_t byte = 0;     ///< on the edge to it
    /// Fewest bytes that stand in front of a state's text where reading it fails at its last byte:
    /// in a state that has no links, and in one that has links to old states alone.
    uint32_t lost_unlinked = NOWHERE;
    uint32_t lost_linked = NOWHERE;
    /// Fewest bytes in front of a state's text in a longer state, new or of any kind.
    uint32_t within_new = NOWHERE;
    uint32_t within_any = NOWHERE;
};

struct overlap_trie_t {
    std::vector<overlap_state_t> states = {1, overlap_state_t{}};
    std::unordered_map<uint32_t, uint32_t> edges; ///< by state and byte
    uint32_t nr_old = 1;                          ///< states that no preempt added

    bool is_new(uint32_t at) const { return at >= nr_old; }
};

/// Returns the target of an edge, 0 for none.
uint32_t target_of(const overlap_trie_t &trie, uint32_t at, uint8_t byte)
{
    const auto found = trie.edges.find(at << 8 | byte);
    return found == trie.edges.end() ? 0 : found->second;
}

uint32_t make_state(overlap_trie_t &trie, uint32_t parent, uint8_t byte)
{
    const auto made = static_cast<uint32_t>(trie.states.size());
    overlap_state_t state;
    state.parent = parent;
    state.depth = trie.states[parent].depth + 1;
    state.sibling = trie.states[parent].child;
    state.byte = byte;
    trie.states.push_back(state);
    trie.states[parent].child = made;
    trie.edges.emplace(parent << 8 | byte, made);
    return made;
}

/// Adds a text. Returns the state in which it ends, or NOWHERE when there are too many states.
uint32_t add_text(overlap_trie_t &trie, const std::string &bytes)
{
    uint32_t at = 0;
    for (const char c : bytes) {
        const auto byte = static_cast<uint8_t>(c);
        const uint32_t target = target_of(trie, at, byte);
        if (target == 0 && trie.states.size() >= OVERLAP_STATES_MAX)
            return NOWHERE;
        at = target != 0 ? target : make_state(trie, at, byte);
    }
    return at;
}

/// Adds the texts that are preempts, or the others. Returns false when there are too many states.
bool add_texts(overlap_trie_t &trie, std::span<const overlap_text_t> texts, bool preempt,
               std::vector<uint32_t> &ends)
{
    for (size_t i = 0; i < texts.size(); ++i)
        if (texts[i].preempt == preempt && (ends[i] = add_text(trie, texts[i].bytes)) == NOWHERE)
            return false;
    return true;
}

std::vector<uint32_t> states_by_depth(const overlap_trie_t &trie)
{
    std::vector<uint32_t> order(trie.states.size());
    for (uint32_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::ranges::stable_sort(order, {}, [&](uint32_t at) { return trie.states[at].depth; });
    return order;
}

void link_states(overlap_trie_t &trie, const std::vector<uint32_t> &order)
{
    for (const uint32_t at : order) {
        overlap_state_t &state = trie.states[at];
        if (state.depth < 2)
            continue;
        uint32_t suffix = trie.states[state.parent].failure;
        while (suffix != 0 && target_of(trie, suffix, state.byte) == 0)
            suffix = trie.states[suffix].failure;
        state.failure = target_of(trie, suffix, state.byte);
    }
}

void lessen(uint32_t &least, uint32_t bytes)
{
    least = std::min(least, bytes);
}

/// Marks the edges of `suffix`, a suffix of the state `at`, that this state has not.
void mark_edges(overlap_trie_t &trie, uint32_t suffix, uint32_t at, uint32_t overlap_state_t::*lost)
{
    const uint32_t front = trie.states[at].depth - trie.states[suffix].depth;
    for (uint32_t edge = trie.states[suffix].child; edge != 0; edge = trie.states[edge].sibling)
        if (target_of(trie, at, trie.states[edge].byte) == 0)
            lessen(trie.states[edge].*lost, front);
}

/// Marks what is lost in one state. A new suffix without an edge is a state in which more is lost,
/// so that shorter suffixes are left to it; an old one is that for new suffixes alone.
void mark_state(overlap_trie_t &trie, uint32_t at)
{
    uint32_t suffix = trie.states[at].failure;
    if (suffix == 0)
        return;
    const uint32_t front = trie.states[at].depth - trie.states[suffix].depth;
    lessen(trie.states[suffix].within_any, front);
    if (!trie.is_new(at)) {
        if (trie.is_new(suffix))
            mark_edges(trie, suffix, at, &overlap_state_t::lost_linked);
        return;
    }
    lessen(trie.states[suffix].within_new, front);
    for (; suffix != 0; suffix = trie.states[suffix].failure) {
        mark_edges(trie, suffix, at, &overlap_state_t::lost_unlinked);
        if (trie.is_new(suffix))
            return;
    }
}

/// Hands what is lost in a state down to its suffixes. Old states link to old ones: what is lost
/// in them is found where the shorter text goes on from an old state.
void hand_down(overlap_trie_t &trie, const std::vector<uint32_t> &order)
{
    for (auto at = order.rbegin(); at != order.rend(); ++at) {
        const overlap_state_t &state = trie.states[*at];
        if (state.failure == 0)
            continue;
        overlap_state_t &suffix = trie.states[state.failure];
        const uint32_t front = state.depth - suffix.depth;
        const auto hand = [&](uint32_t overlap_state_t::*least) {
            if (state.*least != NOWHERE)
                lessen(suffix.*least, state.*least + front);
        };
        hand(&overlap_state_t::within_new);
        if (suffix.depth < 2)
            continue;
        hand(&overlap_state_t::lost_unlinked);
        if (trie.is_new(suffix.parent))
            hand(&overlap_state_t::lost_linked);
    }
}

/// Makes what is lost on the way to a state that of the state.
void sum_ways(overlap_trie_t &trie)
{
    for (size_t at = 1; at < trie.states.size(); ++at) {
        overlap_state_t &state = trie.states[at];
        lessen(state.lost_unlinked, state.lost_linked);
        lessen(state.lost_unlinked, trie.states[state.parent].lost_unlinked);
    }
}

bool is_lost(const overlap_trie_t &trie, const overlap_text_t &text, uint32_t end)
{
    const overlap_state_t &state = trie.states[end];
    const uint32_t within = text.preempt ? state.within_any : state.within_new;
    const uint32_t front = std::min(state.lost_unlinked, within);
    return end != 0 && front != NOWHERE && front <= text.offset;
}

} // namespace

size_t overlap_states(std::span<const overlap_text_t> texts)
{
    std::vector<std::string_view> sorted;
    for (const overlap_text_t &text : texts)
        sorted.push_back(text.bytes);
    std::ranges::sort(sorted);
    size_t states = 1;
    std::string_view before;
    for (const std::string_view text : sorted) {
        const auto shared = std::ranges::mismatch(before, text).in2 - text.begin();
        states += text.size() - static_cast<size_t>(shared);
        before = text;
    }
    return states;
}

std::vector<bool> preempt_overlaps(std::span<const overlap_text_t> texts)
{
    std::vector<bool> lost(texts.size());
    std::vector<uint32_t> ends(texts.size());
    overlap_trie_t trie;
    if (!add_texts(trie, texts, false, ends))
        return lost;
    trie.nr_old = static_cast<uint32_t>(trie.states.size());
    if (!add_texts(trie, texts, true, ends))
        return lost;
    const std::vector<uint32_t> order = states_by_depth(trie);
    link_states(trie, order);
    for (uint32_t at = 1; at < trie.states.size(); ++at)
        mark_state(trie, at);
    hand_down(trie, order);
    sum_ways(trie);
    for (size_t i = 0; i < texts.size(); ++i)
        lost[i] = is_lost(trie, texts[i], ends[i]);
    return lost;
}
