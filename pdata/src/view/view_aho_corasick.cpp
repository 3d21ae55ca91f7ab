#include "view_aho_corasick.h"

#include <algorithm>

#include "format_types.h"
#include "view_take.h"

namespace
{

bool take_parts(const view_area_t &area, view_aho_corasick_t &view, view_area_t &transitions,
                view_area_t &alphabet, view_error_t &error)
{
    view_cursor_t cursor = view_walk(area, VIEW_BLOBS);
    view_area_t meta;
    if (!view_take(cursor, AHO_CORASICK_TLV_TRANSITIONS, "transitions", transitions, error) ||
        !view_take(cursor, AHO_CORASICK_TLV_ITEMS, "items", view.items.area, error) ||
        !view_take(cursor, AHO_CORASICK_TLV_ALPHABET, "alphabet", alphabet, error) ||
        !view_take(cursor, AHO_CORASICK_TLV_META, "meta", meta, error, 8) ||
        !view_take_end(cursor, error))
        return false;
    view.nr_item_max = view_word(meta, 0);
    view.item_length = view_word(meta, 1);
    return true;
}

bool fail_transition(const view_aho_corasick_t &view, uint32_t state, view_error_t &error)
{
    uint32_t column = AHO_CORASICK_NR_META;
    while (view_row_word(view.rows, state, column) >> 1 < view.rows.nr_row)
        ++column;
    return view_fail(error, VIEW_REFERENCE, view_row_offset(view.rows, state, column),
                     "transitions: state %u, code %u: leads to state %u of %u", state, column,
                     view_row_word(view.rows, state, column) >> 1, view.rows.nr_row);
}

bool check_transitions(const view_aho_corasick_t &view, uint32_t state, view_error_t &error)
{
    uint16_t highest = 0;
    for (uint32_t column = AHO_CORASICK_NR_META; column < view.rows.width; ++column)
        highest = std::max(highest, view_row_word(view.rows, state, column));
    return highest >> 1 < view.rows.nr_row || fail_transition(view, state, error);
}

/// Checks an item word that holds its item, or marks the record that it refers to.
bool check_item_word(const view_aho_corasick_t &view, uint32_t state, uint32_t nr_private,
                     view_item_marks_t &marks, view_error_t &error)
{
    const uint16_t word = view_row_word(view.rows, state, AHO_CORASICK_ITEM_COLUMN);
    if (word == PATTERN_NO_ITEM_WORD)
        return true;
    const size_t offset = view_row_offset(view.rows, state, AHO_CORASICK_ITEM_COLUMN);
    if (view.ahoff || (word & AHO_CORASICK_INLINE) == 0)
        return view_item_mark(marks, view.items, word) ||
               view_fail(error, VIEW_REFERENCE, offset,
                         "transitions: state %u: item record %u of %zu words", state, word,
                         view_words(view.items.area));
    const uint32_t id = view_aho_corasick_items(view, state).inline_id;
    return view_item_id_known(id, nr_private) ||
           view_fail(error, VIEW_REFERENCE, offset,
                     "transitions: state %u: no entry for id 0x%08x of %u private ones", state, id,
                     nr_private);
}

} // namespace

bool view_aho_corasick_open(const view_area_t &area, bool ahoff, view_aho_corasick_t &view,
                            view_error_t &error)
{
    view = {};
    view.ahoff = ahoff;
    view.items.layout = ahoff ? VIEW_ITEMS_OFFSETS : VIEW_ITEMS_MINDATA;
    if (area.size == 0)
        return true;
    view_area_t transitions;
    view_area_t alphabet;
    return take_parts(area, view, transitions, alphabet, error) &&
           view_alphabet_open(alphabet, AHO_CORASICK_NR_META, view.alphabet, error) &&
           view_rows_open(transitions, view.alphabet.size, view.rows, error);
}

bool view_aho_corasick_check(const view_aho_corasick_t &view, uint32_t nr_private,
                             view_error_t &error)
{
    view_item_marks_t marks;
    if (!view_item_marks_init(marks, view.items, error))
        return false;
    for (uint32_t state = 0; state < view.rows.nr_row; ++state)
        if (!check_transitions(view, state, error) ||
            !check_item_word(view, state, nr_private, marks, error))
            return false;
    return view_items_check(view.items, marks, nr_private, error);
}
