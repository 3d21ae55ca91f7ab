#include "view_items.h"

#include <algorithm>
#include <bit>
#include <new>

namespace
{

/// Where the items of a record begin, in words, and how many there are.
struct item_range_t {
    size_t first = 0;
    size_t count = 0;
};

bool fail_cut(const view_items_t &items, size_t index, view_error_t &error)
{
    return view_fail(error, VIEW_COUNT, items.area.offset + index * 4,
                     "items: record %zu runs past the %zu words of the table", index,
                     view_words(items.area));
}

/// Finds the items of the record at word `index`, which the table has.
bool find_range(const view_items_t &items, size_t index, item_range_t &range, view_error_t &error)
{
    const size_t nr_word = view_words(items.area);
    size_t at = index;
    if (items.layout != VIEW_ITEMS_PLAIN &&
        (view_word(items.area, at) & PATTERN_MINDATA_MARK) == PATTERN_MINDATA_MARK)
        at += items.layout == VIEW_ITEMS_WIDE_MINDATA ? 2 : 1;
    if (at >= nr_word)
        return fail_cut(items, index, error);
    range = {at + 1, view_word(items.area, at)};
    const size_t room = (nr_word - range.first) / view_item_words(items.layout);
    return range.count <= room || fail_cut(items, index, error);
}

/// Checks ids while marked records are passed in ascending order.
struct item_sweep_t {
    const view_items_t &items;
    uint32_t nr_private;
    size_t seen[2] = {0, 0}; ///< words in front of which ids were checked, by the parity of words

    bool check_id(size_t at, view_error_t &error) const
    {
        const uint32_t id = view_word(items.area, at);
        return view_item_id_known(id, nr_private) ||
               view_fail(error, VIEW_REFERENCE, items.area.offset + at * 4,
                         "items: no entry for id 0x%08x of %u private ones", id, nr_private);
    }

    bool check_ids(const item_range_t &range, view_error_t &error)
    {
        const size_t step = view_item_words(items.layout);
        size_t &checked = seen[step == 1 ? 0 : range.first % 2];
        const size_t end = range.first + range.count * step;
        // Behind a mindata word, the items of a record may begin one word behind those of the next.
        if (range.count != 0 && !check_id(range.first, error))
            return false;
        for (size_t at = std::max(range.first, checked); at < end; at += step)
            if (!check_id(at, error))
                return false;
        checked = std::max(checked, end);
        return true;
    }
};

} // namespace

bool view_item_marks_init(view_item_marks_t &marks, const view_items_t &items, view_error_t &error)
{
    try {
        marks.bits.assign(view_words(items.area) / 64 + 1, 0);
    } catch (const std::bad_alloc &) {
        return view_fail(error, VIEW_MEMORY, items.area.offset, "no memory for the item index");
    }
    return true;
}

bool view_items_check(const view_items_t &items, const view_item_marks_t &marks,
                      uint32_t nr_private, view_error_t &error)
{
    item_sweep_t sweep{items, nr_private};
    for (size_t block = 0; block < marks.bits.size(); ++block) {
        for (uint64_t left = marks.bits[block]; left != 0; left &= left - 1) {
            const size_t index = block * 64 + static_cast<size_t>(std::countr_zero(left));
            item_range_t range;
            if (!find_range(items, index, range, error) || !sweep.check_ids(range, error))
                return false;
        }
    }
    return true;
}
