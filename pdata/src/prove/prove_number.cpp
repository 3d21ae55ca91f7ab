#include "prove_number.h"

#include <arpa/inet.h>

#include <algorithm>

#include "csa_endian.h"

namespace
{

prove_number_t number_of(const transformer_value_t &value, matcher_type_t type)
{
    if (type != MATCHER_TYPE_IP_6)
        return {0, value.number};
    const auto half = [&](size_t i) {
        return uint64_t{value.address[i]} << 32 | value.address[i + 1];
    };
    return {half(0), half(2)};
}

prove_number_t before(prove_number_t number)
{
    number.high -= number.low == 0 ? 1 : 0;
    --number.low;
    return number;
}

std::string number_text(const prove_number_t &number, matcher_type_t type)
{
    if (type != MATCHER_TYPE_IP_4 && type != MATCHER_TYPE_IP_6)
        return std::to_string(number.low);
    uint8_t bytes[16];
    char text[INET6_ADDRSTRLEN] = "";
    for (uint32_t i = 0; i < 4; ++i) {
        const uint64_t half = i < 2 ? number.high : number.low;
        csa_set_be32(bytes + size_t{4} * i, static_cast<uint32_t>(i % 2 == 0 ? half >> 32 : half));
    }
    if (type == MATCHER_TYPE_IP_4)
        (void)inet_ntop(AF_INET, bytes + 12, text, sizeof text);
    else
        (void)inet_ntop(AF_INET6, bytes, text, sizeof text);
    return text;
}

} // namespace

prove_number_t prove_number_next(prove_number_t number)
{
    if (++number.low == 0)
        ++number.high;
    return number;
}

bool prove_ranges_read(std::string_view text, transformer_fct read, matcher_type_t type,
                       std::vector<prove_range_t> &ranges)
{
    ranges.clear();
    while (!text.empty()) {
        const std::string_view token = text.substr(0, text.find(','));
        text.remove_prefix(std::min(token.size() + 1, text.size()));
        if (token.empty()) // the compiler passes over commas that follow each other
            continue;
        transformer_value_t lower;
        transformer_value_t upper;
        if (read(csa_str(token), INEQUATION_NONE, lower, upper) != 0)
            return false;
        ranges.push_back({number_of(lower, type), number_of(upper, type)});
        if (ranges.back().to < ranges.back().from)
            return false;
    }
    return true;
}

std::vector<prove_range_t> prove_ranges_cut(const std::vector<prove_range_t> &ranges)
{
    std::vector<prove_range_t> sorted = ranges;
    std::sort(sorted.begin(), sorted.end());
    std::vector<prove_number_t> starts; // of parts, and one behind the end of each range
    for (const prove_range_t &range : sorted) {
        starts.push_back(range.from);
        starts.push_back(range.to); // ends have records of their own
        if (const prove_number_t next = prove_number_next(range.to); next != prove_number_t{})
            starts.push_back(next);
    }
    std::sort(starts.begin(), starts.end());
    starts.erase(std::unique(starts.begin(), starts.end()), starts.end());
    std::vector<prove_range_t> parts;
    size_t at = 0;
    prove_number_t reach{}; // the greatest end of the ranges that begin at or before a start
    bool covered = false;
    for (size_t i = 0; i < starts.size(); ++i) {
        for (; at < sorted.size() && sorted[at].from <= starts[i]; ++at) {
            reach = std::max(reach, sorted[at].to);
            covered = true;
        }
        if (!covered || starts[i] > reach)
            continue;
        parts.push_back({starts[i], i + 1 < starts.size() ? before(starts[i + 1]) : reach});
    }
    return parts;
}

prove_number_t prove_range_middle(const prove_range_t &range)
{
    const auto [high, low] = range.from;
    const uint64_t borrow = range.to.low < low ? 1 : 0;
    const uint64_t far_high = range.to.high - high - borrow;
    const uint64_t half_low = (range.to.low - low) >> 1 | (far_high & 1) << 63;
    const uint64_t sum = low + half_low;
    return {high + (far_high >> 1) + (sum < low ? 1 : 0), sum};
}

std::string prove_range_text(const prove_range_t &range, matcher_type_t type)
{
    std::string text = number_text(range.from, type);
    if (range.from != range.to)
        text += (type == MATCHER_TYPE_IP_6 ? " to " : "-") + number_text(range.to, type);
    return text;
}
