#include "pdb_rule_tab.h"

#include <cstddef>

namespace
{

uint64_t index_key(const pdb_rule_key_t &key)
{
    return static_cast<uint64_t>(key.rk_proto_idx) << 32 | key.rk_rule_idx;
}

pdata_status_t pdb_rule_tab_add_item(pdb_rule_elt &elt, const pdb_rule_item_t &item,
                                     uint32_t rule_max_attr)
{
    if (elt.re_item.size() >= rule_max_attr)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_RULE_ITEM, rule_max_attr);
    elt.re_item.push_back(item.item);
    elt.re_matcher_id.push_back(item.matcher_id);
    elt.srule_id.push_back(item.srule_id);
    elt.re_sum_attr_len += item.attr_len;
    return PDATA_SUCCESS;
}

/// Returns the rule of a key, which comes into being if there is none.
pdb_rule_elt &find_or_create(pdb_rule_tab_t *rule_tab, const pdb_rule_key_t &key, uint32_t *nr_rule)
{
    const auto position = static_cast<uint32_t>(rule_tab->rt_elts.size());
    const auto [found, is_new] = rule_tab->index.try_emplace(index_key(key), position);
    if (is_new) {
        rule_tab->rt_elts.emplace_back().re_key = key;
        const size_t chain = pdb_rule_tab_hash_key(key) & (rule_tab->rt_tab.size() - 1);
        rule_tab->rt_tab[chain].push_back(position);
        ++*nr_rule;
    }
    return rule_tab->rt_elts[found->second];
}

} // namespace

void pdb_rule_tab_init(pdb_rule_tab_t *rule_tab, uint32_t nr_line)
{
    pdb_rule_tab_clean(rule_tab);
    rule_tab->rt_tab.resize(nr_line == 0 ? PDB_RULE_TAB_LINES : nr_line);
}

pdata_status_t pdb_rule_tab_add(pdb_rule_tab_t *rule_tab, const pdb_rule_key_t &key,
                                const pdb_rule_item_t &item, uint32_t *nr_rule,
                                uint32_t rule_max_attr)
{
    return pdb_rule_tab_add_item(find_or_create(rule_tab, key, nr_rule), item, rule_max_attr);
}

const pdb_rule_elt *pdb_rule_tab_find_elt(const pdb_rule_tab_t &rule_tab, const pdb_rule_key_t &key)
{
    const auto found = rule_tab.index.find(index_key(key));
    return found == rule_tab.index.end() ? nullptr : &rule_tab.rt_elts[found->second];
}

uint32_t pdb_rule_tab_hash_key(const pdb_rule_key_t &key)
{
    return key.rk_proto_idx * 4 + key.rk_rule_idx;
}

void pdb_rule_tab_clean(pdb_rule_tab_t *rule_tab)
{
    *rule_tab = {};
}
