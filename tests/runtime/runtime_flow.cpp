#include <arpa/inet.h>

#include <charconv>

#include "csa_endian.h"
#include "runtime_model.h"

namespace
{

bool is_between(char c, char low, char high)
{
    return c >= low && c <= high;
}

int hex_digit(char c)
{
    if (is_between(c, '0', '9'))
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return is_between(lower, 'a', 'f') ? lower - 'a' + 10 : -1;
}

/// Takes the text up to `end`, which must be there, off the front of `rest`.
bool take_until(std::string_view &rest, char end, std::string &taken)
{
    const size_t at = rest.find(end);
    if (at == rest.npos)
        return false;
    taken = rest.substr(0, at);
    rest.remove_prefix(at + 1);
    return true;
}

/// Takes the escape behind a "\" off the front of `rest`.
bool take_escape(std::string_view &rest, std::string &bytes)
{
    if (rest.empty())
        return false;
    if (rest[0] != 'x') {
        bytes.push_back(rest[0]);
        rest.remove_prefix(1);
        return true;
    }
    if (rest.size() < 3 || hex_digit(rest[1]) < 0 || hex_digit(rest[2]) < 0)
        return false;
    bytes.push_back(static_cast<char>(hex_digit(rest[1]) * 16 + hex_digit(rest[2])));
    rest.remove_prefix(3);
    return true;
}

/// Takes a quoted text off the front of `rest`.
bool take_quoted(std::string_view &rest, std::string &bytes)
{
    if (rest.empty() || rest[0] != '"')
        return false;
    rest.remove_prefix(1);
    while (!rest.empty() && rest[0] != '"') {
        const char c = rest[0];
        rest.remove_prefix(1);
        if (c != '\\')
            bytes.push_back(c);
        else if (!take_escape(rest, bytes))
            return false;
    }
    if (rest.empty())
        return false;
    rest.remove_prefix(1);
    return true;
}

/// Takes a text, repeated or not, off the front of `rest`.
bool take_piece(std::string_view &rest, std::string &bytes)
{
    std::string piece;
    if (!take_quoted(rest, piece))
        return false;
    uint32_t times = 1;
    if (!rest.empty() && rest[0] == '*') {
        const auto [stop, failure] =
            std::from_chars(rest.data() + 1, rest.data() + rest.size(), times);
        if (failure != std::errc() || times > RUNTIME_TEXT_MAX)
            return false;
        rest.remove_prefix(static_cast<size_t>(stop - rest.data()));
    }
    if (piece.size() * times > RUNTIME_TEXT_MAX - bytes.size())
        return false;
    for (; times > 0; --times)
        bytes += piece;
    return true;
}

/// Takes texts with "+" between them off the front of `rest`.
bool take_text(std::string_view &rest, std::string &bytes)
{
    while (take_piece(rest, bytes)) {
        if (rest.empty() || rest[0] != '+')
            return true;
        rest.remove_prefix(1);
    }
    return false;
}

/// Reads a number or an address.
bool read_number(const std::string &text, transformer_value_t &number)
{
    uint8_t address[16];
    if (inet_pton(AF_INET, text.c_str(), address) == 1) {
        number.number = csa_get_be32(address);
        return true;
    }
    if (inet_pton(AF_INET6, text.c_str(), address) == 1) {
        for (size_t i = 0; i < number.address.size(); ++i)
            number.address[i] = csa_get_be32(address + 4 * i);
        return true;
    }
    const char *end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number.number);
    return failure == std::errc() && stop == end;
}

/// Takes the value off the front of `rest`.
bool take_value(std::string_view &rest, flow_value_t &value)
{
    constexpr std::string_view more = "...";
    if (!rest.empty() && rest[0] == '"') {
        if (!take_text(rest, value.bytes))
            return false;
        value.more = rest.substr(0, more.size()) == more;
        rest.remove_prefix(value.more ? more.size() : 0);
        return true;
    }
    const std::string text(rest.substr(0, rest.find(';')));
    rest.remove_prefix(text.size());
    return read_number(text, value.number);
}

bool take_flow_value(std::string_view &rest, flow_value_t &value)
{
    constexpr std::string_view has = "has ";
    if (rest.substr(0, has.size()) == has) {
        rest.remove_prefix(has.size());
        value.protocol = rest.substr(0, rest.find(';'));
        rest.remove_prefix(value.protocol.size());
        return !value.protocol.empty();
    }
    std::string way;
    if (!take_until(rest, ':', value.protocol) || !take_until(rest, ' ', value.attribute) ||
        !take_until(rest, ' ', way) || (way != "cts" && way != "stc"))
        return false;
    value.way = way == "cts" ? ATTR_WAY_CTS : ATTR_WAY_STC;
    return take_value(rest, value);
}

} // namespace

bool runtime_read_flow(std::string_view line, std::vector<flow_value_t> &flow, std::string &error)
{
    constexpr std::string_view separator = "; ";
    std::string_view rest = line;
    flow.clear();
    for (;;) {
        if (!take_flow_value(rest, flow.emplace_back()))
            return blob_fail(error, "not a value of a flow, near: " + std::string(rest));
        if (rest.empty())
            return true;
        if (rest.substr(0, separator.size()) != separator)
            return blob_fail(error, "no \"; \" near: " + std::string(rest));
        rest.remove_prefix(separator.size());
    }
}
