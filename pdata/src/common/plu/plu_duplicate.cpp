#include "plu_duplicate.h"

#include <algorithm>

namespace
{

/// Reads the values of an attribute, as many as a slot can hold.
void read_values(const attrdesc_t &attrdesc, const plu_strings_t &strings, uint32_t capacity,
                 plu_rule_t *rule)
{
    const uint32_t nr = std::min(attrdesc_get_value_nr(attrdesc), capacity);
    for (uint32_t i = 0; i < nr; ++i) {
        csa_str_t value;
        if (attrdesc_get_value(attrdesc, i, strings.pg_hstring, &value) != PDATA_SUCCESS) {
            value = {};
            rule->has_unreadable = true;
        }
        rule->values.push_back(value);
    }
}

pdata_status_t read_attrs(const protodesc_bounds_t &bounds, const sub_ruledesc_t &sub_ruledesc,
                          const plu_strings_t &strings, plu_rule_t *rule)
{
    for (uint32_t i = 0; i < sub_ruledesc_get_attrdesc_nr(sub_ruledesc); ++i) {
        attrdesc_t attrdesc;
        csa_str_t name;
        PDATA_TRY(sub_ruledesc_get_attrdesc(sub_ruledesc, i, &attrdesc));
        PDATA_TRY(attrdesc_get_name(attrdesc, strings.pg_hstring, &name));
        rule->attrs.push_back(
            {name, attrdesc_get_value_nr(attrdesc), static_cast<uint32_t>(rule->values.size())});
        read_values(attrdesc, strings, bounds.pi_max_attr_val, rule);
    }
    return PDATA_SUCCESS;
}

pdata_status_t read_path(const ruledesc_t &ruledesc, const plu_strings_t &strings, plu_rule_t *rule)
{
    for (uint32_t i = 0; i < ruledesc_get_path_nr(ruledesc); ++i) {
        csa_str_t path;
        PDATA_TRY(ruledesc_get_path_elt(ruledesc, i, strings.pg_hstring, &path));
        rule->path.push_back(path);
    }
    return PDATA_SUCCESS;
}

/// Reads a sub-rule; one with more attributes than a slot can hold is left off there.
pdata_status_t read_sub_rule(const protodesc_bounds_t &bounds, const ruledesc_t &ruledesc,
                             uint32_t index, const plu_strings_t &strings, plu_rule_t *rule)
{
    sub_ruledesc_t sub_ruledesc;
    plu_sub_rule_t sub_rule;
    plu_generic_t &generic = sub_rule.generic;
    PDATA_TRY(ruledesc_get_sub_ruledesc(ruledesc, index, &sub_ruledesc));
    PDATA_TRY(sub_ruledesc_get_bottom_protocol(sub_ruledesc, strings.pg_hstring,
                                               &generic.bottom_protocol));
    PDATA_TRY(sub_ruledesc_get_protocol(sub_ruledesc, strings.pg_hstring, &generic.protocol));
    generic.scope = ruledesc_get_scope(ruledesc);
    generic.vid = ruledesc.rule_vid;
    generic.order = ruledesc_get_order(ruledesc);
    generic.ruleorder = ruledesc.rule_ruleorder != 0;
    generic.path = rule->path;
    generic.stc_mindata = sub_ruledesc_get_stc_mindata(sub_ruledesc);
    generic.cts_mindata = sub_ruledesc_get_cts_mindata(sub_ruledesc);
    sub_rule.nr_attr = sub_ruledesc_get_attrdesc_nr(sub_ruledesc);
    sub_rule.first_attr = static_cast<uint32_t>(rule->attrs.size());
    rule->sub_rules.push_back(sub_rule);
    rule->fits = sub_rule.nr_attr <= bounds.pi_max_attr;
    return rule->fits ? read_attrs(bounds, sub_ruledesc, strings, rule) : PDATA_SUCCESS;
}

/// Compares one value of an incoming attribute with a slot's value.
pdata_status_t compare_value(const plu_rule_t &rule, const plu_attr_t &attr, uint32_t at,
                             const csa_str_t &slot_val, bool *equal)
{
    const csa_str_t value = rule.values[attr.first_value + at];
    if (value.str_buf == nullptr)
        return module_err2pdata_status(PDATA_MODULE_HSTRING, MODULE_ERR_INVALID);
    *equal = pdata_strstrncmp(value, slot_val) == 0;
    return PDATA_SUCCESS;
}

/// Compares an attribute with the slot's attribute of the same name, value by value.
pdata_status_t compare_values(const plu_rule_t &rule, const plu_attr_t &attr,
                              const attrdesc_build_t &slot_attr, bool *equal)
{
    for (uint32_t i = 0; i < attr.nr_values && *equal; ++i) {
        // Values that no slot can hold are not equal to anything.
        *equal = i < slot_attr.attr_val.size();
        if (!*equal)
            break;
        PDATA_TRY(compare_value(rule, attr, i, slot_attr.attr_val[i], equal));
    }
    return PDATA_SUCCESS;
}

} // namespace

int pdata_strstrncmp(const csa_str_t &a, const csa_str_t &b)
{
    if (a.str_len != b.str_len)
        return 1;
    return csa_str_view(a).compare(csa_str_view(b));
}

pdata_status_t plu_rule_read(const protodesc_build_t &pb, const ruledesc_t &ruledesc,
                             const plu_strings_t &strings, plu_rule_t *rule)
{
    rule->sub_rules.clear();
    rule->attrs.clear();
    rule->values.clear();
    rule->path.clear();
    rule->has_unreadable = false;
    const uint32_t nr_sub_rules = ruledesc_get_sub_ruledesc_nr(ruledesc);
    rule->fits = nr_sub_rules != 0 && nr_sub_rules <= pb.pb_bounds.pi_max_subrules &&
                 ruledesc_get_path_nr(ruledesc) <= pb.pb_bounds.pi_max_path;
    if (!rule->fits)
        return PDATA_SUCCESS;
    PDATA_TRY(read_path(ruledesc, strings, rule));
    for (uint32_t i = 0; i < nr_sub_rules && rule->fits; ++i)
        PDATA_TRY(read_sub_rule(pb.pb_bounds, ruledesc, i, strings, rule));
    return PDATA_SUCCESS;
}

plu_generic_t plu_generic_of(const ruledesc_build_t &slot)
{
    return {slot.rule_scope,
            slot.rule_vid,
            slot.rule_bottom_protocol,
            slot.rule_protocol,
            slot.rule_order,
            slot.rule_ruleorder != 0,
            std::span(slot.rule_path).first(slot.rule_nr_path),
            slot.rule_stc_mindata,
            slot.rule_cts_mindata};
}

bool plu_generic_equal(const plu_generic_t &a, const plu_generic_t &b)
{
    return a.scope == b.scope && a.vid == b.vid &&
           pdata_strstrncmp(a.bottom_protocol, b.bottom_protocol) == 0 &&
           pdata_strstrncmp(a.protocol, b.protocol) == 0 && a.order == b.order &&
           a.ruleorder == b.ruleorder &&
           std::equal(a.path.begin(), a.path.end(), b.path.begin(), b.path.end(),
                      [](const csa_str_t &x, const csa_str_t &y) {
                          return pdata_strstrncmp(x, y) == 0;
                      }) &&
           a.stc_mindata == b.stc_mindata && a.cts_mindata == b.cts_mindata;
}

bool plu_subrules_compare_generic_attribute(const ruledesc_build_t &slot, const plu_rule_t &rule,
                                            size_t index, bool *split)
{
    const plu_sub_rule_t &sub_rule = rule.sub_rules[index];
    *split = slot.rule_nr_attr != sub_rule.nr_attr;
    // The first attribute may be one that is not set; a reset leaves its value count.
    if (*split && (rule.sub_rules.size() != 1 || slot.rule_attr[0].attr_nr_val != sub_rule.nr_attr))
        return false;
    return plu_generic_equal(plu_generic_of(slot), sub_rule.generic);
}

pdata_status_t plu_subrules_compare_classif_attribute(const ruledesc_build_t &slot,
                                                      const plu_rule_t &rule, size_t index,
                                                      bool split, bool *equal)
{
    const plu_sub_rule_t &sub_rule = rule.sub_rules[index];
    *equal = true;
    for (uint32_t i = 0; i < sub_rule.nr_attr && *equal; ++i) {
        const plu_attr_t &attr = rule.attrs[sub_rule.first_attr + i];
        const attrdesc_build_t &slot_attr = slot.rule_attr[split ? 0 : i];
        if (pdata_strstrncmp(attr.name, slot_attr.attr_name) != 0)
            continue;
        if (!split)
            PDATA_TRY(compare_values(rule, attr, slot_attr, equal));
        else if (attr.nr_values == 0)
            *equal = false;
        else
            // The slot's first attribute has as many values as the sub-rule has attributes.
            PDATA_TRY(compare_value(rule, attr, 0, slot_attr.attr_val[i], equal));
    }
    return PDATA_SUCCESS;
}

pdata_status_t plu_find_duplicate_rule_verdict(const protodesc_build_t &pb, uint32_t start,
                                               const plu_rule_t &rule, bool *equal)
{
    *equal = true;
    for (size_t i = 0; i < rule.sub_rules.size() && *equal; ++i) {
        const ruledesc_build_t &slot = pb.pb_rules[start + i];
        bool split;
        *equal = plu_subrules_compare_generic_attribute(slot, rule, i, &split);
        if (!*equal)
            break;
        PDATA_TRY(plu_subrules_compare_classif_attribute(slot, rule, i, split, equal));
    }
    return PDATA_SUCCESS;
}

plu_run_t plu_run_at(const protodesc_build_t &pb, uint32_t start, uint32_t nr_slots)
{
    const uint32_t most = std::min(pb.pb_bounds.pi_max_subrules, nr_slots - start);
    uint32_t len = 1;
    while (len < most && pb.pb_rules[start + len].rule_id == pb.pb_rules[start].rule_id)
        ++len;
    return {start, len};
}

pdata_status_t plu_walk_duplicate_rules(const protodesc_build_t &pb, const plu_rule_t &rule,
                                        uint32_t nr_slots, bool *found)
{
    *found = false;
    for (uint32_t start = 0; start < nr_slots && !*found;) {
        const plu_run_t run = plu_run_at(pb, start, nr_slots);
        if (run.len == rule.sub_rules.size())
            PDATA_TRY(plu_find_duplicate_rule_verdict(pb, start, rule, found));
        start += run.len;
    }
    return PDATA_SUCCESS;
}

pdata_status_t plu_find_duplicate_rules(const protodesc_build_t &pb, const ruledesc_t &ruledesc,
                                        const plu_strings_t &strings, uint32_t nr_slots,
                                        plu_rule_index_t *index, bool *found)
{
    *found = false;
    if (nr_slots == 0)
        return PDATA_SUCCESS;
    PDATA_TRY(plu_rule_read(pb, ruledesc, strings, &index->rule));
    if (!index->rule.fits)
        return PDATA_SUCCESS;
    // What cannot be read may still be passed over: only a walk tells whether it is met.
    if (index->rule.has_unreadable)
        return plu_walk_duplicate_rules(pb, index->rule, nr_slots, found);
    *found = plu_rule_index_find(pb, index->rule, nr_slots, index) != nullptr;
    return PDATA_SUCCESS;
}
