#include "lint_numbers.h"

#include <arpa/inet.h>

#include <array>

#include "lint_values.h"
#include "lint_words.h"

namespace
{

lint_point_t point_of(const pdb_attr_properties_t &properties, const transformer_value_t &value)
{
    if (properties.proper_type != MATCHER_TYPE_IP_6)
        return value.number;
    lint_point_t point = 0;
    for (const uint32_t word : value.address)
        point = point << 32 | word;
    return point;
}

std::string point_text(matcher_type_t type, lint_point_t point)
{
    std::array<uint8_t, 16> bytes;
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(point >> (8 * (bytes.size() - 1 - i)));
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (type == MATCHER_TYPE_IP_6)
        return inet_ntop(AF_INET6, bytes.data(), text.data(), text.size());
    if (type == MATCHER_TYPE_IP_4)
        return inet_ntop(AF_INET, bytes.data() + 12, text.data(), text.size());
    return std::to_string(static_cast<uint64_t>(point));
}

} // namespace

std::vector<lint_interval_t> lint_intervals(const pdb_attr_properties_t &properties,
                                            std::string_view value)
{
    std::vector<lint_interval_t> intervals;
    for (std::string_view part = lint_next_part(value); !part.empty();
         part = lint_next_part(value)) {
        transformer_value_t low;
        transformer_value_t high;
        if (properties.proper_ftrans(csa_str(part), INEQUATION_NONE, low, high) != 0)
            continue;
        const lint_interval_t read = {part, point_of(properties, low), point_of(properties, high)};
        if (read.low <= read.high)
            intervals.push_back(read);
    }
    return intervals;
}

std::string lint_interval_text(matcher_type_t type, lint_point_t low, lint_point_t high)
{
    const std::string text = point_text(type, low);
    return low == high ? text : lint_joined({text, "-", point_text(type, high)});
}
