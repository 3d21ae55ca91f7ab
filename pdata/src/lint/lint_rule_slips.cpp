#include <algorithm>

#include "format_scope.h"
#include "lint_resolve.h"
#include "lint_rules.h"
#include "lint_words.h"
#include "pdb_rule_priority.h"

namespace
{

void look_order_form(const lint_look_t &look)
{
    const auto &order = look.rule->order;
    uint32_t range = 0;
    uint32_t number = 0;
    if (!order || !lint_is_read(*look.rule) ||
        !pdb_rule_read_order(order->decoded, &range, &number))
        return;
    const std::string_view text = order->decoded;
    const size_t colon = text.find(':');
    if (lint_is_digits(text.substr(0, colon)) && lint_is_digits(text.substr(colon + 1)))
        return;
    const std::string meant =
        lint_joined({"\"", std::to_string(range), ":", std::to_string(number), "\""});
    finding_t &finding = lint_report_at(look, order->place, FINDING_ORDER_FORM,
                                        "the order is read as " + meant, "write " + meant);
    finding.value = order->raw;
    lint_mend(finding, meant);
}

void look_order_ignored(const lint_look_t &look)
{
    const lint_rule_t &rule = *look.rule;
    if (lint_is_read(rule) || !rule.order || !lint_any_attributes(rule))
        return; // a rule without attributes is another finding
    lint_report_at(look, rule.order->place, FINDING_ORDER_IGNORED,
                   "nothing reads the order: the first sub-rule has no attributes",
                   "write the sub-rule with attributes first")
        .value = rule.order->raw;
}

/// Returns the bytes of a member and of the comma and the blanks behind it; of the last member
/// those of the comma in front of it. The braces of its object stand around it.
finding_place_t with_comma(const lint_look_t &look, finding_place_t pair)
{
    const std::string_view text = look.model.files[pair.file].text;
    const size_t behind = text.find_first_not_of(" \t\r\n", pair.end);
    if (text[behind] == ',') {
        const size_t next = text.find_first_not_of(" \t", behind + 1);
        pair.end = static_cast<uint32_t>(std::min(next, text.size()));
        return pair;
    }
    const size_t before = text.substr(0, pair.begin).find_last_not_of(" \t\r\n");
    if (text[before] == ',')
        pair.begin = static_cast<uint32_t>(before);
    return pair;
}

void look_flag(const lint_look_t &look, const std::optional<lint_flag_t> &flag, const char *name)
{
    if (!flag || flag->value)
        return;
    finding_t &finding =
        lint_report_at(look, flag->place, FINDING_FLAG_FALSE,
                       lint_joined({"\"", name, "\" is set by its key, whatever it says"}),
                       lint_joined({"leave \"", name, "\" out"}));
    finding.value = name;
    finding.edits.push_back({with_comma(look, flag->pair), ""});
}

void look_flags(const lint_look_t &look)
{
    look_flag(look, look.rule->fastpass, "fastpass");
    look_flag(look, look.rule->preempt, "preempt");
}

void look_scope_prefix(const lint_look_t &look)
{
    for (const lint_text_t &word : look.rule->scope) {
        const std::string_view meant = format_scope_word(format_scope_bit(word.decoded));
        if (meant.empty() || meant == word.decoded)
            continue;
        finding_t &finding =
            lint_report_at(look, word.place, FINDING_SCOPE_PREFIX,
                           lint_joined({lint_quoted(word.raw), " is read as ", lint_quoted(meant)}),
                           "write " + lint_quoted(meant));
        finding.value = word.raw;
        lint_mend(finding, lint_quoted(meant));
    }
}

/// Minimum data of a direction that no attribute of the rule is tested in.
void look_mindata_direction(const lint_look_t &look)
{
    const auto tested = [&](csa_attr_way_t way) {
        for (const lint_sub_rule_t &sub_rule : look.rule->sub_rules)
            for (const lint_attribute_t &attribute : sub_rule.attributes)
                if ((lint_stored_way(attribute) & way) != 0)
                    return true;
        return false;
    };
    for (const lint_sub_rule_t &sub_rule : look.rule->sub_rules)
        for (const auto &[number, way, key] :
             {std::tuple(sub_rule.cts_mindata, ATTR_WAY_CTS, "cts-mindata"),
              std::tuple(sub_rule.stc_mindata, ATTR_WAY_STC, "stc-mindata")})
            if (number && !tested(way))
                lint_report_at(
                    look, number->place, FINDING_MINDATA_DIRECTION,
                    lint_joined({"\"", key, "\", and nothing is tested that way"}),
                    lint_joined({"leave \"", key, "\" out, or name the other direction"}))
                    .value = number->raw;
}

void look_preempt_parts(const lint_look_t &look)
{
    const lint_rule_t &rule = *look.rule;
    if (!rule.preempt || rule.sub_rules.empty())
        return;
    const auto &attributes = rule.sub_rules.front().attributes;
    if (rule.sub_rules.size() > 1)
        lint_report(look, FINDING_PREEMPT_PARTS, "a preempt rule of several sub-rules",
                    "leave the sub-rule with the signature alone");
    else if (attributes.size() == 2 && attributes[0].name != attributes[1].name)
        lint_report(look, FINDING_PREEMPT_PARTS, "a preempt rule of two attributes",
                    "leave one of them, or one in both directions");
}

/// A number beyond 32 bits, or an offset beyond 16, keeps its low bits.
void look_wrapped(const lint_look_t &look, const std::optional<lint_number_t> &number, uint64_t max)
{
    if (number && lint_is_beyond(number->raw, max))
        lint_report_at(look, number->place, FINDING_WRAPPED_ID,
                       lint_joined({number->raw.substr(0, 20), " is read as ",
                                    std::to_string(number->number & max)}),
                       lint_joined({"write at most ", std::to_string(max)}))
            .value = number->raw;
}

void look_offset(const lint_look_t &look)
{
    const auto &offset = look.attribute->offset;
    look_wrapped(look, offset, UINT16_MAX);
    if (offset && offset->number == 0)
        lint_report_at(
            look, offset->place, FINDING_OFFSET_ZERO,
            "an offset of 0 is none: the pattern is an expression that is the whole data",
            "write a \"stream\" that begins with the pattern and ends with \".*\"")
            .value = offset->raw;
}

void look_attributes(const lint_look_t &look)
{
    lint_each_attribute(look, [](const lint_look_t &attribute) {
        look_offset(attribute);
        for (const lint_row_t &row : lint_attribute_rows())
            row.look(attribute);
    });
}

void look_numbers(const lint_look_t &look)
{
    for (const lint_sub_rule_t &sub_rule : look.rule->sub_rules)
        for (const auto *number : {&sub_rule.mindata, &sub_rule.cts_mindata, &sub_rule.stc_mindata})
            look_wrapped(look, *number, UINT32_MAX);
}

constexpr lint_row_t rows[] = {
    {look_order_form}, {look_order_ignored},     {look_flags},         {look_scope_prefix},
    {look_numbers},    {look_mindata_direction}, {look_preempt_parts}, {look_attributes},
};

} // namespace

std::span<const lint_row_t> lint_rule_rows()
{
    return rows;
}
