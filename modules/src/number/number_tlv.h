/// Record types of the number blobs, for the writer, the readers and every tool.
///
/// Records are big-endian, with a 4-byte type and a 4-byte length in bytes (a multiple of 4).
/// A number blob is NUMBER_TLV_TYPE followed by one of the two inner blobs.
#pragma once

#include <cstdint>

/// In the number blob.
enum number_tlv_t : uint32_t {
    NUMBER_TLV_TYPE = 15,     ///< the matcher_type_t, one word
    NUMBER_TLV_MAPPER = 16,   ///< a mapper blob: 8 and 16 bits
    NUMBER_TLV_INTERVAL = 17, ///< an interval blob: 32 and 64 bits, IPv4 and IPv6
};

/// In the mapper blob, in this order.
enum mapper_tlv_t : uint32_t {
    /// One 16-bit word per possible value: the index, in words, of its record in the item table,
    /// 0 for none. An index beyond 16 bits keeps its low bits.
    MAPPER_TLV_ENDPOINTS = 13,
    /// The word 0, then per endpoint with items, in value order, a record: the count, the ids.
    MAPPER_TLV_ITEMS = 14,
};

/// In the interval blob, in this order.
enum interval_tlv_t : uint32_t {
    INTERVAL_TLV_META = 42, ///< bytes per value (4, 8 or 16), number of endpoints
    /// 256 bytes: byte b is 1 when an interval holds a value whose most significant byte is b.
    INTERVAL_TLV_MSB = 43,
    /// The endpoints in ascending order, each of 1, 2 or 4 words. An 8-byte value is written with
    /// its low word first, a 16-byte value with its most significant word first.
    INTERVAL_TLV_ENDPOINTS = 44,
    INTERVAL_TLV_OFFSETS = 45, ///< per endpoint the index, in words, of its record in the items
    INTERVAL_TLV_ITEMS = 46,   ///< per endpoint a record: the count, which may be 0, and the ids
};

/// Flags of INTERVAL_TLV_MSB.
constexpr uint32_t INTERVAL_MSB_COUNT = 256;
