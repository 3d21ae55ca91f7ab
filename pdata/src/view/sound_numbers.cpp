#include "view_sound.h"

namespace
{

/// The item records of a number matcher, passed in their order.
struct number_records_t {
    const view_number_t &view;
    size_t due; ///< word at which the next one begins
};

bool pass_number_record(number_records_t &records, uint32_t word, size_t offset,
                        view_error_t &error)
{
    if (word != records.due)
        return view_fail(error, VIEW_ORDER, offset, "item record %u, where %zu follows", word,
                         records.due);
    records.due = view_items_behind(records.view.items, word);
    return true;
}

bool end_number_records(const number_records_t &records, view_error_t &error)
{
    const view_area_t &items = records.view.items.area;
    return records.due == view_words(items) ||
           view_fail(error, VIEW_LOST, items.offset + records.due * 4,
                     "items: records of values take %zu of %zu words", records.due,
                     view_words(items));
}

/// Gives the items of all values, whatever the order of their records.
void give_number(const view_number_t &view, const view_item_marks_t &marks, sound_given_t &given)
{
    view_items_each(
        view.items, marks,
        [](void *context, uint32_t id) { sound_give(*static_cast<sound_given_t *>(context), id); },
        &given);
}

bool mapper_fits(number_records_t &records, view_error_t &error)
{
    const view_area_t &table = records.view.table;
    uint32_t last = 0;
    for (size_t at = 0; at < table.size; at += 2) {
        const uint16_t word = csa_get_be16(table.data + at);
        if (word != 0 && word != last &&
            !pass_number_record(records, word, table.offset + at, error))
            return view_within(error, "mapper: value %zu", at / 2);
        last = word != 0 ? word : last;
    }
    return end_number_records(records, error) || view_within(error, "mapper");
}

/// The most significant byte of endpoint `index`, as the flags count it.
uint8_t endpoint_byte(const view_number_t &view, uint32_t index)
{
    const view_value_t value = view_number_endpoint(view, index);
    if (view.data_size == 16)
        return static_cast<uint8_t>(value.high >> 56);
    return static_cast<uint8_t>(value.low >> (view.data_size * 8 - 8));
}

bool ascends(const view_number_t &view, uint32_t index)
{
    if (index == 0)
        return true;
    const view_value_t before = view_number_endpoint(view, index - 1);
    const view_value_t value = view_number_endpoint(view, index);
    return before.high != value.high ? before.high < value.high : before.low < value.low;
}

bool endpoint_fits(number_records_t &records, uint32_t index, view_error_t &error)
{
    const view_number_t &view = records.view;
    const size_t offset = view.endpoints.offset + size_t{index} * view.data_size;
    if (!ascends(view, index))
        return view_fail(error, VIEW_ORDER, offset, "not above the one before it");
    if (view_number_items(view, index).count != 0 && view.msb[endpoint_byte(view, index)] == 0)
        return view_fail(error, VIEW_LOST, offset, "no flag for values that begin with %u",
                         endpoint_byte(view, index));
    return pass_number_record(records, view_word(view.offsets, index),
                              view.offsets.offset + size_t{index} * 4, error);
}

bool intervals_fit(number_records_t &records, view_error_t &error)
{
    for (uint32_t i = 0; i < records.view.nr; ++i)
        if (!endpoint_fits(records, i, error))
            return view_within(error, "intervals: endpoint %u", i);
    return end_number_records(records, error) || view_within(error, "intervals");
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
    give_number(view, marks, given);
    number_records_t records = {view, view.data_size == 0 ? 1U : 0U};
    return view.data_size == 0 ? mapper_fits(records, error) : intervals_fit(records, error);
}
