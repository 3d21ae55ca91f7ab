#include "sound_items.h"

namespace
{

bool mapper_fits(const view_area_t &table, sound_layout_t &layout, view_error_t &error)
{
    uint32_t last = 0;
    for (size_t at = 0; at < table.size; at += 2) {
        const uint16_t word = csa_get_be16(table.data + at);
        if (word != 0 && word != last && !sound_pass_record(layout, word, table.offset + at, error))
            return view_within(error, "mapper: value %zu", at / 2);
        last = word != 0 ? word : last;
    }
    return sound_end_records(layout, "values", error) || view_within(error, "mapper");
}

bool ascends(const view_number_t &view, uint32_t index)
{
    if (index == 0)
        return true;
    const view_value_t before = view_number_endpoint(view, index - 1);
    const view_value_t value = view_number_endpoint(view, index);
    return before.high != value.high ? before.high < value.high : before.low < value.low;
}

bool endpoint_fits(const view_number_t &view, uint32_t index, sound_layout_t &layout,
                   view_error_t &error)
{
    const size_t offset = view.endpoints.offset + size_t{index} * view.data_size;
    if (!ascends(view, index))
        return view_fail(error, VIEW_ORDER, offset, "not above the one before it");
    const uint8_t top = view_number_top_byte(view, view_number_endpoint(view, index));
    if (view_number_items(view, index).count != 0 && view.msb[top] == 0)
        return view_fail(error, VIEW_LOST, offset, "no flag for values that begin with %u", top);
    return sound_pass_record(layout, view_word(view.offsets, index),
                             view.offsets.offset + size_t{index} * 4, error);
}

bool intervals_fit(const view_number_t &view, sound_layout_t &layout, view_error_t &error)
{
    for (uint32_t i = 0; i < view.nr; ++i)
        if (!endpoint_fits(view, i, layout, error))
            return view_within(error, "intervals: endpoint %u", i);
    return sound_end_records(layout, "values", error) || view_within(error, "intervals");
}

/// Marks the record of every value or endpoint.
void mark_number(const view_number_t &view, view_item_marks_t &marks)
{
    for (size_t at = 0; at < view.table.size; at += 2)
        if (const uint16_t word = csa_get_be16(view.table.data + at); word != 0)
            (void)view_item_mark(marks, view.items, word);
    for (uint32_t i = 0; i < view.nr; ++i)
        (void)view_item_mark(marks, view.items, view_word(view.offsets, i));
}

} // namespace

bool sound_number(const view_number_t &view, sound_given_t &given, view_error_t &error)
{
    view_item_marks_t marks;
    if (!view_item_marks_init(marks, view.items, error))
        return false;
    mark_number(view, marks);
    sound_give_marked(view.items, marks, given);
    sound_layout_t layout = {view.items, view.data_size == 0 ? 1U : 0U};
    return view.data_size == 0 ? mapper_fits(view.table, layout, error)
                               : intervals_fit(view, layout, error);
}
