/// The references of records to strings, in the order in which they stand.
#pragma once

#include "csa_endian.h"
#include "format_tables.h"
#include "view_fields.h"

/// Hands the offsets that the fields of a record refer to in the pool of a kind to `take`.
template <typename Take>
void view_record_references(format_kind_t kind, const view_area_t &value, format_kind_t pool,
                            Take &&take)
{
    (void)view_fields(kind, value, [&](const format_field_t &field, size_t at, size_t count) {
        if (field.kind != FORMAT_FIELD_STRING || field.target != pool)
            return true;
        for (size_t i = 0; i < count; ++i)
            take(csa_get_be32(value.data + at + i * field.bytes));
        return true;
    });
}

/// The same for the records of a level, and those within them: a few levels, which the format
/// gives.
template <typename Take>
void view_level_references(format_level_t level, const view_area_t &area, format_kind_t pool,
                           Take &&take)
{
    view_cursor_t cursor = view_walk(area);
    for (view_record_t record; view_next(cursor, record);) {
        const format_record_t *kind = format_find(level, record.type);
        if (kind != nullptr && kind->content == FORMAT_CONTENT_RECORDS)
            view_level_references(kind->inner, record.value, pool, take);
        else if (kind != nullptr && kind->content == FORMAT_CONTENT_FIELDS)
            view_record_references(kind->kind, record.value, pool, take);
    }
}
