/// String pools: the texts that records refer to by offset.
///
/// A pool is a run of entries: a 2-byte length, as many bytes, and one zero byte where the length
/// is odd, so that an entry begins at every even step; zeros to whole words end it. A reference is
/// the offset of an entry's length. A pool holds no empty entry: a length of 0 is its end.
///
/// Texts are views into the bytes of the file. Who must know that an offset is the start of an
/// entry, not a place within one, makes the index of the starts once (1 bit for 2 bytes).
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "view_cursor.h"

/// A pool: the value of its record.
struct view_pool_t {
    view_area_t area;
};

/// Gives the text at `offset`, cut at the end of the pool where its length says more. Returns
/// false unless `offset` lies at least 3 bytes before the end. Where entries start is not checked.
[[nodiscard]] inline bool view_pool_cut(const view_pool_t &pool, uint32_t offset,
                                        std::string_view &text)
{
    if (pool.area.size < 2 || offset >= pool.area.size - 2)
        return false;
    const size_t stored = csa_get_be16(pool.area.data + offset);
    const size_t there = pool.area.size - offset - 2;
    text = {reinterpret_cast<const char *>(pool.area.data + offset + 2),
            stored < there ? stored : there};
    return true;
}

/// The same for a text that must be whole and not empty, at an even offset.
[[nodiscard]] inline bool view_pool_get(const view_pool_t &pool, uint32_t offset,
                                        std::string_view &text)
{
    return offset % 2 == 0 && view_pool_cut(pool, offset, text) && !text.empty() &&
           text.size() == csa_get_be16(pool.area.data + offset);
}

/// The same, with an error that names `what` where there is no such text.
[[nodiscard]] bool view_pool_require(const view_pool_t &pool, uint32_t offset, const char *what,
                                     std::string_view &text, view_error_t &error);

/// One entry of a pool.
struct view_pool_entry_t {
    uint32_t offset = 0;
    std::string_view text;
};

/// A walk over the entries of a pool.
struct view_pool_cursor_t {
    view_area_t area;
    view_end_t end = VIEW_WALK_ON;
    size_t at = 0; ///< bytes passed
};

/// Returns a walk over the entries of `pool`, in the order in which they were stored.
inline view_pool_cursor_t view_pool_walk(const view_pool_t &pool)
{
    return {pool.area, VIEW_WALK_ON, 0};
}

/// Gives the next entry and passes it. Returns false at the end: VIEW_WALK_DONE at a length of 0
/// or with less than a length left, VIEW_WALK_OVERLONG at an entry that runs past the pool, of
/// which `entry` then holds what is there.
[[nodiscard]] bool view_pool_next(view_pool_cursor_t &cursor, view_pool_entry_t &entry);

/// Returns how many whole entries a pool has.
[[nodiscard]] uint32_t view_pool_count(const view_pool_t &pool);

/// The offsets at which the entries of a pool start.
struct view_pool_starts_t {
    std::vector<uint64_t> bits; ///< bit `offset` / 2
};

/// Checks a pool whole: entries back to back, then less than a word of padding, all padding zero,
/// whole words altogether. Makes `starts` its index. Linear time; returns false with `error`.
[[nodiscard]] bool view_pool_check(const view_pool_t &pool, view_pool_starts_t &starts,
                                   view_error_t &error);

/// Tells whether an entry of a checked pool starts at `offset`.
[[nodiscard]] inline bool view_pool_starts_at(const view_pool_starts_t &starts, uint32_t offset)
{
    const uint32_t bit = offset / 2;
    return offset % 2 == 0 && bit / 64 < starts.bits.size() &&
           (starts.bits[bit / 64] >> (bit % 64) & 1) != 0;
}
