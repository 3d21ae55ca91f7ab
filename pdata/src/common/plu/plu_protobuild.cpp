#include "plu_protobuild.h"

#include <string_view>

namespace
{

/// The fields that every copy overwrites.
pdata_status_t copy_meta(protodesc_build_t *pb, const protodesc_t &proto,
                         const plu_strings_t &strings)
{
    csa_str_t name;
    csa_str_t default_port;
    PDATA_TRY(protodesc_get_name(proto, strings.pg_hstring, &name));
    PDATA_TRY(protodesc_get_default_port(proto, strings.pg_hstring, &default_port));
    protodesc_set_name(pb, name);
    protodesc_set_default_port(pb, default_port);
    protodesc_set_id(pb, protodesc_get_id(proto));
    protodesc_set_max_trans(pb, protodesc_get_max_trans(proto));
    protodesc_set_cacheable(pb, protodesc_get_cacheable(proto));
    protodesc_set_http_reclassify(pb, protodesc_get_http_reclassify(proto));
    protodesc_set_implicit_bottom_layer(pb, protodesc_get_implicit_bottom_layer(proto));
    return PDATA_SUCCESS;
}

pdata_status_t copy_pairs(protodesc_build_t *pb, const protodesc_t &proto,
                          const plu_strings_t &strings)
{
    csa_str_t name;
    csa_str_t value;
    for (uint32_t i = 0; i < protodesc_get_tag_nr(proto); ++i) {
        PDATA_TRY(protodesc_get_tag(proto, i, strings.pg_hstring, &name, &value));
        PDATA_TRY(protodesc_add_tag(pb, name, value));
    }
    for (uint32_t i = 0; i < protodesc_get_desc_nr(proto); ++i) {
        PDATA_TRY(protodesc_get_desc(proto, i, strings.pg_hstring, &name, &value));
        PDATA_TRY(protodesc_add_description(pb, name, value));
    }
    return PDATA_SUCCESS;
}

pdata_status_t copy_lists(protodesc_build_t *pb, const protodesc_t &proto,
                          const plu_strings_t &strings)
{
    csa_str_t text;
    PDATA_TRY(copy_pairs(pb, proto, strings));
    for (uint32_t i = 0; i < protodesc_get_compat_nr(proto); ++i) {
        PDATA_TRY(protodesc_get_compat(proto, i, strings.pg_hstring, &text));
        PDATA_TRY(protodesc_add_compat(pb, text));
    }
    for (uint32_t i = 0; i < protodesc_get_altname_nr(proto); ++i) {
        PDATA_TRY(protodesc_get_altname(proto, i, strings.pg_hstring, &text));
        PDATA_TRY(protodesc_add_altname(pb, text));
    }
    return PDATA_SUCCESS;
}

pdata_status_t copy_rules(protodesc_build_t *pb, const protodesc_t &proto,
                          const plu_strings_t &strings, uint32_t *nr_rules, plu_rule_index_t *known)
{
    uint32_t nr_slots = pb->pb_nr_sub_rule;
    const uint32_t next_id = protodesc_get_nr_rule(*pb) + 1;
    if (next_id > pb->pb_max_rules)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_MERGED_RULE,
                          static_cast<int>(pb->pb_max_rules));
    for (uint32_t k = 0; k < protodesc_get_ruledesc_nr(proto); ++k) {
        ruledesc_t ruledesc;
        bool duplicate = false;
        PDATA_TRY(protodesc_get_ruledesc(proto, k, &ruledesc));
        if (known != nullptr)
            PDATA_TRY(
                plu_find_duplicate_rules(*pb, ruledesc, strings, nr_slots, known, &duplicate));
        if (duplicate)
            continue;
        ++*nr_rules;
        PDATA_TRY(merge_ruledesc_to_ruledescbuild(pb, ruledesc, strings, next_id + k, &nr_slots));
    }
    protodesc_set_nr_sub_rule(pb, nr_slots);
    return PDATA_SUCCESS;
}

pdata_status_t copy_path_and_tags(protodesc_build_t *pb, const ruledesc_t &ruledesc,
                                  const plu_strings_t &strings, uint32_t n_slot)
{
    csa_str_t text;
    for (uint32_t i = 0; i < ruledesc_get_path_nr(ruledesc); ++i) {
        PDATA_TRY(ruledesc_get_path_elt(ruledesc, i, strings.pg_hstring, &text));
        PDATA_TRY(protodesc_add_rule_path_elt(pb, n_slot, text));
    }
    if (strings.root_hstring.hs_str == nullptr)
        return PDATA_SUCCESS;
    for (uint32_t i = 0; i < ruledesc_get_tag_nr(ruledesc); ++i) {
        PDATA_TRY(ruledesc_get_tag(ruledesc, i, strings.root_hstring, &text));
        PDATA_TRY(protodesc_add_rule_tag(pb, n_slot, text));
    }
    return PDATA_SUCCESS;
}

/// The stored scope; none at all means http for http. A protocol counts as http when "http" begins
/// with it. Oddity O119.
uint32_t scope_of(const ruledesc_t &ruledesc, const csa_str_t &protocol)
{
    const uint32_t scope = ruledesc_get_scope(ruledesc);
    const std::string_view text = csa_str_view(protocol);
    if (scope == 0 && std::string_view("http").substr(0, text.size()) == text)
        return PLU_HTTP_SCOPE;
    return scope;
}

pdata_status_t copy_sub_rule_meta(protodesc_build_t *pb, const ruledesc_t &ruledesc,
                                  const sub_ruledesc_t &sub_ruledesc, const plu_strings_t &strings,
                                  uint32_t n_slot)
{
    csa_str_t protocol;
    csa_str_t bottom_protocol;
    PDATA_TRY(sub_ruledesc_get_protocol(sub_ruledesc, strings.pg_hstring, &protocol));
    PDATA_TRY(sub_ruledesc_get_bottom_protocol(sub_ruledesc, strings.pg_hstring, &bottom_protocol));
    protodesc_set_rule_bottom(pb, n_slot, protocol);
    protodesc_set_rule_real_bottom(pb, n_slot, bottom_protocol);
    const auto mindata = [&](uint32_t stored) {
        return stored == 0 && ruledesc.rule_meta_version == 1 ? PLU_OLDEST_MINDATA : stored;
    };
    protodesc_set_stc_mindata(pb, n_slot, mindata(sub_ruledesc_get_stc_mindata(sub_ruledesc)));
    protodesc_set_cts_mindata(pb, n_slot, mindata(sub_ruledesc_get_cts_mindata(sub_ruledesc)));
    protodesc_set_rule_scope(pb, n_slot, scope_of(ruledesc, protocol));
    return PDATA_SUCCESS;
}

/// Adds an attribute value by value; one without values is left out.
pdata_status_t copy_attr(protodesc_build_t *pb, const attrdesc_t &attrdesc,
                         const plu_strings_t &strings, uint32_t n_slot)
{
    csa_str_t name;
    csa_attr_way_t way;
    PDATA_TRY(attrdesc_get_name(attrdesc, strings.pg_hstring, &name));
    PDATA_TRY(attrdesc_get_way(attrdesc, &way));
    for (uint32_t i = 0; i < attrdesc_get_value_nr(attrdesc); ++i) {
        csa_str_t value;
        PDATA_TRY(attrdesc_get_value(attrdesc, i, strings.pg_hstring, &value));
        PDATA_TRY(protodesc_add_rule_attr_parsed(pb, n_slot, name, way, attrdesc_get_type(attrdesc),
                                                 attrdesc_get_proto(attrdesc), value,
                                                 attrdesc_get_pattern_offset(attrdesc, i)));
    }
    return PDATA_SUCCESS;
}

} // namespace

pdata_status_t plu_merge_proto_to_protobuild(protodesc_build_t *protoske, const protodesc_t &proto,
                                             const plu_strings_t &strings, uint32_t *nr_rules,
                                             plu_rule_index_t *known)
{
    PDATA_TRY(copy_meta(protoske, proto, strings));
    if (known == nullptr)
        PDATA_TRY(copy_lists(protoske, proto, strings));
    protodesc_set_version_major(protoske, protodesc_get_version_major(proto));
    protodesc_set_version_minor(protoske, protodesc_get_version_minor(proto));
    protodesc_set_version_revision(protoske, protodesc_get_version_revision(proto));
    return copy_rules(protoske, proto, strings, nr_rules, known);
}

pdata_status_t merge_ruledesc_to_ruledescbuild(protodesc_build_t *pb, const ruledesc_t &ruledesc,
                                               const plu_strings_t &strings, uint32_t rule_id,
                                               uint32_t *n_slot)
{
    for (uint32_t i = 0; i < ruledesc_get_sub_ruledesc_nr(ruledesc); ++i) {
        if (*n_slot >= pb->pb_max_rules)
            return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_MERGED_SUB_RULE,
                              static_cast<int>(*n_slot + 1), static_cast<int>(pb->pb_max_rules));
        sub_ruledesc_t sub_ruledesc;
        PDATA_TRY(ruledesc_get_sub_ruledesc(ruledesc, i, &sub_ruledesc));
        protodesc_set_rule(pb, *n_slot, rule_id, i + 1);
        PDATA_TRY(
            merge_subruledesc_to_subruledescbuild(pb, ruledesc, sub_ruledesc, strings, *n_slot));
        ++*n_slot;
    }
    return PDATA_SUCCESS;
}

pdata_status_t merge_subruledesc_to_subruledescbuild(protodesc_build_t *pb,
                                                     const ruledesc_t &ruledesc,
                                                     const sub_ruledesc_t &sub_ruledesc,
                                                     const plu_strings_t &strings, uint32_t n_slot)
{
    PDATA_TRY(copy_path_and_tags(pb, ruledesc, strings, n_slot));
    protodesc_set_rule_vid(pb, n_slot, ruledesc.rule_vid);
    protodesc_set_rule_order(pb, n_slot, ruledesc_get_order(ruledesc));
    protodesc_set_rule_ruleorder(pb, n_slot, ruledesc.rule_ruleorder);
    protodesc_set_rule_fastpass(pb, n_slot, ruledesc_get_fastpass(ruledesc));
    protodesc_set_rule_preempt(pb, n_slot, ruledesc_get_preempt(ruledesc));
    PDATA_TRY(copy_sub_rule_meta(pb, ruledesc, sub_ruledesc, strings, n_slot));
    for (uint32_t i = 0; i < sub_ruledesc_get_attrdesc_nr(sub_ruledesc); ++i) {
        attrdesc_t attrdesc;
        PDATA_TRY(sub_ruledesc_get_attrdesc(sub_ruledesc, i, &attrdesc));
        PDATA_TRY(copy_attr(pb, attrdesc, strings, n_slot));
    }
    return PDATA_SUCCESS;
}
