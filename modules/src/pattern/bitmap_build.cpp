#include "bitmap_build.h"

#include <algorithm>
#include <cstring>

void bitmap_build_init(bitmap_build &build, uint32_t nr_bit)
{
    build = {};
    build.bitmap.resize(nr_bit / 8);
}

void bitmap_build_grow(bitmap_build &build, uint64_t nr_bit)
{
    try {
        build.bitmap.resize(static_cast<size_t>(nr_bit / 8));
    } catch (...) {
        build.bitmap = {};
        throw;
    }
}

void bitmap_build_set(bitmap_build &build, uint32_t idx)
{
    build.bitmap[idx / 8] = static_cast<uint8_t>(build.bitmap[idx / 8] | 1U << (idx & 7));
    build.bitmap_last_idx = std::max(build.bitmap_last_idx, idx);
}

void bitmap_build_emit(const bitmap_build &build, tlv_sink_t &sink)
{
    tlv_sink_put(sink, build.bitmap_last_idx, 4);
    const size_t size = size_t{build.bitmap_last_idx} / 8 + 1;
    uint8_t *at = tlv_sink_take(sink, size);
    const size_t held = std::min(size, build.bitmap.size());
    if (at != nullptr && held != 0)
        std::memcpy(at, build.bitmap.data(), held);
}
