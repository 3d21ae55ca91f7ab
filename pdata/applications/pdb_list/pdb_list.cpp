#include "pdb_list.h"

#include <cstdio>

#include "format_tables.h"
#include "pdb_list_matchers.h"
#include "pdb_list_totals.h"

namespace
{

const char *root_name(uint32_t type)
{
    const format_record_t *row = format_find(FORMAT_LEVEL_PDB, type);
    return row == nullptr ? "unknown" : row->what;
}

bool print_parts(const view_area_t &pdb, view_error_t &error)
{
    std::printf("parts:\n");
    view_cursor_t cursor = view_walk(pdb);
    for (view_record_t record; view_next(cursor, record);)
        std::printf("  %2u %-22s %10zu bytes\n", record.type, root_name(record.type),
                    record.value.size + 4);
    return view_walk_sound(cursor, error);
}

bool print_descriptions(const view_area_t &pdb, pdb_totals_t &totals, view_error_t &error)
{
    view_record_t root;
    view_record_t main;
    if (!view_find(pdb, TLV_TYPE_ROOT_PROTODESCS, root))
        return true;
    const bool sound = pdb_totals_count(root.value, totals, error);
    std::printf("descriptions: %u protocols, %u rules, %u values, %u ", totals.protocols,
                totals.rules, totals.values, totals.strings);
    if (view_find(pdb, TLV_TYPE_ROOT_STRING, main))
        std::printf("+ %u ", view_pool_count({main.value}));
    std::printf("strings\n");
    return sound;
}

} // namespace

bool pdb_list_print(std::span<const uint8_t> pdb, view_error_t &error)
{
    const view_area_t file = view_file(pdb);
    pdb_totals_t totals;
    return print_parts(file, error) && print_descriptions(file, totals, error) &&
           pdb_list_print_matchers(file, totals, error) && pdb_list_print_rules(file, error);
}
