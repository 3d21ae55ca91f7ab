/// What a private id of a matcher stands for, in one word: two bits of kind, and thirty of what the
/// kind says.
#pragma once

#include <cstdint>

enum match_role_t : uint32_t {
    MATCH_ROLE_ITEM = 0U << 30,  ///< the item itself
    MATCH_ROLE_PIECE = 1U << 30, ///< a piece of several: position in bits 29 to 22, its group below
    MATCH_ROLE_CHECK = 2U << 30, ///< the index of a second check
    MATCH_ROLE_NONE = 3U << 30,  ///< an entry whose numbers are cut: never found
    MATCH_ROLE_KIND = 3U << 30,
};
constexpr uint32_t MATCH_PIECE_SHIFT = 22;
constexpr uint32_t MATCH_GROUP_MASK = (1U << MATCH_PIECE_SHIFT) - 1;
constexpr uint32_t MATCH_POSITION_MASK = 0xFF;
