/// Texts cut into parts.
#pragma once

#include <string_view>

/// Cuts the first part off `rest`: what stands in front of the next `end`, which goes too, or all.
constexpr std::string_view csa_cut(std::string_view &rest, char end)
{
    const size_t size = rest.find(end);
    const std::string_view part = rest.substr(0, size);
    rest.remove_prefix(size == std::string_view::npos ? rest.size() : size + 1);
    return part;
}
