#include "pdb_ruletag_map.h"

#include <string_view>
#include <unordered_map>

#include "csa_endian.h"
#include "pdata_diag.h"

namespace
{

constexpr size_t ENTRY_SIZE = 8;

/// Tags by name; of two with one name the first counts.
using tag_index = std::unordered_map<std::string_view, uint32_t>;

uint32_t entry_word(const uint8_t *at, uint32_t network_endian)
{
    const uint32_t word = csa_get_be32(at);
    return network_endian ? word : csa_swap32(word);
}

tag_index make_tag_index(const pdb_tag_source_t &source, uint32_t network_endian)
{
    tag_index tags;
    const std::span<const uint8_t> entries = source.tag_table.entries;
    for (size_t i = 0; i + ENTRY_SIZE <= entries.size(); i += ENTRY_SIZE) {
        const uint8_t *entry = entries.data() + i;
        csa_str_t name;
        // An entry whose name cannot be read equals nothing.
        if (hstring_get_str(source.hstring, entry_word(entry, network_endian), &name) == 0)
            tags.try_emplace(csa_str_up_to_zero(name), entry_word(entry + 4, network_endian));
    }
    return tags;
}

pdata_status_t resolve(const tag_index &tags, csa_str_t name, uint32_t *value)
{
    const auto found = tags.find(csa_str_up_to_zero(name));
    if (found == tags.end())
        return pdata_fail(PDATA_ERR_PROTODESC_TAG, "Rule tag name %.*s not found \n", name.str_len,
                          name.str_buf);
    *value = found->second;
    return PDATA_SUCCESS;
}

/// Emits the number of one tag of a rule.
pdata_status_t put_tag(const ruletag_map_build_t &map, const tag_index &tags,
                       const ruledesc_t &rule, uint32_t index, tlv_sink_t &sink)
{
    csa_str_t name;
    uint32_t value = 0;
    PDATA_TRY(pdata_diag_failed(ruledesc_get_tag(rule, index, map.source.hstring, &name),
                                PDATA_DIAG_RULE_TAG_NAME));
    PDATA_TRY(pdata_diag_failed(resolve(tags, name, &value), PDATA_DIAG_RULE_TAG_VALUE,
                                name.str_len, name.str_buf));
    tlv_sink_put(sink, value, 4);
    return PDATA_SUCCESS;
}

/// Emits where the tag list of each rule begins.
void put_starts(const ruletag_map_build_t &map, tlv_sink_t &sink)
{
    uint32_t start = 0;
    for (const ruledesc_t &rule : map.ruledesc_table) {
        tlv_sink_put(sink, start, 4);
        start += ruledesc_get_tag_nr(rule) + 1;
    }
}

/// Returns the size in bytes of the tag lists.
size_t compute_linearized_tags_tlv_size(const ruletag_map_build_t &map)
{
    size_t words = 0;
    for (const ruledesc_t &rule : map.ruledesc_table)
        words += size_t{ruledesc_get_tag_nr(rule)} + 1;
    return words * 4;
}

/// Emits the tag lists.
pdata_status_t put_tags(const ruletag_map_build_t &map, uint32_t network_endian, tlv_sink_t &sink)
{
    const tag_index tags = make_tag_index(map.source, network_endian);
    for (const ruledesc_t &rule : map.ruledesc_table) {
        const uint32_t nr_tag = ruledesc_get_tag_nr(rule);
        tlv_sink_put(sink, nr_tag, 4);
        for (uint32_t i = 0; i < nr_tag; ++i)
            PDATA_TRY(put_tag(map, tags, rule, i, sink));
    }
    return PDATA_SUCCESS;
}

} // namespace

pdata_status_t pdb_ruletag_map_init(ruletag_map_build_t *map, const pdb_tag_source_t &source,
                                    uint32_t nr_rules)
{
    return pdata_guard([&] {
        map->source = source;
        map->ruledesc_table.assign(nr_rules, {});
        return PDATA_SUCCESS;
    });
}

pdata_status_t pdb_ruletag_map_add_entry(ruletag_map_build_t *map, uint32_t rule_id,
                                         const ruledesc_t &rule)
{
    if (rule_id == 0 || rule_id > map->ruledesc_table.size())
        return PDATA_ERR_INVALID_ARGUMENT;
    map->ruledesc_table[rule_id - 1] = rule;
    return PDATA_SUCCESS;
}

pdata_status_t pdb_ruletag_map_emit(const ruletag_map_build_t &map, uint32_t network_endian,
                                    tlv_sink_t &sink)
{
    tlv_sink_put(sink, static_cast<uint32_t>(map.ruledesc_table.size()), 4);
    put_starts(map, sink);
    if (sink.buf != nullptr)
        return put_tags(map, network_endian, sink);
    (void)tlv_sink_take(sink, compute_linearized_tags_tlv_size(map));
    return PDATA_SUCCESS;
}

size_t pdb_ruletag_map_get_tlv_size(const ruletag_map_build_t &map)
{
    tlv_sink_t sink = tlv_sink_counting();
    (void)pdb_ruletag_map_emit(map, 1, sink); // counting fails nowhere
    return sink.offset;
}

pdata_status_t pdb_ruletag_map_serialize(const ruletag_map_build_t &map, std::span<uint8_t> buf,
                                         uint32_t network_endian)
{
    if (buf.size() != pdb_ruletag_map_get_tlv_size(map))
        return PDATA_ERR_INVALID_ARGUMENT;
    tlv_sink_t sink = tlv_sink_writing(buf);
    return pdb_ruletag_map_emit(map, network_endian, sink);
}

void pdb_ruletag_map_cleanup(ruletag_map_build_t *map)
{
    *map = {};
}

pdata_status_t resolve_rule_tag(const pdb_tag_source_t &source, csa_str_t name, uint32_t *value,
                                uint32_t network_endian)
{
    return resolve(make_tag_index(source, network_endian), name, value);
}
