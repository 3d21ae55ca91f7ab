#include "import_numbers.h"

#include <algorithm>
#include <bit>
#include <charconv>

#include <arpa/inet.h>

#include "import_words.h"

namespace
{

/// Bytes of a value of many items, at which the next one begins.
constexpr size_t VALUE_MAX = 8192;

constexpr std::array<uint32_t, NUMBER_KINDS> bits_of_kind = {32, 128, 16, 16};

import_number_t last_number(uint32_t bits)
{
    return bits == 128 ? ~import_number_t{0} : (import_number_t{1} << bits) - 1;
}

bool read_decimal(std::string_view text, uint32_t most, uint32_t &number)
{
    const char *end = text.data() + text.size();
    const auto [behind, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && behind == end && number <= most;
}

bool read_number(std::string_view text, number_kind_t kind, import_number_t &number)
{
    uint32_t port = 0;
    if (kind <= NUMBER_IP6)
        return import_address(text, kind == NUMBER_IP6, number);
    const bool read = read_decimal(text, 65535, port);
    number = port;
    return read;
}

/// Reads a block: an address and the length of its prefix.
bool read_block(std::string_view text, size_t slash, number_kind_t kind, number_range_t &range)
{
    const uint32_t bits = bits_of_kind[kind];
    uint32_t length = 0;
    if (!read_decimal(text.substr(slash + 1), bits, length) ||
        !read_number(text.substr(0, slash), kind, range.first))
        return false;
    const import_number_t rest = length == bits ? 0 : last_number(bits - length);
    range.first &= ~rest;
    range.last = range.first | rest;
    return true;
}

bool read_range(std::string_view text, number_kind_t kind, number_range_t &range)
{
    const size_t slash = text.find('/');
    if (slash != std::string_view::npos)
        return kind <= NUMBER_IP6 && read_block(text, slash, kind, range);
    const size_t dash = text.find('-');
    if (!read_number(text.substr(0, dash), kind, range.first))
        return false;
    range.last = range.first;
    return dash == std::string_view::npos ||
           (read_number(text.substr(dash + 1), kind, range.last) && range.first <= range.last);
}

void take_ports(std::string_view entry, number_range_t range, number_import_t &numbers, bool &read)
{
    const bool tcp = entry.ends_with("/tcp");
    const bool udp = entry.ends_with("/udp");
    const std::string_view ports = entry.substr(0, entry.size() - (tcp || udp ? 4 : 0));
    read = read_range(ports, NUMBER_TCP_PORT, range);
    if (read && !udp)
        numbers.ranges[NUMBER_TCP_PORT].push_back(range);
    if (read && !tcp)
        numbers.ranges[NUMBER_UDP_PORT].push_back(range);
}

void take_entry(bool ports, std::string_view entry, const import_place_t &place,
                number_import_t &numbers)
{
    number_range_t range = {0, 0, place};
    bool read = false;
    if (ports) {
        take_ports(entry, range, numbers, read);
    } else {
        const bool wide = entry.find(':') != std::string_view::npos;
        const number_kind_t kind = wide ? NUMBER_IP6 : NUMBER_IP;
        read = read_range(entry, kind, range);
        if (read)
            numbers.ranges[kind].push_back(range);
    }
    if (!read)
        numbers.findings.push_back(
            {place,
             '"' + std::string(entry) + "\" is no " + (ports ? "port" : "address, block or range"),
             ports ? "not-a-port" : "not-an-address"});
}

/// Joins what belongs together: the ends of a range with blanks around its dash.
std::vector<std::string> joined_words(const std::vector<std::string_view> &words)
{
    std::vector<std::string> joined;
    for (const std::string_view word : words)
        if (!joined.empty() && (word.starts_with('-') || joined.back().ends_with('-')))
            joined.back() += word;
        else
            joined.emplace_back(word);
    return joined;
}

std::string address_text(import_number_t number, number_kind_t kind)
{
    if (kind != NUMBER_IP6) {
        std::string text;
        for (int shift = 24; shift >= 0; shift -= 8)
            text += std::to_string(static_cast<uint32_t>(number >> shift) & 0xff) +
                    (shift != 0 ? "." : "");
        return text;
    }
    // Groups of zeros are cut at the end alone: the compiler takes "0:0:0:0:0:0:0:0/8", not "::/8".
    int groups = 8;
    while (groups > 1 && (number >> (16 * (8 - groups)) & 0xffff) == 0)
        --groups;
    if (groups > 6 || number == 0)
        groups = 8;
    std::string text;
    for (int i = 0; i < groups; ++i) {
        std::array<char, 4> digits{};
        const auto group = static_cast<uint32_t>(number >> (16 * (7 - i)) & 0xffff);
        const auto [end, error] =
            std::to_chars(digits.data(), digits.data() + digits.size(), group, 16);
        text.append(i != 0 ? ":" : "").append(digits.data(), end);
    }
    return groups == 8 ? text : text + "::";
}

std::string number_text(import_number_t number, number_kind_t kind)
{
    return kind <= NUMBER_IP6 ? address_text(number, kind)
                              : std::to_string(static_cast<uint32_t>(number));
}

/// Returns the length of the largest prefix whose block begins at `first` and ends by `last`. It is
/// never 0, which stands for a single address.
uint32_t prefix_length(import_number_t first, import_number_t last, uint32_t bits)
{
    uint32_t free = 0;
    while (free + 1 < bits) {
        const import_number_t rest = last_number(free + 1);
        if ((first & rest) != 0 || (first | rest) > last)
            break;
        ++free;
    }
    return bits - free;
}

/// Writes a range: a single number, a block, or its two ends.
void write_range(const number_range_t &range, number_kind_t kind, std::vector<std::string> &items)
{
    const uint32_t bits = bits_of_kind[kind];
    import_number_t first = range.first;
    for (;;) {
        const uint32_t length = prefix_length(first, range.last, bits);
        const import_number_t end = length == bits ? first : first | last_number(bits - length);
        const bool block = kind == NUMBER_IP6 || (kind == NUMBER_IP && end == range.last);
        if (first == range.last || (block && length == bits))
            items.push_back(number_text(first, kind));
        else if (block)
            items.push_back(number_text(first, kind) + '/' + std::to_string(length));
        else
            items.push_back(number_text(first, kind) + '-' + number_text(range.last, kind));
        if (!block || end == range.last)
            return;
        first = end + 1;
    }
}

} // namespace

bool import_address(std::string_view text, bool wide, import_number_t &number)
{
    std::array<uint8_t, 16> bytes{};
    if (text.find('\0') != std::string_view::npos ||
        inet_pton(wide ? AF_INET6 : AF_INET, std::string(text).c_str(), bytes.data()) != 1)
        return false;
    number = 0;
    for (size_t i = 0; i < (wide ? 16 : 4); ++i)
        number = number << 8 | bytes[i];
    return true;
}

void import_numbers_read(bool ports, const std::string &file, std::string_view text,
                         number_import_t &numbers)
{
    for (size_t line = 1; !text.empty(); ++line)
        for (const std::string &entries : joined_words(import_words(text)))
            for (std::string_view rest = entries; !rest.empty();)
                if (const std::string_view entry = csa_cut(rest, ','); !entry.empty())
                    take_entry(ports, entry, {file, line}, numbers);
}

void import_numbers_merge(std::vector<number_range_t> &ranges)
{
    std::ranges::stable_sort(ranges, {}, &number_range_t::first);
    std::vector<number_range_t> merged;
    for (const number_range_t &range : ranges) {
        if (!merged.empty() &&
            (range.first <= merged.back().last || range.first - 1 == merged.back().last))
            merged.back().last = std::max(merged.back().last, range.last);
        else
            merged.push_back(range);
    }
    ranges = std::move(merged);
}

std::vector<import_value_t>
import_number_values(number_kind_t kind, const std::vector<number_range_t> &ranges, bool compact)
{
    std::vector<import_value_t> values;
    for (const number_range_t &range : ranges) {
        std::vector<std::string> items;
        write_range(range, kind, items);
        for (const std::string &item : items) {
            const bool next =
                values.empty() || !compact || values.back().text.size() + item.size() > VALUE_MAX;
            if (next)
                values.push_back({item, {}, 1});
            else
                values.back().text += ',' + item;
            values.back().places.push_back(range.place);
        }
    }
    return values;
}
