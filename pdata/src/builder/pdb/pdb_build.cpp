#include "pdb_build.h"

#include "pdata_diag.h"
#include "pdb_matcher_build.h"
#include "pdb_rule_build.h"
#include "pdb_version.h"
#include "protodesc_tlv.h"
#include "tlv_description.h"

namespace
{

/// What the steps of a build share.
struct build_run_t {
    pdb_context_t *context;
    const csa_dump_t &dump;
    pdata_sig_export_t *sig_export; ///< may be null
    uint32_t network_endian;
    pdb_protodesc protodesc;
};

/// Walks records one after another and hands `found` the type, the word offset of the header and
/// the value of each, until one is longer than what is left or `found` fails.
template <typename Found>
pdata_status_t walk_records(std::span<const uint8_t> records, const Found &found)
{
    const auto words = static_cast<uint32_t>(records.size() / 4);
    uint32_t len;
    for (uint32_t at = 0; at < words; at += len) {
        uint32_t type;
        const uint32_t header = at;
        (void)tlv_pop_type_len(records.data(), &at, &type, &len); // never fails
        if (len > words - at)
            break;
        const pdata_status_t status =
            found(type, header, records.subspan(size_t{at} * 4, size_t{len} * 4));
        if (status != PDATA_SUCCESS)
            return status;
    }
    return PDATA_SUCCESS;
}

/// Reads and files a group. Only the last one stays for the passes that follow; a pdb holds one.
pdata_status_t register_group(build_run_t *run, std::span<const uint8_t> group)
{
    pdata_status_t status = pdb_builder_get_protocol_offsets(group, &run->protodesc.pg);
    if (status != PDATA_SUCCESS) {
        pdata_diag_error(PDATA_DIAG_PROTOCOL_OFFSETS);
        return status;
    }
    status = pdb_builder_matcher_register(&run->context->pdb_build, run->protodesc.pg);
    if (status != PDATA_SUCCESS)
        pdata_diag_error(PDATA_DIAG_MATCHER_FILING);
    return status;
}

/// Reads and files the groups of the protocol descriptions.
pdata_status_t register_groups(build_run_t *run, std::span<const uint8_t> root)
{
    return walk_records(root, [&](uint32_t type, uint32_t header, std::span<const uint8_t> value) {
        if (type == TLV_TYPE_PROTOGROUP)
            return register_group(run, value);
        pdata_diag_error(PDATA_DIAG_NO_GROUP, type, header);
        return PDATA_SUCCESS;
    });
}

/// Reads the tag table and the main strings.
pdata_status_t load_tags_and_strings(build_run_t *run)
{
    pdb_tag_source_t &tags = run->protodesc.tags;
    if (pdb_builder_load_type(PDB_TYPE_TAGS, TLV_TYPE_ROOT_TAGS, *run->context, nullptr,
                              &tags.tag_table.entries) != PDATA_SUCCESS)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "PDM (tags) is mandatory when you try to compile graph/rules");
    std::span<const uint8_t> strings;
    const pdata_status_t status = pdb_builder_load_type(PDB_TYPE_MAIN_HSTRING, TLV_TYPE_ROOT_STRING,
                                                        *run->context, nullptr, &strings);
    if (status != PDATA_SUCCESS)
        return status;
    const int ret =
        hstring_deserialize(&tags.hstring, strings.data(), static_cast<uint32_t>(strings.size()));
    if (ret != 0)
        pdata_diag_error(PDATA_DIAG_MAIN_STRINGS);
    return module_err2pdata_status(PDATA_MODULE_HSTRING, ret);
}

/// Builds and serializes matchers and rules from the filed values.
pdata_status_t build_sections(build_run_t *run)
{
    pdb_build_t *pdb_build = &run->context->pdb_build;
    pdata_status_t status =
        pdb_matcher_build(pdb_build, run->protodesc.pg, run->dump, run->sig_export);
    if (status != PDATA_SUCCESS) {
        pdata_diag_error(PDATA_DIAG_MATCHERS);
        return status;
    }
    // Each table is as large as the descriptions; it goes as soon as the next form is there.
    pdb_matcher_tab_clean(&pdb_build->pdb_build_matcher_tab);
    status = pdb_rule_build(pdb_build, run->protodesc);
    if (status != PDATA_SUCCESS) {
        pdata_diag_error(PDATA_DIAG_RULES);
        return status;
    }
    pdb_rule_tab_clean(&pdb_build->pdb_build_rule_tab);
    status = pdb_rule_serialize(pdb_build, run->network_endian);
    if (status != PDATA_SUCCESS)
        pdata_diag_error(PDATA_DIAG_RULE_SECTION);
    return status;
}

/// The build of a pdb that has protocol descriptions.
pdata_status_t serialize_protocols(build_run_t *run, std::span<const uint8_t> root)
{
    pdata_status_t status = register_groups(run, root);
    if (status == PDATA_SUCCESS)
        status = load_tags_and_strings(run);
    if (status == PDATA_SUCCESS)
        status = build_sections(run);
    return status;
}

/// One protocol and one rule of it, while its values are filed.
struct filing_t {
    pdb_build_t *pdb_build;
    const pdb_pg &pg;
    item_idx_t idx;
};

/// The minimum data under which a value is filed.
uint32_t mindata_of(const sub_ruledesc_t &sub_rule, uint32_t way)
{
    constexpr uint32_t no_minimum = 65536;
    const uint32_t mindata = sub_ruledesc_get_mindata(sub_rule, way);
    return mindata == no_minimum ? 0 : mindata;
}

/// Files the values of an attribute.
pdata_status_t file_attr(const filing_t &filing, const sub_ruledesc_t &sub_rule, uint32_t srule_id,
                         csa_str_t protocol, const attrdesc_t &attr)
{
    matcher_key_t key = {protocol, {}, ATTR_WAY_UNKNOWN};
    csa_attr_way_t way;
    pdata_status_t status = attrdesc_get_name(attr, filing.pg.pg_hstring, &key.key_attr);
    if (status == PDATA_SUCCESS)
        status = attrdesc_get_way(attr, &way);
    if (status != PDATA_SUCCESS)
        return status;
    key.key_way = way;
    const uint64_t cost = MATCHER_BUDGET_COST + key.key_proto.str_len + key.key_attr.str_len;
    for (uint32_t i = 0; i < attrdesc_get_value_nr(attr); ++i) {
        status = matcher_budget_take(&filing.pdb_build->pdb_build_budget, cost);
        if (status != PDATA_SUCCESS)
            return status;
        pdb_matcher_value_t value = {filing.idx,
                                     {},
                                     mindata_of(sub_rule, way),
                                     srule_id,
                                     attrdesc_get_pattern_offset(attr, i)};
        status = attrdesc_get_value(attr, i, filing.pg.pg_hstring, &value.val);
        if (status != PDATA_SUCCESS)
            return status;
        status = pdb_matcher_register(filing.pdb_build, key, value);
        if (status != PDATA_SUCCESS) {
            pdata_diag_error(PDATA_DIAG_VALUE_FILING);
            return status;
        }
    }
    return PDATA_SUCCESS;
}

/// Files the values of a sub-rule. They belong to the matchers of its bottom protocol, the layer
/// that carries the attribute.
pdata_status_t pdb_builder_matcher_subrule(const filing_t &filing, const sub_ruledesc_t &sub_rule,
                                           uint32_t srule_id)
{
    csa_str_t protocol;
    pdata_status_t status = sub_ruledesc_get_protocol(sub_rule, filing.pg.pg_hstring, &protocol);
    for (uint32_t i = 0; i < sub_ruledesc_get_attrdesc_nr(sub_rule) && status == PDATA_SUCCESS;
         ++i) {
        attrdesc_t attr;
        status = sub_ruledesc_get_attrdesc(sub_rule, i, &attr);
        if (status == PDATA_SUCCESS)
            status = file_attr(filing, sub_rule, srule_id, protocol, attr);
    }
    return status;
}

pdata_status_t pdb_builder_matcher_rule(const filing_t &filing, const ruledesc_t &rule)
{
    pdata_status_t status = PDATA_SUCCESS;
    for (uint32_t i = 0; i < ruledesc_get_sub_ruledesc_nr(rule) && status == PDATA_SUCCESS; ++i) {
        sub_ruledesc_t sub_rule;
        status = ruledesc_get_sub_ruledesc(rule, i, &sub_rule);
        if (status == PDATA_SUCCESS)
            status = pdb_builder_matcher_subrule(filing, sub_rule, i);
    }
    return status;
}

pdata_status_t pdb_builder_matcher_protocol_rules(filing_t filing, const protodesc_t &protocol)
{
    pdata_status_t status = PDATA_SUCCESS;
    for (uint32_t i = 0; i < protodesc_get_ruledesc_nr(protocol) && status == PDATA_SUCCESS; ++i) {
        ruledesc_t rule;
        filing.idx.item_rule_idx = i;
        status = protodesc_get_ruledesc(protocol, i, &rule);
        if (status == PDATA_SUCCESS)
            status = pdb_builder_matcher_rule(filing, rule);
    }
    return status;
}

/// Hands the word offset of each protocol of a list to `found`.
template <typename Found>
void walk_protocols(std::span<const uint8_t> list, const Found &found)
{
    const auto look_at = [&](uint32_t type, uint32_t header, std::span<const uint8_t>) {
        if (type == TLV_TYPE_PROTO)
            found(header);
        else
            pdata_diag_error(PDATA_DIAG_NO_PROTOCOL_RECORD, type);
        return PDATA_SUCCESS;
    };
    (void)walk_records(list, look_at); // never fails
}

} // namespace

pdata_status_t pdb_builder_init(pdb_context_t *context, const pdb_params_t *params)
{
    *context = {};
    if (params == nullptr)
        return PDATA_ERR_INVALID_ARGUMENT;
    context->config = {params->matcher_interface_max_perm, params->matcher_interface_max_regexp,
                       params->rule_max_attr, params->rule_max_subrules, params->rule_max_path};
    return pdb_init(&context->pdb_build, &context->config);
}

void pdb_builder_set_log_fd(pdb_context_t *context, std::FILE *pattern_fd, std::FILE *rule_fd)
{
    context->pdb_build.pdb_build_pattern_fd = pattern_fd;
    context->pdb_build.pdb_build_rule_fd = rule_fd;
    if (pattern_fd != nullptr)
        std::fprintf(pattern_fd, "%-30s\t%s\t%s\t%s\t%s\t%s\n", "matcher_name", "item_id", "ns_id",
                     "proto_id", "rule_idx", "pattern");
    if (rule_fd != nullptr)
        std::fprintf(rule_fd, "proto\tproto-name\tbottom\trule-id\trule-prio\trule-idx\titem-nr\t"
                              "item-ids\t");
}

void pdb_builder_load(pdb_context_t *context, std::span<const uint8_t> proto_pdb)
{
    context->proto_pdb = proto_pdb;
}

pdata_status_t pdb_builder_load_type(pdb_type_t pdb_type, uint32_t tlv_type,
                                     const pdb_context_t &context, std::span<const uint8_t> *part,
                                     std::span<const uint8_t> *tlv)
{
    *tlv = {};
    const pdb_t *header = pdata_pdb_type_find(context.pdb, pdb_type);
    if (header == nullptr)
        return PDATA_ERR_INVALID_ARGUMENT;
    const std::span<const uint8_t> bytes = pdb_header_bytes(*header);
    if (part != nullptr)
        *part = bytes;
    if (header->pdb_tlv == nullptr)
        return PDATA_SUCCESS;
    return tlv_value_search(tlv_type, bytes, tlv);
}

pdata_status_t pdb_builder_serialize(pdb_context_t *context, const csa_dump_t &dump,
                                     pdata_sig_export_t *sig_export, uint32_t network_endian)
{
    std::span<const uint8_t> proto_pdb;
    std::span<const uint8_t> root;
    const pdata_status_t loaded = pdb_builder_load_type(
        PDB_TYPE_PROTOCOL_DESCRIPTION, TLV_TYPE_ROOT_PROTODESCS, *context, &proto_pdb, &root);
    pdb_builder_load(context, proto_pdb);
    const bool empty = proto_pdb.empty();
    pdata_status_t status = pdb_version_serialize(&context->pdb_build.pdb_build_tlv.protodesc_tlv,
                                                  pdata_pdb_version_get(), empty);
    if (status == PDATA_SUCCESS && !empty) {
        build_run_t run = {context, dump, sig_export, network_endian, {}};
        status = loaded;
        if (loaded != PDATA_SUCCESS)
            pdata_diag_error(PDATA_DIAG_NO_ROOT);
        else
            status = serialize_protocols(&run, root);
    }
    pdb_clean(&context->pdb_build);
    return status;
}

pdata_status_t pdb_builder_get_protocol_offsets(std::span<const uint8_t> group, pdb_pg *pg)
{
    *pg = {};
    std::span<const uint8_t> strings;
    pdata_status_t status = tlv_value_search(TLV_TYPE_PROTOGROUP_STRING, group, &strings);
    if (status != PDATA_SUCCESS) {
        pdata_diag_error(PDATA_DIAG_NO_GROUP_STRINGS);
        return status;
    }
    pg->pg_hstring = {strings.data(), static_cast<uint32_t>(strings.size())};
    status = tlv_value_search(TLV_TYPE_PROTOGROUP_PROTOS, group, &pg->pg_proto_list);
    if (status != PDATA_SUCCESS)
        return status;
    size_t nr_proto = 0;
    walk_protocols(pg->pg_proto_list, [&](uint32_t) { ++nr_proto; });
    pg->pg_proto_offset.reserve(nr_proto);
    walk_protocols(pg->pg_proto_list,
                   [&](uint32_t offset) { pg->pg_proto_offset.push_back(offset); });
    return PDATA_SUCCESS;
}

pdata_status_t pdb_builder_matcher_register(pdb_build_t *pdb_build, pdb_pg &pg)
{
    const auto nr_proto = static_cast<uint32_t>(pg.pg_proto_offset.size());
    pg.pg_protocols.reserve(nr_proto);
    pdb_build->pdb_build_budget.limit +=
        MATCHER_BUDGET_PER_BYTE * (uint64_t{pg.pg_hstring.hs_len} + pg.pg_proto_list.size());
    for (uint32_t i = 0; i < nr_proto; ++i) {
        protodesc_t protocol;
        csa_str_t name;
        pdata_status_t status = pdb_rule_build_get_proto(pg, i, &protocol);
        if (status == PDATA_SUCCESS)
            status = protodesc_get_name(protocol, pg.pg_hstring, &name);
        if (status == PDATA_SUCCESS)
            status = pdata_sig_export_mapping_add(i, protodesc_get_id(protocol), name);
        if (status != PDATA_SUCCESS)
            return status;
        pg.pg_protocols.push_back(protocol);
        // The status of the rules is not looked at, but for the budget. Part of the format.
        (void)pdb_builder_matcher_protocol_rules({pdb_build, pg, {i, 0}}, protocol);
        if (pdb_build->pdb_build_budget.exceeded)
            return PDATA_ERR_OVERFLOW;
    }
    return PDATA_SUCCESS;
}

void pdb_builder_clean(pdb_context_t *context)
{
    context->proto_pdb = {};
    context->pdb_build.pdb_build_tlv = {};
}
