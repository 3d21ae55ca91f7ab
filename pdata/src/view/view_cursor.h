/// Records: the one walk over them.
///
/// A pdb is a tree of records, and an engine's blob is a run of records with longer headers. The
/// cursor goes over the records of one level, checks every length against the bytes that are
/// there, and says how the walk ended; it never follows a damaged length. What a bad end means is
/// the caller's business: a strict reader turns it into an error (view_walk_sound), a lenient one
/// takes the whole records in front of it.
///
///     view_cursor_t cursor = view_walk(area);
///     for (view_record_t record; view_next(cursor, record);)
///         ... record.type, record.value ...
///     return view_walk_sound(cursor, error);
///
/// Views point into the bytes of the file, which must outlive them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "csa_endian.h"
#include "format_limits.h"
#include "view_error.h"

/// Bytes of a file, with their place in it.
struct view_area_t {
    const uint8_t *data = nullptr;
    size_t size = 0;   ///< bytes at `data`
    size_t offset = 0; ///< of `data`, in bytes from the start of the file
};

/// Returns the area of a whole file.
inline view_area_t view_file(std::span<const uint8_t> file)
{
    return {file.data(), file.size(), 0};
}

/// Returns the bytes of an area.
inline std::span<const uint8_t> view_bytes(const view_area_t &area)
{
    return {area.data, area.size};
}

/// Returns `size` bytes of `area` from `at`; the caller has made sure that they are there.
inline view_area_t view_part(const view_area_t &area, size_t at, size_t size)
{
    return {area.data + at, size, area.offset + at};
}

/// Returns how many whole 32-bit words an area holds.
inline size_t view_words(const view_area_t &area)
{
    return area.size / 4;
}

/// Returns word `index` of an area, most significant byte first; the caller has made sure that
/// it is there.
inline uint32_t view_word(const view_area_t &area, size_t index)
{
    return csa_get_be32(area.data + index * 4);
}

/// The two halves of a record's header word. No place but these and the cursor takes one apart.
constexpr uint32_t view_record_type(uint32_t header)
{
    return header >> 24;
}
constexpr uint32_t view_record_length(uint32_t header)
{
    return header & TLV_LEN_FIELD_MAX;
}

/// How the headers of a level are laid out.
enum view_framing_t : uint8_t {
    VIEW_RECORDS,    ///< one word: 8 bits of type, 24 bits of length in words
    VIEW_BYTE_COUNT, ///< the same with the length in bytes (inside the configuration)
    VIEW_BLOBS,      ///< two words: type, length in bytes (the engines)
};

/// How a walk ended.
enum view_end_t : uint8_t {
    VIEW_WALK_ON,       ///< it has not
    VIEW_WALK_DONE,     ///< behind the last record
    VIEW_WALK_CUT,      ///< at bytes too few for a header
    VIEW_WALK_OVERLONG, ///< at a record that claims more than there is
    VIEW_WALK_OVERLAP,  ///< at a record that begins within the one before it (offset lists)
};

/// One record.
struct view_record_t {
    uint32_t type = 0;
    uint32_t length = 0; ///< as its header states it: words, or bytes in the other framings
    size_t offset = 0;   ///< of its header, in bytes from the start of the file
    view_area_t value;   ///< cut to the bytes that are there where the record is over-long
};

/// A walk over the records of one level.
struct view_cursor_t {
    view_area_t area;
    view_framing_t framing = VIEW_RECORDS;
    view_end_t end = VIEW_WALK_ON;
    size_t at = 0; ///< bytes passed: of the next record, or of the one that ended the walk
};

/// Returns a walk over the records packed in `area`.
inline view_cursor_t view_walk(const view_area_t &area, view_framing_t framing = VIEW_RECORDS)
{
    return {area, framing, VIEW_WALK_ON, 0};
}

/// Gives the next record that is whole and passes it.
///
/// Returns false when there is none; `cursor.end` then says why, and the cursor stays where it
/// is. Of an over-long record, `record` says what its header does and covers what is there;
/// at other ends `record` is as it was.
[[nodiscard]] inline bool view_next(view_cursor_t &cursor, view_record_t &record)
{
    const size_t left = cursor.area.size - cursor.at;
    const size_t header = cursor.framing == VIEW_BLOBS ? 8 : 4;
    if (left < header) {
        cursor.end = left == 0 ? VIEW_WALK_DONE : VIEW_WALK_CUT;
        return false;
    }
    const uint8_t *start = cursor.area.data + cursor.at;
    const uint32_t word = csa_get_be32(start);
    record.type = cursor.framing == VIEW_BLOBS ? word : view_record_type(word);
    record.length =
        cursor.framing == VIEW_BLOBS ? csa_get_be32(start + 4) : view_record_length(word);
    record.offset = cursor.area.offset + cursor.at;
    const size_t size = size_t{record.length} * (cursor.framing == VIEW_RECORDS ? 4 : 1);
    const bool whole = size <= left - header;
    record.value = {start + header, whole ? size : left - header, record.offset + header};
    if (!whole) {
        cursor.end = VIEW_WALK_OVERLONG;
        return false;
    }
    cursor.at += header + size;
    return true;
}

/// Tells whether a walk that is over went to the last byte; else `error` says where it stuck.
[[nodiscard]] bool view_walk_sound(const view_cursor_t &cursor, view_error_t &error);

/// Gives the first whole record of `type` among the records packed in `area`, never among their
/// children. Returns false when there is none in front of the place where the walk ends.
[[nodiscard]] bool view_find(const view_area_t &area, uint32_t type, view_record_t &record,
                             view_framing_t framing = VIEW_RECORDS);

/// The same for a record that must be there: `error` says that it is missing or, where the walk
/// stuck in front of it, where. `what` names it in the text.
[[nodiscard]] bool view_require(const view_area_t &area, uint32_t type, const char *what,
                                view_record_t &record, view_error_t &error,
                                view_framing_t framing = VIEW_RECORDS);

/// Records of one level beside a list of their positions.
struct view_list_t {
    view_area_t records;
    view_area_t offsets; ///< per record one word: its position in `records`, in words
};

/// Returns how many records a list has.
inline uint32_t view_list_count(const view_list_t &list)
{
    return static_cast<uint32_t>(view_words(list.offsets));
}

/// Gives record `index` of a list, below its count.
///
/// Returns VIEW_WALK_ON for a whole record behind the end of the one before it. Otherwise
/// VIEW_WALK_DONE (its position is behind the records), VIEW_WALK_OVERLONG (as in view_next) or
/// VIEW_WALK_OVERLAP (it begins within the record before it, or that one is itself not whole):
/// because records may not overlap, a walk over a list costs no more than the list is long.
[[nodiscard]] view_end_t view_list_at(const view_list_t &list, uint32_t index,
                                      view_record_t &record);
