#include "pdb_protocol_map.h"

#include "format_values.h"
#include "tlv_description.h"

namespace
{

// What the record of the string table can hold. Beyond 4 GiB offsets would no longer be told apart.
static_assert(PDB_PROTOCOL_MAP_STRINGS_MAX == TLV_LEN_FIELD_MAX * 4);

/// Interns a name into a cell. Rows behind the last one are interned and not stored.
pdata_status_t set_cell(protocol_build_map_t *map, std::vector<uint32_t> &cells, size_t cell,
                        csa_str_t name)
{
    uint32_t offset = 0;
    const int ret = hstring_get_offset(&map->map_hstring, name, &offset);
    if (map->map_hstring.hb_offset > PDB_PROTOCOL_MAP_STRINGS_MAX)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_MAP_STRINGS, PDB_PROTOCOL_MAP_STRINGS_MAX);
    if (ret == 0 && cell < cells.size())
        cells[cell] = offset;
    return module_err2pdata_status(PDATA_MODULE_HSTRING, ret);
}

pdata_status_t add_path(protocol_build_map_t *map, size_t row, csa_str_t proto_name,
                        const ruledesc_t &rule, const hstring_t &hstring)
{
    const uint32_t nr_path = ruledesc_get_path_nr(rule);
    if (nr_path > map->rule_max_path)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_MAP_PATH, map->rule_max_path, nr_path);
    const size_t first = row * map->rule_max_path;
    if (nr_path == 0)
        return set_cell(map, map->map_proto_id, first, proto_name);
    for (uint32_t i = 0; i < nr_path; ++i) {
        csa_str_t name;
        PDATA_TRY(ruledesc_get_path_elt(rule, i, hstring, &name));
        PDATA_TRY(set_cell(map, map->map_proto_id, first + i, name));
    }
    return PDATA_SUCCESS;
}

/// The name of sub-rule 1, if there is one, comes in front of that of sub-rule 0. Oddity O129.
pdata_status_t add_bottoms(protocol_build_map_t *map, std::vector<uint32_t> &cells, size_t row,
                           const csa_str_t (&names)[2])
{
    size_t cell = row * map->rule_max_subrules;
    if (names[1].str_len != 0)
        PDATA_TRY(set_cell(map, cells, cell++, names[1]));
    return set_cell(map, cells, cell, names[0]);
}

void put_words(tlv_sink_t &sink, const std::vector<uint32_t> &words)
{
    for (const uint32_t word : words)
        tlv_sink_put(sink, word, 4);
}

/// Writes the filled cells of a row.
void print_row(const std::vector<uint32_t> &cells, size_t row, uint32_t width, std::FILE *file)
{
    for (size_t cell = row * width; cell < (row + 1) * width; ++cell)
        if (cells[cell] != PDB_PROTOCOL_MAP_EMPTY)
            std::fprintf(file, " %u", cells[cell]);
    std::fprintf(file, ";");
}

} // namespace

pdata_status_t pdb_protocol_map_init(protocol_build_map_t *map, uint32_t nr_rule,
                                     uint32_t rule_max_path, uint32_t rule_max_subrules)
{
    pdb_protocol_map_clean(map);
    const pdata_status_t status = pdata_guard([&] {
        map->map_proto_id.assign(size_t{nr_rule} * rule_max_path, PDB_PROTOCOL_MAP_EMPTY);
        map->map_bottom.assign(size_t{nr_rule} * rule_max_subrules, PDB_PROTOCOL_MAP_EMPTY);
        map->map_real_bottom.assign(size_t{nr_rule} * rule_max_subrules, PDB_PROTOCOL_MAP_EMPTY);
        map->map_vid.assign(nr_rule, RULE_VID_NONE);
        map->map_nr_rule = nr_rule;
        map->rule_max_path = rule_max_path;
        map->rule_max_subrules = rule_max_subrules;
        return hstring_init(&map->map_hstring, 0) == 0 ? PDATA_SUCCESS : PDATA_ERR_NO_MEMORY;
    });
    if (status != PDATA_SUCCESS)
        pdb_protocol_map_clean(map);
    return status;
}

pdata_status_t pdb_protocol_map_add(protocol_build_map_t *map, uint32_t rule_id,
                                    const pdb_protocol_map_names_t &names, const ruledesc_t &rule,
                                    const hstring_t &hstring)
{
    const size_t row = size_t{rule_id} - 1;
    PDATA_TRY(add_path(map, row, names.proto_name, rule, hstring));
    if (row >= map->map_nr_rule)
        return PDATA_ERR_INVALID_ARGUMENT;
    PDATA_TRY(add_bottoms(map, map->map_bottom, row, names.bottom));
    PDATA_TRY(add_bottoms(map, map->map_real_bottom, row, names.real_bottom));
    if (rule.rule_vid != RULE_VID_NONE) {
        map->map_vid_used = 1;
        map->map_vid[row] = rule.rule_vid;
    }
    return PDATA_SUCCESS;
}

void pdb_protocol_map_emit(const protocol_build_map_t &map, tlv_sink_t &sink)
{
    put_words(sink, map.map_proto_id);
    put_words(sink, map.map_bottom);
    put_words(sink, map.map_real_bottom);
    if (map.map_vid_used)
        put_words(sink, map.map_vid);
}

size_t pdb_protocol_map_get_size(const protocol_build_map_t &map)
{
    tlv_sink_t sink = tlv_sink_counting();
    pdb_protocol_map_emit(map, sink);
    return sink.offset;
}

void pdb_protocol_map_print(const protocol_build_map_t &map, std::FILE *file)
{
    for (size_t row = 0; row < map.map_nr_rule; ++row) {
        std::fprintf(file, "%zu:", row + 1);
        print_row(map.map_proto_id, row, map.rule_max_path, file);
        print_row(map.map_bottom, row, map.rule_max_subrules, file);
        print_row(map.map_real_bottom, row, map.rule_max_subrules, file);
        std::fprintf(file, "\n");
    }
}

void pdb_protocol_map_clean(protocol_build_map_t *map)
{
    *map = {};
}
