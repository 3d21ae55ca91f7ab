/// Interval matcher: the number matcher of large value spaces, a sorted list of endpoints.
///
/// Used through number_build.h, which describes the calling order and turns exceptions into codes.
/// Between two endpoints the set of matching ids does not change, so a search for the last endpoint
/// at or below a value finds all of them. Trees of intervals were turned down: they cannot be
/// searched in place.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "number_item.h"
#include "number_tlv.h"
#include "tlv_sink.h"

/// A value of 4, 8 or 16 bytes. Values of up to 8 bytes are in `low`.
struct it_value {
    uint64_t high = 0;
    uint64_t low = 0;

    auto operator<=>(const it_value &) const = default;
};

/// A value at which the set of matching ids changes.
struct it_endpoint {
    it_value it_data;
    number_record it_record;
};

struct interval_build {
    /// Newest last until finalized, then by value. The list that this array stands for is filled
    /// at its front, so equal values are ordered newest first.
    std::vector<it_endpoint> it_endpoints;
    std::vector<number_span> it_spans; ///< of a finalized matcher
    uint32_t it_nr = 0;                ///< number of endpoints
    uint32_t it_data_size = 0;         ///< bytes of a value: 4, 8 or 16
    std::array<uint8_t, INTERVAL_MSB_COUNT> it_msb_endpoint{};
};

/// Makes `build` an empty matcher of values of `data_size` bytes (4, 8 or 16).
void interval_init(interval_build &build, uint32_t data_size);

/// Adds [lower, upper] under `item_id`; values beyond the width are cut to their low bits.
/// Returns 0, or MODULE_ERR_INVALID when `lower` is above `upper`; throws std::bad_alloc.
///
/// What ends at a value is followed by an endpoint at the next one, unless that wraps to 0.
[[nodiscard]] int interval_register(interval_build &build, it_value lower, it_value upper,
                                    uint32_t item_id);

/// Sorts the endpoints by value, merges those of equal value and propagates the ids. To be called
/// once, after the last registration. Returns 0, or what interval_propagate returns.
[[nodiscard]] int interval_finalize(interval_build &build);

/// Finds which intervals cover which endpoints. Returns 0, or what
/// number_propagate returns; throws std::bad_alloc.
[[nodiscard]] int interval_propagate(interval_build &build);

/// Emits the interval blob (number_tlv.h) of a finalized matcher.
void interval_emit(const interval_build &build, tlv_sink_t &sink);

/// Returns the size of the interval blob in bytes.
size_t interval_get_size(const interval_build &build);

/// Writes the interval blob into the zero-filled `buf`. Returns the position behind it, or null
/// when it does not fit.
[[nodiscard]] uint8_t *interval_serialize(const interval_build &build, std::span<uint8_t> buf);
