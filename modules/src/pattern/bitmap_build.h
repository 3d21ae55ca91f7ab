/// Bitmaps that grow while they are filled.
///
/// Bit i is bit i AND 7 of byte i / 8, the least significant bit first. Serialized: the 4-byte
/// index of the highest bit set, then the bytes up to the one that holds it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tlv_sink.h"

struct bitmap_build {
    uint32_t bitmap_last_idx = 0; ///< highest bit set, 0 in an empty bitmap
    std::vector<uint8_t> bitmap;  ///< the capacity is 8 bits per byte
};
using bitmap_build_t = bitmap_build;

/// Makes `build` an empty bitmap with room for `nr_bit` bits, a multiple of 8. Throws
/// std::bad_alloc.
void bitmap_build_init(bitmap_build &build, uint32_t nr_bit);

/// Returns the capacity in bits (`bitmap_tot_size`).
inline uint64_t bitmap_build_tot_size(const bitmap_build &build)
{
    return uint64_t{build.bitmap.size()} * 8;
}

/// Makes room for `nr_bit` bits, a multiple of 8. Throws std::bad_alloc, which leaves the bitmap
/// without capacity: what it held is lost.
void bitmap_build_grow(bitmap_build &build, uint64_t nr_bit);

/// Sets bit `idx`, which must lie within the capacity.
void bitmap_build_set(bitmap_build &build, uint32_t idx);

/// Tells whether bit `idx` is set; a bit beyond the capacity is not.
inline bool bitmap_build_test(const bitmap_build &build, uint32_t idx)
{
    return idx / 8 < build.bitmap.size() && (build.bitmap[idx / 8] >> (idx & 7) & 1) != 0;
}

/// Emits the serialized bitmap: `bitmap_last_idx` / 8 + 5 bytes.
void bitmap_build_emit(const bitmap_build &build, tlv_sink_t &sink);
