#include "lint_build.h"

#include "csa_protodef.h"
#include "format_limits.h"
#include "lint_attribute_meant.h"
#include "lint_take.h"
#include "lint_words.h"

namespace
{

void take_member(lint_build_t &build, const lint_member_t &member);

/// Takes the members of an object that the vocabulary knows.
void take_members(lint_build_t &build, size_t object, lint_object_t kind)
{
    if (lint_token(build, object).kind != TEXT_OBJECT)
        return;
    for (size_t key = object + 1; lint_token(build, key).kind == TEXT_STRING;) {
        if (const lint_key_row_t *row = lint_find_key(kind, lint_token_raw(build, key)))
            take_member(build, {key, key + 2, *row});
        key = text_value_end(build.tokens, key + 2);
        key += lint_token(build, key).kind == TEXT_COMMA ? 1 : 0;
    }
}

/// Hands each object of an array to `take`.
template <typename Take>
void each_object(lint_build_t &build, size_t array, const Take &take)
{
    if (lint_token(build, array).kind != TEXT_ARRAY)
        return;
    for (size_t at = array + 1; at < lint_token(build, array).mate;
         at = text_value_end(build.tokens, at) + 1)
        if (lint_token(build, at).kind == TEXT_OBJECT)
            take(at);
}

void take_rule(lint_build_t &build, size_t object)
{
    auto &rules = build.protocol.rules;
    if (rules.size() == PROTOCOL_RULE_DIM - 1)
        lint_report_many(build, object, "rules", PROTOCOL_RULE_DIM - 1);
    lint_rule_t &rule = rules.emplace_back();
    rule.place = lint_token_place(build, object, lint_token(build, object).mate);
    rule.number = static_cast<uint32_t>(rules.size());
    take_members(build, object, LINT_RULE);
}

lint_rule_t &rule_of(lint_build_t &build)
{
    return build.protocol.rules.back();
}

/// Takes a sub-rule, and the first one too many; further ones are not looked into.
void take_sub_rule(lint_build_t &build, size_t object)
{
    auto &sub_rules = rule_of(build).sub_rules;
    if (sub_rules.size() > PROTOCOL_SUB_RULE_DIM)
        return;
    if (sub_rules.size() == PROTOCOL_SUB_RULE_DIM)
        lint_report_many(build, object, "sub-rules", PROTOCOL_SUB_RULE_DIM);
    build.nr_value = 0;
    sub_rules.emplace_back().place =
        lint_token_place(build, object, lint_token(build, object).mate);
    take_members(build, object, LINT_SUB_RULE);
}

lint_sub_rule_t &sub_rule_of(lint_build_t &build)
{
    return rule_of(build).sub_rules.back();
}

lint_attribute_t &add_attribute(lint_build_t &build, const lint_member_t &member)
{
    lint_attribute_t &attribute = sub_rule_of(build).attributes.emplace_back();
    attribute.key = lint_token_text(build, member.key);
    attribute.place =
        lint_token_place(build, member.key, text_value_end(build.tokens, member.value) - 1);
    attribute.array = lint_token(build, member.value).kind == TEXT_ARRAY;
    attribute.object = lint_token(build, member.value).kind == TEXT_OBJECT;
    return attribute;
}

/// Values and attributes of a sub-rule that are looked into; so many more than there may be say
/// nothing new.
constexpr size_t VALUES_MAX = 4 * PROTOCOL_ATTR_DIM;

bool is_full(lint_build_t &build)
{
    return build.nr_value >= VALUES_MAX || sub_rule_of(build).attributes.size() >= VALUES_MAX;
}

/// Counts a value of a sub-rule; one at an offset must leave room for another one.
void count_value(lint_build_t &build, size_t token, bool offset)
{
    const size_t most = PROTOCOL_ATTR_DIM - (offset ? 1 : 0);
    if (++build.nr_value == most + 1)
        lint_report_many(build, token, "values in a sub-rule", most);
}

/// Takes a number whose key says minimum data with a slip. Returns false where that is not so.
bool take_misspelt_mindata(lint_build_t &build, const lint_member_t &member)
{
    constexpr std::string_view keys[] = {"mindata", "cts-mindata", "stc-mindata"};
    if (lint_token(build, member.value).kind != TEXT_NUMBER)
        return false;
    const std::string_view meant = lint_nearest(lint_token_raw(build, member.key), keys);
    if (meant.empty())
        return false;
    lint_report_key(build, member.key, meant);
    take_member(build, {member.key, member.value, *lint_find_key(LINT_SUB_RULE, meant)});
    return true;
}

void take_attribute(lint_build_t &build, const lint_member_t &member)
{
    if (take_misspelt_mindata(build, member))
        return;
    if (is_full(build))
        return;
    // The values of what is no attribute are not looked at: that is another finding.
    const bool known = lint_is_attribute(lint_token_raw(build, member.key));
    const std::vector<size_t> values =
        known ? lint_take_values(build, member) : std::vector<size_t>();
    add_attribute(build, member);
    for (const size_t token : values) {
        if (build.nr_value >= VALUES_MAX)
            return;
        sub_rule_of(build).attributes.back().values.push_back(lint_token_text(build, token));
        count_value(build, token, false);
    }
}

void take_stream_offset(lint_build_t &build, const lint_member_t &member)
{
    if (is_full(build))
        return;
    build.attribute = &add_attribute(build, member);
    take_members(build, member.value, LINT_STREAM_OFFSET);
    if (!build.attribute->values.empty())
        count_value(build, member.key, true);
    build.attribute = nullptr;
}

void take_pattern(lint_build_t &build, const lint_member_t &member)
{
    if (lint_check_kind(build, member, member.value))
        build.attribute->values.push_back(lint_token_text(build, member.value));
}

/// Takes a value that is only looked at for its kind.
void take_other(lint_build_t &build, const lint_member_t &member)
{
    (void)lint_check_kind(build, member, member.value);
}

/// Takes a member of a rule.
void take_rule_member(lint_build_t &build, const lint_member_t &member)
{
    lint_rule_t &rule = rule_of(build);
    switch (member.row.id) {
    case LINT_KEY_ORDER:
        return lint_take_text(build, member, rule.order);
    case LINT_KEY_SCOPE:
        return lint_take_texts(build, member, rule.scope);
    case LINT_KEY_FASTPASS:
        return lint_take_flag(build, member, rule.fastpass);
    case LINT_KEY_PREEMPT:
        return lint_take_flag(build, member, rule.preempt);
    case LINT_KEY_PATH:
        return lint_take_texts(build, member, rule.path);
    case LINT_KEY_RULE_TAGS:
        return lint_take_texts(build, member, rule.tags);
    default:
        return each_object(build, member.value, [&](size_t at) { take_sub_rule(build, at); });
    }
}

/// Takes a member of a sub-rule, or of its "stream_offset".
void take_sub_rule_member(lint_build_t &build, const lint_member_t &member)
{
    lint_sub_rule_t &sub_rule = sub_rule_of(build);
    switch (member.row.id) {
    case LINT_KEY_PROTOCOL: {
        std::vector<lint_text_t> again; // of a key that is repeated
        return lint_take_texts(build, member,
                               sub_rule.protocols.empty() ? sub_rule.protocols : again);
    }
    case LINT_KEY_MINDATA:
        return lint_take_number(build, member, sub_rule.mindata);
    case LINT_KEY_CTS_MINDATA:
        return lint_take_number(build, member, sub_rule.cts_mindata);
    case LINT_KEY_STC_MINDATA:
        return lint_take_number(build, member, sub_rule.stc_mindata);
    case LINT_KEY_STREAM_OFFSET:
        return take_stream_offset(build, member);
    case LINT_KEY_OFFSET:
        return lint_take_number(build, member, build.attribute->offset);
    case LINT_KEY_PATTERN:
        return take_pattern(build, member);
    default:
        return take_attribute(build, member);
    }
}

/// Takes a member of the protocol itself, or of one of its small objects.
void take_protocol_member(lint_build_t &build, const lint_member_t &member)
{
    lint_protocol_t &protocol = build.protocol;
    switch (member.row.id) {
    case LINT_KEY_NAME:
        return lint_take_text(build, member, protocol.name);
    case LINT_KEY_ID:
        protocol.has_id = true;
        return lint_take_number(build, member, protocol.id_written);
    case LINT_KEY_VIRTUAL_ID:
        return lint_take_number(build, member, protocol.virtual_id);
    case LINT_KEY_ALTNAME:
        return lint_take_texts(build, member, protocol.altnames);
    case LINT_KEY_CATEGORY:
        return lint_take_texts(build, member, protocol.categories);
    case LINT_KEY_FAMILY:
        return lint_take_text(build, member, protocol.family);
    case LINT_KEY_VERSION:
        return take_members(build, member.value, LINT_VERSION);
    case LINT_KEY_TAGS:
        return take_members(build, member.value, LINT_TAGS);
    case LINT_KEY_DESCRIPTION:
        return take_members(build, member.value, LINT_DESCRIPTION);
    case LINT_KEY_RULES:
        return each_object(build, member.value, [&](size_t at) { take_rule(build, at); });
    default:
        return take_other(build, member);
    }
}

void take_member(lint_build_t &build, const lint_member_t &member)
{
    if (member.row.object == LINT_RULE)
        take_rule_member(build, member);
    else if (member.row.object == LINT_SUB_RULE || member.row.object == LINT_STREAM_OFFSET)
        take_sub_rule_member(build, member);
    else
        take_protocol_member(build, member);
}

} // namespace

void lint_build_protocol(const description_text_t &tokens, uint32_t file, lint_model_t &model,
                         std::vector<finding_t> &findings)
{
    lint_protocol_t &protocol = model.protocols.emplace_back();
    lint_build_t build = {tokens, file, findings, protocol};
    protocol.place = lint_token_place(build, 0, lint_token(build, 0).mate);
    take_members(build, 0, LINT_PROTOCOL);
    if (protocol.id_written)
        protocol.id = protocol.id_written->number;
    else if (protocol.name)
        protocol.id = dpi_proto_get_id_by_name(protocol.name->decoded.c_str());
}
