/// A serialized Aho-Corasick automaton, used where it lies. See aho_corasick.h for the format.
///
/// Opening checks the records and their lengths; view_aho_corasick_check checks what stands in
/// them. After both, no accessor leaves the blob, whatever data is run through it:
///
///     uint32_t state = 0;
///     for (uint8_t byte : data) {
///         const uint32_t word = view_aho_corasick_next(view, state, byte);
///         state = word >> 1;
///         if ((word & 1) != 0)
///             ... view_aho_corasick_items(view, state)
///     }
///
/// Patterns may end at the start state too (empty ones); look there before the first byte.
#pragma once

#include "view_items.h"
#include "view_rows.h"

/// A view of an automaton; the file must outlive it. An automaton without patterns has no row.
struct view_aho_corasick_t {
    view_rows_t rows; ///< per state; width is the size of the alphabet
    view_items_t items;
    view_alphabet_t alphabet;
    uint32_t nr_item_max = 0; ///< most items of a state, as its maker counted
    uint32_t item_length = 0; ///< depth of the last state that has so many
    bool ahoff = false;       ///< the offset-aware form
};

/// Opens the value of an Aho-Corasick record, in the offset-aware form when `ahoff` is set.
[[nodiscard]] bool view_aho_corasick_open(const view_area_t &area, bool ahoff,
                                          view_aho_corasick_t &view, view_error_t &error);

/// Checks that every transition leads to a state, every item word to a record within the item
/// table or to an item, and that every private id is one of `nr_private`. Linear time.
[[nodiscard]] bool view_aho_corasick_check(const view_aho_corasick_t &view, uint32_t nr_private,
                                           view_error_t &error);

/// Returns the transition of `state` on `byte`: the number of the next state times 2, plus 1 when
/// a pattern ends there.
inline uint32_t view_aho_corasick_next(const view_aho_corasick_t &view, uint32_t state,
                                       uint8_t byte)
{
    const uint32_t code = view.alphabet.code[byte];
    return code < AHO_CORASICK_NR_META ? 0 : view_row_word(view.rows, state, code);
}

/// Returns the items of `state`; of a state at which no pattern ends, none.
inline view_item_record_t view_aho_corasick_items(const view_aho_corasick_t &view, uint32_t state)
{
    const uint16_t word = view_row_word(view.rows, state, AHO_CORASICK_ITEM_COLUMN);
    view_item_record_t record;
    if (word == PATTERN_NO_ITEM_WORD)
        return record;
    if (view.ahoff || (word & AHO_CORASICK_INLINE) == 0)
        return view_items_at(view.items, word);
    record.count = 1;
    record.inline_id = (word & (AHO_CORASICK_INLINE_IDS - 1)) |
                       ((word & AHO_CORASICK_INLINE_PRIVATE) != 0 ? MATCHER_PRIVATE_ID : 0);
    return record;
}
