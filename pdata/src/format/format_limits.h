/// Limits: the constants that the code compares with, their messages, and both as tables.
///
/// limits.def gives each limit and each message a name; both become constants here:
///
///     if (nr_items > RULE_MAX_ITEM)
///         return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, REFUSED_RULE_ITEMS, nr_items);
#pragma once

#include <cstdint>

#include "format_values.h"

#define FORMAT_LIMIT(name, value, unit, what) constexpr uint32_t name = value;
#define FORMAT_REFUSAL(limit, refusal, message) constexpr char refusal[] = message;
#include "format_limits.inc"

/// Limits, in the order of the table.
enum format_limit_id_t : uint8_t {
#define FORMAT_LIMIT(name, value, unit, what) FORMAT_LIMIT_##name,
#include "format_limits.inc"
    FORMAT_LIMIT_NONE, ///< no limit; the number of limits
};

/// One limit.
struct format_limit_t {
    format_limit_id_t id;
    uint32_t value;
    format_unit_t unit;
    const char *name; ///< as in "RULE_MAX_ITEM"
    const char *what; ///< for people
};

/// Every limit, at the index of its format_limit_id_t.
inline constexpr format_limit_t format_limits[] = {
#define FORMAT_LIMIT(name, value, unit, what)                                                      \
    {FORMAT_LIMIT_##name, value, FORMAT_UNIT_##unit, #name, what},
#include "format_limits.inc"
};

/// One message of a refusal.
struct format_refusal_t {
    format_limit_id_t limit; ///< that it guards
    const char *message;     ///< in the manner of printf
};

/// Every message, in the order of the limits.
inline constexpr format_refusal_t format_refusals[] = {
#define FORMAT_REFUSAL(limit, refusal, message) {FORMAT_LIMIT_##limit, refusal},
#include "format_limits.inc"
};

/// Tells whether so much of a limit is in use, 80 %, that people are told.
constexpr bool format_nearly_full(uint64_t used, uint64_t limit)
{
    return used * 5 >= limit * 4;
}
