#include <algorithm>

#include "match_database.h"

namespace
{

/// The items of the records of one table, each word looked at once however records overlap.
class item_collector
{
public:
    item_collector(const view_items_t &table, std::vector<uint32_t> &found)
        : items(table), ids(found), starts(view_words(table.area) + 1)
    {
    }

    /// Notes the record at word `index`.
    void add(uint32_t index)
    {
        if (index < starts.size())
            starts[index] = true;
    }

    void finish()
    {
        const uint32_t step = view_item_words(items.layout);
        uint32_t until[2] = {}; // word behind those looked at, of items at even and odd words
        for (uint32_t index = 0; index + 1 < starts.size(); ++index) {
            if (!starts[index])
                continue;
            const view_item_record_t record = view_items_at(items, index);
            const auto first = static_cast<uint32_t>((record.first - items.area.data) / 4);
            const uint32_t end = first + record.count * step;
            uint32_t &seen = until[step == 2 ? first & 1 : 0];
            for (uint32_t at = std::max(first, seen); at < end; at += step)
                ids.push_back(view_word(items.area, at));
            seen = std::max(seen, end);
        }
    }

private:
    const view_items_t &items;
    std::vector<uint32_t> &ids;
    std::vector<bool> starts;
};

void collect_automaton(const view_aho_corasick_t &view, std::vector<uint32_t> &ids)
{
    item_collector collector(view.items, ids);
    for (uint32_t state = 0; state < view.rows.nr_row; ++state) {
        const uint16_t word = view_row_word(view.rows, state, AHO_CORASICK_ITEM_COLUMN);
        if (word == PATTERN_NO_ITEM_WORD)
            continue;
        if (!view.ahoff && (word & AHO_CORASICK_INLINE) != 0)
            ids.push_back(view_aho_corasick_items(view, state).inline_id);
        else
            collector.add(word);
    }
    collector.finish();
}

void collect_rows(const view_rows_t &rows, uint32_t column, const view_items_t &items,
                  std::vector<uint32_t> &ids)
{
    item_collector collector(items, ids);
    for (uint32_t row = 0; row < rows.nr_row; ++row)
        if (const uint16_t word = view_row_word(rows, row, column); word != PATTERN_NO_ITEM_WORD)
            collector.add(word);
    collector.finish();
}

void collect_numbers(const view_number_t &view, std::vector<uint32_t> &ids)
{
    item_collector collector(view.items, ids);
    for (size_t at = 0; at + 2 <= view.table.size; at += 2)
        if (const uint16_t index = csa_get_be16(view.table.data + at); index != 0)
            collector.add(index);
    for (uint32_t i = 0; i < view.nr; ++i)
        collector.add(view_word(view.offsets, i));
    collector.finish();
}

} // namespace

std::vector<uint32_t> match_items_of(const match_matcher_t &matcher)
{
    std::vector<uint32_t> ids;
    if (matcher.kind != PDATA_BYTES) {
        collect_numbers(matcher.view.number, ids);
        return ids;
    }
    const view_pattern_t &pattern = matcher.view.pattern;
    collect_automaton(match_automaton(pattern), ids);
    collect_rows(pattern.prefix_tree.rows, RADIX_ITEM_COLUMN, pattern.prefix_tree.items, ids);
    collect_rows(pattern.suffix_tree.rows, RADIX_ITEM_COLUMN, pattern.suffix_tree.items, ids);
    collect_rows(pattern.dot_prefix.rows, DOT_PREFIX_ITEM_COLUMN, pattern.dot_prefix.items, ids);
    std::erase_if(ids, [](uint32_t id) { return id >= MATCHER_PRIVATE_ID; });
    for (uint32_t index = 0; index < view_matcher_nr_private(matcher.view); ++index)
        ids.push_back(view_matcher_entry(matcher.view, index).pub_id);
    return ids;
}

std::vector<uint32_t> match_item_owners(const pdata_db &db)
{
    std::vector<uint32_t> owners(db.view.rules.nr_slot, UINT32_MAX);
    for (uint32_t index = 0; index < db.matchers.size(); ++index)
        for (const uint32_t item : match_items_of(db.matchers[index]))
            if (item < owners.size() && owners[item] == UINT32_MAX)
                owners[item] = index;
    return owners;
}
