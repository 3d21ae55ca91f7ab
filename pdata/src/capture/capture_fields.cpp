#include "capture_fields.h"

#include <algorithm>

#include "csa_cut.h"
#include "field_transform.h"

namespace
{

constexpr capture_field_t fields[] = {
#include "capture_fields_table.inc"
};

capture_condition_t read_condition(std::string_view source, std::string_view text, field_bag_t &bag)
{
    capture_condition_t condition;
    const auto equals = std::ranges::find(text, '=');
    const std::string_view name(text.begin(), equals);
    condition.text = std::string_view(std::ranges::next(equals, 1, text.end()), text.end());
    if (name == "layer")
        condition.kind = capture_condition_t::LAYER;
    else if (name == "log")
        condition.kind = capture_condition_t::LOG;
    else
        condition.field = field_bag_ask(bag, capture_field_name(source, name));
    if (condition.text.starts_with('!')) {
        condition.differs = true;
        condition.text.remove_prefix(1);
    }
    if (condition.text.ends_with('*')) {
        condition.begins = true;
        condition.text.remove_suffix(1);
    }
    return condition;
}

std::vector<capture_condition_t> read_conditions(std::string_view source, std::string_view text,
                                                 field_bag_t &bag)
{
    std::vector<capture_condition_t> conditions;
    while (!text.empty() && text != "-")
        conditions.push_back(read_condition(source, csa_cut(text, ' '), bag));
    return conditions;
}

/// Returns the field that says how long a value is, as in "sized:FIELD"; empty for none.
std::string_view size_field_of(std::string_view transformation)
{
    const size_t colon = transformation.find(':');
    return transformation.starts_with("sized") ? transformation.substr(colon + 1)
                                               : std::string_view();
}

/// Tells whether a row of a source is one that its fields are run through.
bool is_rule(const capture_field_t &row, std::string_view source)
{
    const std::string_view transformation = row.transformation;
    return source == row.source && std::string_view(row.field) != "none" &&
           transformation != "key" && transformation != "payload";
}

bool text_fits(const capture_condition_t &condition, std::string_view text)
{
    const bool fits = condition.begins ? text.starts_with(condition.text) : text == condition.text;
    return fits != condition.differs;
}

bool holds(const capture_condition_t &condition, const field_bag_t &bag,
           const capture_context_t &context)
{
    const auto fits = [&condition](std::string_view text) { return text_fits(condition, text); };
    if (condition.kind == capture_condition_t::LOG)
        return fits(context.log);
    if (condition.kind == capture_condition_t::LAYER)
        return std::ranges::any_of(context.layers, fits);
    const std::vector<std::string_view> &values = field_bag_all(bag, condition.field);
    return condition.differs ? std::ranges::all_of(values, fits)
                             : std::ranges::any_of(values, fits);
}

void add_value(const capture_rule_t &rule, const field_bag_t &bag, size_t occurrence,
               const capture_context_t &context, flow_record_t &record)
{
    const std::vector<std::string_view> &sizes = field_bag_all(bag, rule.size_field);
    field_text_t text = {field_bag_all(bag, rule.field)[occurrence], context.payload, -1};
    if (!size_field_of(rule.row->transformation).empty())
        text.size = occurrence < sizes.size() ? field_number(sizes[occurrence], -1) : -1;
    flow_seen_t seen;
    seen.side = context.side;
    seen.value.protocol = rule.row->protocol;
    seen.value.attribute = rule.row->attribute;
    const std::string_view direction = rule.row->direction;
    seen.value.way = direction == "cts"   ? FLOW_WAY_CTS
                     : direction == "stc" ? FLOW_WAY_STC
                                          : FLOW_WAY_NONE;
    for (flow_attr_t &value : field_transform(rule.row->transformation, text)) {
        seen.value.kind = value.kind;
        seen.value.bytes = std::move(value.bytes);
        seen.value.number = value.number;
        seen.value.incomplete = value.incomplete;
        flow_record_add(record, seen);
    }
}

/// Values by their indexes, the end excluded.
struct range_t {
    size_t begin;
    size_t end;
};

/// The values that a row takes: "first", "last", "all", or with "after:TEXT" the last one that
/// stands behind a value TEXT.
range_t occurrences(std::string_view which, const std::vector<std::string_view> &values)
{
    constexpr std::string_view after = "after:";
    const size_t count = values.size();
    if (!which.starts_with(after))
        return {which == "last" ? count - 1 : 0, which == "first" ? 1 : count};
    for (size_t i = count; i-- > 1;)
        if (values[i - 1] == which.substr(after.size()))
            return {i, i + 1};
    return {0, 0};
}

void apply(const capture_rule_t &rule, const field_bag_t &bag, const capture_context_t &context,
           flow_record_t &record)
{
    const auto held = [&](const capture_condition_t &condition) {
        return holds(condition, bag, context);
    };
    const std::vector<std::string_view> &values = field_bag_all(bag, rule.field);
    if (values.empty() || !std::ranges::all_of(rule.conditions, held))
        return;
    const range_t range = occurrences(rule.row->occurrence, values);
    for (size_t i = range.begin; i < range.end; ++i)
        add_value(rule, bag, i, context, record);
}

} // namespace

std::span<const capture_field_t> capture_fields()
{
    return fields;
}

std::string capture_field_name(std::string_view source, std::string_view field)
{
    std::string name(field);
    if (source != "tshark")
        return name;
    std::ranges::replace(name, '.', '_');
    return "layers." + name;
}

std::vector<std::string> capture_rules_fields(std::string_view source)
{
    std::vector<std::string> names;
    const auto add = [&names](std::string_view name) {
        if (std::ranges::find(names, name) == names.end())
            names.emplace_back(name);
    };
    for (const capture_field_t &row : fields) {
        if (!is_rule(row, source))
            continue;
        add(row.field);
        if (const std::string_view size = size_field_of(row.transformation); !size.empty())
            add(size);
        field_bag_t conditions;
        (void)read_conditions({}, row.condition, conditions);
        for (const auto &[name, number] : conditions.numbers)
            add(name);
    }
    return names;
}

capture_rules_t capture_rules(std::string_view source, field_bag_t &bag)
{
    capture_rules_t rules;
    for (const capture_field_t &row : fields) {
        if (!is_rule(row, source))
            continue;
        const std::string_view size = size_field_of(row.transformation);
        capture_rule_t rule = {&row, field_bag_ask(bag, capture_field_name(source, row.field)), 0,
                               read_conditions(source, row.condition, bag)};
        if (!size.empty())
            rule.size_field = field_bag_ask(bag, capture_field_name(source, size));
        rules.by_field.resize(std::max(rules.by_field.size(), size_t{rule.field} + 1));
        rules.by_field[rule.field].push_back(static_cast<uint32_t>(rules.rules.size()));
        rules.rules.push_back(std::move(rule));
    }
    return rules;
}

void capture_rules_apply(const capture_rules_t &rules, const field_bag_t &bag,
                         const capture_context_t &context, flow_record_t &record)
{
    for (const uint32_t field : bag.touched) {
        if (field >= rules.by_field.size())
            continue;
        for (const uint32_t rule : rules.by_field[field])
            apply(rules.rules[rule], bag, context, record);
    }
}
