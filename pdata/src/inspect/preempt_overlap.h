/// Which texts an automaton misses because some of them are preempts.
///
/// The automaton takes its preempts last, when its states are linked already. A state that a
/// preempt added has no failure link, and a state that was there before knows none of the new ones.
/// So where one text begins within another one, the later one may be lost: a preempt that the front
/// of another text runs into, and any text that begins within a preempt.
///
/// The question is decided on the trie with the failure links that it should have (Aho and Corasick
/// 1975). A transition is lost where a longer state that ends with the same bytes has no edge for
/// the next one and no link to a state that has; the shortest such state is handed down the failure
/// links, so that each is looked at once. To read the automaton itself was turned down: a pdb of
/// descriptions has none.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "format_loadable.h"

/// The place of a text that may stand anywhere.
constexpr uint32_t OVERLAP_ANYWHERE = 0xFFFFFFFF;

/// A text of an automaton: letters are small where case does not matter.
struct overlap_text_t {
    std::string bytes;
    uint32_t offset = OVERLAP_ANYWHERE; ///< bytes in front of it
    bool preempt = false;
};

/// Most states that are looked at: an automaton of more has other transitions than it should.
constexpr uint32_t OVERLAP_STATES_MAX = AHO_CORASICK_STATES;

/// Returns how many states an automaton of these texts has, the start state among them. Time of
/// sorting.
size_t overlap_states(std::span<const overlap_text_t> texts);

/// Tells of each text whether some data holds it and the automaton does not find it there; of none
/// when there are more than OVERLAP_STATES_MAX states. Throws std::bad_alloc. Linear time, but for
/// preempts that end with texts which end with one another: a step for each of these.
std::vector<bool> preempt_overlaps(std::span<const overlap_text_t> texts);
