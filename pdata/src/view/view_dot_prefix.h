/// A serialized dot-prefix matcher, used where it lies. See dot_prefix.h for the format.
///
/// A walk begins at node 0. On a byte, every current node goes on along its edge for the byte, or
/// else along its wildcard edge; beside the node that is reached, its propagation is current, and
/// the propagation of that. A damaged file may hold propagations that lead in a circle: who
/// follows them stops at a node that is current already.
#pragma once

#include "view_items.h"
#include "view_rows.h"

/// A view of a matcher; the file must outlive it.
struct view_dot_prefix_t {
    view_rows_t rows; ///< per node, at least the start node; none when there is no such engine
    view_items_t items;
    view_alphabet_t alphabet;
};

/// Opens the value of a dot-prefix record.
[[nodiscard]] bool view_dot_prefix_open(const view_area_t &area, view_dot_prefix_t &view,
                                        view_error_t &error);

/// Checks that every edge and propagation leads to a node, every item word to a record within the
/// item table, and that every private id is one of `nr_private`. Linear time.
[[nodiscard]] bool view_dot_prefix_check(const view_dot_prefix_t &view, uint32_t nr_private,
                                         view_error_t &error);

/// Returns the node that follows `node` on `byte`, by wildcard where no edge has the byte; 0 for
/// none.
inline uint32_t view_dot_prefix_next(const view_dot_prefix_t &view, uint32_t node, uint8_t byte)
{
    const uint32_t code = view.alphabet.code[byte];
    const uint32_t target = code < DOT_PREFIX_NR_META ? 0 : view_row_word(view.rows, node, code);
    return target != 0 ? target : view_row_word(view.rows, node, DOT_PREFIX_WILDCARD_COLUMN);
}

/// Returns the node from which matching also continues; DOT_PREFIX_NO_PROPAGATION for none.
inline uint32_t view_dot_prefix_propagation(const view_dot_prefix_t &view, uint32_t node)
{
    return view_row_word(view.rows, node, DOT_PREFIX_PROPAGATION_COLUMN);
}

/// Returns the items of `node`.
inline view_item_record_t view_dot_prefix_items(const view_dot_prefix_t &view, uint32_t node)
{
    const uint16_t word = view_row_word(view.rows, node, DOT_PREFIX_ITEM_COLUMN);
    return word == PATTERN_NO_ITEM_WORD ? view_item_record_t{} : view_items_at(view.items, word);
}
