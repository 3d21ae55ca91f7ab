/// Byte order of the host, and words stored most significant byte first.
#pragma once

#include <bit>
#include <cstdint>

/// Returns 1 on a host that stores the most significant byte first, else 0.
constexpr int csa_is_big_endian()
{
    return std::endian::native == std::endian::big ? 1 : 0;
}

/// Returns `value` with its four bytes in reverse order.
constexpr uint32_t csa_swap32(uint32_t value)
{
    return (value >> 24) | ((value >> 8) & 0xFF00U) | ((value << 8) & 0xFF0000U) | (value << 24);
}

/// Returns the 32-bit word stored most significant byte first at `buf` (4 bytes, any alignment).
constexpr uint32_t csa_get_be32(const uint8_t *buf)
{
    return static_cast<uint32_t>(buf[0]) << 24 | static_cast<uint32_t>(buf[1]) << 16 |
           static_cast<uint32_t>(buf[2]) << 8 | static_cast<uint32_t>(buf[3]);
}

/// Returns the 16-bit word stored most significant byte first at `buf` (2 bytes, any alignment).
constexpr uint16_t csa_get_be16(const uint8_t *buf)
{
    return static_cast<uint16_t>(buf[0] << 8 | buf[1]);
}

/// Stores `value` most significant byte first at `buf` (4 bytes, any alignment).
constexpr void csa_set_be32(uint8_t *buf, uint32_t value)
{
    buf[0] = static_cast<uint8_t>(value >> 24);
    buf[1] = static_cast<uint8_t>(value >> 16);
    buf[2] = static_cast<uint8_t>(value >> 8);
    buf[3] = static_cast<uint8_t>(value);
}

/// Stores `value` most significant byte first at `buf` (2 bytes, any alignment).
constexpr void csa_set_be16(uint8_t *buf, uint16_t value)
{
    buf[0] = static_cast<uint8_t>(value >> 8);
    buf[1] = static_cast<uint8_t>(value);
}
