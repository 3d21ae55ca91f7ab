/// What callers say about patterns: the kind of a pattern, the alphabet. The engines to build are
/// in format_loadable.h.
///
/// This header knows no engine, so that tables and records can name an engine combination or a
/// pattern kind without pulling the automata in. All numbers reach the serialized form or the
/// configuration of a matcher and never change.
#pragma once

#include <cstdint>

#include "format_loadable.h"

/// Where in the data a pattern must stand.
enum pattern_type : uint32_t {
    PATTERN_REGULAR = 0, ///< anywhere
    PATTERN_SUFFIX = 1,  ///< at the end
    PATTERN_PREFIX = 2,  ///< at the beginning
    PATTERN_OFFSET = 3,  ///< at a given offset
    PATTERN_EXACT = 4,   ///< the whole data
    PATTERN_NB = 5,      ///< number of kinds
};
using pattern_type_t = pattern_type;

/// Flags of an alphabet configuration.
enum alpha_config_t : uint8_t {
    ALPHA_CONFIG_ICASE_DISABLE = 0,
    ALPHA_CONFIG_ICASE_ENABLE = 2, ///< fold ASCII letters to lower case
    ALPHA_CONFIG_SORT_ENABLE = 4,  ///< number the bytes by frequency
};

/// Whether every pattern of a matcher must say how much data it needs.
enum mindata_status_t : uint32_t {
    MINDATA_NOT_MANDATORY = 0,
    MINDATA_MANDATORY = 1,
};

/// Which radix tree takes the exact patterns of a matcher.
enum exact_match_dispatch_t : uint32_t {
    EXACT_MATCH_DEFAULT = 0, ///< the prefix tree
    EXACT_MATCH_PREFIX = 1,
    EXACT_MATCH_SUFFIX = 2,
};

/// Offset of a pattern from the start of the data, in bytes.
using type_offset = uint16_t;

/// One pattern handed to pattern_register. The caller owns the bytes, which need to live only
/// during the call: engines copy what they keep.
struct pattern_info {
    const char *pattern = nullptr; ///< any bytes, no terminator; may be null when the length is 0
    uint32_t pattern_len = 0;      ///< bytes
    uint32_t item_id = 0;          ///< what a match reports; bit 31 marks a private id
    uint32_t mindata = 0;          ///< bytes to be seen before a match counts
    uint32_t priority = 0;         ///< only compared between preempt patterns
    pattern_type_t type = PATTERN_REGULAR;
    type_offset offset = 0; ///< for PATTERN_OFFSET
    uint8_t preempt = 0;    ///< nonzero marks a preempt pattern
};
