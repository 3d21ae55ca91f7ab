/// Units: what the numbers of the format mean, as enumerations and as tables.
///
/// values.def is the one place where the numbers stand. A reader that shows a field asks for the
/// rows of its unit; a row fits a number when the bits that its mask selects equal its own.
#pragma once

#include <cstdint>
#include <string_view>

#include "csa_types.h"

// clang-format off
#define FORMAT_ENUM(enumeration) enum enumeration : uint32_t {
#define FORMAT_VALUE(unit, enumerator, mask, number, what) enumerator = number,
#define FORMAT_ENUM_END };
// clang-format on
#include "format_values.inc"

/// The version identifier of a rule that has none.
constexpr uint32_t RULE_VID_NONE = 0xFFFFFFFF;

/// The supported version that every protocol is stored with.
constexpr std::string_view PROTO_SUPPORTED_VERSION = "See atlas for details";

/// The range of a rule's priority word, and the order within it; the smallest word is the best.
constexpr uint32_t format_priority_range(uint32_t priority)
{
    return priority >> 24;
}
constexpr uint32_t format_priority_order(uint32_t priority)
{
    return priority & 0xFFFFFF;
}

/// Units, in the order of the table.
enum format_unit_t : uint8_t {
#define FORMAT_UNIT(unit, what) FORMAT_UNIT_##unit,
#include "format_values.inc"
};

/// The words for every unit, at the index of its format_unit_t; empty for a plain number.
inline constexpr const char *format_unit_names[] = {
#define FORMAT_UNIT(unit, what) what,
#include "format_values.inc"
};

/// What a number of a unit means.
struct format_value_t {
    format_unit_t unit;
    uint32_t mask;    ///< bits that are compared
    uint32_t number;  ///< what they equal
    const char *name; ///< the enumerator, as in "TLV_TYPE_LOAD_LOADABLE"
    const char *what; ///< for people
};

/// Every meaning; those of a unit stand together.
inline constexpr format_value_t format_values[] = {
#define FORMAT_VALUE(unit, enumerator, mask, number, what)                                         \
    {FORMAT_UNIT_##unit, mask, enumerator, #enumerator, what},
#define FORMAT_MEANING(unit, enumerator, mask, number, what)                                       \
    {FORMAT_UNIT_##unit, mask, number, #enumerator, what},
#include "format_values.inc"
};

/// A run of bits that holds a number of its own.
struct format_bits_t {
    format_unit_t unit;
    uint8_t lowest; ///< bit, from 0
    uint8_t width;  ///< bits
    const char *name;
    const char *what; ///< for people
};

/// Every such run; those of a unit stand together.
inline constexpr format_bits_t format_bits[] = {
#define FORMAT_BITS(unit, bits, lowest, width, what)                                               \
    {FORMAT_UNIT_##unit, lowest, width, #bits, what},
#include "format_values.inc"
};
