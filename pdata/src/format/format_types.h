/// Type numbers of records, one enumeration per level, made from the tables of the format.
///
/// A type means something on its level alone: 1 is TLV_TYPE_PROTOGROUP_PROTOS in a protocol group
/// and TLV_TYPE_PROTO_META in a protocol. records.def names the enumeration of each level and the
/// number of each enumerator.
#pragma once

#include <cstdint>

// clang-format off
#define FORMAT_LEVEL(level, enumeration, headers, what) enum enumeration : uint32_t {
#define FORMAT_RECORD(level, kind, enumerator, type, content, inner, what) enumerator = type,
#define FORMAT_LEVEL_END };
// clang-format on
#include "format_records.inc"
