#include <charconv>
#include <optional>

#include <arpa/inet.h>

#include "flow.h"

namespace
{

/// A line being read.
struct line_t {
    std::string_view text;
    size_t at = 0;
    flow_error_t *error;
    size_t bytes = 0; ///< of the texts so far
};

bool refuse(line_t &line, size_t at, std::string text)
{
    *line.error = {at + 1, std::move(text)};
    return false;
}

void skip_blanks(line_t &line)
{
    while (line.at < line.text.size() && line.text[line.at] == ' ')
        ++line.at;
}

/// Takes `c` if it is next.
bool take(line_t &line, char c)
{
    if (line.at >= line.text.size() || line.text[line.at] != c)
        return false;
    ++line.at;
    return true;
}

/// Takes everything up to a blank, a ";" or, where `colon` is set, a ":".
std::string_view take_word(line_t &line, bool colon)
{
    const size_t start = line.at;
    const size_t end = line.text.find_first_of(colon ? " ;:" : " ;", start);
    line.at = end == std::string_view::npos ? line.text.size() : end;
    return line.text.substr(start, line.at - start);
}

template <typename Number>
std::optional<Number> number_of(std::string_view text, int base = 10)
{
    Number number = 0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (text.empty() || fault != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

/// Takes what stands behind a backslash inside quotes.
bool take_escape(line_t &line, std::string &bytes)
{
    const size_t start = line.at - 1;
    if (take(line, '\\') || take(line, '"')) {
        bytes += line.text[line.at - 1];
        return true;
    }
    const std::string_view digits = line.text.substr(std::min(line.at + 1, line.text.size()), 2);
    const std::optional<uint8_t> byte = number_of<uint8_t>(digits, 16);
    if (!take(line, 'x') || digits.size() != 2 || !byte)
        return refuse(line, start, "a backslash is followed by \\, \" or xHH");
    line.at += 2;
    bytes += static_cast<char>(*byte);
    return true;
}

/// Takes a text in quotes.
bool take_quoted(line_t &line, std::string &bytes)
{
    const size_t start = line.at;
    if (!take(line, '"'))
        return refuse(line, start, "a text begins with a quote");
    while (!take(line, '"')) {
        if (line.at >= line.text.size())
            return refuse(line, start, "the text has no closing quote");
        const char c = line.text[line.at++];
        if (c != '\\')
            bytes += c;
        else if (!take_escape(line, bytes))
            return false;
        if (bytes.size() > FLOW_TEXT_MAX)
            return refuse(line, start, "the text is longer than 1048576 bytes");
    }
    return true;
}

/// Takes "*N" if it is next, and repeats the text.
bool take_repetition(line_t &line, std::string &bytes)
{
    const size_t start = line.at;
    if (!take(line, '*'))
        return true;
    const size_t end =
        std::min(line.text.find_first_not_of("0123456789", line.at), line.text.size());
    const auto count = number_of<uint32_t>(line.text.substr(line.at, end - line.at));
    if (!count)
        return refuse(line, start, "* is followed by a number");
    if (!bytes.empty() && *count > FLOW_TEXT_MAX / bytes.size())
        return refuse(line, start, "the text is longer than 1048576 bytes");
    line.at = end;
    const std::string once = std::move(bytes);
    bytes.clear();
    for (uint32_t i = 0; i < *count && !once.empty(); ++i)
        bytes += once;
    return true;
}

/// Takes texts joined by "+", and "..." behind them.
bool take_bytes(line_t &line, flow_attr_t &value)
{
    constexpr std::string_view dots = "...";
    const size_t start = line.at;
    std::string &bytes = value.bytes;
    do {
        std::string part;
        if (!take_quoted(line, part) || !take_repetition(line, part))
            return false;
        bytes += part;
        if (bytes.size() > FLOW_TEXT_MAX)
            return refuse(line, start, "the text is longer than 1048576 bytes");
    } while (take(line, '+'));
    line.bytes += bytes.size();
    if (line.bytes > FLOW_TEXTS_MAX)
        return refuse(line, start, "the texts of the flow are longer than 67108864 bytes");
    value.incomplete = line.text.substr(line.at).starts_with(dots);
    line.at += value.incomplete ? dots.size() : 0;
    return true;
}

/// Takes a number, an address or a text.
bool take_what(line_t &line, flow_attr_t &value)
{
    const size_t start = line.at;
    if (line.at < line.text.size() && line.text[line.at] == '"') {
        value.kind = FLOW_BYTES;
        return take_bytes(line, value);
    }
    const std::string_view word = take_word(line, false);
    if (const auto number = number_of<uint64_t>(word)) {
        value.kind = FLOW_NUMBER;
        value.number = *number;
        return true;
    }
    if (!flow_read_address(word, value))
        return refuse(line, start, "a value is a number, an address or a text in quotes");
    return true;
}

bool take_way(line_t &line, flow_attr_t &value)
{
    const size_t start = line.at;
    const std::string_view word = take_word(line, false);
    if (word == "cts")
        value.way = FLOW_WAY_CTS;
    else if (word == "stc")
        value.way = FLOW_WAY_STC;
    else
        return refuse(line, start, "a direction is cts or stc");
    return true;
}

/// Takes what stands behind "protocol:".
bool take_attribute(line_t &line, flow_attr_t &value)
{
    const size_t start = line.at;
    value.attribute = take_word(line, false);
    if (value.attribute.empty())
        return refuse(line, start, "an attribute's name is missing");
    skip_blanks(line);
    if (!take_way(line, value))
        return false;
    skip_blanks(line);
    return take_what(line, value);
}

/// Takes the name behind "has".
bool take_has(line_t &line, flow_attr_t &value)
{
    skip_blanks(line);
    const size_t start = line.at;
    value.protocol = take_word(line, true);
    if (value.protocol.empty())
        return refuse(line, start, "a protocol's name is missing");
    return true;
}

/// Takes one value up to the ";" behind it.
bool take_value(line_t &line, flow_attr_t &value)
{
    const size_t start = line.at;
    value.protocol = take_word(line, true);
    if (value.protocol.empty())
        return refuse(line, start, "a protocol's name is missing");
    if (take(line, ':')) {
        if (!take_attribute(line, value))
            return false;
    } else if (value.protocol != "has") {
        return refuse(line, line.at, "a protocol is followed by \":\" and an attribute");
    } else if (!take_has(line, value)) {
        return false;
    }
    skip_blanks(line);
    if (line.at != line.text.size() && !take(line, ';'))
        return refuse(line, line.at, "values stand apart by \";\"");
    return true;
}

} // namespace

bool flow_read_address(std::string_view text, flow_attr_t &value)
{
    const std::string terminated(text.substr(0, INET6_ADDRSTRLEN));
    std::array<uint8_t, 16> address = {};
    for (const flow_kind_t kind : {FLOW_IP4, FLOW_IP6}) {
        const int family = kind == FLOW_IP4 ? AF_INET : AF_INET6;
        if (inet_pton(family, terminated.c_str(), address.data()) == 1) {
            value.kind = kind;
            value.address = address;
            return true;
        }
    }
    return false;
}

bool flow_read(std::string_view line, flow_values_t &values, flow_error_t &error)
{
    values.clear();
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    line_t state = {line, 0, &error};
    for (skip_blanks(state); state.at < line.size(); skip_blanks(state)) {
        flow_attr_t value;
        if (!take_value(state, value))
            return false;
        values.push_back(std::move(value));
    }
    return true;
}
