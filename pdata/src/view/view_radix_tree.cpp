#include "view_radix_tree.h"

#include "format_types.h"
#include "view_take.h"

namespace
{

/// The records of a tree that are taken apart once all are there.
struct radix_parts_t {
    view_area_t transitions;
    view_area_t exact;
    view_area_t chains;
    view_area_t alphabet;
};

bool take_parts(const view_area_t &area, view_radix_t &view, radix_parts_t &parts,
                view_error_t &error)
{
    view_cursor_t cursor = view_walk(area, VIEW_BLOBS);
    view_area_t meta;
    if (!view_take(cursor, RADIX_TLV_TRANSITIONS, "transitions", parts.transitions, error) ||
        !view_take(cursor, RADIX_TLV_C_EDGES, "compressed edges", view.c_edges, error) ||
        !view_take(cursor, RADIX_TLV_ITEMS, "items", view.items.area, error) ||
        !view_take(cursor, RADIX_TLV_EXACT_BITMAP, "exact bitmap", parts.exact, error) ||
        !view_take(cursor, RADIX_TLV_C_EDGES_BITMAP, "compressed-edge bitmap", parts.chains,
                   error) ||
        !view_take(cursor, RADIX_TLV_ALPHABET, "alphabet", parts.alphabet, error) ||
        !view_take(cursor, RADIX_TLV_META, "meta", meta, error, 4) || !view_take_end(cursor, error))
        return false;
    view.nr_item_max = view_word(meta, 0);
    return true;
}

bool open_bitmap(const view_area_t &area, const char *what, view_bitmap_t &bitmap,
                 view_error_t &error)
{
    if (area.size < 8 || view_word(area, 0) / 8 > area.size - 5)
        return view_fail(error, VIEW_COUNT, area.offset,
                         "%s: %zu bytes do not hold the bits that it claims", what, area.size);
    bitmap = {area.data + 4, view_word(area, 0)};
    return true;
}

bool fail_chain(const view_radix_t &view, uint32_t number, view_error_t &error)
{
    return view_fail(error, VIEW_REFERENCE, view.c_edges.offset + size_t{number} * 4,
                     "compressed edges: %u runs past its table of %zu words, or behind the %u rows",
                     number, view_words(view.c_edges), view.rows.nr_row);
}

/// Checks the compressed edge of a number whose bit is set.
bool check_chain(const view_radix_t &view, uint32_t number, view_error_t &error)
{
    if (number >= view_words(view.c_edges))
        return view_fail(error, VIEW_REFERENCE, view.chain_map.offset + number / 8,
                         "compressed-edge bitmap: no edge at word %u of %zu", number,
                         view_words(view.c_edges));
    const view_radix_chain_t chain = view_radix_chain(view, number);
    const size_t left = view.c_edges.size - size_t{number} * 4 - 3;
    return (chain.bytes.size() <= left && chain.end < view.rows.nr_row) ||
           fail_chain(view, number, error);
}

bool check_chains(const view_radix_t &view, view_error_t &error)
{
    for (size_t byte = 0; byte <= view.chains.last / 8 && view.chains.bits != nullptr; ++byte) {
        if (view.chains.bits[byte] == 0)
            continue;
        for (uint32_t bit = 0; bit < 8; ++bit) {
            const auto number = static_cast<uint32_t>(byte * 8 + bit);
            if (view_bitmap_test(view.chains, number) && !check_chain(view, number, error))
                return false;
        }
    }
    return true;
}

bool check_row(const view_radix_t &view, uint32_t row, view_item_marks_t &marks,
               view_error_t &error)
{
    for (uint32_t column = RADIX_NR_META; column < view.rows.width; ++column) {
        const uint32_t number = view_row_word(view.rows, row, column);
        if (number >= view.rows.nr_row && !view_radix_is_chain(view, number))
            return view_fail(error, VIEW_REFERENCE, view_row_offset(view.rows, row, column),
                             "transitions: row %u, code %u: leads to row %u of %u", row, column,
                             number, view.rows.nr_row);
    }
    const uint16_t word = view_row_word(view.rows, row, RADIX_ITEM_COLUMN);
    return word == PATTERN_NO_ITEM_WORD || view_item_mark(marks, view.items, word) ||
           view_fail(error, VIEW_REFERENCE, view_row_offset(view.rows, row, RADIX_ITEM_COLUMN),
                     "transitions: row %u: item record %u of %zu words", row, word,
                     view_words(view.items.area));
}

} // namespace

bool view_radix_open(const view_area_t &area, view_radix_t &view, view_error_t &error)
{
    view = {};
    view.items.layout = VIEW_ITEMS_MINDATA;
    if (area.size == 0)
        return true;
    radix_parts_t parts;
    if (!take_parts(area, view, parts, error) ||
        !open_bitmap(parts.exact, "exact bitmap", view.exact, error) ||
        !open_bitmap(parts.chains, "compressed-edge bitmap", view.chains, error) ||
        !view_alphabet_open(parts.alphabet, RADIX_NR_META, view.alphabet, error))
        return false;
    view.chain_map = view_part(parts.chains, 4, parts.chains.size - 4);
    return view_rows_open(parts.transitions, view.alphabet.size, view.rows, error);
}

bool view_radix_check(const view_radix_t &view, uint32_t nr_private, view_error_t &error)
{
    view_item_marks_t marks;
    if (!view_item_marks_init(marks, view.items, error) || !check_chains(view, error))
        return false;
    for (uint32_t row = 0; row < view.rows.nr_row; ++row)
        if (!check_row(view, row, marks, error))
            return false;
    return view_items_check(view.items, marks, nr_private, error);
}
