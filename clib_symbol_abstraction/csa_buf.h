/// Byte buffers that a failed allocation leaves empty instead of throwing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

/// An owned run of bytes.
using csa_buf_t = std::vector<uint8_t>;

/// Makes `buf` hold exactly `size` zero bytes. Returns false, with `buf` empty, when the memory
/// is not to be had; a size of 0 always succeeds.
[[nodiscard]] inline bool csa_buf_alloc(csa_buf_t &buf, size_t size) noexcept
{
    buf.clear();
    try {
        buf.resize(size);
    } catch (const std::exception &) {
        return false;
    }
    return true;
}
