#include "view_cursor.h"

bool view_walk_sound(const view_cursor_t &cursor, view_error_t &error)
{
    const size_t offset = cursor.area.offset + cursor.at;
    const size_t left = cursor.area.size - cursor.at;
    if (cursor.end == VIEW_WALK_CUT)
        return view_fail(error, VIEW_CUT, offset, "%zu bytes are no header", left);
    if (cursor.end != VIEW_WALK_OVERLONG)
        return true;
    view_cursor_t stuck = cursor;
    view_record_t record;
    (void)view_next(stuck, record); // once more for what its header says
    return view_fail(error, VIEW_OVERLONG, offset,
                     "record of type %u claims %u %s, %zu bytes are left", record.type,
                     record.length, cursor.framing == VIEW_RECORDS ? "words" : "bytes",
                     record.value.size);
}

bool view_find(const view_area_t &area, uint32_t type, view_record_t &record,
               view_framing_t framing)
{
    view_cursor_t cursor = view_walk(area, framing);
    while (view_next(cursor, record))
        if (record.type == type)
            return true;
    return false;
}

bool view_require(const view_area_t &area, uint32_t type, const char *what, view_record_t &record,
                  view_error_t &error, view_framing_t framing)
{
    view_cursor_t cursor = view_walk(area, framing);
    while (view_next(cursor, record))
        if (record.type == type)
            return true;
    if (!view_walk_sound(cursor, error))
        return view_within(error, "%s", what);
    return view_fail(error, VIEW_ABSENT, area.offset, "%s: no record of type %u", what, type);
}

view_end_t view_list_at(const view_list_t &list, uint32_t index, view_record_t &record)
{
    const size_t words = view_words(list.records);
    const uint32_t at = view_word(list.offsets, index);
    if (index != 0) {
        const uint32_t before = view_word(list.offsets, index - 1);
        if (before >= words || at <= before)
            return VIEW_WALK_OVERLAP;
        const uint32_t length = view_record_length(view_word(list.records, before));
        if (at - before <= length || length > words - before - 1)
            return VIEW_WALK_OVERLAP;
    }
    if (at >= words)
        return VIEW_WALK_DONE;
    view_cursor_t cursor = {list.records, VIEW_RECORDS, VIEW_WALK_ON, size_t{at} * 4};
    return view_next(cursor, record) ? VIEW_WALK_ON : cursor.end;
}
