#include "view_take.h"

namespace
{

/// Says why there is no whole record at the cursor.
bool fail_at_end(const view_cursor_t &cursor, uint32_t type, const char *what, view_error_t &error)
{
    if (view_walk_sound(cursor, error))
        return view_fail(error, VIEW_ABSENT, cursor.area.offset + cursor.at,
                         "%s: no record of type %u behind the others", what, type);
    return view_within(error, "%s", what);
}

} // namespace

bool view_take(view_cursor_t &cursor, uint32_t type, const char *what, view_area_t &value,
               view_error_t &error, size_t size)
{
    view_record_t record;
    if (!view_next(cursor, record))
        return fail_at_end(cursor, type, what, error);
    if (record.type != type)
        return view_fail(error, VIEW_UNKNOWN, record.offset,
                         "%s: type %u instead of a record of type %u", what, record.type, type);
    if (record.value.size % 4 != 0)
        return view_fail(error, VIEW_LENGTH, record.offset, "%s: %zu bytes are not whole words",
                         what, record.value.size);
    if (size != VIEW_ANY_LENGTH && record.value.size != size)
        return view_fail(error, VIEW_LENGTH, record.offset, "%s: %zu bytes instead of %zu", what,
                         record.value.size, size);
    value = record.value;
    return true;
}

bool view_take_end(const view_cursor_t &cursor, view_error_t &error)
{
    return cursor.at == cursor.area.size ||
           view_fail(error, VIEW_UNKNOWN, cursor.area.offset + cursor.at,
                     "%zu bytes behind the last record", cursor.area.size - cursor.at);
}
