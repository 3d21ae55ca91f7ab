/// The one walk over the fields of a record, as the tables of the format list them.
///
///     const view_fields_end_t end = view_fields(FORMAT_PROTO_META, record.value,
///         [&](const format_field_t &field, size_t at, size_t count) { ...; return true; });
///
/// hands out every field where it stands: `count` times `field.bytes` bytes from byte `at` of the
/// value on. Together with the padding behind them the fields cover the value once. The walk
/// follows no count that the value cannot hold.
#pragma once

#include <span>

#include "format_fields.h"
#include "view_cursor.h"

/// Returns the fields of a record kind, as format_fields_of, in constant time.
std::span<const format_field_t> view_fields_of(format_kind_t kind);

/// How a walk over fields ended.
struct view_fields_end_t {
    view_fault_t fault = VIEW_SOUND; ///< VIEW_LENGTH: a field is cut; VIEW_COUNT: a count exceeds
                                     ///< what is there; VIEW_VALUE: the visitor stopped the walk
    size_t at = 0;                   ///< the byte of the value at which it ended, or of the count
};

/// A walk over the fields of a value; view_fields is its user.
struct view_fields_walk_t {
    view_area_t value;
    size_t at = 0;       ///< bytes passed
    uint32_t count = 0;  ///< the last count
    size_t count_at = 0; ///< and where it stands

    size_t left() const { return value.size - at; }
};

/// Returns how often a field that is no part of a row stands at the place of the walk.
inline size_t view_fields_times(const view_fields_walk_t &walk, const format_field_t &field)
{
    switch (field.repeat) {
    case FORMAT_IF_ROOM:
        return walk.left() < field.bytes ? 0 : 1;
    case FORMAT_COUNTED:
        return walk.count;
    case FORMAT_REST:
        return walk.left() / field.bytes;
    case FORMAT_HALF:
        return walk.left() / 2 / field.bytes;
    default:
        return 1;
    }
}

/// Visits a field that is no part of a row.
template <typename Visit>
view_fields_end_t view_fields_one(view_fields_walk_t &walk, const format_field_t &field,
                                  Visit &visit)
{
    const size_t times = view_fields_times(walk, field);
    if (times > walk.left() / field.bytes)
        return field.repeat == FORMAT_COUNTED ? view_fields_end_t{VIEW_COUNT, walk.count_at}
                                              : view_fields_end_t{VIEW_LENGTH, walk.at};
    if (field.kind == FORMAT_FIELD_COUNT) {
        walk.count = view_word(walk.value, walk.at / 4);
        walk.count_at = walk.at;
    }
    if (times != 0 && !visit(field, walk.at, times))
        return {VIEW_VALUE, walk.at};
    walk.at += times * field.bytes;
    return {};
}

/// Visits rows to the end of the value.
template <typename Visit>
view_fields_end_t view_fields_rows(view_fields_walk_t &walk, std::span<const format_field_t> row,
                                   Visit &visit)
{
    size_t size = 0;
    for (const format_field_t &field : row)
        size += field.bytes;
    while (walk.left() >= size)
        for (const format_field_t &field : row) {
            if (!visit(field, walk.at, size_t{1}))
                return {VIEW_VALUE, walk.at};
            walk.at += field.bytes;
        }
    return {};
}

/// Visits the fields of the value of a record of `kind`. `visit(field, at, count)` returns whether
/// to go on. What is left behind `at` of the end is padding.
template <typename Visit>
view_fields_end_t view_fields(format_kind_t kind, const view_area_t &value, Visit &&visit)
{
    view_fields_walk_t walk;
    walk.value = value;
    const std::span<const format_field_t> fields = view_fields_of(kind);
    for (size_t i = 0; i < fields.size(); ++i) {
        const bool rows = fields[i].repeat == FORMAT_ROW;
        const view_fields_end_t end = rows ? view_fields_rows(walk, fields.subspan(i), visit)
                                           : view_fields_one(walk, fields[i], visit);
        if (end.fault != VIEW_SOUND)
            return end;
        if (rows)
            break;
    }
    return {VIEW_SOUND, walk.at};
}
