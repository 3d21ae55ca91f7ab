#include "view_rules.h"

#include "format_types.h"
#include "view_take.h"

namespace
{

/// Cuts the table of `width` cells per rule off the front of `map`.
view_area_t cut_table(view_area_t &map, uint32_t nr_rule, uint32_t width)
{
    const size_t size = size_t{nr_rule} * width * 4;
    const view_area_t table = view_part(map, 0, size);
    map = view_part(map, size, map.size - size);
    return table;
}

bool open_map(view_area_t map, view_rules_t &view, view_error_t &error)
{
    constexpr size_t width = PDB_PROTOCOL_MAP_PATH + 2 * PDB_PROTOCOL_MAP_BOTTOMS;
    if (map.size != view.nr_rule * width * 4 && map.size != view.nr_rule * (width + 1) * 4)
        return view_fail(error, VIEW_COUNT, map.offset, "protocol map: %zu bytes for %u rules",
                         map.size, view.nr_rule);
    view.paths = cut_table(map, view.nr_rule, PDB_PROTOCOL_MAP_PATH);
    view.bottoms = cut_table(map, view.nr_rule, PDB_PROTOCOL_MAP_BOTTOMS);
    view.real_bottoms = cut_table(map, view.nr_rule, PDB_PROTOCOL_MAP_BOTTOMS);
    view.vids = map;
    return true;
}

bool open_tag_map(const view_area_t &map, view_rules_t &view, view_error_t &error)
{
    const size_t fixed = (size_t{view.nr_rule} + 1) * 4;
    if (map.size < fixed || view_word(map, 0) != view.nr_rule)
        return view_fail(error, VIEW_COUNT, map.offset, "tag map: not one of %u rules",
                         view.nr_rule);
    view.tag_starts = view_part(map, 4, fixed - 4);
    view.tag_lists = view_part(map, fixed, map.size - fixed);
    return true;
}

bool open_engine(const view_area_t &engine, view_rules_t &view, view_error_t &error)
{
    view_cursor_t cursor = view_walk(engine);
    if (!view_take(cursor, TLV_TYPE_RULE_TABLE, "items", view.slots, error) ||
        !view_take_end(cursor, error))
        return view_within(error, "rule engine");
    view.nr_slot = static_cast<uint32_t>(view.slots.size / (RULE_SLOT_WORDS * 4));
    return view.slots.size % (RULE_SLOT_WORDS * 4) == 0 ||
           view_fail(error, VIEW_LENGTH, view.slots.offset,
                     "rule engine: items: %zu bytes are not slots of %u", view.slots.size,
                     RULE_SLOT_WORDS * 4);
}

/// One table of names in the protocol map.
struct name_table_t {
    view_area_t view_rules_t::*table;
    uint32_t width;
    const char *what;
};

constexpr name_table_t name_tables[] = {
    {&view_rules_t::paths, PDB_PROTOCOL_MAP_PATH, "paths"},
    {&view_rules_t::bottoms, PDB_PROTOCOL_MAP_BOTTOMS, "bottoms"},
    {&view_rules_t::real_bottoms, PDB_PROTOCOL_MAP_BOTTOMS, "real bottoms"},
};

bool check_names(const view_area_t &table, const name_table_t &row,
                 const view_pool_starts_t &starts, view_error_t &error)
{
    for (size_t i = 0; i < view_words(table); ++i) {
        const uint32_t cell = view_word(table, i);
        if (cell != PDB_PROTOCOL_MAP_EMPTY && !view_pool_starts_at(starts, cell))
            return view_fail(error, VIEW_REFERENCE, table.offset + i * 4,
                             "protocol map: %s: rule %zu: no name at %u", row.what,
                             i / row.width + 1, cell);
    }
    return true;
}

bool check_map(const view_rules_t &view, view_error_t &error)
{
    view_pool_starts_t starts;
    if (!view_pool_check(view.names, starts, error))
        return view_within(error, "names");
    for (const name_table_t &row : name_tables)
        if (!check_names(view.*row.table, row, starts, error))
            return false;
    return true;
}

bool check_tags(const view_rules_t &view, view_error_t &error)
{
    const size_t nr_word = view_words(view.tag_lists);
    for (uint32_t i = 0; i < view.nr_rule; ++i) {
        const size_t start = view_word(view.tag_starts, i);
        if (start >= nr_word)
            return view_fail(error, VIEW_REFERENCE, view.tag_starts.offset + size_t{i} * 4,
                             "tag map: rule %u: list at %zu of %zu words", i + 1, start, nr_word);
        if (view_word(view.tag_lists, start) > nr_word - start - 1)
            return view_fail(error, VIEW_COUNT, view.tag_lists.offset + start * 4,
                             "tag map: rule %u: %u tags run past the map", i + 1,
                             view_word(view.tag_lists, start));
    }
    return true;
}

bool check_slots(const view_rules_t &view, view_error_t &error)
{
    for (uint32_t item = 0; item < view.nr_slot; ++item) {
        const view_slot_t slot = view_rules_slot(view, item);
        const size_t offset = view.slots.offset + size_t{item} * RULE_SLOT_WORDS * 4;
        if (slot.rule_id > view.nr_rule)
            return view_fail(error, VIEW_REFERENCE, offset, "rule engine: item %u: rule %u of %u",
                             item, slot.rule_id, view.nr_rule);
        if (slot.bitset_pos >= RULE_MAX_ITEM)
            return view_fail(error, VIEW_REFERENCE, offset + 12, "rule engine: item %u: bit %u",
                             item, slot.bitset_pos);
    }
    return true;
}

} // namespace

bool view_rules_open(const view_area_t &area, view_rules_t &view, view_error_t &error)
{
    view = {};
    view_cursor_t cursor = view_walk(area);
    view_area_t meta;
    view_area_t map;
    view_area_t tag_map;
    view_area_t engine;
    if (!view_take(cursor, TLV_TYPE_PDB_RULE_META, "meta", meta, error, 4) ||
        !view_take(cursor, TLV_TYPE_PDB_RULE_PROTOCOL_MAP, "protocol map", map, error) ||
        !view_take(cursor, TLV_TYPE_PDB_RULE_TAG_MAP, "tag map", tag_map, error) ||
        !view_take(cursor, TLV_TYPE_PDB_RULE_ENGINE, "rule engine", engine, error) ||
        !view_take(cursor, TLV_TYPE_PDB_RULE_STRING, "names", view.names.area, error) ||
        !view_take_end(cursor, error))
        return false;
    view.nr_rule = view_word(meta, 0);
    return open_map(map, view, error) && open_tag_map(tag_map, view, error) &&
           open_engine(engine, view, error);
}

bool view_rules_check(const view_rules_t &view, view_error_t &error)
{
    return check_map(view, error) && check_tags(view, error) && check_slots(view, error);
}
