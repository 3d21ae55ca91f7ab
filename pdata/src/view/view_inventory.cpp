#include "view_inventory.h"

#include "format_tables.h"

namespace
{

bool take_parts(const view_area_t &pdb, view_inventory_t &inventory, view_error_t &error)
{
    view_cursor_t cursor = view_walk(pdb);
    for (view_record_t record; view_next(cursor, record);) {
        const format_record_t *row = format_find(FORMAT_LEVEL_PDB, record.type);
        inventory.parts.push_back({record.type, row == nullptr ? "unknown" : row->what,
                                   record.offset, record.value.size + 4});
    }
    return view_walk_sound(cursor, error);
}

bool take_descriptions(const view_area_t &pdb, view_inventory_t &inventory, view_error_t &error)
{
    view_record_t root;
    view_record_t main;
    if (!view_find(pdb, TLV_TYPE_ROOT_PROTODESCS, root))
        return true;
    inventory.has_descriptions = true;
    inventory.has_main_strings = view_find(pdb, TLV_TYPE_ROOT_STRING, main);
    if (inventory.has_main_strings)
        inventory.main_strings = view_pool_count({main.value});
    return view_totals_count(root.value, inventory.totals, error);
}

void take_engines(const view_area_t &blob, view_inventory_matcher_t &matcher)
{
    const view_inventory_piece_t engines[] = {
        {"automaton", PATTERN_TLV_AHO_CORASICK},  {"offset automaton", PATTERN_TLV_AHOFF_CORASICK},
        {"prefix tree", PATTERN_TLV_PREFIX_TREE}, {"suffix tree", PATTERN_TLV_SUFFIX_TREE},
        {"dot prefix", PATTERN_TLV_DOT_PREFIX},
    };
    view_cursor_t cursor = view_walk(blob, VIEW_BLOBS);
    for (view_record_t record; view_next(cursor, record);)
        for (const auto &[name, type] : engines)
            if (type == record.type && record.length != 0)
                matcher.pieces.push_back({name, record.length});
}

void take_pieces(const view_area_t &data, view_inventory_matcher_t &matcher)
{
    view_record_t part;
    matcher.size = data.size;
    if (view_find(data, TLV_TYPE_MATCHER_NUMBER, part))
        matcher.pieces.push_back({"numbers", part.value.size});
    if (view_find(data, TLV_TYPE_MATCHER_L2, part))
        matcher.pieces.push_back({"second level", part.value.size});
    if (view_find(data, TLV_TYPE_MATCHER_AC, part))
        take_engines(part.value, matcher);
}

bool take_matcher(const view_record_t &record, const view_pool_t &names,
                  view_inventory_t &inventory, view_error_t &error)
{
    view_record_t meta;
    view_record_t data;
    view_inventory_matcher_t matcher;
    if (!view_require(record.value, TLV_TYPE_PDB_MATCHER_META, "matcher", meta, error) ||
        !view_require(record.value, TLV_TYPE_PDB_MATCHER_DATA, "matcher", data, error))
        return false;
    if (view_words(meta.value) < 3)
        return view_fail(error, VIEW_LENGTH, meta.offset, "matcher: a meta of %zu bytes",
                         meta.value.size);
    if (!view_pool_cut(names, view_word(meta.value, 0), matcher.protocol) ||
        !view_pool_cut(names, view_word(meta.value, 1), matcher.attribute))
        return view_fail(error, VIEW_REFERENCE, meta.offset, "matcher: no name");
    matcher.way = view_word(meta.value, 2);
    matcher.offset = record.offset;
    const auto &values_of = inventory.totals.values_of;
    const auto values = values_of.find({matcher.protocol, matcher.attribute, matcher.way});
    matcher.values = values == values_of.end() ? 0 : values->second;
    take_pieces(data.value, matcher);
    inventory.matchers.push_back(std::move(matcher));
    return true;
}

bool take_matchers(const view_area_t &pdb, view_inventory_t &inventory, view_error_t &error)
{
    view_record_t section;
    view_record_t list;
    view_record_t strings;
    inventory.has_matchers = view_find(pdb, TLV_TYPE_ROOT_MATCHERS, section);
    if (!inventory.has_matchers)
        return true;
    if (!view_require(section.value, TLV_TYPE_PDB_MATCHER_LIST, "matchers", list, error) ||
        !view_require(section.value, TLV_TYPE_PDB_MATCHER_STRING, "matchers", strings, error))
        return false;
    view_cursor_t cursor = view_walk(list.value);
    for (view_record_t record; view_next(cursor, record);)
        if (!take_matcher(record, {strings.value}, inventory, error))
            return false;
    return view_walk_sound(cursor, error);
}

bool take_rules(const view_area_t &pdb, view_inventory_t &inventory, view_error_t &error)
{
    constexpr size_t slot_size = 16; // bytes of an item in the rule engine
    view_record_t section;
    view_record_t meta;
    view_record_t engine;
    view_record_t table;
    inventory.has_rules = view_find(pdb, TLV_TYPE_ROOT_RULES, section);
    if (!inventory.has_rules)
        return true;
    if (!view_require(section.value, TLV_TYPE_PDB_RULE_META, "rules", meta, error) ||
        !view_require(section.value, TLV_TYPE_PDB_RULE_ENGINE, "rules", engine, error) ||
        !view_require(engine.value, TLV_TYPE_RULE_TABLE, "rule engine", table, error))
        return false;
    if (view_words(meta.value) == 0)
        return view_fail(error, VIEW_LENGTH, meta.offset, "rules: a meta without a word");
    inventory.rules = view_word(meta.value, 0);
    inventory.slots = table.value.size / slot_size;
    return true;
}

} // namespace

bool view_inventory_take(std::span<const uint8_t> pdb, view_inventory_t &inventory,
                         view_error_t &error)
{
    const view_area_t file = view_file(pdb);
    return take_parts(file, inventory, error) && take_descriptions(file, inventory, error) &&
           take_matchers(file, inventory, error) && take_rules(file, inventory, error);
}
