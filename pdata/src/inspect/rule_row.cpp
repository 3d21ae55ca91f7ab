#include "rule_row.h"

#include <algorithm>

#include "format_values.h"
#include "value_form.h"

namespace
{

/// Bytes of a value that are shown.
constexpr size_t shown_max = 1024;

uint64_t value_key(uint32_t front, uint32_t text)
{
    return uint64_t{front} << 32 | text;
}

std::string sub_rule_front(const model_rule_t &rule, const model_sub_rule_t &sub_rule)
{
    std::string front = &sub_rule == rule.sub_rules.data() ? "" : "and ";
    if (sub_rule.bottom != sub_rule.protocol)
        front.append(sub_rule.bottom).append(" as ");
    return front.append(sub_rule.protocol);
}

/// Returns what a value is a value of.
std::string attribute_front(const std::string &front, const model_attribute_t &attribute,
                            uint32_t offset)
{
    return front + ':' + std::string(attribute.name) + ' ' + attr_way2str(attribute.way) +
           (offset == 0 ? "" : " at " + std::to_string(offset)) + ' ';
}

std::string mindata_text(const model_sub_rule_t &sub_rule)
{
    return std::to_string(sub_rule.cts_mindata) + '/' + std::to_string(sub_rule.stc_mindata);
}

/// In `key`: the order of the rule is made of the lengths of its texts, as its author left it out.
constexpr uint64_t counts_bytes = uint64_t{1} << 63;

uint32_t form_number(text_numbers_t &texts, const rule_value_t &value, uint64_t key)
{
    const auto [found, is_new] = texts.forms.try_emplace(key, 0);
    if (!is_new)
        return found->second;
    std::string form = value_form(value.sub_rule->protocol, value.attribute->name,
                                  value.value->offset != 0, value.value->text);
    if ((key & counts_bytes) != 0)
        form.append(" of ").append(std::to_string(value.value->text.size()));
    return found->second = text_number_made(texts, std::move(form));
}

void sort_values(rule_row_t &row)
{
    std::sort(
        row.values.begin(), row.values.end(),
        [](const rule_value_t &one, const rule_value_t &other) { return one.key < other.key; });
}

void add_sub_rule(text_numbers_t &texts, const model_sub_rule_t &sub_rule, rule_row_t &row)
{
    const std::string front = sub_rule_front(*row.rule, sub_rule);
    if (sub_rule.attributes.empty() || sub_rule.cts_mindata != 0 || sub_rule.stc_mindata != 0)
        row.values.push_back({value_key(text_number_made(texts, front),
                                        text_number_made(texts, mindata_text(sub_rule))),
                              &sub_rule, nullptr, nullptr});
    for (const model_attribute_t &attribute : sub_rule.attributes)
        for (const model_value_t &value : attribute.values)
            row.values.push_back(
                {value_key(text_number_made(texts, attribute_front(front, attribute, value.offset)),
                           text_number(texts, value.text)),
                 &sub_rule, &attribute, &value});
}

template <typename Number>
void append_number(std::string &text, Number number)
{
    text.append(reinterpret_cast<const char *>(&number), sizeof(number));
}

} // namespace

rule_row_t rule_row(text_numbers_t &texts, const model_rule_t &rule, std::string keys)
{
    rule_row_t row = {&rule, text_number_made(texts, std::move(keys)), {}};
    for (const model_sub_rule_t &sub_rule : rule.sub_rules)
        add_sub_rule(texts, sub_rule, row);
    sort_values(row);
    return row;
}

void rule_row_compile(text_numbers_t &texts, rule_row_t &row)
{
    const uint64_t mark = format_priority_order(row.rule->priority) == 0 ? counts_bytes : 0;
    for (rule_value_t &value : row.values)
        if (value.value != nullptr)
            value.key = value_key(static_cast<uint32_t>(value.key >> 32),
                                  form_number(texts, value, value.key | mark));
    sort_values(row);
}

std::string rule_value_text(const model_rule_t &rule, const rule_value_t &value)
{
    const std::string front = sub_rule_front(rule, *value.sub_rule);
    if (value.value == nullptr)
        return front + " mindata " + mindata_text(*value.sub_rule);
    const std::string_view text = value.value->text;
    std::string shown = attribute_front(front, *value.attribute, value.value->offset);
    shown.append(text.substr(0, shown_max));
    if (text.size() > shown_max)
        shown.append("... (").append(std::to_string(text.size())).append(" bytes)");
    return shown;
}

std::string rule_row_all(const rule_row_t &row)
{
    std::string text = rule_row_values(row);
    append_number(text, row.keys);
    return text;
}

std::string rule_row_values(const rule_row_t &row)
{
    std::string text;
    for (const rule_value_t &value : row.values)
        append_number(text, value.key);
    return text;
}

std::string rule_row_shape(const rule_row_t &row)
{
    std::string text;
    append_number(text, row.keys);
    uint64_t last = 0;
    for (const rule_value_t &value : row.values)
        if (const uint64_t front = (value.key >> 32) + 1; front != last)
            append_number(text, last = front);
    return text;
}
