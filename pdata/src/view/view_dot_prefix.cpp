#include "view_dot_prefix.h"

#include "format_types.h"
#include "view_take.h"

namespace
{

bool fail_node(const view_dot_prefix_t &view, uint32_t node, uint32_t column, view_error_t &error)
{
    return view_fail(error, VIEW_REFERENCE, view_row_offset(view.rows, node, column),
                     "transitions: node %u, word %u: leads to node %u of %u", node, column,
                     view_row_word(view.rows, node, column), view.rows.nr_row);
}

bool check_edges(const view_dot_prefix_t &view, uint32_t node, view_error_t &error)
{
    for (uint32_t column = DOT_PREFIX_WILDCARD_COLUMN; column < view.rows.width; ++column)
        if (view_row_word(view.rows, node, column) >= view.rows.nr_row)
            return fail_node(view, node, column, error);
    const uint32_t propagation = view_dot_prefix_propagation(view, node);
    return propagation == DOT_PREFIX_NO_PROPAGATION || propagation < view.rows.nr_row ||
           fail_node(view, node, DOT_PREFIX_PROPAGATION_COLUMN, error);
}

bool mark_items(const view_dot_prefix_t &view, uint32_t node, view_item_marks_t &marks,
                view_error_t &error)
{
    const uint16_t word = view_row_word(view.rows, node, DOT_PREFIX_ITEM_COLUMN);
    return word == PATTERN_NO_ITEM_WORD || view_item_mark(marks, view.items, word) ||
           view_fail(error, VIEW_REFERENCE,
                     view_row_offset(view.rows, node, DOT_PREFIX_ITEM_COLUMN),
                     "transitions: node %u: item record %u of %zu words", node, word,
                     view_words(view.items.area));
}

} // namespace

bool view_dot_prefix_open(const view_area_t &area, view_dot_prefix_t &view, view_error_t &error)
{
    view = {};
    view.items.layout = VIEW_ITEMS_WIDE_MINDATA;
    view_cursor_t cursor = view_walk(area, VIEW_BLOBS);
    view_area_t alphabet;
    view_area_t transitions;
    if (!view_take(cursor, DOT_PREFIX_TLV_ALPHABET, "alphabet", alphabet, error) ||
        !view_take(cursor, DOT_PREFIX_TLV_TRANSITIONS, "transitions", transitions, error) ||
        !view_take(cursor, DOT_PREFIX_TLV_ITEMS, "items", view.items.area, error) ||
        !view_take_end(cursor, error) ||
        !view_alphabet_open(alphabet, DOT_PREFIX_NR_META, view.alphabet, error) ||
        !view_rows_open(transitions, view.alphabet.size, view.rows, error))
        return false;
    return view.rows.nr_row != 0 ||
           view_fail(error, VIEW_COUNT, transitions.offset, "transitions: no start node");
}

bool view_dot_prefix_check(const view_dot_prefix_t &view, uint32_t nr_private, view_error_t &error)
{
    view_item_marks_t marks;
    if (!view_item_marks_init(marks, view.items, error))
        return false;
    for (uint32_t node = 0; node < view.rows.nr_row; ++node)
        if (!check_edges(view, node, error) || !mark_items(view, node, marks, error))
            return false;
    return view_items_check(view.items, marks, nr_private, error);
}
