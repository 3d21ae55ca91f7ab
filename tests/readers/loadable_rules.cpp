#include "file_format.h"
#include "loadable_parts.h"

namespace
{

/// Reads the cells of a row: texts, then empty cells.
bool read_cells(blob_span_t cells, const loadable_strings_t &strings,
                std::vector<std::string_view> &texts, std::string &error)
{
    const size_t nr_cell = cells.size() / 4;
    size_t used = 0;
    while (used < nr_cell && loadable_word(cells, used) != file_format::PDB_PROTOCOL_MAP_EMPTY)
        ++used;
    if (used == 0)
        return blob_fail(error, "no name");
    for (size_t i = 0; i < nr_cell; ++i) {
        const uint32_t offset = loadable_word(cells, i);
        std::string_view text;
        if (i >= used && offset != file_format::PDB_PROTOCOL_MAP_EMPTY)
            return blob_fail(error, "a name behind an empty cell");
        if (i >= used)
            continue;
        if (!loadable_strings_get(strings, offset, text))
            return blob_fail(error, "no string begins at " + std::to_string(offset));
        texts.push_back(text);
    }
    return true;
}

/// The tables of the protocol map.
struct protocol_map_t {
    blob_span_t path;
    blob_span_t bottoms;
    blob_span_t real_bottoms;
    blob_span_t vids; ///< empty when no rule has one
};

/// Takes a table of `nr_cell` cells per rule off the front of `map`.
blob_span_t take_table(blob_span_t &map, size_t nr_rule, size_t nr_cell)
{
    const blob_span_t table = map.first(nr_rule * nr_cell * 4);
    map = map.subspan(table.size());
    return table;
}

bool split_map(blob_span_t map, size_t nr_rule, protocol_map_t &tables, std::string &error)
{
    constexpr size_t row_words = LOADABLE_MAX_PATH + 2 * LOADABLE_MAX_SUB_RULES;
    if (map.size() != nr_rule * row_words * 4 && map.size() != nr_rule * (row_words + 1) * 4)
        return blob_fail(error, "protocol map of " + std::to_string(map.size()) + " bytes for " +
                                    std::to_string(nr_rule) + " rules");
    tables.path = take_table(map, nr_rule, LOADABLE_MAX_PATH);
    tables.bottoms = take_table(map, nr_rule, LOADABLE_MAX_SUB_RULES);
    tables.real_bottoms = take_table(map, nr_rule, LOADABLE_MAX_SUB_RULES);
    tables.vids = map;
    return true;
}

bool read_rule(const protocol_map_t &tables, const loadable_strings_t &strings, size_t row,
               loadable_rule_t &rule, std::string &error)
{
    const auto row_of = [row](blob_span_t table, size_t nr_cell) {
        return table.subspan(row * nr_cell * 4, nr_cell * 4);
    };
    if (!read_cells(row_of(tables.path, LOADABLE_MAX_PATH), strings, rule.path, error))
        return loadable_within(error, "path");
    if (!read_cells(row_of(tables.bottoms, LOADABLE_MAX_SUB_RULES), strings, rule.bottoms, error))
        return loadable_within(error, "bottoms");
    if (!read_cells(row_of(tables.real_bottoms, LOADABLE_MAX_SUB_RULES), strings, rule.real_bottoms,
                    error))
        return loadable_within(error, "real bottoms");
    if (tables.vids.empty())
        return true;
    const uint32_t vid = loadable_word(tables.vids, row);
    if (vid != file_format::PDB_PROTOCOL_MAP_EMPTY)
        rule.vid = vid;
    return true;
}

bool read_protocol_map(blob_span_t map, blob_span_t text, size_t nr_rule, loadable_pdb_t &pdb,
                       std::string &error)
{
    protocol_map_t tables;
    loadable_strings_t strings;
    if (!split_map(map, nr_rule, tables, error) || !loadable_strings_open(text, strings, error))
        return false;
    pdb.rules.resize(nr_rule);
    bool any_vid = tables.vids.empty();
    for (size_t row = 0; row < nr_rule; ++row) {
        if (!read_rule(tables, strings, row, pdb.rules[row], error))
            return loadable_within(error, "row " + std::to_string(row));
        any_vid = any_vid || pdb.rules[row].vid.has_value();
    }
    return any_vid || blob_fail(error, "a table of vids without a vid");
}

bool read_tag_map(blob_span_t map, std::vector<loadable_rule_t> &rules, std::string &error)
{
    const size_t nr_rule = rules.size();
    const size_t nr_word = map.size() / 4;
    if (nr_word < 1 + 2 * nr_rule || loadable_word(map, 0) != nr_rule)
        return blob_fail(error, "not of " + std::to_string(nr_rule) + " rules");
    const size_t first = 1 + nr_rule;
    size_t at = first;
    for (size_t i = 0; i < nr_rule; ++i) {
        const std::string where = "rule " + std::to_string(i + 1);
        if (loadable_word(map, 1 + i) != at - first)
            return blob_fail(error, where + ": start index " +
                                        std::to_string(loadable_word(map, 1 + i)) + " instead of " +
                                        std::to_string(at - first));
        if (at >= nr_word || loadable_word(map, at) > nr_word - at - 1)
            return blob_fail(error, where + ": its tags run past the map");
        for (uint32_t left = loadable_word(map, at++); left != 0; --left)
            rules[i].tags.push_back(loadable_word(map, at++));
    }
    return at == nr_word ||
           blob_fail(error, std::to_string(nr_word - at) + " words behind the last list");
}

loadable_slot_t read_slot(blob_span_t words)
{
    loadable_slot_t slot;
    const uint32_t id = loadable_word(words, 0);
    const uint32_t bitset = loadable_word(words, 3);
    slot.rule_id = id & 0x0FFFFFFF;
    slot.flags = id >> file_format::RULE_FLAG_SHIFT;
    slot.priority = loadable_word(words, 1);
    slot.scope = loadable_word(words, 2);
    slot.bitset_full = bitset & 0xFFFF;
    slot.bitset_pos = bitset >> 16 & 0x7FFF;
    slot.referer = (bitset & file_format::RULE_BITSET_REFERER) != 0;
    return slot;
}

bool read_engine(blob_span_t engine, loadable_pdb_t &pdb, std::string &error)
{
    constexpr size_t slot_size = 16;
    blob_span_t table;
    if (!loadable_take_typed(engine, file_format::TLV_TYPE_RULE_TABLE, LOADABLE_ANY_LENGTH, table,
                             error) ||
        !blob_end(engine, error))
        return false;
    if (table.size() % slot_size != 0)
        return blob_fail(error, "slots of " + std::to_string(table.size()) + " bytes");
    for (size_t at = 0; at < table.size(); at += slot_size) {
        const blob_span_t words = table.subspan(at, slot_size);
        const loadable_slot_t slot = read_slot(words);
        if (slot.rule_id == 0 && loadable_word(words, 0) + loadable_word(words, 1) +
                                         loadable_word(words, 2) + loadable_word(words, 3) !=
                                     0)
            return blob_fail(error, "slot " + std::to_string(at / slot_size) +
                                        " has no rule and is not zero");
        pdb.slots.push_back(slot);
    }
    return true;
}

} // namespace

bool loadable_read_rules(blob_span_t section, loadable_pdb_t &pdb, std::string &error)
{
    blob_span_t meta;
    blob_span_t map;
    blob_span_t tag_map;
    blob_span_t engine;
    blob_span_t text;
    const auto take = [&](uint32_t type, size_t nr_word, blob_span_t &value) {
        return loadable_take_typed(section, type, nr_word, value, error);
    };
    if (!take(file_format::TLV_TYPE_PDB_RULE_META, 1, meta) ||
        !take(file_format::TLV_TYPE_PDB_RULE_PROTOCOL_MAP, LOADABLE_ANY_LENGTH, map) ||
        !take(file_format::TLV_TYPE_PDB_RULE_TAG_MAP, LOADABLE_ANY_LENGTH, tag_map) ||
        !take(file_format::TLV_TYPE_PDB_RULE_ENGINE, LOADABLE_ANY_LENGTH, engine) ||
        !take(file_format::TLV_TYPE_PDB_RULE_STRING, LOADABLE_ANY_LENGTH, text) ||
        !blob_end(section, error))
        return loadable_within(error, "rules");
    if (!read_protocol_map(map, text, loadable_word(meta, 0), pdb, error))
        return loadable_within(error, "protocol map");
    if (!read_tag_map(tag_map, pdb.rules, error))
        return loadable_within(error, "tag map");
    return read_engine(engine, pdb, error) || loadable_within(error, "rule engine");
}
