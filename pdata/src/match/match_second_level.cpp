#include <algorithm>

#include "match_database.h"

namespace
{

/// Returns how many entries from `first` on are the pieces of one whole permutation, 0 where
/// they are not: their numbers are cut, or one is missing.
uint32_t group_at(const view_matcher_t &view, uint32_t first)
{
    const view_entry_t head = view_matcher_entry(view, first);
    const uint32_t nr_private = view_matcher_nr_private(view);
    if (head.position != 1 || head.nb_pieces > nr_private - first)
        return 0;
    for (uint32_t i = 1; i < head.nb_pieces; ++i) {
        const view_entry_t entry = view_matcher_entry(view, first + i);
        if (entry.pub_id != head.pub_id || entry.permutation != head.permutation ||
            entry.nb_pieces != head.nb_pieces || entry.position != i + 1)
            return 0;
    }
    return head.nb_pieces;
}

uint32_t item_role(uint32_t item)
{
    return item < MATCH_ROLE_PIECE ? MATCH_ROLE_ITEM | item : uint32_t{MATCH_ROLE_NONE};
}

/// Gives the pieces from `first` on their roles; returns how many entries that were.
uint32_t add_group(match_matcher_t &matcher, uint32_t first, const view_entry_t &entry)
{
    const uint32_t nr = group_at(matcher.view, first);
    if (nr == 0 || matcher.groups.size() > MATCH_GROUP_MASK) {
        matcher.roles[first] = MATCH_ROLE_NONE;
        return 1;
    }
    const auto group = static_cast<uint32_t>(matcher.groups.size());
    matcher.groups.push_back({entry.pub_id, nr});
    for (uint32_t i = 0; i < nr; ++i)
        matcher.roles[first + i] = MATCH_ROLE_PIECE | (i + 1) << MATCH_PIECE_SHIFT | group;
    return nr;
}

/// Returns the check of an item and a value; the one before may be the same, as permutations of a
/// value follow each other.
uint32_t add_check(match_matcher_t &matcher, const view_entry_t &entry)
{
    if (matcher.checks.empty() || matcher.checks.back().item != entry.pub_id ||
        matcher.checks.back().value != entry.value)
        matcher.checks.push_back({entry.pub_id, MATCH_NO_EXPRESSION, entry.value});
    return static_cast<uint32_t>(matcher.checks.size() - 1);
}

void compile_checks(match_matcher_t &matcher)
{
    std::vector<uint32_t> order(matcher.checks.size());
    for (uint32_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
        return matcher.checks[a].value < matcher.checks[b].value;
    });
    const bool icase = (matcher.view.pattern.algo & PATTERN_ALGO_ICASE) != 0;
    for (size_t i = 0; i < order.size(); ++i) {
        match_check_t &check = matcher.checks[order[i]];
        if (i != 0 && matcher.checks[order[i - 1]].value == check.value) {
            check.expression = matcher.checks[order[i - 1]].expression;
            continue;
        }
        std::string_view text;
        match_expression_t expression;
        (void)view_pool_get(matcher.view.values, check.value, text);
        if (!match_expression_compile(text, icase, expression))
            continue;
        check.expression = static_cast<uint32_t>(matcher.expressions.size());
        matcher.expressions.push_back(std::move(expression));
    }
}

} // namespace

void match_index_second_level(match_matcher_t &matcher)
{
    const uint32_t nr_private = view_matcher_nr_private(matcher.view);
    matcher.roles.resize(nr_private);
    for (uint32_t index = 0; index < nr_private;) {
        const view_entry_t entry = view_matcher_entry(matcher.view, index);
        if (entry.nb_pieces != 0) {
            index += add_group(matcher, index, entry);
            continue;
        }
        uint32_t role = item_role(entry.pub_id);
        if (entry.has_value) {
            const uint32_t check = add_check(matcher, entry);
            role = MATCH_ROLE_CHECK | check;
            if (entry.kind == MATCHER_MAP_CATCH_ALL)
                matcher.always.push_back(check);
        }
        matcher.roles[index++] = role;
    }
    compile_checks(matcher);
}
