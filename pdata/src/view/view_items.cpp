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

/// The places of ids, each once, while marked records are passed in ascending order.
struct item_sweep_t {
    size_t step;
    size_t seen[2] = {0, 0}; ///< words in front of which ids were passed, by the parity of words

    /// Hands the places of the items in `range` to `take`, until it returns false.
    template <typename take_t>
    bool pass(const item_range_t &range, take_t take)
    {
        size_t &passed = seen[step == 1 ? 0 : range.first % 2];
        const size_t end = range.first + range.count * step;
        // Behind a mindata word, the items of a record may begin one word behind those of the next.
        if (range.count != 0 && !take(range.first))
            return false;
        for (size_t at = std::max(range.first, passed); at < end; at += step)
            if (!take(at))
                return false;
        passed = std::max(passed, end);
        return true;
    }
};

/// Hands the word of every mark to `take`, until it returns false.
template <typename take_t>
bool each_mark(const view_item_marks_t &marks, take_t take)
{
    for (size_t block = 0; block < marks.bits.size(); ++block)
        for (uint64_t left = marks.bits[block]; left != 0; left &= left - 1)
            if (!take(block * 64 + static_cast<size_t>(std::countr_zero(left))))
                return false;
    return true;
}

bool check_id(const view_items_t &items, size_t at, uint32_t nr_private, view_error_t &error)
{
    const uint32_t id = view_word(items.area, at);
    return view_item_id_known(id, nr_private) ||
           view_fail(error, VIEW_REFERENCE, items.area.offset + at * 4,
                     "items: no entry for id 0x%08x of %u private ones", id, nr_private);
}

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

size_t view_items_behind(const view_items_t &items, size_t index)
{
    item_range_t range;
    view_error_t error;
    if (!find_range(items, index, range, error))
        return view_words(items.area);
    return range.first + range.count * view_item_words(items.layout);
}

void view_items_each(const view_items_t &items, const view_item_marks_t &marks,
                     void (*take)(void *context, uint32_t id), void *context)
{
    item_sweep_t sweep{view_item_words(items.layout)};
    (void)each_mark(marks, [&](size_t index) { // a checked table has no fault
        item_range_t range;
        view_error_t error;
        if (!find_range(items, index, range, error))
            return false;
        return sweep.pass(range, [&](size_t at) {
            take(context, view_word(items.area, at));
            return true;
        });
    });
}

bool view_items_check(const view_items_t &items, const view_item_marks_t &marks,
                      uint32_t nr_private, view_error_t &error)
{
    item_sweep_t sweep{view_item_words(items.layout)};
    return each_mark(marks, [&](size_t index) {
        item_range_t range;
        return find_range(items, index, range, error) &&
               sweep.pass(range, [&](size_t at) { return check_id(items, at, nr_private, error); });
    });
}
