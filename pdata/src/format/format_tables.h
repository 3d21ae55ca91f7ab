/// The format as tables that can be walked at run time: levels, record kinds and their fields.
///
/// Everything here is made from the ".def" files beside it, which are the one place where the
/// format is written down. A dumper starts at FORMAT_LEVEL_PDB and asks for each record what kind
/// it is (format_find); a writer names the enumerators of format_types.h.
#pragma once

#include <cstdint>
#include <span>

#include "format_types.h"

/// Levels: what holds a run of records.
enum format_level_t : uint8_t {
#define FORMAT_LEVEL(level, enumeration, headers, what) FORMAT_LEVEL_##level,
#include "format_records.inc"
    FORMAT_LEVEL_NONE, ///< no records
};

/// Kinds of record, in the order of the tables.
enum format_kind_t : uint8_t {
#define FORMAT_RECORD(level, kind, enumerator, type, content, inner, what) FORMAT_##kind,
#include "format_records.inc"
    FORMAT_KIND_NONE, ///< no kind; the number of kinds
};

/// How the headers of a level are laid out.
enum format_headers_t : uint8_t {
    FORMAT_HEADERS_RECORDS,    ///< one word: 8 bits of type, 24 bits of length in words
    FORMAT_HEADERS_BYTE_COUNT, ///< the same with the length in bytes
    FORMAT_HEADERS_BLOBS,      ///< two words: type, length in bytes, a multiple of 4
};

/// What the value of a record is made of.
enum format_content_t : uint8_t {
    FORMAT_CONTENT_RECORDS, ///< of the level `inner`
    FORMAT_CONTENT_FIELDS,
    FORMAT_CONTENT_POOL,   ///< a string pool
    FORMAT_CONTENT_BYTES,  ///< bytes that these tables do not take apart
    FORMAT_CONTENT_MARKER, ///< nothing
};

/// One record kind.
struct format_record_t {
    format_kind_t kind;
    format_level_t level; ///< on which it stands
    uint32_t type;
    format_content_t content;
    format_level_t inner; ///< level of its value; FORMAT_LEVEL_NONE unless that is records
    const char *name;     ///< as in "PROTO_META"
    const char *what;     ///< for people
};

/// One level.
struct format_level_row_t {
    format_level_t level;
    format_headers_t headers;
    const char *name; ///< as in "PROTO"
    const char *what; ///< for people
};

/// Every level, at the index of its format_level_t.
std::span<const format_level_row_t> format_levels();

/// Every record kind, at the index of its format_kind_t; the kinds of a level stand together.
std::span<const format_record_t> format_records();

/// The record kinds of one level, in the order of the tables.
std::span<const format_record_t> format_records_of(format_level_t level);

/// Returns the kind of a record of `type` on `level`, or null when the level has no such type.
const format_record_t *format_find(format_level_t level, uint32_t type);
