/// Portable basic types that every floor shares.
#pragma once

#include <cstdint>

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
