#include <algorithm>

#include "format_scope.h"
#include "lint_attribute_meant.h"
#include "lint_resolve.h"
#include "lint_rules.h"
#include "lint_vocabulary.h"
#include "lint_words.h"
#include "pdata_error.h"
#include "pdb_rule_priority.h"

namespace
{

bool has_attributes(const lint_sub_rule_t &sub_rule)
{
    return !sub_rule.attributes.empty();
}

void look_order(const lint_look_t &look)
{
    const auto &order = look.rule->order;
    uint32_t range = 0;
    uint32_t number = 0;
    uint32_t priority = 0;
    if (!order || !lint_is_read(*look.rule))
        return;
    if (!pdb_rule_read_order(order->decoded, &range, &number)) {
        lint_report_at(
            look, order->place, FINDING_ORDER_COLON, "an order without a colon",
            lint_joined({"write \"", lint_meant_order(order->raw), "\", a range and an order"}))
            .value = order->raw;
    } else if (pdb_rule_get_priority(range, number, &priority) != PDATA_SUCCESS) {
        lint_report_at(look, order->place, FINDING_ORDER_RANGE, pdata_status_msg_get(),
                       "write a range of 0 to 255 and an order of 0 to 16777215")
            .value = order->raw;
    }
}

void look_scope(const lint_look_t &look)
{
    const lint_rule_t &rule = *look.rule;
    if (!lint_any_attributes(rule))
        return;
    for (const lint_text_t &word : rule.scope) {
        const uint32_t bit = format_scope_bit(word.decoded);
        if (bit == 0)
            lint_report_at(look, word.place, FINDING_SCOPE_WORD,
                           "there is no scope " + lint_quoted(word.raw),
                           "write one of all, http, ssl, stun, ip, dns, sip, rtsp, facebook, quic, "
                           "http2, http_proxy, spdy")
                .value = word.raw;
        const auto on_ip = [](const lint_sub_rule_t &sub_rule) {
            return has_attributes(sub_rule) && lint_bottom(sub_rule) == "ip";
        };
        if (bit == RULE_SCOPE_DNS && std::ranges::any_of(rule.sub_rules, on_ip))
            lint_report_at(look, word.place, FINDING_SCOPE_WORD,
                           "a rule that tests ip may not have dns in its scope", "leave it out")
                .value = word.raw;
    }
}

void look_path(const lint_look_t &look)
{
    const auto &path = look.rule->path;
    if (path.empty() || !lint_is_read(*look.rule) || !look.protocol->name)
        return;
    const std::string &name = look.protocol->name->decoded;
    if (path.size() == 1)
        lint_report_at(look, path.front().place, FINDING_PATH_FORM,
                       "a path of one protocol: it needs two at least",
                       "write the protocol below in front of " + lint_quoted(name))
            .value = path.front().raw;
    else if (path.back().decoded != name)
        lint_report_at(look, path.back().place, FINDING_PATH_FORM,
                       "the last protocol of a path is not the protocol itself",
                       "end the path with " + lint_json(name))
            .value = path.back().raw;
}

void look_tags(const lint_look_t &look)
{
    if (!lint_is_read(*look.rule))
        return;
    for (const lint_text_t &tag : look.rule->tags)
        lint_look_tag(look, tag, FINDING_UNKNOWN_RULE_TAG);
}

/// The entries of a sub-rule, a key for each value, as the compiler counts them.
std::vector<std::string_view> entries_of(const lint_sub_rule_t &sub_rule)
{
    std::vector<std::string_view> entries;
    for (const lint_attribute_t &attribute : sub_rule.attributes)
        entries.insert(entries.end(), attribute.values.size(), attribute.key.raw);
    return entries;
}

/// Two entries of a preempt rule are one for each direction, or one is exactly "port".
bool are_two_ways(const std::vector<std::string_view> &entries)
{
    int open_ways = 3;
    for (std::string_view key : entries) {
        if (key == "port")
            return true;
        const csa_attr_way_t way = attr_way_split(key);
        open_ways -= way == ATTR_WAY_CTS ? 2 : way == ATTR_WAY_STC ? 1 : 0;
    }
    return open_ways == 0;
}

void look_preempt(const lint_look_t &look)
{
    const lint_rule_t &rule = *look.rule;
    if (!rule.preempt)
        return;
    for (const lint_sub_rule_t &sub_rule : rule.sub_rules) {
        const std::vector<std::string_view> entries = entries_of(sub_rule);
        if (entries.size() > 2)
            lint_report_at(look, sub_rule.place, FINDING_PREEMPT_FORM,
                           "a preempt rule of more than two values",
                           "leave one value, or one for each direction");
        else if (entries.size() == 2 && !are_two_ways(entries))
            lint_report_at(look, sub_rule.place, FINDING_PREEMPT_FORM,
                           "a preempt rule of two values that are not one for each direction",
                           "write one with \"cts-\" and the same one with \"stc-\"");
    }
}

void look_mixed(const lint_look_t &look)
{
    for (const lint_sub_rule_t &sub_rule : look.rule->sub_rules)
        if (sub_rule.protocols.size() > 1 && has_attributes(sub_rule))
            lint_report_at(look, sub_rule.place, FINDING_MIXED_SUB_RULE,
                           "several protocols and attributes in one sub-rule",
                           "write a rule for each of the protocols");
}

void look_attribute(const lint_look_t &look)
{
    const lint_attribute_t &attribute = *look.attribute;
    const std::string bottom(lint_bottom(*look.sub_rule));
    const std::string_view key = attribute.key.raw;
    const bool at_offset =
        key.ends_with("_offset") &&
        (attribute.object || lint_find_key(LINT_SUB_RULE, key)->id == LINT_KEY_STREAM_OFFSET);
    if (bottom.empty() || (at_offset && (attribute.values.empty() || !attribute.offset)))
        return; // its shape is wrong, which was said
    if (attribute.written == nullptr) {
        lint_report(look, FINDING_UNKNOWN_ATTRIBUTE,
                    bottom + " has no attribute " + lint_quoted(attribute.name),
                    lint_meant_attribute(bottom, attribute.key.raw));
        return;
    }
    const csa_attr_way_t allowed = attribute.written->proper_allowed_way;
    if (attribute.written_way != ATTR_WAY_BOTH && allowed != ATTR_WAY_BOTH &&
        attribute.written_way != allowed)
        lint_report(look, FINDING_WRONG_DIRECTION,
                    bottom + ":" + attribute.name + " is there in the other direction alone",
                    lint_joined({"write \"", attr_way2prefix(allowed), attribute.name, "\""}));
    else if (attribute.matched == nullptr)
        lint_report(
            look, FINDING_UNKNOWN_ATTRIBUTE,
            lint_joined({"an alias makes ", bottom, ":", attribute.name, " an attribute of ",
                         attribute.matched_key.protocol, ", which has none of that name"}),
            "write it into a rule of its own");
}

void look_attributes(const lint_look_t &look)
{
    lint_each_attribute(look, look_attribute);
}

/// An attribute that needs minimum data is tested in a direction that has none.
void look_mindata(const lint_look_t &look)
{
    lint_each_attribute(look, [](const lint_look_t &at) {
        if (at.attribute->matched == nullptr ||
            at.attribute->matched->mindata_status != MINDATA_MANDATORY)
            return;
        uint32_t lacking = 0; // directions
        for (const csa_attr_way_t way : {ATTR_WAY_CTS, ATTR_WAY_STC})
            if (lint_tests_way(*at.attribute, way) && lint_mindata(*at.rule, way) == 0)
                lacking |= way;
        if (lacking == 0)
            return;
        const std::string key = lint_joined({"\"", attr_way2prefix(lacking), "mindata\""});
        lint_report(at, FINDING_MISSING_MINDATA,
                    at.attribute->name + " needs minimum data, and there is no " + key,
                    "write " + key + " with the bytes that its values need");
    });
}

/// An attribute of one name and direction holds so many values, wherever they are written.
void look_value_count(const lint_look_t &look)
{
    for (const lint_sub_rule_t &sub_rule : look.rule->sub_rules)
        for (const lint_attribute_t &attribute : sub_rule.attributes) {
            size_t before = 0;
            for (const lint_attribute_t *other = sub_rule.attributes.data(); other != &attribute;
                 ++other)
                if (other->name == attribute.name && other->written_way == attribute.written_way)
                    before += other->values.size();
            if (before <= PROTODESC_ATTR_VAL_MAX &&
                before + attribute.values.size() > PROTODESC_ATTR_VAL_MAX)
                lint_report_at(look, attribute.place, FINDING_TOO_MANY,
                               "more than 8 values of one attribute", "leave 8 of them");
        }
}

/// Counts the items that a value becomes: a text with commas is several.
size_t items_of(const lint_attribute_t &attribute, const lint_text_t &value)
{
    if (attribute.matched == nullptr || attribute.matched->proper_type != MATCHER_TYPE_STREAM)
        return 1;
    size_t nr = 0;
    char before = ',';
    for (const char c : value.decoded) {
        nr += before == ',' && c != ',' ? 1 : 0;
        before = c;
    }
    return nr;
}

void look_items(const lint_look_t &look)
{
    size_t nr = 0;
    for (const lint_sub_rule_t &sub_rule : look.rule->sub_rules)
        for (const lint_attribute_t &attribute : sub_rule.attributes)
            for (const lint_text_t &value : attribute.values)
                nr += items_of(attribute, value);
    if (nr > RULE_MAX_ITEM)
        lint_report(look, FINDING_TOO_MANY,
                    std::to_string(nr) + " items in a rule, where 16 may be",
                    "leave 16 values; a text with commas counts once for each part");
}

void look_empty(const lint_look_t &look)
{
    for (const lint_sub_rule_t &sub_rule : look.rule->sub_rules) {
        for (const lint_text_t &protocol : sub_rule.protocols)
            lint_refuse_empty(look, protocol);
        for (const lint_attribute_t &attribute : sub_rule.attributes)
            for (const lint_text_t &value : attribute.values)
                lint_refuse_empty(look, value);
    }
    if (!lint_is_read(*look.rule))
        return;
    for (const lint_text_t &name : look.rule->path)
        lint_refuse_empty(look, name);
    for (const lint_text_t &tag : look.rule->tags)
        lint_refuse_empty(look, tag);
}

constexpr lint_row_t rows[] = {
    {look_order},       {look_scope}, {look_path},       {look_tags},
    {look_preempt},     {look_mixed}, {look_attributes}, {look_mindata},
    {look_value_count}, {look_items}, {look_empty},
};

} // namespace

std::span<const lint_row_t> lint_refusal_rows()
{
    return rows;
}
