#include "vprotocol_rule.h"

#include <string_view>

#include "format_scope.h"
#include "json_error.h"
#include "json_tools.h"
#include "pdb_rule_priority.h"
#include "protodesc_builder.h"

namespace
{

pdata_status_t bad_semantic(const char *message)
{
    return pdata_fail(PDATA_ERR_JSON_BAD_SEMANTIC, "%s", message);
}

csa_str_t text_of(const json_string_t *string)
{
    csa_str_t str;
    set_string_in_json(&str, string);
    return str;
}

/// "range:order" becomes the priority word.
pdata_status_t convert_order(const protocol_rule_t &rule, protodesc_build_t *pb, uint32_t n_rule)
{
    uint32_t range;
    uint32_t order;
    uint32_t priority;
    if (!pdb_rule_read_order(csa_str_view(text_of(rule.order)), &range, &order))
        return bad_semantic(pragmar_err_get());
    PDATA_TRY(pdb_rule_get_priority(range, order, &priority));
    protodesc_set_rule_order(pb, n_rule, priority);
    return PDATA_SUCCESS;
}

/// A preempt rule has at most two attributes; of two, one is for each direction, or one is a port.
/// Every value counts as one. Oddity O91.
pdata_status_t check_preempt(const protocol_sub_rule_t &sub_rule)
{
    if (sub_rule.nr_attr > 2)
        return bad_semantic("A preempt rule contains more than two attributes");
    if (sub_rule.nr_attr != 2)
        return PDATA_SUCCESS;
    int open_ways = 3;
    for (uint32_t i = 0; i < sub_rule.nr_attr; ++i) {
        std::string_view key = json_string_view(*sub_rule.attrs[i].name);
        if (key == "port") {
            open_ways = 0;
            break;
        }
        const csa_attr_way_t way = attr_way_split(key);
        open_ways -= way == ATTR_WAY_CTS ? 2 : way == ATTR_WAY_STC ? 1 : 0;
    }
    if (open_ways != 0)
        return bad_semantic("A preempt rule contains two attributes with the same way");
    return PDATA_SUCCESS;
}

pdata_status_t convert_scope(const protocol_rule_t &rule, protodesc_build_t *pb, uint32_t n_rule)
{
    ruledesc_build_t &slot = protodesc_slot(pb, n_rule);
    slot.rule_scope = 0;
    for (uint32_t i = 0; i < rule.nr_scope; ++i)
        if (process_scop_field(&slot, text_of(rule.scope[i])) != PDATA_SUCCESS)
            return bad_semantic("Scope array contains invalid protocol");
    // Oddity O86.
    slot.rule_scope |= RULE_SCOPE_HTTP_PROXY;
    (void)process_scop_field(&slot, slot.rule_protocol); // most protocols are no scope word
    // The message names one attribute, and means any. Oddity O200.
    if (csa_str_view(slot.rule_protocol) == "ip" && (slot.rule_scope & RULE_SCOPE_DNS) != 0)
        return bad_semantic("DNS scope included within an IP:resolv_name rule");
    return PDATA_SUCCESS;
}

pdata_status_t convert_path_and_tags(const protocol_rule_t &rule, protodesc_build_t *pb,
                                     uint32_t n_rule)
{
    for (uint32_t i = 0; i < rule.nr_path; ++i)
        PDATA_TRY(protodesc_add_rule_path_elt(pb, n_rule, text_of(rule.path[i])));
    for (uint32_t i = 0; i < rule.nr_tag; ++i)
        PDATA_TRY(protodesc_add_rule_tag(pb, n_rule, text_of(rule.tag[i])));
    return PDATA_SUCCESS;
}

void convert_mindata(const protocol_sub_rule_t &sub_rule, protodesc_build_t *pb, uint32_t n_rule)
{
    if (sub_rule.mindata != nullptr)
        protodesc_set_mindata(pb, n_rule, get_number_from_json(sub_rule.mindata));
    if (sub_rule.stc_mindata != nullptr)
        protodesc_set_stc_mindata(pb, n_rule, get_number_from_json(sub_rule.stc_mindata));
    if (sub_rule.cts_mindata != nullptr)
        protodesc_set_cts_mindata(pb, n_rule, get_number_from_json(sub_rule.cts_mindata));
}

/// What the rule says of a sub-rule that has attributes.
pdata_status_t convert_rule_keys(const protocol_t &protocol, const protocol_rule_t &rule,
                                 uint32_t sub_index, protodesc_build_t *pb, uint32_t n_rule)
{
    if (sub_index == 0)
        PDATA_TRY(convert_order(rule, pb, n_rule));
    // A flag is set when its key is present, whatever it says. Oddity O84.
    protodesc_set_rule_fastpass(pb, n_rule, rule.fastpass != nullptr ? 1 : 0);
    protodesc_set_rule_preempt(pb, n_rule, rule.preempt != nullptr ? 1 : 0);
    protodesc_set_rule_vid(
        pb, n_rule, protocol.vid != nullptr ? get_number_from_json(protocol.vid) : RULE_VID_NONE);
    if (rule.preempt != nullptr)
        PDATA_TRY(check_preempt(rule.sub_rules[sub_index]));
    PDATA_TRY(convert_scope(rule, pb, n_rule));
    return convert_path_and_tags(rule, pb, n_rule);
}

pdata_status_t convert_sub_rule(const protocol_t &protocol, uint32_t rule_index, uint32_t sub_index,
                                protodesc_build_t *pb, uint32_t n_rule)
{
    const protocol_rule_t &rule = protocol.rules.rules[rule_index];
    const protocol_sub_rule_t &sub_rule = rule.sub_rules[sub_index];
    const csa_str_t bottom = text_of(sub_rule.nr_protocol == 0 ? nullptr : sub_rule.protocol[0]);
    protodesc_set_rule_bottom(pb, n_rule, bottom);
    protodesc_set_rule_real_bottom(pb, n_rule, bottom);
    convert_mindata(sub_rule, pb, n_rule);
    protodesc_set_rule(pb, n_rule, rule_index + 1, sub_index + 1);
    PDATA_TRY(vattrs_to_protodesc_attrs(pb, n_rule, sub_rule.nr_attr, sub_rule.attrs.data()));
    if (protodesc_slot(pb, n_rule).rule_nr_attr == 0)
        return PDATA_SUCCESS;
    return convert_rule_keys(protocol, rule, sub_index, pb, n_rule);
}

/// Tells whether an attribute has the name of the one before it, which has one.
bool same_key(const json_string_t *name, const json_string_t *before)
{
    return name == before ||
           (name != nullptr && json_string_view(*name) == json_string_view(*before));
}

} // namespace

pdata_status_t vprotocol_rules_to_protodesc(const protocol_t &protocol, protodesc_build_t *pb)
{
    uint32_t n_rule = 0;
    for (uint32_t i = 0; i < protocol.rules.nr_rule; ++i) {
        for (uint32_t j = 0; j < protocol.rules.rules[i].nr_sub_rule; ++j)
            PDATA_TRY(convert_sub_rule(protocol, i, j, pb, n_rule++));
    }
    protodesc_set_nr_sub_rule(pb, n_rule);
    return PDATA_SUCCESS;
}

pdata_status_t vattrs_to_protodesc_attrs(protodesc_build_t *pb, uint32_t n_rule, uint32_t nr_attr,
                                         const protocol_attr_t *vattrs)
{
    uint32_t n_attr = 0;
    for (uint32_t i = 0; i < nr_attr; ++i) {
        const protocol_attr_t &vattr = vattrs[i];
        if (i == 0 || !same_key(vattr.name, vattrs[i - 1].name)) {
            const csa_str_t key =
                vattr.name == nullptr ? csa_str_t{} : csa_str(json_string_view(*vattr.name));
            PDATA_TRY(protodesc_add_attr_name(pb, key, n_rule, &n_attr));
        }
        const csa_str_t value = text_of(vattr.value);
        if (vattr.pattern_offset != nullptr) {
            // A full attribute drops the value; its status is not looked at. Oddity O92.
            (void)protodesc_add_attr_val_with_offset(
                pb, n_rule, value, get_number_from_json(vattr.pattern_offset), n_attr);
            continue;
        }
        PDATA_TRY(protodesc_add_attr_val(pb, n_rule, value, n_attr));
    }
    return PDATA_SUCCESS;
}

pdata_status_t process_scop_field(ruledesc_build_t *rule, csa_str_t scope)
{
    const uint32_t bit = format_scope_bit(csa_str_view(scope));
    rule->rule_scope |= bit;
    return bit != 0 ? PDATA_SUCCESS : PDATA_ERR_INVALID_ARGUMENT;
}
