#include "lint_build.h"

#include <algorithm>

#include "csa_protodef.h"
#include "format_limits.h"
#include "json_parser.h"
#include "lint_vocabulary.h"
#include "lint_words.h"

namespace
{

/// A protocol while it is taken from its tokens.
struct lint_build_t {
    const description_text_t &tokens;
    uint32_t file;
    std::vector<finding_t> &findings;
    lint_protocol_t &protocol;
    lint_attribute_t *attribute = nullptr; ///< the "stream_offset" at hand
    size_t nr_value = 0;                   ///< values of the sub-rule at hand
};

/// A member of an object: the tokens of its key and of its value.
struct lint_member_t {
    size_t key;
    size_t value;
    const lint_key_row_t &row;
};

const text_token_t &token_of(const lint_build_t &build, size_t token)
{
    return build.tokens.tokens[token];
}

finding_place_t place_of(const lint_build_t &build, size_t first, size_t last)
{
    return {build.file, token_of(build, first).begin, token_of(build, last).end};
}

std::string_view raw_of(const lint_build_t &build, size_t token)
{
    const std::string_view bytes = text_token_bytes(build.tokens, token);
    return token_of(build, token).kind == TEXT_STRING ? bytes.substr(1, bytes.size() - 2) : bytes;
}

lint_text_t text_of(const lint_build_t &build, size_t token)
{
    const std::string_view raw = raw_of(build, token);
    return {place_of(build, token, token), raw, lint_decoded(raw)};
}

lint_number_t number_of(const lint_build_t &build, size_t token)
{
    const std::string_view raw = raw_of(build, token);
    return {place_of(build, token, token), raw, json_antoi(raw.data(), raw.data() + raw.size())};
}

finding_t &report(lint_build_t &build, finding_id_t id, size_t token, std::string message,
                  std::string hint)
{
    finding_t finding;
    finding.id = id;
    finding.place = place_of(build, token, text_value_end(build.tokens, token) - 1);
    finding.rule = build.protocol.rules.empty() ? 0 : build.protocol.rules.back().number;
    finding.message = std::move(message);
    finding.hint = std::move(hint);
    build.findings.push_back(std::move(finding));
    return build.findings.back();
}

/// What kind of token a key takes, and how a message calls it.
struct kind_row_t {
    text_token_kind_t token;
    const char *name;
};

kind_row_t kind_row(lint_kind_t kind)
{
    if (kind == LINT_NUMBER)
        return {TEXT_NUMBER, "a number"};
    return kind == LINT_LITERAL ? kind_row_t{TEXT_LITERAL, "true or false"}
                                : kind_row_t{TEXT_STRING, "a text in quotes"};
}

/// Returns how a scalar of the wrong kind is written in the right one; empty where that is not
/// told.
std::string rewritten(const lint_build_t &build, size_t token, text_token_kind_t wanted)
{
    const std::string_view raw = raw_of(build, token);
    if (wanted == TEXT_STRING)
        return lint_json(raw);
    const bool digits = !raw.empty() && raw.find_first_not_of("0123456789") == raw.npos;
    const bool literal = raw == "true" || raw == "false";
    return (wanted == TEXT_NUMBER && digits) || (wanted == TEXT_LITERAL && literal)
               ? std::string(raw)
               : "";
}

/// Checks the kind of a scalar. Arrays and objects in its place are the shape's concern.
bool check_kind(lint_build_t &build, const lint_member_t &member, size_t token)
{
    const text_token_kind_t kind = token_of(build, token).kind;
    const kind_row_t wanted = kind_row(member.row.kind);
    if (kind == wanted.token)
        return true;
    if (kind == TEXT_OBJECT || kind == TEXT_ARRAY)
        return false;
    const std::string key = lint_quoted(raw_of(build, member.key));
    const std::string text = rewritten(build, token, wanted.token);
    finding_t &finding =
        report(build, FINDING_WRONG_KIND, token, key + " takes " + wanted.name,
               text.empty() ? "write " + std::string(wanted.name) : "write " + text);
    finding.attribute = raw_of(build, member.key);
    finding.value = raw_of(build, token);
    if (!text.empty() && member.row.id != LINT_KEY_ATTRIBUTE)
        finding.edits.push_back({finding.place, text});
    return false;
}

/// Returns the tokens of the values of a member that take part: one, or those of an array.
std::vector<size_t> values_of(lint_build_t &build, const lint_member_t &member)
{
    std::vector<size_t> values;
    const text_token_t &first = token_of(build, member.value);
    if (first.kind != TEXT_ARRAY || member.row.kind != LINT_STRINGS) {
        if (check_kind(build, member, member.value))
            values.push_back(member.value);
        return values;
    }
    for (size_t at = member.value + 1; at < first.mate; at = text_value_end(build.tokens, at) + 1)
        if (check_kind(build, member, at))
            values.push_back(at);
    return values;
}

void report_many(lint_build_t &build, size_t token, std::string_view what, size_t most)
{
    report(build, FINDING_TOO_MANY, token,
           "more than " + std::to_string(most) + " " + std::string(what),
           "leave " + std::to_string(most) + " of them");
}

void take_texts(lint_build_t &build, const lint_member_t &member, std::vector<lint_text_t> &texts)
{
    for (const size_t token : values_of(build, member)) {
        if (texts.size() == member.row.max)
            return report_many(build, token, "values of " + lint_quoted(member.row.key),
                               member.row.max);
        texts.push_back(text_of(build, token));
    }
}

void take_number(lint_build_t &build, const lint_member_t &member,
                 std::optional<lint_number_t> &number)
{
    if (check_kind(build, member, member.value))
        number = number_of(build, member.value);
}

void take_text(lint_build_t &build, const lint_member_t &member, std::optional<lint_text_t> &text)
{
    if (check_kind(build, member, member.value))
        text = text_of(build, member.value);
}

void take_flag(lint_build_t &build, const lint_member_t &member, std::optional<lint_flag_t> &flag)
{
    if (check_kind(build, member, member.value))
        flag = {place_of(build, member.value, member.value),
                place_of(build, member.key, member.value), raw_of(build, member.value) == "true"};
}

void take_member(lint_build_t &build, const lint_member_t &member);

/// Takes the members of an object that the vocabulary knows.
void take_members(lint_build_t &build, size_t object, lint_object_t kind)
{
    if (token_of(build, object).kind != TEXT_OBJECT)
        return;
    for (size_t key = object + 1; token_of(build, key).kind == TEXT_STRING;) {
        if (const lint_key_row_t *row = lint_find_key(kind, raw_of(build, key)))
            take_member(build, {key, key + 2, *row});
        key = text_value_end(build.tokens, key + 2);
        key += token_of(build, key).kind == TEXT_COMMA ? 1 : 0;
    }
}

/// Hands each object of an array to `take`.
template <typename Take>
void each_object(lint_build_t &build, size_t array, const Take &take)
{
    if (token_of(build, array).kind != TEXT_ARRAY)
        return;
    for (size_t at = array + 1; at < token_of(build, array).mate;
         at = text_value_end(build.tokens, at) + 1)
        if (token_of(build, at).kind == TEXT_OBJECT)
            take(at);
}

void take_rule(lint_build_t &build, size_t object)
{
    auto &rules = build.protocol.rules;
    if (rules.size() == PROTOCOL_RULE_DIM - 1)
        report_many(build, object, "rules", PROTOCOL_RULE_DIM - 1);
    lint_rule_t &rule = rules.emplace_back();
    rule.place = place_of(build, object, token_of(build, object).mate);
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
        report_many(build, object, "sub-rules", PROTOCOL_SUB_RULE_DIM);
    build.nr_value = 0;
    sub_rules.emplace_back().place = place_of(build, object, token_of(build, object).mate);
    take_members(build, object, LINT_SUB_RULE);
}

lint_sub_rule_t &sub_rule_of(lint_build_t &build)
{
    return rule_of(build).sub_rules.back();
}

lint_attribute_t &add_attribute(lint_build_t &build, const lint_member_t &member)
{
    lint_attribute_t &attribute = sub_rule_of(build).attributes.emplace_back();
    attribute.key = text_of(build, member.key);
    attribute.place = place_of(build, member.key, text_value_end(build.tokens, member.value) - 1);
    attribute.array = token_of(build, member.value).kind == TEXT_ARRAY;
    return attribute;
}

/// Values of a sub-rule that are looked into; so many more than there may be say nothing new.
constexpr size_t VALUES_MAX = 4 * PROTOCOL_ATTR_DIM;

/// Counts a value of a sub-rule; one at an offset must leave room for another one.
void count_value(lint_build_t &build, size_t token, bool offset)
{
    const size_t most = PROTOCOL_ATTR_DIM - (offset ? 1 : 0);
    if (++build.nr_value == most + 1)
        report_many(build, token, "values in a sub-rule", most);
}

void take_attribute(lint_build_t &build, const lint_member_t &member)
{
    const std::vector<size_t> values = values_of(build, member);
    if (build.nr_value >= VALUES_MAX)
        return;
    add_attribute(build, member);
    for (const size_t token : values) {
        if (build.nr_value >= VALUES_MAX)
            return;
        sub_rule_of(build).attributes.back().values.push_back(text_of(build, token));
        count_value(build, token, false);
    }
}

void take_stream_offset(lint_build_t &build, const lint_member_t &member)
{
    if (build.nr_value >= VALUES_MAX)
        return;
    build.attribute = &add_attribute(build, member);
    take_members(build, member.value, LINT_STREAM_OFFSET);
    if (!build.attribute->values.empty())
        count_value(build, member.key, true);
    build.attribute = nullptr;
}

void take_pattern(lint_build_t &build, const lint_member_t &member)
{
    if (check_kind(build, member, member.value))
        build.attribute->values.push_back(text_of(build, member.value));
}

/// Takes a value that is only looked at for its kind.
void take_other(lint_build_t &build, const lint_member_t &member)
{
    (void)check_kind(build, member, member.value);
}

/// Takes a member of a rule.
void take_rule_member(lint_build_t &build, const lint_member_t &member)
{
    lint_rule_t &rule = rule_of(build);
    switch (member.row.id) {
    case LINT_KEY_ORDER:
        return take_text(build, member, rule.order);
    case LINT_KEY_SCOPE:
        return take_texts(build, member, rule.scope);
    case LINT_KEY_FASTPASS:
        return take_flag(build, member, rule.fastpass);
    case LINT_KEY_PREEMPT:
        return take_flag(build, member, rule.preempt);
    case LINT_KEY_PATH:
        return take_texts(build, member, rule.path);
    case LINT_KEY_RULE_TAGS:
        return take_texts(build, member, rule.tags);
    default:
        return each_object(build, member.value, [&](size_t at) { take_sub_rule(build, at); });
    }
}

/// Takes a member of a sub-rule, or of its "stream_offset".
void take_sub_rule_member(lint_build_t &build, const lint_member_t &member)
{
    lint_sub_rule_t &sub_rule = sub_rule_of(build);
    switch (member.row.id) {
    case LINT_KEY_PROTOCOL:
        return take_texts(build, member, sub_rule.protocols);
    case LINT_KEY_MINDATA:
        return take_number(build, member, sub_rule.mindata);
    case LINT_KEY_CTS_MINDATA:
        return take_number(build, member, sub_rule.cts_mindata);
    case LINT_KEY_STC_MINDATA:
        return take_number(build, member, sub_rule.stc_mindata);
    case LINT_KEY_STREAM_OFFSET:
        return take_stream_offset(build, member);
    case LINT_KEY_OFFSET:
        return take_number(build, member, build.attribute->offset);
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
        return take_text(build, member, protocol.name);
    case LINT_KEY_ID:
        protocol.has_id = true;
        return take_number(build, member, protocol.id_written);
    case LINT_KEY_VIRTUAL_ID:
        return take_number(build, member, protocol.virtual_id);
    case LINT_KEY_ALTNAME:
        return take_texts(build, member, protocol.altnames);
    case LINT_KEY_CATEGORY:
        return take_texts(build, member, protocol.categories);
    case LINT_KEY_FAMILY:
        return take_text(build, member, protocol.family);
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
    protocol.place = place_of(build, 0, token_of(build, 0).mate);
    take_members(build, 0, LINT_PROTOCOL);
    if (protocol.id_written)
        protocol.id = protocol.id_written->number;
    else if (protocol.name)
        protocol.id = dpi_proto_get_id_by_name(protocol.name->decoded.c_str());
}
