#include "pdb_list_matchers.h"

#include <cstdio>
#include <iterator>
#include <string>

#include "format_types.h"

namespace
{

/// Prints the sizes of the engines of a pattern blob.
void print_engines(const view_area_t &blob)
{
    const struct {
        uint32_t type;
        const char *name;
    } engines[] = {
        {PATTERN_TLV_AHO_CORASICK, "automaton"},  {PATTERN_TLV_AHOFF_CORASICK, "offset automaton"},
        {PATTERN_TLV_PREFIX_TREE, "prefix tree"}, {PATTERN_TLV_SUFFIX_TREE, "suffix tree"},
        {PATTERN_TLV_DOT_PREFIX, "dot prefix"},
    };
    view_cursor_t cursor = view_walk(blob, VIEW_BLOBS);
    for (view_record_t record; view_next(cursor, record);)
        for (const auto &engine : engines)
            if (engine.type == record.type && record.length != 0)
                std::printf(", %s %u", engine.name, record.length);
}

void print_data(const view_area_t &data)
{
    view_record_t part;
    std::printf(", %7zu bytes", data.size);
    if (view_find(data, TLV_TYPE_MATCHER_NUMBER, part))
        std::printf(": numbers %zu", part.value.size);
    if (view_find(data, TLV_TYPE_MATCHER_L2, part))
        std::printf(": second level %zu", part.value.size);
    if (view_find(data, TLV_TYPE_MATCHER_AC, part))
        print_engines(part.value);
    std::printf("\n");
}

const char *way_name(uint32_t way)
{
    constexpr const char *names[] = {"unknown", "cts", "stc", "both"};
    return way < std::size(names) ? names[way] : "attr way error";
}

bool print_matcher(const view_record_t &matcher, const view_pool_t &names,
                   const pdb_totals_t &totals, view_error_t &error)
{
    view_record_t meta;
    view_record_t data;
    std::string_view protocol;
    std::string_view attribute;
    if (!view_require(matcher.value, TLV_TYPE_PDB_MATCHER_META, "matcher", meta, error) ||
        !view_require(matcher.value, TLV_TYPE_PDB_MATCHER_DATA, "matcher", data, error))
        return false;
    if (view_words(meta.value) < 3)
        return view_fail(error, VIEW_LENGTH, meta.offset, "matcher: a meta of %zu bytes",
                         meta.value.size);
    if (!view_pool_cut(names, view_word(meta.value, 0), protocol) ||
        !view_pool_cut(names, view_word(meta.value, 1), attribute))
        return view_fail(error, VIEW_REFERENCE, meta.offset, "matcher: no name");
    const uint32_t way = view_word(meta.value, 2);
    const auto values = totals.values_of.find({protocol, attribute, way});
    const std::string name = std::string(protocol) + ":" + std::string(attribute);
    std::printf("  %-24s %s %5u values", name.c_str(), way_name(way),
                values == totals.values_of.end() ? 0 : values->second);
    print_data(data.value);
    return true;
}

} // namespace

bool pdb_list_print_matchers(const view_area_t &pdb, const pdb_totals_t &totals,
                             view_error_t &error)
{
    view_record_t section;
    view_record_t list;
    view_record_t strings;
    if (!view_find(pdb, TLV_TYPE_ROOT_MATCHERS, section))
        return true;
    if (!view_require(section.value, TLV_TYPE_PDB_MATCHER_LIST, "matchers", list, error) ||
        !view_require(section.value, TLV_TYPE_PDB_MATCHER_STRING, "matchers", strings, error))
        return false;
    std::printf("matchers:\n");
    view_cursor_t cursor = view_walk(list.value);
    for (view_record_t record; view_next(cursor, record);)
        if (!print_matcher(record, {strings.value}, totals, error))
            return false;
    return view_walk_sound(cursor, error);
}

bool pdb_list_print_rules(const view_area_t &pdb, view_error_t &error)
{
    constexpr size_t slot_size = 16; // bytes of an item in the rule engine
    view_record_t section;
    view_record_t meta;
    view_record_t engine;
    view_record_t table;
    if (!view_find(pdb, TLV_TYPE_ROOT_RULES, section))
        return true;
    if (!view_require(section.value, TLV_TYPE_PDB_RULE_META, "rules", meta, error) ||
        !view_require(section.value, TLV_TYPE_PDB_RULE_ENGINE, "rules", engine, error) ||
        !view_require(engine.value, TLV_TYPE_RULE_TABLE, "rule engine", table, error))
        return false;
    if (view_words(meta.value) == 0)
        return view_fail(error, VIEW_LENGTH, meta.offset, "rules: a meta without a word");
    std::printf("rules: %u rules, %zu item slots\n", view_word(meta.value, 0),
                table.value.size / slot_size);
    return true;
}
