#include "rule_difference.h"

#include <algorithm>
#include <iterator>
#include <span>

#include "difference_fields.h"
#include "pairing.h"

namespace
{

/// A rule of one side with its row.
struct rule_side_t {
    model_rule_t rule;
    rule_row_t row;
};

/// Reads a rule and makes its row.
bool read_rule(comparison_t &comparison, const side_t &side, uint32_t index, rule_side_t &out)
{
    comparison.out.fault_in_after = side.is_after;
    if (!model_rule_read(side.strings, side.view, index, out.rule, comparison.error))
        return false;
    rule_row(comparison.maker, out.rule, rule_keys_text(out.rule), out.row);
    return out.row.values.size() <= RULE_ROW_MAX ||
           view_fail(comparison.error, VIEW_COUNT, side.view.rules.records.offset,
                     "rule %u: more than %zu values", index, RULE_ROW_MAX);
}

/// Lists values of a rule, sorted.
std::vector<std::string> shown_values(comparison_t &comparison, const model_rule_t &rule,
                                      std::span<const rule_value_t> values)
{
    const difference_bounds_t &bounds = comparison.bounds;
    std::vector<std::string> texts;
    size_t shown = 0;
    for (const rule_value_t &value : values) {
        if (comparison.shown > bounds.shown || shown > bounds.rule_shown) {
            ++comparison.out.nr_unlisted;
            continue;
        }
        texts.push_back(rule_value_text(rule, value));
        shown += texts.back().size();
        comparison.shown += texts.back().size();
    }
    std::sort(texts.begin(), texts.end());
    return texts;
}

/// Returns the values of a rule that another one lacks.
std::vector<rule_value_t> values_beyond(const rule_row_t &row, const rule_row_t &other)
{
    std::vector<rule_value_t> beyond;
    std::ranges::set_difference(row.values, other.values, std::back_inserter(beyond), {},
                                &rule_value_t::key, &rule_value_t::key);
    return beyond;
}

/// Hands out a rule with the values that were removed from `before` and added to `after`.
void put_rule(protocol_pair_t &pair, rule_difference_t rule,
              std::pair<const model_rule_t *, std::span<const rule_value_t>> removed,
              std::pair<const model_rule_t *, std::span<const rule_value_t>> added)
{
    comparison_t &comparison = pair.comparison;
    difference_totals_t &totals = comparison.out.totals;
    put_protocol(pair);
    ++totals.rules[rule.kind];
    totals.values[DIFFERENCE_REMOVED] += removed.second.size();
    totals.values[DIFFERENCE_ADDED] += added.second.size();
    if (comparison.sink == nullptr)
        return;
    if (removed.first != nullptr)
        rule.removed = shown_values(comparison, *removed.first, removed.second);
    if (added.first != nullptr)
        rule.added = shown_values(comparison, *added.first, added.second);
    comparison.sink->put_rule(comparison.sink->context, rule);
}

/// Hands out a pair of rules, both of which were read to be paired. Something differs, also in what
/// values compile to: rules that are equal in all were paired, and let go, before.
void put_pair(protocol_pair_t &pair, uint32_t before, uint32_t after)
{
    comparison_t &comparison = pair.comparison;
    rule_side_t old;
    rule_side_t now;
    (void)read_rule(comparison, pair.before, before, old);
    (void)read_rule(comparison, pair.after, after, now);
    rule_row_compile(comparison.maker, old.rule, old.row);
    rule_row_compile(comparison.maker, now.rule, now.row);
    rule_difference_t rule = {DIFFERENCE_CHANGED,
                              rule_order_text(now.rule),
                              rule_fields_differing(old.rule, now.rule),
                              {},
                              {}};
    const std::vector<rule_value_t> removed = values_beyond(old.row, now.row);
    const std::vector<rule_value_t> added = values_beyond(now.row, old.row);
    put_rule(pair, std::move(rule), {&old.rule, removed}, {&now.rule, added});
}

/// Hands out rules that one side alone has.
bool put_single(protocol_pair_t &pair, difference_kind_t kind, std::span<const uint32_t> indexes)
{
    comparison_t &comparison = pair.comparison;
    const bool removed = kind == DIFFERENCE_REMOVED;
    rule_side_t one;
    for (const uint32_t index : indexes) {
        if (!read_rule(comparison, removed ? pair.before : pair.after, index, one))
            return false;
        const std::pair<const model_rule_t *, std::span<const rule_value_t>> all = {&one.rule,
                                                                                    one.row.values};
        const std::pair<const model_rule_t *, std::span<const rule_value_t>> none;
        put_rule(pair, {kind, rule_order_text(one.rule), {}, {}, {}}, removed ? all : none,
                 removed ? none : all);
    }
    return true;
}

/// What the rules of a side are paired by, at the index of the rule.
using side_prints_t = std::vector<row_prints_t>;

/// Works out what rules of a side are paired by, as they are written or as they compile.
bool take_prints(comparison_t &comparison, const side_t &side, std::span<const uint32_t> indexes,
                 bool compiled, side_prints_t &prints)
{
    rule_side_t one;
    prints.resize(side.nr_rule);
    for (const uint32_t index : indexes) {
        if (!read_rule(comparison, side, index, one))
            return false;
        if (compiled)
            rule_row_compile(comparison.maker, one.rule, one.row);
        prints[index] = rule_row_prints(comparison.maker, one.row);
    }
    return true;
}

void pair_prints(pairing_t &pairing, const side_prints_t &before, const side_prints_t &after,
                 uint64_t row_prints_t::*key)
{
    pair_by(
        pairing, [&](uint32_t index) { return before[index].*key; },
        [&](uint32_t index) { return after[index].*key; });
}

/// Pairs the rules of both sides: those that are equal are no pairs any more.
bool pair_rules(protocol_pair_t &pair, pairing_t &pairing)
{
    side_prints_t before;
    side_prints_t after;
    for (const bool compiled : {false, true}) {
        if (pairing.before.empty() || pairing.after.empty())
            return true;
        if (!take_prints(pair.comparison, pair.before, pairing.before, compiled, before) ||
            !take_prints(pair.comparison, pair.after, pairing.after, compiled, after))
            return false;
        pair_prints(pairing, before, after, &row_prints_t::all);
        pairing.pairs.clear();
    }
    pair_prints(pairing, before, after, &row_prints_t::values);
    pair_prints(pairing, before, after, &row_prints_t::shape);
    return true;
}

} // namespace

void put_protocol(protocol_pair_t &pair)
{
    comparison_t &comparison = pair.comparison;
    if (pair.differs)
        return;
    pair.differs = true;
    ++comparison.out.totals.protocols[pair.shown.kind];
    if (comparison.sink != nullptr)
        comparison.sink->put_protocol(comparison.sink->context, pair.shown);
}

bool compare_rules(protocol_pair_t &pair)
{
    pairing_t pairing = pairing_of(pair.before.nr_rule, pair.after.nr_rule);
    if (!pair_rules(pair, pairing))
        return false;
    for (const auto &[before, after] : pairing.pairs)
        put_pair(pair, before, after);
    return put_single(pair, DIFFERENCE_REMOVED, pairing.before) &&
           put_single(pair, DIFFERENCE_ADDED, pairing.after);
}
