/// Reader of number blobs: checks a serialized matcher and finds the items of a value with it.
///
/// It works on the blob alone. Every length and index is checked when the blob is opened, so that
/// a lookup cannot leave it.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "transformer.h"

/// A checked blob, which must outlive the reader.
struct number_reader {
    uint32_t type = 0; ///< matcher_type_t
    // Mapper: 8 and 16 bits.
    std::span<const uint8_t> table; ///< one 16-bit record index per value
    // Interval matcher: all other types.
    uint32_t data_size = 0;             ///< bytes of a value
    uint32_t nr = 0;                    ///< number of endpoints
    std::span<const uint8_t> msb;       ///< one flag per most significant byte
    std::span<const uint8_t> endpoints; ///< values, ascending
    std::span<const uint8_t> offsets;   ///< one record index per endpoint
    // Both.
    std::span<const uint8_t> items; ///< records: a count and as many ids, in words
};

/// Opens the number blob `blob`, which must hold nothing else. Returns 0, or -1 for a blob that
/// is damaged: the reader must then not be used.
[[nodiscard]] int number_reader_open(number_reader *reader, std::span<const uint8_t> blob);

/// Returns the ids that match `value`, in the order of the record; none for a value that does not
/// fit the matcher's width.
std::vector<uint32_t> number_reader_find(const number_reader &reader,
                                         const transformer_value_t &value);

/// Returns endpoint `index` of an interval matcher, as number_reader_find takes it.
transformer_value_t number_reader_endpoint(const number_reader &reader, uint32_t index);

/// Returns the ids of the record at word `index` of the item table, which the table must hold.
std::vector<uint32_t> number_reader_record(const number_reader &reader, uint32_t index);
