/// Records of serialized blobs, read back: a 4-byte type and a 4-byte length in bytes, big-endian.
#pragma once

#include <cstdint>
#include <span>

#include "csa_endian.h"

/// Takes the next record of `rest`, which must be of `type`, and gives its value. Returns false,
/// taking nothing, when another record stands there, when it is cut short, or when its length is
/// not a multiple of 4.
[[nodiscard]] inline bool blob_record_take(std::span<const uint8_t> &rest, uint32_t type,
                                           std::span<const uint8_t> &value)
{
    if (rest.size() < 8 || csa_get_be32(rest.data()) != type)
        return false;
    const uint32_t length = csa_get_be32(rest.data() + 4);
    if (length % 4 != 0 || length > rest.size() - 8)
        return false;
    value = rest.subspan(8, length);
    rest = rest.subspan(8 + size_t{length});
    return true;
}

/// Returns word `index` of `value`, which must hold it.
inline uint32_t blob_record_word(std::span<const uint8_t> value, size_t index)
{
    return csa_get_be32(value.data() + 4 * index);
}
