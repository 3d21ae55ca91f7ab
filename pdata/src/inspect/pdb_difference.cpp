#include "pdb_difference.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <unordered_map>

#include "csa_types.h"
#include "format_values.h"

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

std::vector<field_difference_t> fields_of(const model_rule_t &rule)
{
    return {{"order", order_of(rule), {}},
            {"scope", std::to_string(rule.scope), {}},
            {"flags", flags_of(rule), {}},
            {"path", joined(rule.path), {}},
            {"rule-tags", joined(rule.tags), {}},
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

/// Lists the values of a rule, sorted; minimum data and a sub-rule without attributes are listed
/// like values.
std::vector<std::string> values_of(const model_rule_t &rule)
{
    constexpr const char *ways[] = {"unknown", "cts", "stc", "both"};
    std::vector<std::string> values;
    for (size_t i = 0; i < rule.sub_rules.size(); ++i) {
        const model_sub_rule_t &sub_rule = rule.sub_rules[i];
        const std::string front = (i == 0 ? "" : "and ") + std::string(sub_rule.protocol);
        if (sub_rule.attributes.empty() || sub_rule.cts_mindata != 0 || sub_rule.stc_mindata != 0)
            values.push_back(front + " mindata " + std::to_string(sub_rule.cts_mindata) + '/' +
                             std::to_string(sub_rule.stc_mindata));
        for (const model_attribute_t &attribute : sub_rule.attributes)
            for (const model_value_t &value : attribute.values)
                values.push_back(front + ':' + std::string(attribute.name) + ' ' +
                                 ways[attribute.way & 3] +
                                 (value.offset == 0 ? "" : " at " + std::to_string(value.offset)) +
                                 ' ' + std::string(value.text));
    }
    std::sort(values.begin(), values.end());
    return values;
}

std::string keys_text(const model_rule_t &rule)
{
    std::string text;
    for (const field_difference_t &field : fields_of(rule))
        text += counted(field.before);
    return text;
}

std::string values_text(const model_rule_t &rule)
{
    std::string text;
    for (const std::string &value : values_of(rule))
        text += counted(value);
    return text;
}

std::string all_text(const model_rule_t &rule)
{
    return keys_text(rule) + values_text(rule);
}

/// The keys of a rule and what it tests, without the values.
std::string shape_text(const model_rule_t &rule)
{
    std::string text = keys_text(rule);
    for (const model_sub_rule_t &sub_rule : rule.sub_rules) {
        text += '{' + counted(sub_rule.protocol);
        for (const model_attribute_t &attribute : sub_rule.attributes)
            text += counted(attribute.name) + std::to_string(attribute.way);
    }
    return text;
}

/// Records of two sides that are still to be paired, and the pairs.
template <typename Record>
struct pairing_t {
    std::vector<const Record *> before;
    std::vector<const Record *> after;
    std::vector<std::pair<const Record *, const Record *>> pairs;
};

/// Pairs what has the same text; equal ones in their order.
template <typename Record, typename Text>
void pair_by(pairing_t<Record> &pairing, Text text_of)
{
    std::unordered_map<std::string, std::vector<const Record *>> waiting;
    for (auto it = pairing.after.rbegin(); it != pairing.after.rend(); ++it)
        waiting[text_of(**it)].push_back(*it);
    std::vector<const Record *> left;
    for (const Record *record : pairing.before) {
        const auto found = waiting.find(text_of(*record));
        if (found == waiting.end() || found->second.empty()) {
            left.push_back(record);
            continue;
        }
        pairing.pairs.emplace_back(record, found->second.back());
        found->second.pop_back();
    }
    std::vector<const Record *> open;
    for (auto &entry : waiting)
        open.insert(open.end(), entry.second.begin(), entry.second.end());
    std::sort(open.begin(), open.end(), std::less<>());
    pairing.before = std::move(left);
    pairing.after = std::move(open);
}

template <typename Record>
pairing_t<Record> pairing_of(const std::vector<Record> &before, const std::vector<Record> &after)
{
    pairing_t<Record> pairing;
    for (const Record &record : before)
        pairing.before.push_back(&record);
    for (const Record &record : after)
        pairing.after.push_back(&record);
    return pairing;
}

void add_rule(pdb_difference_t &out, protocol_difference_t &protocol, rule_difference_t rule)
{
    ++out.totals.rules[rule.kind];
    out.totals.values[DIFFERENCE_ADDED] += rule.added.size();
    out.totals.values[DIFFERENCE_REMOVED] += rule.removed.size();
    protocol.rules.push_back(std::move(rule));
}

void add_pair(pdb_difference_t &out, protocol_difference_t &protocol, const model_rule_t &before,
              const model_rule_t &after)
{
    rule_difference_t rule = {
        DIFFERENCE_CHANGED, order_of(after), differing_fields(before, after), {}, {}};
    const std::vector<std::string> old = values_of(before);
    const std::vector<std::string> now = values_of(after);
    std::set_difference(old.begin(), old.end(), now.begin(), now.end(),
                        std::back_inserter(rule.removed));
    std::set_difference(now.begin(), now.end(), old.begin(), old.end(),
                        std::back_inserter(rule.added));
    if (!rule.fields.empty() || !rule.removed.empty() || !rule.added.empty())
        add_rule(out, protocol, std::move(rule));
}

void compare_rules(pdb_difference_t &out, protocol_difference_t &protocol,
                   const std::vector<model_rule_t> &before, const std::vector<model_rule_t> &after)
{
    pairing_t<model_rule_t> pairing = pairing_of(before, after);
    pair_by(pairing, all_text);
    pairing.pairs.clear();
    pair_by(pairing, values_text);
    pair_by(pairing, shape_text);
    for (const auto &[old, now] : pairing.pairs)
        add_pair(out, protocol, *old, *now);
    for (const model_rule_t *rule : pairing.before)
        add_rule(out, protocol, {DIFFERENCE_REMOVED, order_of(*rule), {}, values_of(*rule), {}});
    for (const model_rule_t *rule : pairing.after)
        add_rule(out, protocol, {DIFFERENCE_ADDED, order_of(*rule), {}, {}, values_of(*rule)});
}

/// Compares two protocols; one that is not there is `nothing`.
void compare_protocols(pdb_difference_t &out, difference_kind_t kind,
                       const model_protocol_t &before, const model_protocol_t &after)
{
    const model_protocol_t &shown = kind == DIFFERENCE_REMOVED ? before : after;
    protocol_difference_t protocol = {kind, shown.id, shown.name, {}, {}};
    if (kind == DIFFERENCE_CHANGED)
        protocol.fields = differing_fields(before, after);
    compare_rules(out, protocol, before.rules, after.rules);
    if (kind == DIFFERENCE_CHANGED && protocol.fields.empty() && protocol.rules.empty())
        return;
    ++out.totals.protocols[kind];
    out.protocols.push_back(std::move(protocol));
}

} // namespace

pdb_difference_t pdb_difference(const description_model_t &before, const description_model_t &after)
{
    pairing_t<model_protocol_t> pairing = pairing_of(before.protocols, after.protocols);
    const auto id = [](const model_protocol_t &one) { return std::to_string(one.id); };
    const auto name = [](const model_protocol_t &one) { return std::string(one.name); };
    pair_by(pairing, [&](const model_protocol_t &one) { return id(one) + ' ' + name(one); });
    pair_by(pairing, name);
    pair_by(pairing, id);
    pdb_difference_t out;
    const model_protocol_t nothing;
    for (const model_protocol_t *one : pairing.before)
        compare_protocols(out, DIFFERENCE_REMOVED, *one, nothing);
    for (const auto &[old, now] : pairing.pairs)
        compare_protocols(out, DIFFERENCE_CHANGED, *old, *now);
    for (const model_protocol_t *one : pairing.after)
        compare_protocols(out, DIFFERENCE_ADDED, nothing, *one);
    return out;
}
