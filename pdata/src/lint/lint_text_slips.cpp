#include <algorithm>
#include <string>

#include "csa_char.h"
#include "lint_rules.h"
#include "lint_values.h"
#include "lint_words.h"
#include "value_ranges.h"

namespace
{

void look_blank(const lint_look_t &look)
{
    const std::string &value = look.value->decoded;
    if (value.empty() || (!char_is_blank(value.front()) && !char_is_blank(value.back())))
        return;
    const bool guarded = value.size() > 1 && value[value.size() - 2] == '\\';
    const size_t first = std::min(value.find_first_not_of(" \t\n"), value.size());
    const size_t last = value.find_last_not_of(" \t\n");
    if (guarded || first == value.size())
        return;
    const std::string trimmed = lint_json(value.substr(first, last - first + 1));
    lint_mend(lint_report(look, FINDING_BLANK_AT_END, "the value begins or ends with a blank",
                          "write " + trimmed),
              trimmed);
}

/// Tells whether the byte at `at` stands behind an odd number of backslashes.
bool is_escaped(std::string_view text, size_t at)
{
    size_t nr = 0;
    while (nr < at && text[at - 1 - nr] == '\\')
        ++nr;
    return nr % 2 != 0;
}

/// An anchor of other expressions: "^abc" says here what "abc" does with a '^' in front of it.
void look_anchor(const lint_look_t &look)
{
    std::string_view value = look.value->decoded;
    const bool front = value.starts_with('^');
    const bool back =
        value.size() > 1 && value.ends_with('$') && !is_escaped(value, value.size() - 1);
    if (!front && !back)
        return;
    value.remove_prefix(front ? 1 : 0);
    value.remove_suffix(back ? 1 : 0);
    const std::string meant = lint_joined({front || value.starts_with(".*") ? "" : ".*", value,
                                           back || value.ends_with(".*") ? "" : ".*"});
    lint_report(look, FINDING_LITERAL_ANCHOR,
                front ? "'^' is looked for as a byte: a value matches the whole of the data"
                      : "'$' is looked for as a byte: a value matches the whole of the data",
                "write " + lint_json(meant));
}

/// Tells whether "{n}", "{n,}" or "{n,m}" begins at a byte.
bool is_count(std::string_view text)
{
    const size_t end = text.find_first_not_of("0123456789,", 1);
    return end != text.npos && end > 1 && text[end] == '}' && text[1] != ',';
}

/// Operators of other expressions that are bytes here: \b, \B, \A, \z, \Z, \D, \S, \W, \1, {n,m}.
void look_operator(const lint_look_t &look)
{
    const std::string_view value = look.value->decoded;
    for (size_t at = 0; at + 1 < value.size(); ++at) {
        if (value[at] == '\\') {
            ++at;
            const bool digit = value[at] >= '1' && value[at] <= '9';
            if (!digit && std::string_view("bBAzZDSW").find(value[at]) == std::string_view::npos)
                continue;
            lint_report(look, FINDING_LITERAL_ANCHOR,
                        lint_joined({"\"\\\\", value.substr(at, 1), "\" is the ",
                                     digit ? "digit " : "letter ", value.substr(at, 1), " here"}),
                        digit ? "write the part again, or the digit without a backslash"
                              : "write a set like [^0-9], or leave it out");
            return;
        }
        if (value[at] == '{' && at != 0 && is_count(value.substr(at))) {
            lint_report(look, FINDING_LITERAL_ANCHOR,
                        "a count in braces is looked for as it stands",
                        "write the part so many times, or with '*', '+' or '?' behind it");
            return;
        }
    }
}

/// A pattern at an offset is bytes: what is open in an expression stands for itself in it.
void look_offset_operator(const lint_look_t &look)
{
    const std::string_view value = look.value->decoded;
    if (!value.ends_with(".*") && !value.ends_with(".+"))
        return;
    const std::string meant = lint_json(value.substr(0, value.size() - 2));
    lint_report(look, FINDING_LITERAL_ANCHOR,
                "a pattern at an offset is no expression: its end is looked for as it stands",
                value.size() > 2 ? "write " + meant : "write the bytes that stand there");
}

/// Tells whether a letter behind a backslash keeps it in the bytes that JSON stands for, or is a
/// control character that an expression may be meant to hold.
bool is_json_escape(char letter)
{
    return std::string_view("\"\\/fnrt").find(letter) != std::string_view::npos;
}

void report_escape(const lint_look_t &look, std::string_view escape)
{
    const std::string meant = lint_joined({"\"", lint_with_backslashes(look.value->raw), "\""});
    const bool code = escape == "\\u";
    finding_t &finding =
        lint_report(look, FINDING_LOST_ESCAPE,
                    escape == "\\b" ? std::string("\"\\b\" is the byte 8 here")
                                    : lint_joined({"\"", escape, "\" is \"", escape.substr(1),
                                                   "\": the backslash is lost"}),
                    code ? "write the bytes of the character, \"\\\\xc3\\\\xbc\" for U+00FC"
                         : lint_joined({"write ", meant}));
    if (!code)
        lint_mend(finding, meant);
}

/// What a backslash in JSON leaves of an escape of the expression.
void look_escape(const lint_look_t &look)
{
    const std::string_view raw = look.value->raw;
    for (size_t at = 0; at + 1 < raw.size(); ++at)
        if (raw[at] == '\\' && !is_json_escape(raw[++at]))
            return report_escape(look, raw.substr(at - 1, 2));
}

/// Returns a value with its commas as octal bytes, which no comma splits.
std::string without_commas(std::string_view value, bool at_offset)
{
    std::string text;
    bool escaped = false;
    for (const char c : value) {
        if (c == ',' && escaped)
            text.pop_back();
        if (c == ',')
            text += at_offset ? "\\x2c" : "\\0054";
        else
            text += c;
        escaped = c == '\\' && !escaped;
    }
    return text;
}

/// Of a text with commas for both directions one direction alone gets all the items.
void look_comma(const lint_look_t &look)
{
    std::string_view rest = look.value->decoded;
    const std::string_view first = value_next_part(rest);
    if (look.attribute->matched_key.way != ATTR_WAY_BOTH || first.empty() ||
        value_next_part(rest).empty())
        return;
    const std::string meant =
        lint_json(without_commas(look.value->decoded, lint_at_offset(*look.attribute)));
    lint_mend(lint_report(look, FINDING_COMMA_BOTH_WAYS,
                          "a comma splits the value, and in one direction the rule never matches",
                          "write " + meant),
              meant);
}

void look_long(const lint_look_t &look)
{
    const size_t size = look.value->decoded.size();
    if (size > HSTRING_LEN_MAX)
        lint_report(look, FINDING_LONG_VALUE,
                    lint_joined({std::to_string(size), " bytes, of which ",
                                 std::to_string(size & 0xffff), " are kept"}),
                    "write at most 65535 bytes");
}

constexpr lint_row_t rows[] = {{look_blank},  {look_anchor}, {look_operator},
                               {look_escape}, {look_comma},  {look_long}};

constexpr lint_row_t offset_rows[] = {
    {look_offset_operator}, {look_escape}, {look_comma}, {look_long}};

} // namespace

std::string lint_with_backslashes(std::string_view raw)
{
    std::string text;
    bool escaped = false;
    for (const char c : raw) {
        if (escaped && !is_json_escape(c))
            text += '\\';
        text += c;
        escaped = c == '\\' && !escaped;
    }
    return text;
}

std::span<const lint_row_t> lint_text_rows()
{
    return rows;
}

std::span<const lint_row_t> lint_offset_rows()
{
    return offset_rows;
}
