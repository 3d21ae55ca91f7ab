/// The item records of an engine or of numbers, as a sound file lays them out: in the order of what
/// refers to them, from end to end, and filling their table.
#pragma once

#include "view_sound.h"

/// How far the records of a table have been passed.
struct sound_layout_t {
    const view_items_t &items;
    size_t due = 0; ///< word at which the next record begins
};

/// Passes the record that begins at `word`, the next one by right; `offset` is where it is referred
/// to.
[[nodiscard]] bool sound_pass_record(sound_layout_t &layout, uint32_t word, size_t offset,
                                     view_error_t &error);

/// Checks that the records that were passed fill the table. `whose` is what refers to them, in the
/// plural.
[[nodiscard]] bool sound_end_records(const sound_layout_t &layout, const char *whose,
                                     view_error_t &error);

/// Gives the items of the records that are marked.
void sound_give_marked(const view_items_t &items, const view_item_marks_t &marks,
                       sound_given_t &given);
