#include "view_pool.h"

#include <algorithm>
#include <new>

namespace
{

/// Checks the padding of an entry. The pool is whole words, so that a byte is behind an odd text.
bool check_entry(const view_pool_t &pool, const view_pool_entry_t &entry, view_error_t &error)
{
    const size_t end = entry.offset + 2 + entry.text.size();
    if (entry.text.size() % 2 == 0 || pool.area.data[end] == 0)
        return true;
    return view_fail(error, VIEW_VALUE, pool.area.offset + entry.offset,
                     "string at %u is not padded with a zero", entry.offset);
}

bool check_end(const view_pool_cursor_t &cursor, view_error_t &error)
{
    const size_t offset = cursor.area.offset + cursor.at;
    const size_t rest = cursor.area.size - cursor.at;
    if (cursor.end == VIEW_WALK_OVERLONG)
        return view_fail(error, VIEW_OVERLONG, offset, "string at %zu runs past the pool",
                         cursor.at);
    if (rest < 4) // none, or the two zeros that ended the walk
        return true;
    return view_fail(error, VIEW_VALUE, offset, "%zu bytes behind the last string", rest);
}

} // namespace

bool view_pool_next(view_pool_cursor_t &cursor, view_pool_entry_t &entry)
{
    const size_t left = cursor.area.size - cursor.at;
    const size_t length = left < 2 ? 0 : csa_get_be16(cursor.area.data + cursor.at);
    if (length == 0) {
        cursor.end = VIEW_WALK_DONE;
        return false;
    }
    const char *text = reinterpret_cast<const char *>(cursor.area.data + cursor.at + 2);
    entry = {static_cast<uint32_t>(cursor.at), {text, std::min(length, left - 2)}};
    if (length > left - 2) {
        cursor.end = VIEW_WALK_OVERLONG;
        return false;
    }
    cursor.at = std::min(cursor.at + 2 + length + length % 2, cursor.area.size);
    return true;
}

bool view_pool_require(const view_pool_t &pool, uint32_t offset, const char *what,
                       std::string_view &text, view_error_t &error)
{
    if (view_pool_get(pool, offset, text))
        return true;
    // A reference beyond the pool is placed at its end.
    const size_t place = pool.area.offset + std::min<size_t>(offset, pool.area.size);
    return view_fail(error, VIEW_REFERENCE, place, "%s: no text begins here", what);
}

uint32_t view_pool_count(const view_pool_t &pool)
{
    view_pool_cursor_t cursor = view_pool_walk(pool);
    view_pool_entry_t entry;
    uint32_t count = 0;
    while (view_pool_next(cursor, entry))
        ++count;
    return count;
}

bool view_pool_check(const view_pool_t &pool, view_pool_starts_t &starts, view_error_t &error)
{
    if (pool.area.size % 4 != 0)
        return view_fail(error, VIEW_LENGTH, pool.area.offset, "pool of %zu bytes", pool.area.size);
    try {
        starts.bits.assign(pool.area.size / 128 + 1, 0);
    } catch (const std::exception &) {
        return view_fail(error, VIEW_MEMORY, pool.area.offset, "no memory for the string index");
    }
    view_pool_cursor_t cursor = view_pool_walk(pool);
    for (view_pool_entry_t entry; view_pool_next(cursor, entry);) {
        if (!check_entry(pool, entry, error))
            return false;
        starts.bits[entry.offset / 128] |= uint64_t{1} << (entry.offset / 2 % 64);
    }
    return check_end(cursor, error);
}
