#include "yara_rules.h"

#include <cstdio>
#include <string_view>

namespace
{

bool begins_with(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

/// A value without the parts that say where it must stand.
std::string_view without_open_ends(std::string_view value)
{
    if (begins_with(value, ".*"))
        value.remove_prefix(2);
    if (value.size() > 2 && value.substr(value.size() - 2) == ".*")
        value.remove_suffix(2);
    return value;
}

/// Bytes written as "\x80\xkword" or "\x80word".
std::string hexadecimal(std::string_view value)
{
    std::string text = "{ " + std::string(value.substr(2, 2));
    value.remove_prefix(4);
    if (begins_with(value, "\\x"))
        value.remove_prefix(2);
    for (const char c : value) {
        char byte[8];
        std::snprintf(byte, sizeof(byte), " %02x", static_cast<unsigned char>(c));
        text += byte;
    }
    return text + " }";
}

std::string expression(std::string_view value)
{
    constexpr std::string_view sub_domain = "(.*\\.)?";
    std::string text = "/";
    if (begins_with(value, sub_domain)) {
        text += "(^|\\.)";
        value.remove_prefix(sub_domain.size());
    }
    for (const char c : value) {
        if (c == '/')
            text += '\\';
        text += c;
    }
    return text + "/";
}

std::string literal(std::string_view value)
{
    std::string text = "\"";
    for (const char c : value)
        if (c != '\\') // an escaped dot is a dot
            text += c;
    return text + "\"";
}

std::string yara_string(const generated_value_t &value)
{
    const std::string_view text = without_open_ends(value.text);
    if (begins_with(text, "\\x"))
        return hexadecimal(text);
    return text.find_first_of("(*") == std::string_view::npos ? literal(text) : expression(text);
}

} // namespace

std::string yara_rules(const std::vector<generated_value_t> &values)
{
    std::string text;
    for (size_t i = 0; i < values.size(); ++i) {
        text += "rule r";
        text += std::to_string(i);
        text += " { strings: $a = ";
        text += yara_string(values[i]);
        text += " condition: $a }\n";
    }
    return text;
}
