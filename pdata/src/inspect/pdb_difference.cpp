#include "pdb_difference.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <span>

#include "format_scope.h"
#include "format_values.h"
#include "pairing.h"
#include "rule_row.h"

namespace
{

/// Returns a text in front of which its length stands, so that joined texts stay apart.
std::string counted(std::string_view text)
{
    return std::to_string(text.size()) + '=' + std::string(text);
}

std::string joined(const std::vector<std::string_view> &texts)
{
    std::string out;
    for (const std::string_view text : texts)
        out.append(out.empty() ? "" : ", ").append(text);
    return out;
}

std::string joined(const std::vector<text_pair_t> &pairs)
{
    std::string out;
    for (const auto &[name, value] : pairs)
        out.append(out.empty() ? "" : ", ").append(name).append("=").append(value);
    return out;
}

std::string order_of(const model_rule_t &rule)
{
    return std::to_string(format_priority_range(rule.priority)) + ':' +
           std::to_string(format_priority_order(rule.priority));
}

std::string flags_of(const model_rule_t &rule)
{
    std::string flags = rule.fastpass ? "fastpass" : "";
    if (rule.preempt)
        flags += flags.empty() ? "preempt" : ", preempt";
    return flags;
}

/// Returns the words of a scope; a bit without a word is shown by its number.
std::string scope_of(const model_rule_t &rule)
{
    std::string words;
    for (uint32_t left = rule.scope; left != 0; left &= left - 1) {
        const uint32_t bit = left & (~left + 1);
        const std::string_view word = format_scope_word(bit);
        words.append(words.empty() ? "" : ", ");
        words.append(word.empty() ? "bit " + std::to_string(std::countr_zero(bit))
                                  : std::string(word));
    }
    return words;
}

std::string tags_of(const model_rule_t &rule)
{
    return rule.nameless_tags == 0 ? joined(rule.tags)
                                   : std::to_string(rule.nameless_tags) + " without names";
}

std::vector<field_difference_t> fields_of(const model_rule_t &rule)
{
    return {{"order", order_of(rule), {}},
            {"scope", scope_of(rule), {}},
            {"flags", flags_of(rule), {}},
            {"path", joined(rule.path), {}},
            {"rule-tags", tags_of(rule), {}},
            {"virtual_id", rule.vid == MODEL_VID_NONE ? "" : std::to_string(rule.vid), {}}};
}

std::vector<field_difference_t> fields_of(const model_protocol_t &protocol)
{
    return {{"id", std::to_string(protocol.id), {}},
            {"name", std::string(protocol.name), {}},
            {"version",
             std::to_string(protocol.version[0]) + '.' + std::to_string(protocol.version[1]) + '.' +
                 std::to_string(protocol.version[2]),
             {}},
            {"tags", joined(protocol.tags), {}},
            {"altname", joined(protocol.altnames), {}},
            {"cacheable", std::to_string(protocol.cacheable), {}},
            {"http_reclassify", std::to_string(protocol.http_reclassify), {}},
            {"implicit_bottom_layer", std::to_string(protocol.implicit_bottom_layer), {}}};
}

template <typename Record>
std::vector<field_difference_t> differing_fields(const Record &before, const Record &after)
{
    std::vector<field_difference_t> fields;
    const std::vector<field_difference_t> now = fields_of(after);
    std::vector<field_difference_t> old = fields_of(before);
    for (size_t i = 0; i < old.size(); ++i)
        if (old[i].before != now[i].before)
            fields.push_back({old[i].name, std::move(old[i].before), now[i].before});
    return fields;
}

std::string keys_text(const model_rule_t &rule)
{
    std::string text;
    for (const field_difference_t &field : fields_of(rule))
        text += counted(field.before);
    return text;
}

/// One comparison.
struct comparison_t {
    pdb_difference_t out;
    text_numbers_t texts;
    size_t shown = 0; ///< bytes of values that are listed
};

/// Lists values of a rule, sorted.
std::vector<std::string> shown_values(comparison_t &comparison, const model_rule_t &rule,
                                      std::span<const rule_value_t> values)
{
    std::vector<std::string> texts;
    for (const rule_value_t &value : values) {
        if (comparison.shown > DIFFERENCE_SHOWN_MAX) {
            ++comparison.out.nr_unlisted;
            continue;
        }
        texts.push_back(rule_value_text(rule, value));
        comparison.shown += texts.back().size();
    }
    std::sort(texts.begin(), texts.end());
    return texts;
}

/// Returns the values of a rule that another one lacks.
std::vector<rule_value_t> values_beyond(const rule_row_t &row, const rule_row_t &other)
{
    std::vector<rule_value_t> beyond;
    std::set_difference(
        row.values.begin(), row.values.end(), other.values.begin(), other.values.end(),
        std::back_inserter(beyond),
        [](const rule_value_t &one, const rule_value_t &next) { return one.key < next.key; });
    return beyond;
}

/// Adds a rule with the values that were removed from `before` and added to `after`.
void add_rule(comparison_t &comparison, protocol_difference_t &protocol, rule_difference_t rule,
              std::pair<const rule_row_t *, std::span<const rule_value_t>> removed,
              std::pair<const rule_row_t *, std::span<const rule_value_t>> added)
{
    difference_totals_t &totals = comparison.out.totals;
    ++totals.rules[rule.kind];
    totals.values[DIFFERENCE_REMOVED] += removed.second.size();
    totals.values[DIFFERENCE_ADDED] += added.second.size();
    if (removed.first != nullptr)
        rule.removed = shown_values(comparison, *removed.first->rule, removed.second);
    if (added.first != nullptr)
        rule.added = shown_values(comparison, *added.first->rule, added.second);
    protocol.rules.push_back(std::move(rule));
}

void add_pair(comparison_t &comparison, protocol_difference_t &protocol, const rule_row_t &before,
              const rule_row_t &after)
{
    rule_difference_t rule = {DIFFERENCE_CHANGED,
                              order_of(*after.rule),
                              differing_fields(*before.rule, *after.rule),
                              {},
                              {}};
    const std::vector<rule_value_t> removed = values_beyond(before, after);
    const std::vector<rule_value_t> added = values_beyond(after, before);
    if (!rule.fields.empty() || !removed.empty() || !added.empty())
        add_rule(comparison, protocol, std::move(rule), {&before, removed}, {&after, added});
}

std::vector<rule_row_t> rows_of(comparison_t &comparison, const std::vector<model_rule_t> &rules)
{
    std::vector<rule_row_t> rows;
    rows.reserve(rules.size());
    for (const model_rule_t &rule : rules)
        rows.push_back(rule_row(comparison.texts, rule, keys_text(rule)));
    return rows;
}

/// Replaces the rows that are still to be paired by what they compile to.
std::vector<rule_row_t> compile_rows(comparison_t &comparison,
                                     std::vector<const rule_row_t *> &waiting)
{
    std::vector<rule_row_t> rows;
    rows.reserve(waiting.size());
    for (const rule_row_t *&row : waiting) {
        rows.push_back(*row);
        rule_row_compile(comparison.texts, rows.back());
        row = &rows.back();
    }
    return rows;
}

void compare_rules(comparison_t &comparison, protocol_difference_t &protocol,
                   const std::vector<model_rule_t> &before, const std::vector<model_rule_t> &after)
{
    const std::vector<rule_row_t> rows_before = rows_of(comparison, before);
    const std::vector<rule_row_t> rows_after = rows_of(comparison, after);
    pairing_t<rule_row_t> pairing = pairing_of(rows_before, rows_after);
    pair_by(pairing, rule_row_all);
    const std::vector<rule_row_t> compiled_before = compile_rows(comparison, pairing.before);
    const std::vector<rule_row_t> compiled_after = compile_rows(comparison, pairing.after);
    pair_by(pairing, rule_row_all);
    pairing.pairs.clear();
    pair_by(pairing, rule_row_values);
    pair_by(pairing, rule_row_shape);
    for (const auto &[old, now] : pairing.pairs)
        add_pair(comparison, protocol, *old, *now);
    for (const rule_row_t *row : pairing.before)
        add_rule(comparison, protocol, {DIFFERENCE_REMOVED, order_of(*row->rule), {}, {}, {}},
                 {row, row->values}, {});
    for (const rule_row_t *row : pairing.after)
        add_rule(comparison, protocol, {DIFFERENCE_ADDED, order_of(*row->rule), {}, {}, {}}, {},
                 {row, row->values});
}

/// Compares two protocols; one that is not there is `nothing`.
void compare_protocols(comparison_t &comparison, difference_kind_t kind,
                       const model_protocol_t &before, const model_protocol_t &after)
{
    const model_protocol_t &shown = kind == DIFFERENCE_REMOVED ? before : after;
    protocol_difference_t protocol = {kind, shown.id, shown.name, {}, {}};
    if (kind == DIFFERENCE_CHANGED)
        protocol.fields = differing_fields(before, after);
    compare_rules(comparison, protocol, before.rules, after.rules);
    if (kind == DIFFERENCE_CHANGED && protocol.fields.empty() && protocol.rules.empty())
        return;
    ++comparison.out.totals.protocols[kind];
    comparison.out.protocols.push_back(std::move(protocol));
}

void compare_protocols(comparison_t &comparison, const description_model_t &before,
                       const description_model_t &after)
{
    pairing_t<model_protocol_t> pairing = pairing_of(before.protocols, after.protocols);
    const auto id = [](const model_protocol_t &one) { return std::to_string(one.id); };
    const auto name = [](const model_protocol_t &one) { return std::string(one.name); };
    pair_by(pairing, [&](const model_protocol_t &one) { return id(one) + ' ' + name(one); });
    pair_by(pairing, name);
    pair_by(pairing, id);
    const model_protocol_t nothing;
    for (const model_protocol_t *one : pairing.before)
        compare_protocols(comparison, DIFFERENCE_REMOVED, *one, nothing);
    for (const auto &[old, now] : pairing.pairs)
        compare_protocols(comparison, DIFFERENCE_CHANGED, *old, *now);
    for (const model_protocol_t *one : pairing.after)
        compare_protocols(comparison, DIFFERENCE_ADDED, nothing, *one);
}

std::string side_text(const model_alias_side_t &side)
{
    return std::string(side.protocol)
        .append(":")
        .append(side.attribute)
        .append(" ")
        .append(attr_way2str(side.way));
}

/// Lists the aliases of a pdb, sorted.
std::vector<std::string> aliases_of(const description_model_t &model)
{
    std::vector<std::string> aliases;
    for (const model_alias_t &alias : model.aliases)
        aliases.push_back(side_text(alias.alias) + " as " + side_text(alias.reference));
    std::sort(aliases.begin(), aliases.end());
    return aliases;
}

void compare_aliases(comparison_t &comparison, const description_model_t &before,
                     const description_model_t &after)
{
    const std::vector<std::string> old = aliases_of(before);
    const std::vector<std::string> now = aliases_of(after);
    alias_difference_t &aliases = comparison.out.aliases;
    std::set_difference(old.begin(), old.end(), now.begin(), now.end(),
                        std::back_inserter(aliases.removed));
    std::set_difference(now.begin(), now.end(), old.begin(), old.end(),
                        std::back_inserter(aliases.added));
}

} // namespace

pdb_difference_t pdb_difference(const description_model_t &before, const description_model_t &after)
{
    comparison_t comparison;
    compare_protocols(comparison, before, after);
    compare_aliases(comparison, before, after);
    return std::move(comparison.out);
}
