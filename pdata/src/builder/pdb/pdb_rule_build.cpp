#include "pdb_rule_build.h"

#include "pdata_diag.h"
#include "pdb_rule_priority.h"
#include "protodesc_tlv.h"
#include "tlv_description.h"

namespace
{

/// A rule of the rule table, read back from its description.
struct rule_reading_t {
    const pdb_rule_elt &elt;
    protodesc_t protocol;
    ruledesc_t rule;
    sub_ruledesc_t sub_rules[2];
    uint32_t nr_sub_rule = 0; ///< read: 1 or 2
    uint32_t priority = 0;    ///< with its default
    pdb_protocol_map_names_t names;
};

/// Reads the protocol, the rule and its first sub-rule.
pdata_status_t read_rule(const pdb_pg &pg, rule_reading_t *reading)
{
    const pdb_rule_key_t key = reading->elt.re_key;
    pdata_status_t status = pdb_rule_build_get_proto(pg, key.rk_proto_idx, &reading->protocol);
    if (status != PDATA_SUCCESS) {
        pdata_diag_error(PDATA_DIAG_RULE_PROTOCOL);
        return status;
    }
    status = pdb_rule_build_get_rule(reading->protocol, key.rk_rule_idx, &reading->rule);
    if (status != PDATA_SUCCESS) {
        pdata_diag_error(PDATA_DIAG_RULE_RULE);
        return status;
    }
    status = pdb_rule_build_get_sub_rule(reading->rule, 0, &reading->sub_rules[0]);
    if (status != PDATA_SUCCESS)
        pdata_diag_error(PDATA_DIAG_RULE_SUB_RULE);
    reading->nr_sub_rule = 1;
    return status;
}

/// Reads the names of a sub-rule.
pdata_status_t read_bottoms(const pdb_pg &pg, rule_reading_t *reading, uint32_t sub_rule)
{
    pdata_status_t status = sub_ruledesc_get_protocol(reading->sub_rules[sub_rule], pg.pg_hstring,
                                                      &reading->names.bottom[sub_rule]);
    if (status == PDATA_SUCCESS)
        status = sub_ruledesc_get_bottom_protocol(reading->sub_rules[sub_rule], pg.pg_hstring,
                                                  &reading->names.real_bottom[sub_rule]);
    return status;
}

/// Reads the name of the protocol and those of the first sub-rule.
pdata_status_t read_names(const pdb_pg &pg, rule_reading_t *reading)
{
    const pdata_status_t status =
        protodesc_get_name(reading->protocol, pg.pg_hstring, &reading->names.proto_name);
    return status == PDATA_SUCCESS ? read_bottoms(pg, reading, 0) : status;
}

/// Reads the names of the second sub-rule, if there is one.
pdata_status_t read_second_sub_rule(const pdb_pg &pg, rule_reading_t *reading)
{
    if (ruledesc_get_sub_ruledesc_nr(reading->rule) < 2)
        return PDATA_SUCCESS;
    const pdata_status_t status =
        pdb_rule_build_get_sub_rule(reading->rule, 1, &reading->sub_rules[1]);
    return status == PDATA_SUCCESS ? read_bottoms(pg, reading, 1) : status;
}

/// Registers a rule with the rule builder and gives its id.
pdata_status_t register_rule(rule_builder_t *rule_builder, rule_reading_t *reading,
                             uint32_t *rule_id)
{
    const pdb_rule_elt &elt = reading->elt;
    const ruledesc_t &rule = reading->rule;
    const uint32_t params = ruledesc_get_rule_params(rule);
    uint32_t flags = params <= RULE_PARAMS_MAX ? params : 0;
    if (ruledesc_get_fastpass(rule) != 0)
        flags |= RULE_FLAG_FASTPASS;
    reading->priority = ruledesc_get_order(rule);
    pdb_rule_set_priority(&reading->priority, static_cast<uint32_t>(elt.re_item.size()),
                          elt.re_sum_attr_len);
    const rule_registration_t registration = {elt.re_item,  elt.re_matcher_id,
                                              elt.srule_id, reading->priority,
                                              flags,        ruledesc_get_scope(rule)};
    const pdata_status_t status = rule_builder_register(rule_builder, registration, rule_id);
    if (status != PDATA_SUCCESS)
        pdata_diag_error(PDATA_DIAG_RULE_REGISTER);
    return status;
}

/// One line of the log of rules. Two columns are not what the header line calls them. Part of the
/// format.
void log_rule(std::FILE *log, const rule_reading_t &reading, uint32_t rule_id)
{
    const pdb_protocol_map_names_t &names = reading.names;
    const pdb_rule_elt &elt = reading.elt;
    std::fprintf(log, "%u\t%.*s\t%.*s\t%u\t%u:%u\t%u\t%u\t", protodesc_get_id(reading.protocol),
                 names.proto_name.str_len, names.proto_name.str_buf, names.bottom[0].str_len,
                 names.bottom[0].str_buf, rule_id, pdb_rule_get_range(reading.priority),
                 pdb_rule_get_order(reading.priority), elt.re_sum_attr_len,
                 static_cast<unsigned>(elt.re_item.size()));
    for (const uint32_t item : elt.re_item)
        std::fprintf(log, "%u,", item);
    std::fprintf(log, "\n");
}

/// Turns a rule of the rule table into an engine entry and a row of each map.
pdata_status_t build_rule(pdb_build_t *pdb_build, const pdb_pg &pg, const pdb_rule_elt &elt)
{
    rule_reading_t reading = {elt, {}, {}, {}, 0, 0, {}};
    uint32_t rule_id = 0;
    pdata_status_t status = read_rule(pg, &reading);
    if (status == PDATA_SUCCESS)
        status = register_rule(&pdb_build->pdb_build_rule_builder, &reading, &rule_id);
    if (status == PDATA_SUCCESS)
        status = read_names(pg, &reading);
    if (status != PDATA_SUCCESS)
        return status;
    if (pdb_build->pdb_build_rule_fd != nullptr)
        log_rule(pdb_build->pdb_build_rule_fd, reading, rule_id);
    status = read_second_sub_rule(pg, &reading);
    if (status == PDATA_SUCCESS)
        status = pdb_protocol_map_add(&pdb_build->pdb_build_proto_map, rule_id, reading.names,
                                      reading.rule, pg.pg_hstring);
    if (status == PDATA_SUCCESS)
        status =
            pdb_ruletag_map_add_entry(&pdb_build->pdb_build_ruletag_map, rule_id, reading.rule);
    return status;
}

/// Emits a record whose value one of the parts writes itself.
template <typename Writer>
pdata_status_t put_part(tlv_sink_t &sink, uint32_t type, size_t size, const Writer &write)
{
    const size_t header = tlv_open_record(sink);
    uint8_t *at = tlv_sink_take(sink, size);
    if (at != nullptr)
        if (const pdata_status_t status = write(std::span<uint8_t>(at, size));
            status != PDATA_SUCCESS)
            return status;
    return tlv_close_record(sink, header, type);
}

pdata_status_t put_protocol_map(tlv_sink_t &sink, const protocol_build_map_t &map)
{
    size_t header = tlv_open_record(sink);
    tlv_sink_put(sink, map.map_nr_rule, 4);
    const pdata_status_t status = tlv_close_record(sink, header, TLV_TYPE_PDB_RULE_META);
    if (status != PDATA_SUCCESS)
        return status;
    header = tlv_open_record(sink);
    pdb_protocol_map_serialize(map, sink);
    return tlv_close_record(sink, header, TLV_TYPE_PDB_RULE_PROTOCOL_MAP);
}

/// Emits the whole section.
pdata_status_t emit_rules(const pdb_build_t &pdb_build, tlv_sink_t &sink, uint32_t network_endian)
{
    const protocol_build_map_t &map = pdb_build.pdb_build_proto_map;
    const ruletag_map_build_t &tag_map = pdb_build.pdb_build_ruletag_map;
    const rule_builder_t &rule_builder = pdb_build.pdb_build_rule_builder;
    const size_t root = tlv_open_record(sink);
    pdata_status_t status = put_protocol_map(sink, map);
    if (status == PDATA_SUCCESS)
        status = put_part(sink, TLV_TYPE_PDB_RULE_TAG_MAP, pdb_ruletag_map_get_tlv_size(tag_map),
                          [&](std::span<uint8_t> buf) {
                              return pdb_ruletag_map_serialize(tag_map, buf, network_endian);
                          });
    if (status != PDATA_SUCCESS)
        return status;
    status =
        put_part(sink, TLV_TYPE_PDB_RULE_ENGINE, rule_builder_get_size(rule_builder),
                 [&](std::span<uint8_t> buf) { return rule_builder_serialize(rule_builder, buf); });
    if (status != PDATA_SUCCESS) {
        pdata_diag_error(PDATA_DIAG_RULE_ENTRIES);
        return status;
    }
    status = put_part(sink, TLV_TYPE_PDB_RULE_STRING, hstring_get_size(map.map_hstring),
                      [&](std::span<uint8_t> buf) {
                          return module_err2pdata_status(PDATA_MODULE_HSTRING,
                                                         hstring_serialize(map.map_hstring, buf));
                      });
    if (status != PDATA_SUCCESS) {
        pdata_diag_error(PDATA_DIAG_RULE_STRINGS);
        return status;
    }
    return tlv_close_record(sink, root, TLV_TYPE_ROOT_RULES);
}

/// Allocates the section and writes it.
pdata_status_t pdb_rule_build_serialize(pdb_build_t *pdb_build, uint32_t network_endian)
{
    tlv_sink_t counting = tlv_sink_counting();
    const pdata_status_t status = emit_rules(*pdb_build, counting, network_endian);
    if (status != PDATA_SUCCESS)
        return status;
    csa_buf_t &rules = pdb_build->pdb_build_tlv.rules_tlv;
    if (!csa_buf_alloc(rules, counting.offset))
        return PDATA_ERR_NO_MEMORY;
    tlv_sink_t writing = tlv_sink_writing(rules);
    return emit_rules(*pdb_build, writing, network_endian);
}

} // namespace

void pdb_rule_set_priority(uint32_t *rule_prio, uint32_t nr_item, uint32_t sum_attr_len)
{
    if (pdb_rule_get_order(*rule_prio) == 0)
        *rule_prio |= PDB_RULE_ORDER_MAX - (nr_item * PDB_RULE_ITEM_WEIGHT + sum_attr_len);
}

pdata_status_t pdb_rule_build(pdb_build_t *pdb_build, const pdb_protodesc &pdb_protodesc)
{
    const pdb_config_t &config = *pdb_build->pdb_build_config;
    const uint32_t nr_rule = pdb_build->pdb_build_nr_rule;
    rule_builder_init(&pdb_build->pdb_build_rule_builder);
    pdata_status_t status = pdb_protocol_map_init(&pdb_build->pdb_build_proto_map, nr_rule,
                                                  config.rule_max_path, config.rule_max_subrules);
    if (status == PDATA_SUCCESS)
        status =
            pdb_ruletag_map_init(&pdb_build->pdb_build_ruletag_map, pdb_protodesc.tags, nr_rule);
    if (status != PDATA_SUCCESS)
        return status;
    const pdb_rule_tab_t &table = pdb_build->pdb_build_rule_tab;
    for (const std::vector<uint32_t> &chain : table.rt_tab) {
        // The newest rule of a chain comes first.
        for (auto position = chain.rbegin(); position != chain.rend(); ++position) {
            status = build_rule(pdb_build, pdb_protodesc.pg, table.rt_elts[*position]);
            if (status != PDATA_SUCCESS)
                return status;
        }
    }
    return PDATA_SUCCESS;
}

pdata_status_t pdb_rule_serialize(pdb_build_t *pdb_build, uint32_t network_endian)
{
    const pdata_status_t status = pdb_rule_build_serialize(pdb_build, network_endian);
    if (status != PDATA_SUCCESS)
        pdata_diag_error(PDATA_DIAG_RULE_SERIALIZE);
    pdb_protocol_map_clean(&pdb_build->pdb_build_proto_map);
    pdb_ruletag_map_cleanup(&pdb_build->pdb_build_ruletag_map);
    rule_builder_clean(&pdb_build->pdb_build_rule_builder);
    return status;
}

pdata_status_t pdb_rule_build_get_proto(const pdb_pg &pg, uint32_t proto_idx,
                                        protodesc_t *protodesc)
{
    if (proto_idx < pg.pg_protocols.size()) {
        *protodesc = pg.pg_protocols[proto_idx];
        return PDATA_SUCCESS;
    }
    if (proto_idx >= pg.pg_proto_offset.size())
        return PDATA_ERR_INVALID_ARGUMENT;
    uint32_t offset = pg.pg_proto_offset[proto_idx];
    uint32_t type;
    uint32_t len;
    (void)tlv_pop_type_len(pg.pg_proto_list.data(), &offset, &type, &len); // never fails
    return protodesc_deserialize(protodesc,
                                 pg.pg_proto_list.subspan(size_t{offset} * 4, size_t{len} * 4));
}

pdata_status_t pdb_rule_build_get_rule(const protodesc_t &protodesc, uint32_t rule_idx,
                                       ruledesc_t *rule)
{
    return protodesc_get_ruledesc(protodesc, rule_idx, rule);
}

pdata_status_t pdb_rule_build_get_sub_rule(const ruledesc_t &rule, uint32_t srule_idx,
                                           sub_ruledesc_t *sub_rule)
{
    return ruledesc_get_sub_ruledesc(rule, srule_idx, sub_rule);
}
