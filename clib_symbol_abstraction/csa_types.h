/// Portable basic types that every floor shares.
#pragma once

#include <cstdint>
#include <string_view>

/// A truth value that takes one word in every structure: 0 is false, anything else is true.
using csa_bool_t = uint32_t;

/// Direction in which an attribute is tested, as held in memory. A serialized attribute numbers
/// the two single directions the other way round (see protodesc_tlv.h); the two must not be mixed.
enum csa_attr_way_t : uint32_t {
    ATTR_WAY_UNKNOWN = 0,
    ATTR_WAY_CTS = 1, ///< client to server
    ATTR_WAY_STC = 2, ///< server to client
    ATTR_WAY_BOTH = 3,
};

/// Returns the word of a direction: "unknown", "cts", "stc", "both", or "attr way error".
constexpr const char *attr_way2str(uint32_t way)
{
    constexpr const char *words[] = {"unknown", "cts", "stc", "both"};
    return way <= ATTR_WAY_BOTH ? words[way] : "attr way error";
}

/// Returns what an attribute's key begins with for a direction: "cts-", "stc-", nothing for any
/// other.
constexpr const char *attr_way2prefix(uint32_t way)
{
    return way == ATTR_WAY_CTS ? "cts-" : way == ATTR_WAY_STC ? "stc-" : "";
}

/// Takes the direction off an attribute's key and returns it: a prefix "cts-" or "stc-" in front of
/// at least one more byte (oddity O94); any other key is for both, and stays as it is.
constexpr csa_attr_way_t attr_way_split(std::string_view &key)
{
    if (key.size() <= 4 || (!key.starts_with("cts-") && !key.starts_with("stc-")))
        return ATTR_WAY_BOTH;
    const csa_attr_way_t way = key.front() == 'c' ? ATTR_WAY_CTS : ATTR_WAY_STC;
    key.remove_prefix(4);
    return way;
}
