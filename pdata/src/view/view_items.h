/// Item records: which items match at a state of an engine, or for a value.
///
/// An item table is a run of words. A record is an optional mindata word, the number of items, and
/// the items; a state refers to its record by the index of its first word. What lies between
/// records is never looked at, and records may share words.
#pragma once

#include <vector>

#include "format_loadable.h"
#include "view_cursor.h"

/// How the records of a table are laid out.
enum view_item_layout_t : uint8_t {
    VIEW_ITEMS_PLAIN,       ///< count, ids
    VIEW_ITEMS_MINDATA,     ///< a mindata word may come first, with the mindata in its low 17 bits
    VIEW_ITEMS_OFFSETS,     ///< the same, and behind each id the offset at which a match must end
    VIEW_ITEMS_WIDE_MINDATA ///< a mindata word may come first, and behind it the mindata
};

/// An item table: the value of its record.
struct view_items_t {
    view_area_t area;
    view_item_layout_t layout = VIEW_ITEMS_PLAIN;
};

/// Returns the words that an item takes.
constexpr uint32_t view_item_words(view_item_layout_t layout)
{
    return layout == VIEW_ITEMS_OFFSETS ? 2 : 1;
}

/// One record.
struct view_item_record_t {
    const uint8_t *first = nullptr; ///< the first item; null where `inline_id` is the only one
    uint32_t count = 0;
    uint32_t inline_id = 0;
    uint32_t mindata = PATTERN_MINDATA_NONE; ///< bytes to be seen before the items count
    uint32_t step = 4;                       ///< bytes from item to item
};

/// Returns the record at word `index` of a table that was checked with that index.
inline view_item_record_t view_items_at(const view_items_t &items, uint32_t index)
{
    const uint8_t *at = items.area.data + size_t{index} * 4;
    view_item_record_t record;
    record.count = csa_get_be32(at);
    if (items.layout != VIEW_ITEMS_PLAIN &&
        (record.count & PATTERN_MINDATA_MARK) == PATTERN_MINDATA_MARK) {
        record.mindata = record.count & ~PATTERN_MINDATA_MARK;
        if (items.layout == VIEW_ITEMS_WIDE_MINDATA)
            record.mindata = csa_get_be32(at += 4);
        record.count = csa_get_be32(at += 4);
    }
    record.first = at + 4;
    record.step = view_item_words(items.layout) * 4;
    return record;
}

/// Returns the id of item `i` of a record, below its count.
inline uint32_t view_item_id(const view_item_record_t &record, uint32_t i)
{
    return record.first == nullptr ? record.inline_id
                                   : csa_get_be32(record.first + size_t{i} * record.step);
}

/// Returns the offset at which a match of item `i` must end; PATTERN_NO_OFFSET for anywhere.
inline uint32_t view_item_end(const view_item_record_t &record, uint32_t i)
{
    return record.step == 4 ? PATTERN_NO_OFFSET
                            : csa_get_be32(record.first + size_t{i} * record.step + 4);
}

/// Tells whether an id is public, or private with an entry among `nr_private`.
inline bool view_item_id_known(uint32_t id, uint32_t nr_private)
{
    return id < MATCHER_PRIVATE_ID || id - MATCHER_PRIVATE_ID < nr_private;
}

/// The records of a table that something refers to: bit `index` of word `index` / 64.
struct view_item_marks_t {
    std::vector<uint64_t> bits;
};

/// Makes room for marks of every word of `items`. Returns false with `error` without memory.
[[nodiscard]] bool view_item_marks_init(view_item_marks_t &marks, const view_items_t &items,
                                        view_error_t &error);

/// Marks the record at word `index`. Returns false when the table has no such word.
inline bool view_item_mark(view_item_marks_t &marks, const view_items_t &items, uint32_t index)
{
    if (index >= view_words(items.area))
        return false;
    marks.bits[index / 64] |= uint64_t{1} << (index % 64);
    return true;
}

/// Returns the word behind the record at word `index`, of a table that was checked with it.
[[nodiscard]] size_t view_items_behind(const view_items_t &items, size_t index);

/// Hands the ids of the marked records of a checked table to `take`, each word twice at most,
/// however records overlap.
void view_items_each(const view_items_t &items, const view_item_marks_t &marks,
                     void (*take)(void *context, uint32_t id), void *context);

/// Checks that every marked record lies within the table and that each of its ids is known. Looks
/// at each word twice at most, however records overlap.
[[nodiscard]] bool view_items_check(const view_items_t &items, const view_item_marks_t &marks,
                                    uint32_t nr_private, view_error_t &error);
