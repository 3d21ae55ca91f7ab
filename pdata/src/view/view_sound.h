/// Whether the parts of a verified pdb fit together, or some were lost when it was made.
///
/// A compile that passes a limit of the format in silence writes numbers that wrapped: states that
/// no transition leads to, items that no state refers to, entries that no engine gives. Every
/// reader is safe with such a file, but rules of it never fire. Each operation takes a part that
/// view_..._check has passed and returns false with its first fault in `error`; VIEW_MEMORY says
/// nothing about the file. Linear time; memory of a few bits a state, item and entry.
///
/// What every datum reaches by design, the entries of values without a literal, need no engine.
#pragma once

#include <vector>

#include "pdb_view.h"
#include "view_parts.h"

/// What the engines give: items by id, and entries of the matcher that is looked at.
struct sound_given_t {
    std::vector<bool> items; ///< below the slots of the rule engine
    std::vector<bool> entries;
};

/// Marks an id that a state, a value or an entry has.
inline void sound_give(sound_given_t &given, uint32_t id)
{
    std::vector<bool> &marks = id < MATCHER_PRIVATE_ID ? given.items : given.entries;
    const uint32_t index = id < MATCHER_PRIVATE_ID ? id : id - MATCHER_PRIVATE_ID;
    if (index < marks.size())
        marks[index] = true;
}

/// Checks an engine: every row is reached from the first one, the item records stand in the order
/// of the rows and fill their table, every code of the alphabet has its byte. Gives the items of
/// the rows that are reached, whether the engine is at fault or not.
[[nodiscard]] bool sound_automaton(const view_aho_corasick_t &view, sound_given_t &given,
                                   view_error_t &error);
[[nodiscard]] bool sound_tree(const view_radix_t &view, sound_given_t &given, view_error_t &error);
[[nodiscard]] bool sound_dot_prefix(const view_dot_prefix_t &view, sound_given_t &given,
                                    view_error_t &error);

/// Checks a number matcher: endpoints ascend, records follow one another and fill their table, the
/// flags of the most significant bytes cover what the endpoints do. Gives its items.
[[nodiscard]] bool sound_number(const view_number_t &view, sound_given_t &given,
                                view_error_t &error);

/// Checks the second level of a stream matcher whose engines have given what they give: each entry
/// is reached or needs no engine, and the place of a piece is one that its permutation has. Gives
/// the items of the entries that count.
[[nodiscard]] bool sound_entries(const view_matcher_t &view, sound_given_t &given,
                                 view_error_t &error);

/// Checks the rule engine against its map and against what all matchers give: every rule has
/// items, as many as its bitset, which agree on it and which a matcher gives.
[[nodiscard]] bool sound_rules(const view_rules_t &view, const sound_given_t &given,
                               view_error_t &error);

/// Checks that there are as many rules as the stored descriptions have with values to look for.
[[nodiscard]] bool sound_rule_count(const pdb_view_t &pdb, view_error_t &error);

/// Checks stored descriptions: every string of a group, and every main string, is referred to, and
/// the protocols of a group have ids of their own.
[[nodiscard]] bool sound_group_strings(const view_group_t &group, view_error_t &error);
[[nodiscard]] bool sound_protocols(const view_group_t &group, view_error_t &error);
[[nodiscard]] bool sound_main_strings(const pdb_view_t &pdb, view_error_t &error);
