#include "pdb_rule_tab.h"

namespace
{

pdata_status_t pdb_rule_tab_add_item(pdb_rule_tab_t *rule_tab, uint32_t position,
                                     const pdb_rule_item_t &item, uint32_t rule_max_attr)
{
    pdb_rule_elt &elt = rule_tab->rt_elts[position];
    if (elt.re_nr_item >= rule_max_attr)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_RULE_ITEM, rule_max_attr);
    rule_tab->rt_items.push_back({item.item, item.matcher_id, item.srule_id});
    rule_tab->rt_owners.push_back(position);
    ++elt.re_nr_item;
    elt.re_sum_attr_len += item.attr_len;
    return PDATA_SUCCESS;
}

/// Returns the place of a key in the index, which grows to hold it.
uint32_t &index_place(pdb_rule_tab_t *rule_tab, const pdb_rule_key_t &key)
{
    if (rule_tab->index.size() <= key.rk_proto_idx)
        rule_tab->index.resize(size_t{key.rk_proto_idx} + 1);
    std::vector<uint32_t> &rules = rule_tab->index[key.rk_proto_idx];
    if (rules.size() <= key.rk_rule_idx)
        rules.resize(size_t{key.rk_rule_idx} + 1);
    return rules[key.rk_rule_idx];
}

/// Makes the rule of a key that has none, and gives its position + 1.
uint32_t pdb_rule_tab_new_elt(pdb_rule_tab_t *rule_tab, const pdb_rule_key_t &key)
{
    const size_t chain = pdb_rule_tab_hash_key(key) & (rule_tab->rt_tab.size() - 1);
    rule_tab->rt_tab[chain].push_back(static_cast<uint32_t>(rule_tab->rt_elts.size()));
    rule_tab->rt_elts.emplace_back().re_key = key;
    return static_cast<uint32_t>(rule_tab->rt_elts.size());
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
    uint32_t &place = index_place(rule_tab, key);
    if (place == 0) {
        place = pdb_rule_tab_new_elt(rule_tab, key);
        ++*nr_rule;
    }
    return pdb_rule_tab_add_item(rule_tab, place - 1, item, rule_max_attr);
}

void pdb_rule_tab_finalize(pdb_rule_tab_t *rule_tab)
{
    uint32_t first = 0;
    std::vector<uint32_t> next; // per rule, where its next item goes
    next.reserve(rule_tab->rt_elts.size());
    for (pdb_rule_elt &elt : rule_tab->rt_elts) {
        elt.re_first_item = first;
        next.push_back(first);
        first += elt.re_nr_item;
    }
    std::vector<rule_registration_item_t> together(rule_tab->rt_items.size());
    for (size_t i = 0; i < rule_tab->rt_items.size(); ++i)
        together[next[rule_tab->rt_owners[i]]++] = rule_tab->rt_items[i];
    rule_tab->rt_items = std::move(together);
    rule_tab->rt_owners = {};
}

std::span<const rule_registration_item_t> pdb_rule_tab_get_items(const pdb_rule_tab_t &rule_tab,
                                                                 const pdb_rule_elt &elt)
{
    return std::span(rule_tab.rt_items).subspan(elt.re_first_item, elt.re_nr_item);
}

const pdb_rule_elt *pdb_rule_tab_find_elt(const pdb_rule_tab_t &rule_tab, const pdb_rule_key_t &key)
{
    if (key.rk_proto_idx >= rule_tab.index.size())
        return nullptr;
    const std::vector<uint32_t> &rules = rule_tab.index[key.rk_proto_idx];
    if (key.rk_rule_idx >= rules.size() || rules[key.rk_rule_idx] == 0)
        return nullptr;
    return &rule_tab.rt_elts[rules[key.rk_rule_idx] - 1];
}

uint32_t pdb_rule_tab_hash_key(const pdb_rule_key_t &key)
{
    return key.rk_proto_idx * 4 + key.rk_rule_idx;
}

void pdb_rule_tab_print(const pdb_rule_tab_t &rule_tab, std::FILE *file)
{
    for (const std::vector<uint32_t> &chain : rule_tab.rt_tab)
        for (auto position = chain.rbegin(); position != chain.rend(); ++position) {
            const pdb_rule_elt &elt = rule_tab.rt_elts[*position];
            std::fprintf(file, "%u:%u %u", elt.re_key.rk_proto_idx, elt.re_key.rk_rule_idx,
                         elt.re_sum_attr_len);
            for (const rule_registration_item_t &item : pdb_rule_tab_get_items(rule_tab, elt))
                std::fprintf(file, " %u/%u/%u", item.item, item.referer, item.sub_rule);
            std::fprintf(file, "\n");
        }
}

void pdb_rule_tab_clean(pdb_rule_tab_t *rule_tab)
{
    *rule_tab = {};
}
