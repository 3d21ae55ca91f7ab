#include "lint_take.h"

#include "json_parser.h"
#include "lint_words.h"

namespace
{

lint_number_t number_of(const lint_build_t &build, size_t token)
{
    const std::string_view raw = lint_token_raw(build, token);
    return {lint_token_place(build, token, token), raw,
            json_antoi(raw.data(), raw.data() + raw.size())};
}

finding_t &report(lint_build_t &build, finding_id_t id, size_t token, std::string message,
                  std::string hint)
{
    finding_t finding;
    finding.id = id;
    finding.place = lint_token_place(build, token, text_value_end(build.tokens, token) - 1);
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
    const text_token_kind_t token = kind == LINT_NUMBER    ? TEXT_NUMBER
                                    : kind == LINT_LITERAL ? TEXT_LITERAL
                                                           : TEXT_STRING;
    return {token, lint_kind_name(kind)};
}

/// Returns how a scalar of the wrong kind is written in the right one; empty where that is not
/// told.
std::string rewritten(const lint_build_t &build, const lint_member_t &member, size_t token)
{
    const std::string_view raw = lint_token_raw(build, token);
    const bool literal = raw == "true" || raw == "false";
    if (member.row.kind == LINT_NUMBER)
        return lint_is_digits(raw) ? std::string(raw) : "";
    if (member.row.kind == LINT_LITERAL)
        return literal ? std::string(raw) : "";
    if (lint_token(build, token).kind == TEXT_LITERAL)
        return "";
    return lint_json(member.row.id == LINT_KEY_ORDER ? std::string(raw) + ":0" : std::string(raw));
}

} // namespace

finding_place_t lint_token_place(const lint_build_t &build, size_t first, size_t last)
{
    return {build.file, lint_token(build, first).begin, lint_token(build, last).end};
}

std::string_view lint_token_raw(const lint_build_t &build, size_t token)
{
    const std::string_view bytes = text_token_bytes(build.tokens, token);
    return lint_token(build, token).kind == TEXT_STRING ? bytes.substr(1, bytes.size() - 2) : bytes;
}

lint_text_t lint_token_text(const lint_build_t &build, size_t token)
{
    const std::string_view raw = lint_token_raw(build, token);
    return {lint_token_place(build, token, token), raw, lint_decoded(raw)};
}

bool lint_check_kind(lint_build_t &build, const lint_member_t &member, size_t token)
{
    const text_token_kind_t kind = lint_token(build, token).kind;
    const kind_row_t wanted = kind_row(member.row.kind);
    if (kind == wanted.token)
        return true;
    if (kind == TEXT_OBJECT || kind == TEXT_ARRAY)
        return false;
    const std::string key = lint_quoted(lint_token_raw(build, member.key));
    const std::string text = rewritten(build, member, token);
    finding_t &finding =
        report(build, FINDING_WRONG_KIND, token, key + " takes " + wanted.name,
               text.empty() ? "write " + std::string(wanted.name) : "write " + text);
    finding.attribute = lint_token_raw(build, member.key);
    finding.value = lint_token_raw(build, token);
    if (!text.empty() && member.row.id != LINT_KEY_ATTRIBUTE)
        finding.edits.push_back({finding.place, text});
    return false;
}

std::vector<size_t> lint_take_values(lint_build_t &build, const lint_member_t &member)
{
    std::vector<size_t> values;
    const text_token_t &first = lint_token(build, member.value);
    if (first.kind != TEXT_ARRAY) {
        if (lint_check_kind(build, member, member.value))
            values.push_back(member.value);
        return values;
    }
    for (size_t at = member.value + 1; at < first.mate; at = text_value_end(build.tokens, at) + 1)
        if (lint_check_kind(build, member, at))
            values.push_back(at);
    return values;
}

void lint_report_many(lint_build_t &build, size_t token, std::string_view what, size_t most)
{
    report(build, FINDING_TOO_MANY, token,
           "more than " + std::to_string(most) + " " + std::string(what),
           "leave " + std::to_string(most) + " of them");
}

void lint_report_key(lint_build_t &build, size_t key, std::string_view meant)
{
    const std::string shown = lint_quoted(lint_token_raw(build, key));
    report(build, FINDING_UNKNOWN_KEY, key, "there is no key " + shown,
           "write " + lint_quoted(meant));
}

void lint_take_texts(lint_build_t &build, const lint_member_t &member,
                     std::vector<lint_text_t> &texts)
{
    for (const size_t token : lint_take_values(build, member)) {
        if (texts.size() == member.row.max)
            lint_report_many(build, token, "values of " + lint_quoted(member.row.key),
                             member.row.max);
        texts.push_back(lint_token_text(build, token));
    }
}

void lint_take_number(lint_build_t &build, const lint_member_t &member,
                      std::optional<lint_number_t> &number)
{
    // A number in quotes is wrong and is there: what asks for it is not to blame as well.
    if (lint_check_kind(build, member, member.value) ||
        lint_is_digits(lint_token_raw(build, member.value)))
        number = number_of(build, member.value);
}

void lint_take_text(lint_build_t &build, const lint_member_t &member,
                    std::optional<lint_text_t> &text)
{
    if (lint_check_kind(build, member, member.value))
        text = lint_token_text(build, member.value);
}

void lint_take_flag(lint_build_t &build, const lint_member_t &member,
                    std::optional<lint_flag_t> &flag)
{
    if (lint_check_kind(build, member, member.value))
        flag = {lint_token_place(build, member.value, member.value),
                lint_token_place(build, member.key, member.value),
                lint_token_raw(build, member.value) == "true"};
}
