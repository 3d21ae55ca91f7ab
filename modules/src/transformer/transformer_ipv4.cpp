#include <algorithm>
#include <string_view>

#include "csa_char.h"
#include "transformer.h"

namespace
{

constexpr uint32_t PREFIX_MAX = 32;

/// What an IPv4 text says, before it becomes an interval.
struct ipv4_text {
    uint32_t first = 0;
    uint32_t second = 0; ///< 0 without a second address
    bool has_prefix = false;
    uint32_t prefix = 0; ///< 0 to 32
};

/// Takes up to three digits worth up to 255 from the start of `rest`.
bool take_octet(std::string_view &rest, uint32_t &address)
{
    uint32_t octet = 0;
    size_t digits = 0;
    while (digits < rest.size() && char_is_digit(rest[digits])) {
        if (digits == 3)
            return false;
        octet = octet * 10 + static_cast<uint32_t>(rest[digits++] - '0');
    }
    if (digits == 0 || octet > 255)
        return false;
    rest.remove_prefix(digits);
    address = address << 8 | octet;
    return true;
}

bool take_address(std::string_view &rest, uint32_t &address)
{
    address = 0;
    for (int octet = 0; octet < 4; ++octet) {
        if (octet > 0) {
            if (rest.empty() || rest.front() != '.')
                return false;
            rest.remove_prefix(1);
        }
        if (!take_octet(rest, address))
            return false;
    }
    return true;
}

bool take_prefix(std::string_view &rest, uint32_t &prefix)
{
    if (rest.empty())
        return false;
    prefix = 0;
    while (!rest.empty() && char_is_digit(rest.front())) {
        // Saturates one above the limit, so that no number of digits wraps.
        prefix = std::min(prefix * 10 + static_cast<uint32_t>(rest.front() - '0'), PREFIX_MAX + 1);
        rest.remove_prefix(1);
    }
    return prefix <= PREFIX_MAX;
}

int ip_transformer_parse_ipv4(std::string_view rest, ipv4_text &parsed)
{
    if (!take_address(rest, parsed.first))
        return MODULE_ERR_INVALID;
    if (rest.empty())
        return MODULE_SUCCESS;
    const char separator = rest.front();
    rest.remove_prefix(1);
    parsed.has_prefix = separator == '/';
    bool valid = false;
    if (separator == '/')
        valid = take_prefix(rest, parsed.prefix);
    else if (separator == '-')
        valid = take_address(rest, parsed.second);
    return valid && rest.empty() ? MODULE_SUCCESS : MODULE_ERR_INVALID;
}

} // namespace

int transformer_ipv4(csa_str_t text, uint32_t, transformer_value_t &lower,
                     transformer_value_t &upper)
{
    ipv4_text parsed;
    const int error = ip_transformer_parse_ipv4(csa_str_view(text), parsed);
    if (error != MODULE_SUCCESS)
        return error;
    lower = {};
    upper = {};
    if (!parsed.has_prefix) {
        lower.number = parsed.first;
        upper.number = parsed.second != 0 ? parsed.second : parsed.first;
        return MODULE_SUCCESS;
    }
    // The shift is taken modulo 32: a prefix of 0 has the host mask 0, like one of 32.
    const uint32_t host_mask = (1U << ((PREFIX_MAX - parsed.prefix) % 32)) - 1;
    lower.number = parsed.first & ~host_mask;
    upper.number = parsed.first | host_mask;
    return MODULE_SUCCESS;
}
