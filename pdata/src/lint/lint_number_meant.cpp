#include "lint_number_meant.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <vector>

#include "csa_cut.h"
#include "lint_words.h"
#include "value_ranges.h"

namespace
{

uint32_t number_of(std::string_view digits)
{
    uint32_t number = 0;
    (void)std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
}

bool reads(const pdb_attr_properties_t &properties, std::string_view part)
{
    return value_ranges(properties, part).size() == 1;
}

/// Swaps the ends of a range.
std::string swapped(std::string_view part)
{
    const size_t dash = part.find('-');
    return dash == part.npos
               ? ""
               : std::string(part.substr(dash + 1)) + "-" + std::string(part.substr(0, dash));
}

/// ">1024", "<=1023" and the like, of numbers up to `most`.
std::string compared(std::string_view part, uint32_t most)
{
    const bool above = part.starts_with('>');
    if (!above && !part.starts_with('<'))
        return "";
    part.remove_prefix(1);
    const bool equal = part.starts_with('=');
    part.remove_prefix(equal ? 1 : 0);
    if (!lint_is_digits(part) || part.size() > 5)
        return "";
    const uint32_t number = number_of(part);
    if (above)
        return std::to_string(number + (equal ? 0 : 1)) + "-" + std::to_string(most);
    return number == 0 && !equal ? "" : "0-" + std::to_string(number - (equal ? 0 : 1));
}

std::string meant_number(const pdb_attr_properties_t &properties, const std::string &part)
{
    const uint32_t most = properties.proper_type == MATCHER_TYPE_NUMBER_8 ? UINT8_MAX : UINT16_MAX;
    if (part.starts_with('+'))
        return part.substr(1);
    const std::string range = compared(part, most);
    return range.empty() ? swapped(part) : range;
}

/// Returns the bits of a mask, "255.255.255.0", or 33 for what is none.
uint32_t mask_bits(std::string_view mask)
{
    uint32_t word = 0;
    for (int i = 0; i < 4; ++i) {
        const std::string_view byte = csa_cut(mask, '.');
        if (!lint_is_digits(byte) || byte.size() > 3 || number_of(byte) > UINT8_MAX)
            return 33;
        word = word << 8 | number_of(byte);
    }
    const auto bits = static_cast<uint32_t>(std::countl_one(word));
    return mask.empty() && static_cast<uint32_t>(std::popcount(word)) == bits ? bits : 33;
}

/// Returns "192.0.2.*" as a block.
std::string starred(std::string_view part)
{
    int bits = 32;
    std::string zeros;
    for (; part.ends_with(".*"); bits -= 8, zeros += ".0")
        part.remove_suffix(2);
    return bits == 32 ? "" : std::string(part) + zeros + "/" + std::to_string(bits);
}

std::string meant_ipv4(const std::string &part)
{
    const size_t slash = part.find('/');
    const uint32_t bits = slash == part.npos ? 0 : mask_bits(part.substr(slash + 1));
    if (slash != part.npos && bits == 0)
        return "0.0.0.0-255.255.255.255"; // a prefix of length 0 is one address
    if (slash != part.npos)
        return part.substr(0, slash + 1) + std::to_string(bits);
    if (part.ends_with('*'))
        return starred(part);
    if (const size_t colon = part.find(':'); colon != part.npos)
        return part.substr(0, colon);
    const size_t dash = part.find('-');
    if (dash == part.npos || !lint_is_digits(std::string_view(part).substr(dash + 1)))
        return swapped(part);
    return part.substr(0, dash + 1) + part.substr(0, part.rfind('.', dash) + 1) +
           part.substr(dash + 1); // "192.0.2.1-9"
}

std::string meant_ipv6(const std::string &part)
{
    return part.substr(0, part.ends_with("/128") ? part.size() - 4 : part.find('%'));
}

/// Returns a part as it is meant; empty where that is not known.
std::string meant_part(const pdb_attr_properties_t &properties, std::string_view part)
{
    std::string text = lint_without_blanks(part);
    if (reads(properties, part) || reads(properties, text))
        return text;
    if (properties.proper_type == MATCHER_TYPE_IP_4)
        text = meant_ipv4(text);
    else if (properties.proper_type == MATCHER_TYPE_IP_6)
        text = meant_ipv6(text);
    else
        text = meant_number(properties, text);
    return reads(properties, text) ? text : "";
}

} // namespace

std::string lint_meant_numbers(const pdb_attr_properties_t &properties, std::string_view list)
{
    std::string meant;
    std::string_view rest = list;
    for (std::string_view part = value_next_part(rest); !part.empty();
         part = value_next_part(rest)) {
        const std::string text = meant_part(properties, part);
        if (text.empty())
            return "";
        meant.append(meant.empty() ? "" : ",").append(text);
    }
    return meant;
}

std::string lint_meant_range(std::string_view part)
{
    std::string text = lint_without_blanks(part);
    for (const std::string_view sign : {"..", ":", "\xe2\x80\x93", "\xe2\x80\x94", "-"}) {
        const size_t at = text.find(sign);
        if (at == text.npos)
            continue;
        const std::string_view low = std::string_view(text).substr(0, at);
        const std::string_view high = std::string_view(text).substr(at + sign.size());
        if (lint_is_digits(low) && lint_is_digits(high) && low.size() < 6 && high.size() < 6 &&
            number_of(low) <= number_of(high))
            return std::string(low) + "-" + std::string(high);
    }
    return "";
}
