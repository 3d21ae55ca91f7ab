/// Mapper: the number matcher of small value spaces, a direct table with one entry per value.
///
/// Used through number_build.h, which describes the calling order and turns exceptions into codes.
/// A value is found with one access; the search structures of large value spaces would be no
/// smaller for 256 values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "number_item.h"
#include "tlv_sink.h"

/// A value at which the set of matching ids changes.
struct mp_endpoint {
    uint16_t mp_data; ///< the value
    number_record mp_record;
};

struct mapper_build {
    std::vector<mp_endpoint> mp_endpoints; ///< by creation; by value once finalized
    std::vector<uint32_t> mp_index;        ///< per value, 1 + its place in `mp_endpoints`, or 0
    std::vector<number_span> mp_spans;     ///< of a finalized mapper
    uint32_t mp_nr = 0;                    ///< size of the value space: 256 or 65536
};

/// Makes `build` an empty mapper of `mp_nr` values. Throws std::bad_alloc.
void mapper_init(mapper_build &build, uint32_t mp_nr);

/// Adds [lower, upper], both below `mp_nr`, under `item_id`. Returns 0, or MODULE_ERR_INVALID
/// when `lower` is above `upper`; throws std::bad_alloc.
[[nodiscard]] int mapper_register(mapper_build &build, uint16_t lower, uint16_t upper,
                                  uint32_t item_id);

/// Closes every interval and value with an endpoint behind it, sorts the endpoints by value and
/// propagates the ids. To be called once, after the last registration. Returns 0, or what
/// mapper_propagate returns.
[[nodiscard]] int mapper_finalize(mapper_build &build);

/// Finds which intervals cover which endpoints. Returns 0, or what
/// number_propagate returns; throws std::bad_alloc.
[[nodiscard]] int mapper_propagate(mapper_build &build);

/// Writes the `mp_nr` words of the table to `words`, which is zero-filled: each value's record is
/// that of the last endpoint at or below it, unless that endpoint only closes intervals and lies
/// below the value.
void mapper_serialize_endpoints(const mapper_build &build, uint8_t *words);

/// Emits the mapper blob (number_tlv.h) of a finalized mapper.
void mapper_emit(const mapper_build &build, tlv_sink_t &sink);

/// Writes the mapper blob into the zero-filled `buf`. Returns the position behind it, or null when
/// it does not fit.
[[nodiscard]] uint8_t *mapper_serialize(const mapper_build &build, std::span<uint8_t> buf);
