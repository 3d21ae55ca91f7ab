#include "pdb_matcher_setup.h"

#include "pdb_attr_properties.h"
#include "pdb_rule_build.h"

namespace
{

pdata_status_t unknown_type(uint32_t matcher_type)
{
    return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "Matcher type [%u] not found in the switch.",
                      matcher_type);
}

/// Tells whether the two attributes of a sub-rule have one name.
pdata_status_t have_one_name(const hstring_t &hstring, const sub_ruledesc_t &sub_rule,
                             bool *one_name)
{
    csa_str_t names[2];
    for (uint32_t i = 0; i < 2; ++i) {
        attrdesc_t attr;
        PDATA_TRY(sub_ruledesc_get_attrdesc(sub_rule, i, &attr));
        PDATA_TRY(attrdesc_get_name(attr, hstring, &names[i]));
    }
    *one_name = csa_str_equal(names[0], names[1]);
    return PDATA_SUCCESS;
}

/// Records what is wrong with the shape of a preempt rule. The build goes on.
pdata_status_t check_preempt(const pdb_facts_t &facts, const item_idx_t &idx,
                             const pdb_rule_view_t &view, uint32_t srule_idx)
{
    sub_ruledesc_t sub_rule{};
    const uint32_t nr_sub_rule = ruledesc_get_sub_ruledesc_nr(view.rule);
    if (nr_sub_rule != 0)
        PDATA_TRY(pdb_rule_build_get_sub_rule(view.rule, srule_idx, &sub_rule));
    const uint32_t proto_id = protodesc_get_id(facts.protocols[idx.item_proto_idx].protocol);
    if (nr_sub_rule != 1)
        (void)pdata_fail(PDATA_ERR_RULE_ENGINE,
                         "Protocol %u has a preempt rule (%u) with a multiple-sub-rules.", proto_id,
                         idx.item_rule_idx);
    const uint32_t nr_attr = sub_ruledesc_get_attrdesc_nr(sub_rule);
    if (nr_attr > 2) // the blank that is missing stays: oddity O48
        (void)pdata_fail(PDATA_ERR_RULE_ENGINE,
                         "Protocol %u has a preempt rule (%u) with too many attributes.Either 1 or "
                         "2 attributes are allowed if they correspond to the same attribute name "
                         "on both different ways.",
                         proto_id, idx.item_rule_idx);
    if (nr_attr != 2)
        return PDATA_SUCCESS;
    bool one_name = true;
    PDATA_TRY(have_one_name(facts.hstring, sub_rule, &one_name));
    if (!one_name)
        (void)pdata_fail(PDATA_ERR_RULE_ENGINE,
                         "Both attribute names should be the same (with different ways) to allow "
                         "preempt matching.");
    return PDATA_SUCCESS;
}

/// Fills the description of a matcher of a known type.
void fill_desc(const pdb_build_t &pdb_build, const pdb_matcher_list_t &matcher_list,
               matcher_type_t matcher_type, matcher_desc_t *desc)
{
    const csa_str_t proto = matcher_list.matcher_list_key.key_proto;
    const csa_str_t attr = matcher_list.matcher_list_key.key_attr;
    *desc = {};
    desc->start_item_id = pdb_build.pdb_build_item_id;
    desc->min_data = matcher_list.matcher_list_min_data;
    desc->max_perm = pdb_build.pdb_build_config->pdb_max_perm;
    desc->max_prv_id = pdb_build.pdb_build_config->pdb_max_regexp;
    desc->algo = pdb_matcher_get_algo(proto, attr);
    if (matcher_type != MATCHER_TYPE_STREAM) {
        desc->type = pdb_matcher_tab_get_nr(matcher_list);
        return;
    }
    desc->mindata_status = pdb_matcher_get_mindata_status(proto, attr);
    desc->em_dispatch = pdb_matcher_get_em_dispatch(proto, attr);
    desc->alpha_config = pdb_matcher_get_icase(proto, attr) | pdb_matcher_get_sort(proto, attr);
}

} // namespace

pdata_status_t pdb_matcher_build_init(pdb_build_t &pdb_build, matcher_build *matcher,
                                      matcher_type_t *matcher_type,
                                      pdb_matcher_list_t *matcher_list)
{
    const csa_str_t proto = matcher_list->matcher_list_key.key_proto;
    const csa_str_t attr = matcher_list->matcher_list_key.key_attr;
    *matcher_type = pdb_matcher_get_type(proto, attr);
    if (*matcher_type == MATCHER_TYPE_UNKNOWN)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "matcher_type unknown [%.*s][%.*s].",
                          proto.str_len, proto.str_buf, attr.str_len, attr.str_buf);
    matcher_list->matcher_list_info = pdb_matcher_get_transformer_fct(proto, attr);
    matcher_desc_t desc;
    fill_desc(pdb_build, *matcher_list, *matcher_type, &desc);
    return matcher_init(matcher, *matcher_type, 0, desc);
}

pdata_status_t pdb_matcher_set_desc(const pdb_build_t &pdb_build,
                                    const pdb_matcher_list_t &matcher_list,
                                    matcher_type_t matcher_type, matcher_desc_t *desc)
{
    switch (matcher_type) {
    case MATCHER_TYPE_STREAM:
    case MATCHER_TYPE_NUMBER_8:
    case MATCHER_TYPE_NUMBER_16:
    case MATCHER_TYPE_IP_4:
    case MATCHER_TYPE_IP_6:
        fill_desc(pdb_build, matcher_list, matcher_type, desc);
        return PDATA_SUCCESS;
    default:
        return unknown_type(matcher_type);
    }
}

pdata_status_t pdb_matcher_get_pattern_info(const pdb_facts_t &facts, const pdb_matcher_elt &elt,
                                            uint32_t way, mindata_status_t mindata_status,
                                            pattern_info *info)
{
    const item_idx_t idx = elt.matcher_elt_idx;
    pdb_rule_view_t view;
    pdb_rule_facts_t rule;
    pdb_mindata_t mindata;
    PDATA_TRY(pdb_facts_get_rule(facts, idx, way, &view, &rule, &mindata));
    if (mindata.bytes == 0 && mindata_status == MINDATA_MANDATORY)
        (void)pdata_fail(PDATA_ERR_RULE_ENGINE, "You need to set the mindata when it is mandatory");
    info->mindata = mindata.bytes;
    info->priority = rule.priority;
    info->preempt = static_cast<uint8_t>(rule.preempt);
    return rule.preempt == 0 ? PDATA_SUCCESS : check_preempt(facts, idx, view, mindata.sub_rule);
}
