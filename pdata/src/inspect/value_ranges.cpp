#include "value_ranges.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>

namespace
{

value_point_t point_of(const pdb_attr_properties_t &properties, const transformer_value_t &value)
{
    if (properties.proper_type != MATCHER_TYPE_IP_6)
        return value.number;
    value_point_t point = 0;
    for (const uint32_t word : value.address)
        point = point << 32 | word;
    return point;
}

std::string point_text(matcher_type_t type, value_point_t point)
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

/// What begins and ends at one point of a list.
struct range_point_t {
    value_point_t at = 0;
    uint32_t begins = 0; ///< ranges, numbers alone not counted
    uint32_t ends = 0;
};

/// Returns the points of a list, each once, ascending.
std::vector<range_point_t> range_points(const std::vector<value_range_t> &parts)
{
    std::vector<range_point_t> points;
    for (const value_range_t &part : parts) {
        const uint32_t counted = part.low != part.high ? 1 : 0;
        points.push_back({part.low, counted, 0});
        points.push_back({part.high, 0, counted});
    }
    std::ranges::sort(points, {}, &range_point_t::at);
    size_t kept = 0;
    for (size_t i = 1; i < points.size(); ++i) {
        if (points[i].at != points[kept].at) {
            points[++kept] = points[i];
            continue;
        }
        points[kept].begins += points[i].begins;
        points[kept].ends += points[i].ends;
    }
    points.resize(points.empty() ? 0 : kept + 1);
    return points;
}

} // namespace

std::string_view value_next_part(std::string_view &rest)
{
    rest.remove_prefix(std::min(rest.find_first_not_of(','), rest.size()));
    const std::string_view part = rest.substr(0, rest.find(','));
    rest.remove_prefix(part.size());
    return part;
}

std::vector<value_range_t> value_ranges(const pdb_attr_properties_t &properties,
                                        std::string_view value)
{
    std::vector<value_range_t> ranges;
    for (std::string_view part = value_next_part(value); !part.empty();
         part = value_next_part(value)) {
        transformer_value_t low;
        transformer_value_t high;
        if (properties.proper_ftrans(csa_str(part), INEQUATION_NONE, low, high) != 0)
            continue;
        const value_range_t read = {part, point_of(properties, low), point_of(properties, high)};
        if (read.low <= read.high)
            ranges.push_back(read);
    }
    return ranges;
}

std::vector<value_range_t> value_ranges_lost(const std::vector<value_range_t> &parts)
{
    std::vector<value_range_t> lost;
    const std::vector<range_point_t> points = range_points(parts);
    uint64_t around = 0; // ranges that hold what lies between this point and the next one
    bool open = false;   // whether the item is, for the engine
    for (size_t i = 0; i + 1 < points.size(); ++i) {
        around += points[i].begins;
        around -= points[i].ends;
        open = points[i].begins != 0 || (open && points[i].ends == 0);
        const value_point_t next = points[i].at + 1;
        if (around != 0 && !open && next < points[i + 1].at)
            lost.push_back({{}, next, points[i + 1].at - 1});
    }
    return lost;
}

std::string value_range_text(matcher_type_t type, value_point_t low, value_point_t high)
{
    const std::string text = point_text(type, low);
    return low == high ? text : text + '-' + point_text(type, high);
}
