#include <algorithm>

#include "csa_char.h"
#include "lint_rules.h"
#include "lint_words.h"

namespace
{

struct host_attribute_t {
    std::string_view protocol;
    std::string_view attribute;
};

/// Attributes whose data is the name of a host.
constexpr host_attribute_t host_attributes[] = {
    {"http", "server"},          {"quic", "server_name"}, {"ssl", "common_name"},
    {"ssl", "subject_alt_name"}, {"dtls", "common_name"}, {"dns", "query"},
    {"ip", "resolv_name"},
};

/// Suffixes below which everybody registers names: the common ones.
constexpr std::string_view public_suffixes[] = {"app",
                                                "biz",
                                                "br",
                                                "ca",
                                                "ch",
                                                "cn",
                                                "co",
                                                "com",
                                                "de",
                                                "dev",
                                                "edu",
                                                "es",
                                                "eu",
                                                "fr",
                                                "gov",
                                                "in",
                                                "info",
                                                "io",
                                                "it",
                                                "jp",
                                                "me",
                                                "net",
                                                "nl",
                                                "online",
                                                "org",
                                                "pl",
                                                "ru",
                                                "site",
                                                "top",
                                                "tv",
                                                "uk",
                                                "us",
                                                "xyz",
                                                "ac.uk",
                                                "amazonaws.com",
                                                "appspot.com",
                                                "azurewebsites.net",
                                                "blogspot.com",
                                                "cloudfront.net",
                                                "co.in",
                                                "co.jp",
                                                "co.kr",
                                                "co.nz",
                                                "co.uk",
                                                "co.za",
                                                "com.ar",
                                                "com.au",
                                                "com.br",
                                                "com.cn",
                                                "com.mx",
                                                "com.tr",
                                                "com.tw",
                                                "github.io",
                                                "herokuapp.com",
                                                "netlify.app",
                                                "org.uk",
                                                "vercel.app"};

bool is_host(const lint_look_t &look)
{
    const pdb_attr_properties_t &properties = *look.attribute->matched;
    return std::ranges::any_of(host_attributes, [&](const host_attribute_t &row) {
        return row.protocol == properties.proper_proto && row.attribute == properties.proper_attr;
    });
}

/// A value taken apart: whatever stands in front of the name, and the name.
struct host_value_t {
    std::string_view front; ///< "(.*\.)?", ".*\." or ".*"; empty: none
    std::string_view name;
};

host_value_t take_apart(std::string_view value)
{
    for (const std::string_view front : {"(.*\\.)?", ".*\\.", ".*"})
        if (value.starts_with(front))
            return {front, value.substr(front.size())};
    return {"", value};
}

/// Tells whether a name is spelled out: labels, dots, choices; nothing open.
bool is_spelled(std::string_view name)
{
    for (size_t at = 0; at < name.size(); ++at) {
        const bool dot = name[at] == '\\' && name.substr(at + 1).starts_with('.');
        if (!dot && !char_is_label(name[at]) && name[at] != '(' && name[at] != ')' &&
            name[at] != '|')
            return false;
        at += dot ? 1 : 0;
    }
    return !name.empty();
}

void look_open_host(const lint_look_t &look)
{
    const host_value_t value = take_apart(look.value->decoded);
    if (value.front != ".*" || !is_spelled(value.name) || value.name.find('.') == value.name.npos ||
        value.name.front() == '-')
        return;
    lint_report(look, FINDING_OPEN_HOST,
                "the name may have anything in front of it, also a part of another name",
                "write " + lint_json(lint_joined({"(.*\\.)?", value.name})));
}

/// Returns a value whose bare dots between labels are escaped.
std::string with_dots(std::string_view value)
{
    std::string text;
    text.reserve(value.size() + 4);
    for (size_t at = 0; at < value.size(); ++at) {
        const bool between = at != 0 && at + 1 < value.size() && char_is_label(value[at - 1]) &&
                             char_is_label(value[at + 1]);
        const bool behind_escape = at > 1 && value[at - 2] == '\\';
        if (value[at] == '.' && between && !behind_escape)
            text += '\\';
        text += value[at];
    }
    return text;
}

void look_dot(const lint_look_t &look)
{
    if (look.value->raw.find('.') == std::string_view::npos)
        return;
    // A dot whose backslash JSON took away is another finding.
    const std::string value = lint_decoded(lint_with_backslashes(look.value->raw));
    if (value.find('[') != value.npos || value.find("://") != value.npos || value.starts_with('*'))
        return; // a dot of a set is a dot, and what is no name has other faults
    const std::string named = with_dots(value);
    if (named == value)
        return;
    const std::string meant = lint_json(named);
    lint_mend(lint_report(look, FINDING_UNESCAPED_DOT, "a dot of the name stands for any byte",
                          "write " + meant),
              meant);
}

void look_port(const lint_look_t &look)
{
    const std::string_view value = look.value->decoded;
    const size_t colon = value.rfind(':');
    const bool has_port = look.attribute->matched->proper_proto == std::string_view("http");
    if (has_port || colon == value.npos || value.find('.') >= colon)
        return;
    const std::string_view port = value.substr(colon + 1);
    if (port.empty() || port.size() > 5 || port.find_first_not_of("0123456789") != port.npos)
        return;
    lint_report(look, FINDING_HOST_WITH_PORT, "the name of a host comes without a port",
                "write " + lint_json(value.substr(0, colon)));
}

/// Names on the wire are labels with dots between them: an address of a page, an end without a
/// front and letters beyond ASCII are none. A certificate may say more of its owner than a name.
void look_name(const lint_look_t &look)
{
    const std::string_view value = look.value->decoded;
    const std::string_view attribute = look.attribute->name;
    if (attribute == "common_name" || attribute == "subject_alt_name")
        return;
    const bool page = value.find('/') != value.npos;
    const bool blank = value.find_first_of(" \t\n") != value.npos && value.find('[') == value.npos;
    const bool front = value.starts_with("\\.");
    const bool back = value.size() > 2 && value.ends_with("\\.") && value[value.size() - 3] != '\\';
    const bool letters = std::ranges::any_of(value, [](char c) { return c < 0; });
    if (page)
        lint_report(look, FINDING_NO_HOST_NAME, "the name of a host has no '/'",
                    "write the name alone, and \"cts-uri\" for the path of http");
    else if (blank && !char_is_blank(value.front()) && !char_is_blank(value.back()))
        lint_report(look, FINDING_NO_HOST_NAME, "the name of a host has no blank",
                    "leave it out, or write several names as \"(one|other)\"");
    else if (front)
        lint_report(look, FINDING_NO_HOST_NAME, "no name begins with a dot",
                    value.size() == 2
                        ? "write a name behind it"
                        : "write " + lint_json(lint_joined({"(.*\\.)?", value.substr(2)})));
    else if (back)
        lint_report(look, FINDING_NO_HOST_NAME, "names come without a dot at their end",
                    "write " + lint_json(value.substr(0, value.size() - 2)));
    else if (letters)
        lint_report(look, FINDING_NO_HOST_NAME, "a name has letters of ASCII alone",
                    "write its labels as they are sent, \"xn--...\"");
}

void look_case(const lint_look_t &look)
{
    const std::string &value = look.value->decoded;
    if (look.attribute->matched->icase == 0 && std::ranges::any_of(value, char_is_letter))
        lint_report(look, FINDING_CASE_ON_SENSITIVE,
                    "the case of letters matters here, and names come in any",
                    "write a second value in capitals where that is seen");
}

void look_suffix(const lint_look_t &look)
{
    const host_value_t value = take_apart(look.value->decoded);
    if (value.front.empty() || !is_spelled(value.name))
        return;
    std::string name(value.name);
    std::erase(name, '\\');
    const std::string label = name.substr(0, name.find('.'));
    const std::string_view own = look.protocol->name ? look.protocol->name->raw : "";
    if (std::ranges::find(public_suffixes, name) != std::end(public_suffixes) &&
        own.find(label) == own.npos)
        lint_report(look, FINDING_BROAD_VALUE, "everybody's names end in " + lint_quoted(name),
                    "write one more label in front of it");
}

constexpr lint_row_t rows[] = {{look_open_host}, {look_dot},  {look_port},
                               {look_name},      {look_case}, {look_suffix}};

} // namespace

std::span<const lint_row_t> lint_host_rows(const lint_look_t &look)
{
    return is_host(look) ? std::span<const lint_row_t>(rows) : std::span<const lint_row_t>();
}
