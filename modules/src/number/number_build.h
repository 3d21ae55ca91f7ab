/// Number matchers: closed intervals of values, each with an item id, become a blob in which the
/// run-time matcher finds, for one value, every item whose interval holds it.
///
/// Spaces of 8 and 16 bits use a mapper (mapper_build.h), a direct table; larger ones use an
/// interval matcher (interval_build.h), a sorted list of endpoints. One structure for both was
/// turned down: the table is both smaller and faster where it fits.
///
/// Calling order: number_init, number_register for each interval, number_finalize once,
/// number_get_size, number_serialize, number_clean.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "interval_build.h"
#include "mapper_build.h"
#include "matcher_type.h"
#include "transformer.h"

/// One registration: the values from `min` to `max`, inclusive, match `item_id`. The bounds are
/// held as the transformers give them: 16-byte values in `address`, all others in `number`. What
/// a value has beyond the matcher's width is cut off. Oddity O173.
struct number_info {
    transformer_value_t min;
    transformer_value_t max;
    uint32_t item_id = 0;
};

/// A matcher under construction.
struct number_build {
    uint32_t type = MATCHER_TYPE_UNKNOWN; ///< MATCHER_TYPE_NUMBER_8 to MATCHER_TYPE_IP_6
    interval_build interval;              ///< used by types 5 to 8
    mapper_build mapper;                  ///< used by types 3 and 4
};

/// Makes `build` an empty matcher of `type`. Returns 0, MODULE_ERR_INVALID for a type that is not a
/// number's (the matcher then takes no value), or MODULE_ERR_NO_MEMORY.
[[nodiscard]] int number_init(number_build &build, uint32_t type);

/// Adds an interval. Returns 0, MODULE_ERR_INVALID when `min` is above `max` or for a bad type, or
/// MODULE_ERR_NO_MEMORY. The items of one value are written in the order of registration by a
/// mapper, newest first by an interval matcher (oddity O204), and those that only cover an endpoint
/// come last. Of two overlapping intervals with one id, the outer one is taken to end where the
/// inner one ends.
[[nodiscard]] int number_register(number_build &build, const number_info &info);

/// Brings the matcher into the form that is written. Returns 0, MODULE_ERR_INVALID for a bad type,
/// or MODULE_ERR_NO_MEMORY, also when intervals cover over 2^27 endpoints in all.
[[nodiscard]] int number_finalize(number_build &build);

/// Emits the number blob (number_tlv.h); throws std::bad_alloc where it is written. One of a bad
/// type ends behind an inner header whose blob never comes.
void number_emit(const number_build &build, tlv_sink_t &sink);

/// Returns the size of the blob in bytes, a multiple of 4; 20 for a bad type.
size_t number_get_size(const number_build &build);

/// Writes the number blob into the zero-filled `buf` and returns the position
/// behind it. Returns null when the blob does not fit, and for a bad type, behind whose type
/// record nothing follows. Throws std::bad_alloc.
[[nodiscard]] uint8_t *number_serialize(const number_build &build, std::span<uint8_t> buf);

/// Empties the matcher; number_init must come before the next use.
void number_clean(number_build &build);
