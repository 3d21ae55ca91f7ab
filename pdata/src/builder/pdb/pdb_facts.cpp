#include "pdb_facts.h"

#include <algorithm>
#include <iterator>

#include "pdb_rule_build.h"

namespace
{

/// Looks at sub-rule `sub_rule` of a rule, unless one in front of it had the minimum.
void note_mindata(uint32_t bytes, uint32_t sub_rule, pdb_mindata_t *mindata)
{
    if (mindata->bytes == 0)
        *mindata = {bytes, sub_rule};
}

pdb_bottoms_t bottoms_of(const sub_ruledesc_t &sub_rule)
{
    return {sub_rule.srule_protocol, sub_rule.srule_bottom_protocol};
}

pdb_rule_facts_t facts_of(const ruledesc_t &rule)
{
    return {ruledesc_get_order(rule),
            ruledesc_get_preempt(rule) != 0 ? 1U : 0U,
            ruledesc_get_sub_ruledesc_nr(rule),
            0,
            {}};
}

/// Returns whether a rule was noted, and where.
bool find_rule(const pdb_facts_t &facts, item_idx_t idx, size_t *position)
{
    if (idx.item_proto_idx >= facts.ranges.size())
        return false;
    const pdb_rule_range_t range = facts.ranges[idx.item_proto_idx];
    *position = size_t{range.first} + idx.item_rule_idx;
    return idx.item_rule_idx < range.nr_rule;
}

/// Goes on with the sub-rules that were not noted.
pdata_status_t read_mindata(const pdb_rule_view_t &view, uint32_t way, const pdb_rule_facts_t &rule,
                            pdb_mindata_t *mindata)
{
    for (uint32_t i = rule.nr_noted; i < rule.nr_sub_rule && mindata->bytes == 0; ++i) {
        sub_ruledesc_t sub_rule;
        PDATA_TRY(pdb_rule_build_get_sub_rule(view.rule, i, &sub_rule));
        note_mindata(sub_ruledesc_get_mindata(sub_rule, way), i, mindata);
    }
    return PDATA_SUCCESS;
}

} // namespace

void pdb_facts_init(pdb_facts_t *facts, const hstring_t &hstring, size_t nr_protocol)
{
    pdb_facts_clean(facts);
    facts->hstring = hstring;
    facts->protocols.reserve(nr_protocol);
    facts->ranges.reserve(nr_protocol);
}

void pdb_facts_add_protocol(pdb_facts_t *facts, const protodesc_t &protocol, csa_str_t name)
{
    facts->protocols.push_back({protocol, name});
    facts->ranges.push_back({static_cast<uint32_t>(facts->rules.size()), 0});
}

void pdb_facts_add_rule(pdb_facts_t *facts, const ruledesc_t &rule)
{
    facts->views.push_back({rule, {}, 0});
    facts->rules.push_back(facts_of(rule));
    ++facts->ranges.back().nr_rule;
}

void pdb_facts_add_sub_rule(pdb_facts_t *facts, const sub_ruledesc_t &sub_rule)
{
    pdb_rule_facts_t &rule = facts->rules.back();
    pdb_rule_view_t &view = facts->views.back();
    const uint32_t index = rule.nr_noted++;
    if (index < std::size(view.bottoms))
        view.bottoms[view.nr_noted++] = bottoms_of(sub_rule);
    note_mindata(sub_ruledesc_get_cts_mindata(sub_rule), index, &rule.mindata[0]);
    note_mindata(sub_ruledesc_get_stc_mindata(sub_rule), index, &rule.mindata[1]);
}

pdata_status_t pdb_facts_get_view(const pdb_facts_t &facts, item_idx_t idx, pdb_rule_view_t *view)
{
    size_t position = 0;
    if (find_rule(facts, idx, &position)) {
        *view = facts.views[position];
        return PDATA_SUCCESS;
    }
    if (idx.item_proto_idx >= facts.protocols.size())
        return PDATA_ERR_INVALID_ARGUMENT;
    *view = {};
    return pdb_rule_build_get_rule(facts.protocols[idx.item_proto_idx].protocol, idx.item_rule_idx,
                                   &view->rule);
}

pdata_status_t pdb_facts_get_bottoms(const pdb_rule_view_t &view, uint32_t srule_idx,
                                     pdb_bottoms_t *bottoms)
{
    if (srule_idx < view.nr_noted) {
        *bottoms = view.bottoms[srule_idx];
        return PDATA_SUCCESS;
    }
    sub_ruledesc_t sub_rule;
    PDATA_TRY(pdb_rule_build_get_sub_rule(view.rule, srule_idx, &sub_rule));
    *bottoms = bottoms_of(sub_rule);
    return PDATA_SUCCESS;
}

pdata_status_t pdb_facts_get_rule(const pdb_facts_t &facts, item_idx_t idx, uint32_t way,
                                  pdb_rule_view_t *view, pdb_rule_facts_t *rule,
                                  pdb_mindata_t *mindata)
{
    PDATA_TRY(pdb_facts_get_view(facts, idx, view));
    size_t position = 0;
    *rule = find_rule(facts, idx, &position) ? facts.rules[position] : facts_of(view->rule);
    *mindata = rule->mindata[way == ATTR_WAY_CTS ? 0 : 1];
    if (mindata->bytes == 0 && rule->nr_noted < rule->nr_sub_rule)
        PDATA_TRY(read_mindata(*view, way, *rule, mindata));
    if (mindata->bytes == 0)
        mindata->sub_rule = std::max(rule->nr_sub_rule, 1U) - 1;
    return PDATA_SUCCESS;
}

void pdb_facts_clean(pdb_facts_t *facts)
{
    *facts = {};
}
