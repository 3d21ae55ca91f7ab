#include "pdb_build.h"

#include <algorithm>

#include "pdata_diag.h"
#include "pdb_matcher_build.h"
#include "pdb_rule_build.h"
#include "pdb_version.h"
#include "protodesc_tlv.h"
#include "tlv_description.h"
#include "view_cursor.h"

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

/// Takes the next record of a level. One that claims more than its parent holds is taken as well,
/// cut at the end of the parent; it is the last one.
bool next_child(view_cursor_t &cursor, view_record_t &child)
{
    return cursor.end == VIEW_WALK_ON &&
           (view_next(cursor, child) || cursor.end == VIEW_WALK_OVERLONG);
}

/// Finds the first record of a type among the children of a record, and cuts its value where the
/// parent ends. PDATA_ERR_TLV_NOT_FOUND as tlv_type_search.
pdata_status_t search_child(uint32_t type, std::span<const uint8_t> parent,
                            std::span<const uint8_t> *value)
{
    const uint8_t *found;
    uint32_t len;
    PDATA_TRY(
        tlv_type_search(type, parent.data(), static_cast<uint32_t>(parent.size()), &found, &len));
    const auto at = static_cast<size_t>(found - parent.data());
    *value = parent.subspan(at, std::min<size_t>(len, parent.size() - at));
    return PDATA_SUCCESS;
}

/// Reads and files a group. Only the last one stays for the passes that follow; a pdb holds one.
pdata_status_t register_group(build_run_t *run, std::span<const uint8_t> group)
{
    pdb_pg &pg = run->protodesc.pg;
    PDATA_TRY(pdata_diag_failed(pdb_builder_get_protocol_offsets(group, &pg),
                                PDATA_DIAG_PROTOCOL_OFFSETS));
    return pdata_diag_failed(pdb_builder_matcher_register(&run->context->pdb_build, pg),
                             PDATA_DIAG_MATCHER_FILING);
}

/// Reads and files the groups of the protocol descriptions.
pdata_status_t register_groups(build_run_t *run, std::span<const uint8_t> root)
{
    view_cursor_t cursor = view_walk(view_file(root));
    for (view_record_t child; next_child(cursor, child);) {
        if (child.type == TLV_TYPE_PROTOGROUP)
            PDATA_TRY(register_group(run, view_bytes(child.value)));
        else
            pdata_diag_error(PDATA_DIAG_NO_GROUP, child.type,
                             static_cast<uint32_t>(child.offset / 4));
    }
    return PDATA_SUCCESS;
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
    PDATA_TRY(pdb_builder_load_type(PDB_TYPE_MAIN_HSTRING, TLV_TYPE_ROOT_STRING, *run->context,
                                    nullptr, &strings));
    const int ret =
        hstring_deserialize(&tags.hstring, strings.data(), static_cast<uint32_t>(strings.size()));
    return pdata_diag_failed(module_err2pdata_status(PDATA_MODULE_HSTRING, ret),
                             PDATA_DIAG_MAIN_STRINGS);
}

/// Builds and serializes the matchers from the filed values, which go as soon as they are built.
pdata_status_t pdb_builder_matcher_serialize(build_run_t *run)
{
    pdb_build_t *pdb_build = &run->context->pdb_build;
    PDATA_TRY(pdata_diag_failed(pdb_matcher_build(pdb_build, run->dump, run->sig_export),
                                PDATA_DIAG_MATCHERS));
    pdb_matcher_tab_clean(&pdb_build->pdb_build_matcher_tab);
    return PDATA_SUCCESS;
}

/// Releases what was read of the group.
void pdb_builder_serialize_pg_clean(build_run_t *run)
{
    run->protodesc.pg = {};
    pdb_facts_clean(&run->context->pdb_build.pdb_build_facts);
}

/// Builds the rules from the rule table and the facts, both of which go as soon as they are built.
pdata_status_t pdb_builder_rule_build(build_run_t *run)
{
    pdb_build_t *pdb_build = &run->context->pdb_build;
    PDATA_TRY(pdata_diag_failed(pdb_rule_build(pdb_build, run->protodesc), PDATA_DIAG_RULES));
    pdb_rule_tab_clean(&pdb_build->pdb_build_rule_tab);
    pdb_builder_serialize_pg_clean(run);
    return PDATA_SUCCESS;
}

pdata_status_t pdb_builder_rule_serialize(build_run_t *run)
{
    return pdata_diag_failed(pdb_rule_serialize(&run->context->pdb_build, run->network_endian),
                             PDATA_DIAG_RULE_SECTION);
}

/// The build of a pdb that has protocol descriptions.
pdata_status_t serialize_protocols(build_run_t *run, std::span<const uint8_t> root)
{
    PDATA_TRY(register_groups(run, root));
    PDATA_TRY(load_tags_and_strings(run));
    PDATA_TRY(pdb_builder_matcher_serialize(run));
    PDATA_TRY(pdb_builder_rule_build(run));
    return pdb_builder_rule_serialize(run);
}

/// One rule of one protocol, while its values are filed.
struct filing_t {
    pdb_build_t *pdb_build;
    item_idx_t idx;

    const hstring_t &hstring() const { return pdb_build->pdb_build_facts.hstring; }
};

/// The minimum data under which a value is filed: that from the server for both directions.
/// Oddity O133.
uint32_t mindata_of(const sub_ruledesc_t &sub_rule, uint32_t way)
{
    const uint32_t mindata = sub_ruledesc_get_mindata(sub_rule, way);
    return mindata == PATTERN_MINDATA_NONE ? 0 : mindata;
}

/// Files the values of an attribute.
pdata_status_t file_attr(const filing_t &filing, const sub_ruledesc_t &sub_rule, uint32_t srule_id,
                         csa_str_t protocol, const attrdesc_t &attr)
{
    matcher_key_t key = {protocol, {}, ATTR_WAY_UNKNOWN};
    csa_attr_way_t way;
    PDATA_TRY(attrdesc_get_name(attr, filing.hstring(), &key.key_attr));
    PDATA_TRY(attrdesc_get_way(attr, &way));
    key.key_way = way;
    pdb_matcher_value_t value = {filing.idx, {}, mindata_of(sub_rule, way), srule_id, 0};
    const uint64_t cost = uint64_t{key.key_proto.str_len} + key.key_attr.str_len;
    for (uint32_t i = 0; i < attrdesc_get_value_nr(attr); ++i) {
        PDATA_TRY(matcher_budget_take(&filing.pdb_build->pdb_build_budget, cost));
        value.pattern_offset = attrdesc_get_pattern_offset(attr, i);
        PDATA_TRY(attrdesc_get_value(attr, i, filing.hstring(), &value.val));
        PDATA_TRY(pdata_diag_failed(pdb_matcher_register(filing.pdb_build, key, value),
                                    PDATA_DIAG_VALUE_FILING));
    }
    return PDATA_SUCCESS;
}

/// Files the values of a sub-rule. They belong to the matchers of its bottom protocol, the layer
/// that carries the attribute.
pdata_status_t pdb_builder_matcher_subrule(const filing_t &filing, const sub_ruledesc_t &sub_rule,
                                           uint32_t srule_id)
{
    csa_str_t protocol;
    PDATA_TRY(sub_ruledesc_get_protocol(sub_rule, filing.hstring(), &protocol));
    for (uint32_t i = 0; i < sub_ruledesc_get_attrdesc_nr(sub_rule); ++i) {
        attrdesc_t attr;
        PDATA_TRY(sub_ruledesc_get_attrdesc(sub_rule, i, &attr));
        PDATA_TRY(file_attr(filing, sub_rule, srule_id, protocol, attr));
    }
    return PDATA_SUCCESS;
}

/// Notes and files the sub-rules of a rule.
pdata_status_t pdb_builder_matcher_rule(const filing_t &filing, const ruledesc_t &rule)
{
    for (uint32_t i = 0; i < ruledesc_get_sub_ruledesc_nr(rule); ++i) {
        sub_ruledesc_t sub_rule;
        PDATA_TRY(pdb_rule_build_get_sub_rule(rule, i, &sub_rule));
        pdb_facts_add_sub_rule(&filing.pdb_build->pdb_build_facts, sub_rule);
        PDATA_TRY(pdb_builder_matcher_subrule(filing, sub_rule, i));
    }
    return PDATA_SUCCESS;
}

/// Notes and files the rules of the protocol of an index.
pdata_status_t pdb_builder_matcher_protocol_rules(pdb_build_t *pdb_build, uint32_t proto_idx,
                                                  const protodesc_t &protocol)
{
    for (uint32_t i = 0; i < protodesc_get_ruledesc_nr(protocol); ++i) {
        ruledesc_t rule;
        PDATA_TRY(pdb_rule_build_get_rule(protocol, i, &rule));
        pdb_facts_add_rule(&pdb_build->pdb_build_facts, rule);
        PDATA_TRY(pdb_builder_matcher_rule({pdb_build, {proto_idx, i}}, rule));
    }
    return PDATA_SUCCESS;
}

/// Gives the string table of a group.
pdata_status_t seek_for_hstring(std::span<const uint8_t> group, hstring_t *hstring)
{
    std::span<const uint8_t> strings;
    PDATA_TRY(search_child(TLV_TYPE_PROTOGROUP_STRING, group, &strings));
    *hstring = {strings.data(), static_cast<uint32_t>(strings.size())};
    return PDATA_SUCCESS;
}

/// Hands the word offset of each protocol of a list to `found`.
template <typename Found>
void walk_protocols(std::span<const uint8_t> list, const Found &found)
{
    view_cursor_t cursor = view_walk(view_file(list));
    for (view_record_t record; next_child(cursor, record);) {
        if (record.type == TLV_TYPE_PROTO)
            found(static_cast<uint32_t>(record.offset / 4));
        else
            pdata_diag_error(PDATA_DIAG_NO_PROTOCOL_RECORD, record.type);
    }
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
    if (status == PDATA_SUCCESS && !empty)
        status = pdata_diag_failed(loaded, PDATA_DIAG_NO_ROOT);
    if (status == PDATA_SUCCESS && !empty) {
        build_run_t run = {context, dump, sig_export, network_endian, {}};
        status = serialize_protocols(&run, root);
    }
    pdb_clean(&context->pdb_build);
    return status;
}

pdata_status_t pdb_builder_get_protocol_offsets(std::span<const uint8_t> group, pdb_pg *pg)
{
    *pg = {};
    PDATA_TRY(
        pdata_diag_failed(seek_for_hstring(group, &pg->pg_hstring), PDATA_DIAG_NO_GROUP_STRINGS));
    PDATA_TRY(search_child(TLV_TYPE_PROTOGROUP_PROTOS, group, &pg->pg_proto_list));
    size_t nr_proto = 0;
    walk_protocols(pg->pg_proto_list, [&](uint32_t) { ++nr_proto; });
    pg->pg_proto_offset.reserve(nr_proto);
    walk_protocols(pg->pg_proto_list,
                   [&](uint32_t offset) { pg->pg_proto_offset.push_back(offset); });
    return PDATA_SUCCESS;
}

pdata_status_t pdb_builder_matcher_register(pdb_build_t *pdb_build, const pdb_pg &pg)
{
    pdb_facts_t *facts = &pdb_build->pdb_build_facts;
    const auto nr_proto = static_cast<uint32_t>(pg.pg_proto_offset.size());
    pdb_facts_init(facts, pg.pg_hstring, nr_proto);
    for (uint32_t i = 0; i < nr_proto; ++i) {
        protodesc_t protocol;
        csa_str_t name;
        PDATA_TRY(pdb_rule_build_get_proto(pg, i, &protocol));
        PDATA_TRY(protodesc_get_name(protocol, pg.pg_hstring, &name));
        PDATA_TRY(pdata_sig_export_mapping_add(i, protodesc_get_id(protocol), name));
        pdb_facts_add_protocol(facts, protocol, name);
        // The status of the rules is not looked at, but for the limit of the names and for memory
        // that runs out. Oddity O123.
        const pdata_status_t status = pdb_builder_matcher_protocol_rules(pdb_build, i, protocol);
        if (pdb_build->pdb_build_budget.exceeded)
            return PDATA_ERR_OVERFLOW;
        if (status == PDATA_ERR_NO_MEMORY)
            return status;
    }
    return PDATA_SUCCESS;
}

void pdb_builder_clean(pdb_context_t *context)
{
    context->proto_pdb = {};
    context->pdb_build.pdb_build_tlv = {};
}
