#include "view_number.h"

#include "format_types.h"
#include "view_take.h"

namespace
{

bool open_mapper(const view_area_t &area, uint32_t nr_value, view_number_t &view,
                 view_error_t &error)
{
    view_cursor_t cursor = view_walk(area, VIEW_BLOBS);
    return (view_take(cursor, MAPPER_TLV_ENDPOINTS, "values", view.table, error,
                      size_t{nr_value} * 2) &&
            view_take(cursor, MAPPER_TLV_ITEMS, "items", view.items.area, error) &&
            view_take_end(cursor, error)) ||
           view_within(error, "mapper");
}

/// Takes the tables of intervals, whose meta is known.
bool take_tables(view_cursor_t &cursor, view_number_t &view, view_error_t &error)
{
    view_area_t msb;
    if (!view_take(cursor, INTERVAL_TLV_MSB, "flags", msb, error, INTERVAL_MSB_COUNT) ||
        !view_take(cursor, INTERVAL_TLV_ENDPOINTS, "endpoints", view.endpoints, error,
                   size_t{view.nr} * view.data_size) ||
        !view_take(cursor, INTERVAL_TLV_OFFSETS, "offsets", view.offsets, error,
                   size_t{view.nr} * 4) ||
        !view_take(cursor, INTERVAL_TLV_ITEMS, "items", view.items.area, error))
        return false;
    view.msb = msb.data;
    return view_take_end(cursor, error);
}

bool open_intervals(const view_area_t &area, uint32_t data_size, view_number_t &view,
                    view_error_t &error)
{
    view_cursor_t cursor = view_walk(area, VIEW_BLOBS);
    view_area_t meta;
    if (!view_take(cursor, INTERVAL_TLV_META, "meta", meta, error, 8))
        return view_within(error, "intervals");
    view.data_size = view_word(meta, 0);
    view.nr = view_word(meta, 1);
    if (view.data_size != data_size)
        return view_fail(error, VIEW_VALUE, meta.offset,
                         "intervals: values of %u bytes instead of %u", view.data_size, data_size);
    return take_tables(cursor, view, error) || view_within(error, "intervals");
}

/// How the values of a type are held.
struct number_form_t {
    matcher_type_t type;
    uint32_t nr_value;  ///< of a mapper; 0 for intervals
    uint32_t data_size; ///< of intervals, in bytes
};

constexpr number_form_t number_forms[] = {
    {MATCHER_TYPE_NUMBER_8, 256, 0}, {MATCHER_TYPE_NUMBER_16, 65536, 0},
    {MATCHER_TYPE_NUMBER_32, 0, 4},  {MATCHER_TYPE_NUMBER_64, 0, 8},
    {MATCHER_TYPE_IP_4, 0, 4},       {MATCHER_TYPE_IP_6, 0, 16},
};

const number_form_t *form_of(uint32_t type)
{
    for (const number_form_t &form : number_forms)
        if (form.type == type)
            return &form;
    return nullptr;
}

bool mark_record(const view_number_t &view, size_t offset, uint32_t index, view_item_marks_t &marks,
                 view_error_t &error)
{
    return view_item_mark(marks, view.items, index) ||
           view_fail(error, VIEW_REFERENCE, offset, "item record %u of %zu words", index,
                     view_words(view.items.area));
}

bool mark_values(const view_number_t &view, view_item_marks_t &marks, view_error_t &error)
{
    for (size_t at = 0; at < view.table.size; at += 2) {
        const uint16_t index = csa_get_be16(view.table.data + at);
        if (index != 0 && !mark_record(view, view.table.offset + at, index, marks, error))
            return view_within(error, "mapper: value %zu", at / 2);
    }
    return true;
}

bool mark_endpoints(const view_number_t &view, view_item_marks_t &marks, view_error_t &error)
{
    for (uint32_t i = 0; i < view.nr; ++i)
        if (!mark_record(view, view.offsets.offset + size_t{i} * 4, view_word(view.offsets, i),
                         marks, error))
            return view_within(error, "intervals: endpoint %u", i);
    return true;
}

bool fits(const view_number_t &view, const view_value_t &value)
{
    if (view.data_size == 16)
        return true;
    if (value.high != 0)
        return false;
    return view.data_size == 8 ||
           value.low < (view.data_size == 0 ? view.table.size / 2 : uint64_t{1} << 32);
}

bool at_or_below(const view_value_t &endpoint, const view_value_t &value)
{
    return endpoint.high != value.high ? endpoint.high < value.high : endpoint.low <= value.low;
}

view_item_record_t find_interval(const view_number_t &view, const view_value_t &value)
{
    if (view.msb[view_number_top_byte(view, value)] == 0)
        return {};
    uint32_t low = 0; // endpoints at or below the value
    uint32_t high = view.nr;
    while (low < high) {
        const uint32_t middle = low + (high - low) / 2;
        if (at_or_below(view_number_endpoint(view, middle), value))
            low = middle + 1;
        else
            high = middle;
    }
    return low == 0 ? view_item_record_t{} : view_number_items(view, low - 1);
}

} // namespace

bool view_number_open(const view_area_t &area, view_number_t &view, view_error_t &error)
{
    view = {};
    view_cursor_t cursor = view_walk(area, VIEW_BLOBS);
    view_area_t type;
    view_area_t inner;
    if (!view_take(cursor, NUMBER_TLV_TYPE, "type", type, error, 4))
        return view_within(error, "numbers");
    view.type = view_word(type, 0);
    const number_form_t *form = form_of(view.type);
    if (form == nullptr)
        return view_fail(error, VIEW_VALUE, type.offset, "numbers: type %u", view.type);
    const bool mapper = form->nr_value != 0;
    if (!view_take(cursor, mapper ? NUMBER_TLV_MAPPER : NUMBER_TLV_INTERVAL,
                   mapper ? "mapper" : "intervals", inner, error) ||
        !view_take_end(cursor, error))
        return view_within(error, "numbers");
    return mapper ? open_mapper(inner, form->nr_value, view, error)
                  : open_intervals(inner, form->data_size, view, error);
}

bool view_number_check(const view_number_t &view, view_error_t &error)
{
    view_item_marks_t marks;
    if (!view_item_marks_init(marks, view.items, error))
        return false;
    if (!mark_values(view, marks, error) || !mark_endpoints(view, marks, error))
        return false;
    return view_items_check(view.items, marks, 0, error);
}

view_item_record_t view_number_find(const view_number_t &view, const view_value_t &value)
{
    if (!fits(view, value))
        return {};
    if (view.data_size != 0)
        return find_interval(view, value);
    const uint16_t index = csa_get_be16(view.table.data + value.low * 2);
    return index == 0 ? view_item_record_t{} : view_items_at(view.items, index);
}
