/// Record types of the number blobs, for the writer, the readers and every tool.
///
/// Records are big-endian, with a 4-byte type and a 4-byte length in bytes (a multiple of 4). The
/// types are in engine_records.def. A number blob is NUMBER_TLV_TYPE, the matcher_type_t in one
/// word, followed by one of the two inner blobs.
///
/// A mapper blob:
///
///   13  one 16-bit word per possible value: the index, in words, of its record in the item table,
///       0 for none. An index beyond 16 bits keeps its low bits (oddity O171).
///   14  the word 0, then per endpoint with items, in value order, a record: the count, the ids
///
/// An interval blob:
///
///   42  bytes per value (4, 8 or 16), number of endpoints
///   43  256 bytes: byte b is 1 when an interval holds a value whose most significant byte is b
///   44  the endpoints in ascending order, each of 1, 2 or 4 words. An 8-byte value is written with
///       its low word first, a 16-byte value with its most significant word first (oddity O174).
///   45  per endpoint the index, in words, of its record in the items
///   46  per endpoint a record: the count, which may be 0, and the ids
#pragma once

#include "format_loadable.h"
#include "format_types.h"
