/// A serialized radix tree, used where it lies. See radix_tree.h for the format.
///
/// A walk begins at row 0 and ends where there is no edge:
///
///     const uint32_t number = view_radix_next(view, row, byte);
///     if (number == 0)
///         ... no pattern goes on
///     if (view_radix_is_chain(view, number)) {
///         const view_radix_chain_t chain = view_radix_chain(view, number);
///         ... the data must go on with chain.bytes; then row = chain.end
///     } else
///         row = number;
///
/// A suffix tree is walked from the last byte of the data to the first; its chains hold their
/// bytes in the order of the walk. Chains hold folded bytes where the patterns ignore case.
#pragma once

#include <span>

#include "view_items.h"
#include "view_rows.h"

/// A bitmap: the value of its record.
struct view_bitmap_t {
    const uint8_t *bits = nullptr; ///< bit i is bit i AND 7 of byte i / 8
    uint32_t last = 0;             ///< the last bit that is there
};

/// Tells whether bit `index` is set; one behind the last is not.
inline bool view_bitmap_test(const view_bitmap_t &bitmap, uint32_t index)
{
    return index <= bitmap.last && (bitmap.bits[index / 8] >> (index & 7) & 1) != 0;
}

/// A view of a tree; the file must outlive it.
struct view_radix_t {
    view_rows_t rows; ///< none in a tree without patterns, or with an empty one alone
    view_area_t c_edges;
    view_items_t items;
    view_bitmap_t exact;   ///< item ids, low 28 bits, that must match the whole data
    view_bitmap_t chains;  ///< numbers that name a compressed edge
    view_area_t chain_map; ///< the bytes of `chains`
    view_alphabet_t alphabet;
    uint32_t nr_item_max = 0; ///< most items of a node, as its maker counted
};

/// A compressed edge.
struct view_radix_chain_t {
    uint32_t end;                   ///< the row behind it
    std::span<const uint8_t> bytes; ///< what the data must go on with; may be none
};

/// Opens the value of a radix-tree record.
[[nodiscard]] bool view_radix_open(const view_area_t &area, view_radix_t &view,
                                   view_error_t &error);

/// Checks that every edge leads to a row or a compressed edge, every compressed edge lies within
/// its table and ends at a row, every item word leads to a record within the item table, and that
/// every private id is one of `nr_private`. Linear time.
[[nodiscard]] bool view_radix_check(const view_radix_t &view, uint32_t nr_private,
                                    view_error_t &error);

/// Returns the number behind `row` on `byte`; 0 when there is no edge.
inline uint32_t view_radix_next(const view_radix_t &view, uint32_t row, uint8_t byte)
{
    const uint32_t code = view.alphabet.code[byte];
    return code < RADIX_NR_META ? 0 : view_row_word(view.rows, row, code);
}

/// Tells whether a number that is not 0 names a compressed edge; if not, it is a row.
inline bool view_radix_is_chain(const view_radix_t &view, uint32_t number)
{
    return view_bitmap_test(view.chains, number);
}

/// Returns the compressed edge of a number.
inline view_radix_chain_t view_radix_chain(const view_radix_t &view, uint32_t number)
{
    const uint8_t *record = view.c_edges.data + size_t{number} * 4;
    return {csa_get_be16(record), {record + 3, record[2]}};
}

/// Returns the items of `row`.
inline view_item_record_t view_radix_items(const view_radix_t &view, uint32_t row)
{
    const uint16_t word = view_row_word(view.rows, row, RADIX_ITEM_COLUMN);
    return word == PATTERN_NO_ITEM_WORD ? view_item_record_t{} : view_items_at(view.items, word);
}

/// Tells whether an item must match the whole data.
inline bool view_radix_is_exact(const view_radix_t &view, uint32_t item_id)
{
    return view_bitmap_test(view.exact, item_id & MATCHER_PRIVATE_INDEX);
}
