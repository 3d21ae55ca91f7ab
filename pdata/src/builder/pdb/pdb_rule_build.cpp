#include "pdb_rule_build.h"

#include "hstring_record.h"
#include "pdata_diag.h"
#include "pdb_rule_priority.h"
#include "protodesc_words.h"
#include "view_cursor.h"

namespace
{

/// A rule of the rule table, with what was noted of it.
struct rule_reading_t {
    const pdb_rule_elt &elt;
    std::span<const rule_registration_item_t> items;
    pdb_rule_view_t view;
    pdb_bottoms_t bottoms; ///< of the first sub-rule
    uint32_t priority = 0; ///< with its default
    pdb_protocol_map_names_t names;
};

/// Looks the protocol, the rule and its first sub-rule up.
pdata_status_t read_rule(const pdb_facts_t &facts, rule_reading_t *reading)
{
    const pdb_rule_key_t key = reading->elt.re_key;
    if (key.rk_proto_idx >= facts.protocols.size()) {
        pdata_diag_error(PDATA_DIAG_RULE_PROTOCOL);
        return PDATA_ERR_INVALID_ARGUMENT;
    }
    PDATA_TRY(pdata_diag_failed(
        pdb_facts_get_view(facts, {key.rk_proto_idx, key.rk_rule_idx}, &reading->view),
        PDATA_DIAG_RULE_RULE));
    return pdata_diag_failed(pdb_facts_get_bottoms(reading->view, 0, &reading->bottoms),
                             PDATA_DIAG_RULE_SUB_RULE);
}

/// Reads the names of a sub-rule.
pdata_status_t read_bottoms(const hstring_t &hstring, const pdb_bottoms_t &bottoms,
                            uint32_t srule_idx, pdb_protocol_map_names_t *names)
{
    PDATA_TRY(protodesc_str(bottoms.bottom, hstring, &names->bottom[srule_idx]));
    return protodesc_str(bottoms.real_bottom, hstring, &names->real_bottom[srule_idx]);
}

/// Reads the names of the second sub-rule, if there is one.
pdata_status_t read_second_sub_rule(const hstring_t &hstring, rule_reading_t *reading)
{
    if (ruledesc_get_sub_ruledesc_nr(reading->view.rule) < 2)
        return PDATA_SUCCESS;
    pdb_bottoms_t bottoms;
    PDATA_TRY(pdb_facts_get_bottoms(reading->view, 1, &bottoms));
    return read_bottoms(hstring, bottoms, 1, &reading->names);
}

/// Registers a rule with the rule builder and gives its id.
pdata_status_t register_rule(rule_builder_t *rule_builder, rule_reading_t *reading,
                             uint32_t *rule_id)
{
    const pdb_rule_elt &elt = reading->elt;
    const ruledesc_t &rule = reading->view.rule;
    const uint32_t params = ruledesc_get_rule_params(rule);
    uint32_t flags = params <= RULE_PARAMS_MAX ? params : 0; // oddity O201
    if (ruledesc_get_fastpass(rule) != 0)
        flags |= RULE_FLAG_FASTPASS;
    reading->priority = ruledesc_get_order(rule);
    pdb_rule_set_priority(&reading->priority, elt.re_nr_item, elt.re_sum_attr_len);
    const rule_registration_t registration = {reading->items, reading->priority, flags,
                                              ruledesc_get_scope(rule)};
    return pdata_diag_failed(rule_builder_register(rule_builder, registration, rule_id),
                             PDATA_DIAG_RULE_REGISTER);
}

/// One line of the log of rules. Two columns are not what the header line calls them.
/// Oddity O131.
void log_rule(std::FILE *log, const rule_reading_t &reading, uint32_t proto_id, uint32_t rule_id)
{
    const pdb_protocol_map_names_t &names = reading.names;
    const pdb_rule_elt &elt = reading.elt;
    std::fprintf(log, "%u\t%.*s\t%.*s\t%u\t%u:%u\t%u\t%u\t", proto_id, names.proto_name.str_len,
                 names.proto_name.str_buf, names.bottom[0].str_len, names.bottom[0].str_buf,
                 rule_id, pdb_rule_get_range(reading.priority),
                 pdb_rule_get_order(reading.priority), elt.re_sum_attr_len, elt.re_nr_item);
    for (const rule_registration_item_t &item : reading.items)
        std::fprintf(log, "%u,", item.item);
    std::fprintf(log, "\n");
}

/// Turns a rule of the rule table into an engine entry and a row of each map.
pdata_status_t build_rule(pdb_build_t *pdb_build, const pdb_rule_elt &elt)
{
    const pdb_facts_t &facts = pdb_build->pdb_build_facts;
    rule_reading_t reading = {
        elt, pdb_rule_tab_get_items(pdb_build->pdb_build_rule_tab, elt), {}, {}, 0, {}};
    uint32_t rule_id = 0;
    PDATA_TRY(read_rule(facts, &reading));
    PDATA_TRY(register_rule(&pdb_build->pdb_build_rule_builder, &reading, &rule_id));
    const pdb_protocol_facts_t &protocol = facts.protocols[elt.re_key.rk_proto_idx];
    reading.names.proto_name = protocol.name;
    PDATA_TRY(read_bottoms(facts.hstring, reading.bottoms, 0, &reading.names));
    if (pdb_build->pdb_build_rule_fd != nullptr)
        log_rule(pdb_build->pdb_build_rule_fd, reading, protodesc_get_id(protocol.protocol),
                 rule_id);
    PDATA_TRY(read_second_sub_rule(facts.hstring, &reading));
    const ruledesc_t &rule = reading.view.rule;
    PDATA_TRY(pdb_protocol_map_add(&pdb_build->pdb_build_proto_map, rule_id, reading.names, rule,
                                   facts.hstring));
    return pdb_ruletag_map_add_entry(&pdb_build->pdb_build_ruletag_map, rule_id, rule);
}

/// Emits a record whose value `emit` does. A value that no record can state is found out here
/// while the section is counted, whatever its parts say.
template <typename Emit>
pdata_status_t put_part(tlv_sink_t &sink, uint32_t type, const Emit &emit)
{
    const size_t header = tlv_open_record(sink);
    const pdata_status_t status = emit();
    if (status != PDATA_SUCCESS && sink.buf != nullptr)
        return status;
    return tlv_close_record(sink, header, type);
}

/// Emits the number of rules and the protocol map.
pdata_status_t put_protocol_map(const protocol_build_map_t &map, tlv_sink_t &sink)
{
    const size_t meta = tlv_open_record(sink);
    tlv_sink_put(sink, map.map_nr_rule, 4);
    tlv_close_short_record(sink, meta, TLV_TYPE_PDB_RULE_META);
    return put_part(sink, TLV_TYPE_PDB_RULE_PROTOCOL_MAP, [&] {
        pdb_protocol_map_emit(map, sink);
        return PDATA_SUCCESS;
    });
}

/// Emits the whole section.
pdata_status_t pdb_rule_build_emit(const pdb_build_t &pdb_build, uint32_t network_endian,
                                   tlv_sink_t &sink)
{
    const protocol_build_map_t &map = pdb_build.pdb_build_proto_map;
    const size_t root = tlv_open_record(sink);
    PDATA_TRY(put_protocol_map(map, sink));
    PDATA_TRY(put_part(sink, TLV_TYPE_PDB_RULE_TAG_MAP, [&] {
        return pdb_ruletag_map_emit(pdb_build.pdb_build_ruletag_map, network_endian, sink);
    }));
    PDATA_TRY(pdata_diag_failed(
        put_part(sink, TLV_TYPE_PDB_RULE_ENGINE,
                 [&] { return rule_builder_emit(pdb_build.pdb_build_rule_builder, sink); }),
        PDATA_DIAG_RULE_ENTRIES));
    PDATA_TRY(pdata_diag_failed(hstring_emit(map.map_hstring, TLV_TYPE_PDB_RULE_STRING, sink),
                                PDATA_DIAG_RULE_STRINGS));
    return tlv_close_record(sink, root, TLV_TYPE_ROOT_RULES);
}

/// Gives the size in bytes of the section.
pdata_status_t pdb_rule_build_get_size(const pdb_build_t &pdb_build, uint32_t network_endian,
                                       size_t *size)
{
    tlv_sink_t sink = tlv_sink_counting();
    PDATA_TRY(pdb_rule_build_emit(pdb_build, network_endian, sink));
    *size = sink.offset;
    return PDATA_SUCCESS;
}

/// Allocates the section and writes it.
pdata_status_t pdb_rule_build_serialize(pdb_build_t *pdb_build, uint32_t network_endian)
{
    size_t size = 0;
    PDATA_TRY(pdb_rule_build_get_size(*pdb_build, network_endian, &size));
    csa_buf_t &rules = pdb_build->pdb_build_tlv.rules_tlv;
    if (!csa_buf_alloc(rules, size))
        return PDATA_ERR_NO_MEMORY;
    tlv_sink_t sink = tlv_sink_writing(rules);
    return pdb_rule_build_emit(*pdb_build, network_endian, sink);
}

/// Refuses a protocol that claims more words than there are and lacks its meta or its rules.
pdata_status_t check_cut_protocol(const protodesc_t &protocol, const view_record_t &record)
{
    view_record_t meta;
    const bool has_rules = protocol.proto_nr_rules == 0 || protocol.proto_rules != nullptr;
    if (has_rules && view_find(record.value, TLV_TYPE_PROTO_META, meta))
        return PDATA_SUCCESS;
    return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                      "too small buffer for deserialization: %u + %u > %u\n", record.length, 1,
                      static_cast<uint32_t>(record.value.size / 4) + 1);
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
    PDATA_TRY(pdb_protocol_map_init(&pdb_build->pdb_build_proto_map, nr_rule, config.rule_max_path,
                                    config.rule_max_subrules));
    PDATA_TRY(pdb_ruletag_map_init(&pdb_build->pdb_build_ruletag_map, pdb_protodesc.tags, nr_rule));
    pdb_rule_tab_t &table = pdb_build->pdb_build_rule_tab;
    pdb_rule_tab_finalize(&table);
    for (const std::vector<uint32_t> &chain : table.rt_tab)
        // The newest rule of a chain comes first.
        for (auto position = chain.rbegin(); position != chain.rend(); ++position)
            PDATA_TRY(build_rule(pdb_build, table.rt_elts[*position]));
    return PDATA_SUCCESS;
}

pdata_status_t pdb_rule_serialize(pdb_build_t *pdb_build, uint32_t network_endian)
{
    const pdata_status_t status = pdata_diag_failed(
        pdb_rule_build_serialize(pdb_build, network_endian), PDATA_DIAG_RULE_SERIALIZE);
    pdb_protocol_map_clean(&pdb_build->pdb_build_proto_map);
    pdb_ruletag_map_cleanup(&pdb_build->pdb_build_ruletag_map);
    rule_builder_clean(&pdb_build->pdb_build_rule_builder);
    return status;
}

pdata_status_t pdb_rule_build_get_proto(const pdb_pg &pg, uint32_t proto_idx,
                                        protodesc_t *protodesc)
{
    if (proto_idx >= pg.pg_proto_offset.size())
        return PDATA_ERR_INVALID_ARGUMENT;
    view_cursor_t at_header =
        view_walk(view_file(pg.pg_proto_list.subspan(size_t{pg.pg_proto_offset[proto_idx]} * 4)));
    view_record_t record;
    const bool whole = view_next(at_header, record);
    if (!whole && at_header.end != VIEW_WALK_OVERLONG)
        return PDATA_ERR_INVALID_ARGUMENT;
    PDATA_TRY(protodesc_deserialize(protodesc, view_bytes(record.value)));
    return whole ? PDATA_SUCCESS : check_cut_protocol(*protodesc, record);
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
