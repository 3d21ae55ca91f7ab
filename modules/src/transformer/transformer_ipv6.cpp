#include <algorithm>
#include <string_view>

#include "csa_char.h"
#include "csa_endian.h"
#include "transformer.h"

namespace
{

constexpr uint32_t PREFIX_MAX = 127; ///< a whole address is written without a prefix
constexpr size_t GROUPS = 8;
constexpr size_t NO_GAP = GROUPS + 1;

/// An address in network order.
using ipv6_bytes = std::array<uint8_t, 16>;

/// The groups of an address as they are read.
struct ipv6_groups {
    std::array<uint16_t, GROUPS> group{};
    size_t count = 0;
    size_t gap = NO_GAP; ///< number of groups before the "::"
};

/// Takes the next group, 1 to 4 digits and the ":" behind it, or the empty group of a gap.
bool take_group(std::string_view &rest, ipv6_groups &groups)
{
    uint32_t value = 0;
    size_t digits = 0;
    while (digits < rest.size() && char_hex_value(rest[digits]) >= 0) {
        if (digits == 4)
            return false;
        value = value << 4 | static_cast<uint32_t>(char_hex_value(rest[digits++]));
    }
    rest.remove_prefix(digits);
    const bool at_end = rest.empty();
    if (!at_end) {
        if (rest.front() != ':')
            return false;
        rest.remove_prefix(1);
    }
    if (digits == 0) {
        if (groups.gap != NO_GAP)
            return false;
        groups.gap = groups.count;
        return true;
    }
    if (groups.count == GROUPS || (!at_end && rest.empty()))
        return false;
    groups.group[groups.count++] = static_cast<uint16_t>(value);
    return true;
}

int ip_transformer_parse_ipv6(std::string_view text, ipv6_bytes &address)
{
    if (text.size() < 3)
        return MODULE_ERR_INVALID;
    if (text.front() == ':') {
        if (text[1] != ':')
            return MODULE_ERR_INVALID;
        text.remove_prefix(1); // the second ":" is the empty group
    }
    ipv6_groups groups;
    while (!text.empty())
        if (!take_group(text, groups))
            return MODULE_ERR_INVALID;
    const bool has_gap = groups.gap != NO_GAP;
    if (has_gap == (groups.count == GROUPS))
        return MODULE_ERR_INVALID;
    if (has_gap) {
        auto used = groups.group.begin() + static_cast<std::ptrdiff_t>(groups.count);
        std::rotate(groups.group.begin() + static_cast<std::ptrdiff_t>(groups.gap), used,
                    groups.group.end());
    }
    for (size_t i = 0; i < GROUPS; ++i)
        csa_set_be16(&address[2 * i], groups.group[i]);
    return MODULE_SUCCESS;
}

bool read_prefix(std::string_view digits, uint32_t &prefix)
{
    if (digits.empty() || digits.size() > 3)
        return false;
    prefix = 0;
    for (char c : digits) {
        if (c < '0' || c > '9')
            return false;
        prefix = prefix * 10 + static_cast<uint32_t>(c - '0');
    }
    return prefix <= PREFIX_MAX;
}

/// The bits behind a prefix of 0 to 127 bits.
ipv6_bytes host_mask(uint32_t prefix)
{
    ipv6_bytes mask{};
    const size_t split = prefix / 8;
    std::fill(mask.begin() + static_cast<std::ptrdiff_t>(split), mask.end(), uint8_t{0xFF});
    mask[split] = static_cast<uint8_t>((1U << (8 - prefix % 8)) - 1);
    return mask;
}

void to_host_words(const ipv6_bytes &bytes, transformer_value_t &value)
{
    value = {};
    for (size_t i = 0; i < value.address.size(); ++i)
        value.address[i] = csa_get_be32(&bytes[4 * i]);
}

} // namespace

int transformer_ipv6(csa_str_t text, uint32_t, transformer_value_t &lower,
                     transformer_value_t &upper)
{
    const std::string_view whole = csa_str_view(text);
    const size_t slash = whole.find('/');
    ipv6_bytes mask{};
    if (slash != std::string_view::npos) {
        uint32_t prefix;
        if (!read_prefix(whole.substr(slash + 1), prefix))
            return MODULE_ERR_INVALID;
        mask = host_mask(prefix);
    }
    ipv6_bytes first;
    const int error = ip_transformer_parse_ipv6(whole.substr(0, slash), first);
    if (error != MODULE_SUCCESS)
        return error;
    ipv6_bytes last = first;
    for (size_t i = 0; i < mask.size(); ++i) {
        first[i] = static_cast<uint8_t>(first[i] & ~mask[i]);
        last[i] = static_cast<uint8_t>(last[i] | mask[i]);
    }
    to_host_words(first, lower);
    to_host_words(last, upper);
    return MODULE_SUCCESS;
}
