#include "finding.h"

#include <algorithm>
#include <array>

namespace
{

constexpr uint64_t FNV_BASIS = 0xcbf29ce484222325;
constexpr uint64_t FNV_PRIME = 0x100000001b3;

/// Takes a text and its end into a hash, so that two texts are never taken for one.
uint64_t hash_text(uint64_t hash, std::string_view text)
{
    for (const char c : text)
        hash = (hash ^ static_cast<uint8_t>(c)) * FNV_PRIME;
    return (hash ^ 0xff) * FNV_PRIME;
}

} // namespace

finding_id_t finding_find(std::string_view name)
{
    const auto found = std::ranges::find(finding_kinds, name, &finding_kind_t::id);
    return static_cast<finding_id_t>(found - std::begin(finding_kinds));
}

std::string_view finding_level_name(finding_level_t level)
{
    constexpr std::array<std::string_view, 4> names = {"off", "note", "warning", "error"};
    return names[level];
}

std::string finding_fingerprint(const finding_t &finding)
{
    const std::string rule = std::to_string(finding.rule);
    uint64_t hash = hash_text(FNV_BASIS, finding_kind(finding.id).id);
    for (const std::string_view text :
         {finding.protocol, std::string_view(rule), finding.attribute, finding.value})
        hash = hash_text(hash, text);
    std::string digits(16, '0');
    for (char &digit : digits) {
        digit = "0123456789abcdef"[hash >> 60];
        hash <<= 4;
    }
    return digits;
}
