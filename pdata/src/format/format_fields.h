/// Fields: what stands in the records whose content is FORMAT_CONTENT_FIELDS, as tables.
///
/// fields.def lists them in the order in which they stand. A field has a number of its own
/// (format_field_id_t, FIELD_record_field), so that code can name it at compile time:
/// format_word_of(FIELD_PROTO_META_max_trans) is the word of the record that holds it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "format_limits.h"
#include "format_tables.h"
#include "format_values.h"

/// Kinds of field.
enum format_field_kind_t : uint8_t {
    FORMAT_FIELD_NUMBER,
    FORMAT_FIELD_FLAG,     ///< 0 or 1
    FORMAT_FIELD_COUNT,    ///< how often the field behind it stands
    FORMAT_FIELD_STRING,   ///< offset of a text in the pool `target`
    FORMAT_FIELD_POSITION, ///< word at which a record begins in the value of `target`
    FORMAT_FIELD_BYTES,    ///< as they are
};

/// How often a field stands.
enum format_repeat_t : uint8_t {
    FORMAT_ONCE,
    FORMAT_IF_ROOM, ///< once where the record is long enough
    FORMAT_COUNTED, ///< as often as the count in front of it says
    FORMAT_ROW,     ///< with the other fields of the row again and again to the end of the value
    FORMAT_REST,    ///< again and again to the end of the value
    FORMAT_HALF,    ///< in the first half of what is left of the value
};

/// Every field, in the order of the table.
enum format_field_id_t : uint16_t {
#define FORMAT_FIELD(record, field, bytes, kind, repeat, unit, target, limit, what)                \
    FIELD_##record##_##field,
#include "format_fields.inc"
    FIELD_NONE, ///< the number of fields
};

/// One field.
struct format_field_t {
    format_field_id_t id;
    format_kind_t record; ///< in which it stands
    uint8_t bytes;        ///< of one time
    format_field_kind_t kind;
    format_repeat_t repeat;
    format_unit_t unit;
    format_kind_t target;    ///< of a string or position, else FORMAT_KIND_NONE
    format_limit_id_t limit; ///< FORMAT_LIMIT_NONE for none
    const char *name;        ///< as in "max_trans"
    const char *what;        ///< for people
};

/// Every field, at the index of its format_field_id_t; those of a record stand together.
inline constexpr format_field_t format_fields[] = {
#define FORMAT_FIELD(record, field, bytes, kind, repeat, unit, target, limit, what)                \
    {FIELD_##record##_##field,                                                                     \
     FORMAT_##record,                                                                              \
     bytes,                                                                                        \
     FORMAT_FIELD_##kind,                                                                          \
     FORMAT_##repeat,                                                                              \
     FORMAT_UNIT_##unit,                                                                           \
     FORMAT_##target,                                                                              \
     FORMAT_LIMIT_##limit,                                                                         \
     #field,                                                                                       \
     what},
#include "format_fields.inc"
};

/// The fields of one record kind, in the order in which they stand; none for other contents.
constexpr std::span<const format_field_t> format_fields_of(format_kind_t kind)
{
    const auto is_of_kind = [kind](const format_field_t &field) { return field.record == kind; };
    const format_field_t *end = format_fields + FIELD_NONE;
    const format_field_t *first = std::find_if(format_fields, end, is_of_kind);
    return {first, std::find_if_not(first, end, is_of_kind)};
}

/// Returns the byte at which a field of fixed place stands in the value of its record, or in its
/// row: the bytes of the fields in front of it, each taken once.
constexpr size_t format_byte_of(format_field_id_t id)
{
    size_t bytes = 0;
    for (const format_field_t &field : format_fields_of(format_fields[id].record))
        if (field.id < id)
            bytes += field.bytes;
    return bytes;
}

/// The same in words.
constexpr size_t format_word_of(format_field_id_t id)
{
    return format_byte_of(id) / 4;
}

/// Returns the bytes of a record's fields, or of one row of them, each taken once.
constexpr size_t format_bytes_of(format_kind_t kind)
{
    size_t bytes = 0;
    for (const format_field_t &field : format_fields_of(kind))
        bytes += field.bytes;
    return bytes;
}
