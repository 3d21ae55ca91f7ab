#include "pdb_list.h"

#include <cstdio>
#include <map>
#include <string>
#include <tuple>

#include "csa_endian.h"
#include "matcher_builder.h"
#include "pattern_tlv.h"
#include "pdb.h"
#include "pdb_attr_properties.h"
#include "pdb_build.h"
#include "pdb_rule_build.h"
#include "tlv_description.h"

namespace
{

using bytes_t = std::span<const uint8_t>;

/// Protocol, attribute and direction of a matcher.
using matcher_name_t = std::tuple<std::string, std::string, uint32_t>;

/// What a pdb's descriptions hold.
struct totals_t {
    uint32_t protocols = 0;
    uint32_t rules = 0;
    uint32_t values = 0;
    std::map<matcher_name_t, uint32_t> values_of; ///< by the matcher that recognises them
};

const char *root_name(uint32_t type)
{
    switch (type) {
    case TLV_TYPE_ROOT_PROTODESCS:
        return "protocol descriptions";
    case TLV_TYPE_ROOT_STRING:
        return "main strings";
    case TLV_TYPE_ROOT_MATCHERS:
        return "matchers";
    case TLV_TYPE_ROOT_RULES:
        return "rules";
    case TLV_TYPE_ROOT_VERSION:
        return "version";
    case TLV_TYPE_ROOT_DEFAULT_LOADED:
        return "no version";
    case TLV_TYPE_ROOT_TAGS:
        return "tag table";
    case TLV_TYPE_ROOT_MATCHER_ALIAS:
        return "matcher aliases";
    case TLV_TYPE_ROOT_CFG:
        return "configuration";
    case TLV_TYPE_ROOT_LOAD:
        return "load state";
    default:
        return "unknown";
    }
}

std::string text_of(csa_str_t str)
{
    return std::string(csa_str_view(str));
}

/// Hands every record packed in `area` to `found`, which returns a status.
template <typename Found>
pdata_status_t for_each_record(bytes_t area, const Found &found)
{
    const auto words = static_cast<uint32_t>(area.size() / 4);
    uint32_t len;
    for (uint32_t at = 0; at < words; at += len) {
        uint32_t type;
        (void)tlv_pop_type_len(area.data(), &at, &type, &len); // never fails
        if (len > words - at)
            return PDATA_ERR_INVALID_PDB;
        const pdata_status_t status = found(type, area.subspan(size_t{at} * 4, size_t{len} * 4));
        if (status != PDATA_SUCCESS)
            return status;
    }
    return PDATA_SUCCESS;
}

pdata_status_t print_parts(bytes_t pdb)
{
    std::printf("parts:\n");
    return for_each_record(pdb, [](uint32_t type, bytes_t value) {
        std::printf("  %2u %-22s %10zu bytes\n", type, root_name(type), value.size() + 4);
        return PDATA_SUCCESS;
    });
}

/// Counts the values of an attribute for the matchers of its directions.
pdata_status_t count_attr(const pdb_pg &pg, csa_str_t protocol, const attrdesc_t &attr,
                          totals_t *totals)
{
    csa_str_t name;
    csa_attr_way_t way;
    pdata_status_t status = attrdesc_get_name(attr, pg.pg_hstring, &name);
    if (status == PDATA_SUCCESS)
        status = attrdesc_get_way(attr, &way);
    if (status != PDATA_SUCCESS)
        return status;
    const uint32_t values = attrdesc_get_value_nr(attr);
    totals->values += values;
    for (const csa_attr_way_t one : {ATTR_WAY_CTS, ATTR_WAY_STC})
        if (way == one || way == ATTR_WAY_BOTH)
            totals->values_of[{text_of(protocol), text_of(name), one}] += values;
    return PDATA_SUCCESS;
}

pdata_status_t count_sub_rule(const pdb_pg &pg, const sub_ruledesc_t &sub_rule, totals_t *totals)
{
    csa_str_t protocol;
    pdata_status_t status = sub_ruledesc_get_protocol(sub_rule, pg.pg_hstring, &protocol);
    for (uint32_t i = 0; i < sub_ruledesc_get_attrdesc_nr(sub_rule) && status == PDATA_SUCCESS;
         ++i) {
        attrdesc_t attr;
        status = sub_ruledesc_get_attrdesc(sub_rule, i, &attr);
        if (status == PDATA_SUCCESS)
            status = count_attr(pg, protocol, attr, totals);
    }
    return status;
}

pdata_status_t count_rule(const pdb_pg &pg, const ruledesc_t &rule, totals_t *totals)
{
    pdata_status_t status = PDATA_SUCCESS;
    ++totals->rules;
    for (uint32_t i = 0; i < ruledesc_get_sub_ruledesc_nr(rule) && status == PDATA_SUCCESS; ++i) {
        sub_ruledesc_t sub_rule;
        status = ruledesc_get_sub_ruledesc(rule, i, &sub_rule);
        if (status == PDATA_SUCCESS)
            status = count_sub_rule(pg, sub_rule, totals);
    }
    return status;
}

pdata_status_t count_protocol(const pdb_pg &pg, uint32_t index, totals_t *totals)
{
    protodesc_t protocol;
    pdata_status_t status = pdb_rule_build_get_proto(pg, index, &protocol);
    if (status != PDATA_SUCCESS)
        return status;
    ++totals->protocols;
    for (uint32_t i = 0; i < protodesc_get_ruledesc_nr(protocol) && status == PDATA_SUCCESS; ++i) {
        ruledesc_t rule;
        status = protodesc_get_ruledesc(protocol, i, &rule);
        if (status == PDATA_SUCCESS)
            status = count_rule(pg, rule, totals);
    }
    return status;
}

pdata_status_t count_group(bytes_t group, totals_t *totals)
{
    pdb_pg pg;
    pdata_status_t status = pdb_builder_get_protocol_offsets(group, &pg);
    for (uint32_t i = 0; i < pg.pg_proto_offset.size() && status == PDATA_SUCCESS; ++i)
        status = count_protocol(pg, i, totals);
    return status;
}

/// Returns the number of strings of a pool.
uint32_t count_strings(bytes_t pool)
{
    uint32_t strings = 0;
    for (size_t at = 0; at + 2 <= pool.size();) {
        const uint16_t len = csa_get_be16(pool.data() + at);
        if (len == 0)
            break;
        ++strings;
        at += (len + 3U) & ~1U;
    }
    return strings;
}

pdata_status_t print_descriptions(bytes_t pdb, totals_t *totals)
{
    bytes_t root;
    bytes_t pool;
    if (tlv_value_search(TLV_TYPE_ROOT_PROTODESCS, pdb, &root) != PDATA_SUCCESS)
        return PDATA_SUCCESS;
    uint32_t strings = 0;
    const pdata_status_t status = for_each_record(root, [&](uint32_t, bytes_t value) {
        if (tlv_value_search(TLV_TYPE_PROTOGROUP_STRING, value, &pool) == PDATA_SUCCESS)
            strings += count_strings(pool);
        return count_group(value, totals);
    });
    bytes_t main;
    if (tlv_value_search(TLV_TYPE_ROOT_STRING, pdb, &main) == PDATA_SUCCESS)
        std::printf("descriptions: %u protocols, %u rules, %u values, %u + %u strings\n",
                    totals->protocols, totals->rules, totals->values, strings, count_strings(main));
    else
        std::printf("descriptions: %u protocols, %u rules, %u values, %u strings\n",
                    totals->protocols, totals->rules, totals->values, strings);
    return status;
}

/// Prints the sizes of the engines of a pattern blob, whose records count bytes.
void print_engines(bytes_t blob)
{
    const struct {
        uint32_t type;
        const char *name;
    } engines[] = {
        {PATTERN_TLV_AHO_CORASICK, "automaton"},  {PATTERN_TLV_AHOFF_CORASICK, "offset automaton"},
        {PATTERN_TLV_PREFIX_TREE, "prefix tree"}, {PATTERN_TLV_SUFFIX_TREE, "suffix tree"},
        {PATTERN_TLV_DOT_PREFIX, "dot prefix"},
    };
    for (size_t at = 0; at + 8 <= blob.size();) {
        const uint32_t type = csa_get_be32(blob.data() + at);
        const uint32_t len = csa_get_be32(blob.data() + at + 4);
        for (const auto &engine : engines)
            if (engine.type == type && len != 0)
                std::printf(", %s %u", engine.name, len);
        if (len > blob.size() - at - 8)
            break;
        at += 8 + len;
    }
}

pdata_status_t print_matcher(bytes_t entry, const hstring_t &names, const totals_t &totals)
{
    bytes_t meta;
    bytes_t data;
    if (tlv_value_search(TLV_TYPE_PDB_MATCHER_META, entry, &meta) != PDATA_SUCCESS ||
        tlv_value_search(TLV_TYPE_PDB_MATCHER_DATA, entry, &data) != PDATA_SUCCESS ||
        meta.size() < 12)
        return PDATA_ERR_INVALID_PDB;
    csa_str_t proto;
    csa_str_t attr;
    const uint32_t way = tlv_get(meta.data() + 8);
    if (hstring_get_str(names, tlv_get(meta.data()), &proto) != 0 ||
        hstring_get_str(names, tlv_get(meta.data() + 4), &attr) != 0)
        return PDATA_ERR_ENGINE;
    const auto values = totals.values_of.find({text_of(proto), text_of(attr), way});
    const std::string name = text_of(proto) + ":" + text_of(attr);
    std::printf("  %-24s %s %5u values, %7zu bytes", name.c_str(), attr_way2str(way),
                values == totals.values_of.end() ? 0 : values->second, data.size());
    bytes_t part;
    if (tlv_value_search(TLV_TYPE_MATCHER_NUMBER, data, &part) == PDATA_SUCCESS)
        std::printf(": numbers %zu", part.size());
    if (tlv_value_search(TLV_TYPE_MATCHER_L2, data, &part) == PDATA_SUCCESS)
        std::printf(": second level %zu", part.size());
    if (tlv_value_search(TLV_TYPE_MATCHER_AC, data, &part) == PDATA_SUCCESS)
        print_engines(part);
    std::printf("\n");
    return PDATA_SUCCESS;
}

pdata_status_t print_matchers(bytes_t section, const totals_t &totals)
{
    bytes_t list;
    bytes_t strings;
    if (tlv_value_search(TLV_TYPE_PDB_MATCHER_LIST, section, &list) != PDATA_SUCCESS ||
        tlv_value_search(TLV_TYPE_PDB_MATCHER_STRING, section, &strings) != PDATA_SUCCESS)
        return PDATA_ERR_INVALID_PDB;
    const hstring_t names = {strings.data(), static_cast<uint32_t>(strings.size())};
    std::printf("matchers:\n");
    return for_each_record(
        list, [&](uint32_t, bytes_t entry) { return print_matcher(entry, names, totals); });
}

pdata_status_t print_rules(bytes_t section)
{
    bytes_t meta;
    bytes_t engine;
    if (tlv_value_search(TLV_TYPE_PDB_RULE_META, section, &meta) != PDATA_SUCCESS ||
        tlv_value_search(TLV_TYPE_PDB_RULE_ENGINE, section, &engine) != PDATA_SUCCESS ||
        meta.size() < 4 || engine.size() < 4)
        return PDATA_ERR_INVALID_PDB;
    std::printf("rules: %u rules, %zu item slots\n", tlv_get(meta.data()),
                (engine.size() - 4) / 16);
    return PDATA_SUCCESS;
}

} // namespace

pdata_status_t pdb_list_print(std::span<const uint8_t> pdb)
{
    totals_t totals;
    bytes_t section;
    pdata_status_t status = print_parts(pdb);
    if (status == PDATA_SUCCESS)
        status = print_descriptions(pdb, &totals);
    if (status == PDATA_SUCCESS &&
        tlv_value_search(TLV_TYPE_ROOT_MATCHERS, pdb, &section) == PDATA_SUCCESS)
        status = print_matchers(section, totals);
    if (status == PDATA_SUCCESS &&
        tlv_value_search(TLV_TYPE_ROOT_RULES, pdb, &section) == PDATA_SUCCESS)
        status = print_rules(section);
    return status;
}
