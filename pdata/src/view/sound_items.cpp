#include "sound_items.h"

bool sound_pass_record(sound_layout_t &layout, uint32_t word, size_t offset, view_error_t &error)
{
    if (word != layout.due)
        return view_fail(error, VIEW_ORDER, offset, "item record %u, where %zu follows", word,
                         layout.due);
    layout.due = view_items_behind(layout.items, word);
    return true;
}

bool sound_end_records(const sound_layout_t &layout, const char *whose, view_error_t &error)
{
    const view_area_t &area = layout.items.area;
    return layout.due == view_words(area) ||
           view_fail(error, VIEW_LOST, area.offset + layout.due * 4,
                     "items: records of %s take %zu of %zu words", whose, layout.due,
                     view_words(area));
}

void sound_give_marked(const view_items_t &items, const view_item_marks_t &marks,
                       sound_given_t &given)
{
    view_items_each(
        items, marks,
        [](void *context, uint32_t id) { sound_give(*static_cast<sound_given_t *>(context), id); },
        &given);
}
