#include "prove_product.h"

#include <algorithm>

#include "prove_acceptor.h"
#include "prove_classes.h"

namespace
{

/// Data that was reached: behind a position of the value and in a state of the form.
struct pair_t {
    uint32_t position;
    uint32_t state;
    uint32_t before; ///< index of the pair one byte shorter, or NO_PAIR
    uint8_t byte;    ///< the last
};

constexpr uint32_t NO_PAIR = 0xFFFFFFFF;

/// One comparison.
struct comparing_t {
    const prove_automaton_t &automaton;
    prove_classes_t classes;
    prove_acceptor_t acceptor;
    uint64_t left; ///< steps
    prove_comparison_t result = {};
    std::vector<pair_t> pairs = {};           ///< in the order in which they were reached
    std::vector<std::vector<bool>> seen = {}; ///< by state, by position
};

/// Returns the data that leads to a pair.
std::string text_of(const comparing_t &comparing, uint32_t pair)
{
    std::string text;
    for (uint32_t at = pair; at != NO_PAIR; at = comparing.pairs[at].before)
        text.push_back(static_cast<char>(comparing.pairs[at].byte));
    std::reverse(text.begin(), text.end());
    return text;
}

/// Notes what it says that data may end with the newest pair.
void note_end(comparing_t &comparing)
{
    const pair_t &pair = comparing.pairs.back();
    const prove_state_t &state = comparing.acceptor.states[pair.state];
    if (comparing.automaton.is_last[pair.position] == 0 || !state.is_long)
        return;
    if (state.accepted) {
        comparing.result.is_found = true;
    } else if (!comparing.result.is_lost) {
        comparing.result.is_lost = true;
        comparing.result.lost =
            text_of(comparing, static_cast<uint32_t>(comparing.pairs.size() - 1));
    }
}

/// Reaches a pair; one that was reached before is let be.
void reach(comparing_t &comparing, const pair_t &pair)
{
    if (pair.state >= comparing.seen.size())
        comparing.seen.resize(pair.state + 1);
    std::vector<bool> &seen = comparing.seen[pair.state];
    if (seen.empty())
        seen.resize(comparing.automaton.sets.size());
    if (seen[pair.position])
        return;
    seen[pair.position] = true;
    comparing.pairs.push_back(pair);
    note_end(comparing);
}

/// Goes on from a state to the positions of `next`. Returns false when the budget is used up.
bool expand(comparing_t &comparing, std::span<const uint32_t> next, uint32_t state, uint32_t before)
{
    for (const uint32_t position : next) {
        const std::span<const uint8_t> taken = prove_classes_at(comparing.classes, position);
        const uint64_t cost = comparing.acceptor.cost;
        for (const uint8_t byte_class : taken) {
            const uint8_t byte = comparing.classes.byte_of[byte_class];
            const uint32_t to = prove_acceptor_step(comparing.acceptor, state, byte_class, byte);
            reach(comparing, {position, to, before, byte});
        }
        const uint64_t used = 1 + taken.size() + comparing.acceptor.cost - cost;
        if (used > comparing.left)
            return false;
        comparing.left -= used;
    }
    return true;
}

/// Tells whether nothing more is to be learned.
bool is_decided(const comparing_t &comparing)
{
    return comparing.result.is_lost && comparing.result.is_found;
}

/// Tells whether nothing more is to be learned from a pair: all that follows is accepted, and that
/// something is, is known.
bool is_spent(const comparing_t &comparing, const pair_t &pair)
{
    return comparing.result.is_found && comparing.acceptor.states[pair.state].is_final;
}

} // namespace

prove_comparison_t prove_compare(const prove_automaton_t &automaton, const prove_form_t &form,
                                 uint32_t min_size, uint64_t steps)
{
    comparing_t comparing{
        automaton, prove_classes_make(automaton, form), {form, 0, min_size}, steps};
    comparing.acceptor.nr_class = comparing.classes.nr;
    prove_acceptor_begin(comparing.acceptor);
    bool goes_on = expand(comparing, automaton.first, 0, NO_PAIR);
    for (uint32_t at = 0; goes_on && at < comparing.pairs.size() && !is_decided(comparing); ++at) {
        const pair_t pair = comparing.pairs[at];
        if (!is_spent(comparing, pair))
            goes_on = expand(comparing, prove_followers(automaton, pair.position), pair.state, at);
    }
    comparing.result.is_complete = goes_on && !automaton.is_partial;
    return comparing.result;
}
