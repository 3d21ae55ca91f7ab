/// The kinds of matcher that values are compiled into. The numbers reach the serialized form.
#pragma once

#include <cstdint>

enum matcher_type_t : uint32_t {
    MATCHER_TYPE_UNKNOWN = 0,
    MATCHER_TYPE_STREAM = 1,        ///< text patterns
    MATCHER_TYPE_STREAM_OFFSET = 2, ///< text patterns at an offset; never a matcher of its own
    MATCHER_TYPE_NUMBER_8 = 3,
    MATCHER_TYPE_NUMBER_16 = 4,
    MATCHER_TYPE_NUMBER_32 = 5,
    MATCHER_TYPE_NUMBER_64 = 6,
    MATCHER_TYPE_IP_4 = 7,
    MATCHER_TYPE_IP_6 = 8,
};
