#include "pdb_matcher_tab.h"

#include <algorithm>
#include <functional>
#include <string_view>

namespace
{

/// Beside their lengths, what stands in front of a zero byte decides the equality of two names.
bool same_name(csa_str_t a, csa_str_t b)
{
    return a.str_len == b.str_len && csa_str_up_to_zero(a) == csa_str_up_to_zero(b);
}

/// The key of one direction of a key.
matcher_key_t pdb_matcher_tab_key_cpy(const matcher_key_t &key, csa_attr_way_t way)
{
    return {key.key_proto, key.key_attr, way};
}

pdb_matcher_elt pdb_matcher_elt_new(const pdb_matcher_value_t &value)
{
    pdb_matcher_elt elt;
    elt.matcher_elt_idx = value.idx;
    elt.matcher_elt_val = value.val;
    elt.matcher_elt_pattern_offset = value.pattern_offset;
    elt.srule_id = value.srule_id;
    return elt;
}

pdb_matcher_list_t pdb_matcher_tab_new(const matcher_key_t &key)
{
    pdb_matcher_list_t list;
    list.matcher_list_key = key;
    return list;
}

/// Makes the list of a key that has none. Should memory run out, the key still has none.
pdb_matcher_list_t *pdb_matcher_tab_create(pdb_matcher_tab_t *matcher_tab, const matcher_key_t &key)
{
    pdb_matcher_list_t *&list = matcher_tab->index[key];
    list = &matcher_tab->matcher_lists.emplace_back(pdb_matcher_tab_new(key));
    return list;
}

pdb_matcher_elt *pdb_matcher_tab_add_elt(pdb_matcher_list_t *list, const pdb_matcher_value_t &value)
{
    list->matcher_list_min_data = std::max(list->matcher_list_min_data, value.min_data);
    list->matcher_list_offset = std::max(list->matcher_list_offset, value.pattern_offset);
    return &list->matcher_elts.emplace_back(pdb_matcher_elt_new(value));
}

/// Adds a value to the list of one direction of a key, if the key has that direction.
pdb_matcher_elt *add_way(pdb_matcher_tab_t *matcher_tab, const matcher_key_t &matcher_key,
                         csa_attr_way_t way, const pdb_matcher_value_t &value)
{
    if (matcher_key.key_way != way && matcher_key.key_way != ATTR_WAY_BOTH)
        return nullptr;
    const matcher_key_t key = pdb_matcher_tab_key_cpy(matcher_key, way);
    pdb_matcher_list_t *list = pdb_matcher_tab_find(*matcher_tab, key);
    if (list == nullptr)
        list = pdb_matcher_tab_create(matcher_tab, key);
    return pdb_matcher_tab_add_elt(list, value);
}

} // namespace

bool pdb_matcher_tab_key_cmp(const matcher_key_t &a, const matcher_key_t &b)
{
    return a.key_way == b.key_way && same_name(a.key_proto, b.key_proto) &&
           same_name(a.key_attr, b.key_attr);
}

size_t pdb_matcher_tab_key_hash(const matcher_key_t &key)
{
    const std::hash<std::string_view> hash;
    return (hash(csa_str_up_to_zero(key.key_proto)) * 31 + hash(csa_str_up_to_zero(key.key_attr))) *
               4 +
           key.key_way;
}

void pdb_matcher_tab_init(pdb_matcher_tab_t *matcher_tab)
{
    pdb_matcher_tab_clean(matcher_tab);
}

pdata_status_t pdb_matcher_tab_add(pdb_matcher_tab_t *matcher_tab, const matcher_key_t &matcher_key,
                                   const pdb_matcher_value_t &value)
{
    return pdata_guard([&] {
        pdb_matcher_elt *cts = add_way(matcher_tab, matcher_key, ATTR_WAY_CTS, value);
        pdb_matcher_elt *stc = add_way(matcher_tab, matcher_key, ATTR_WAY_STC, value);
        if (cts != nullptr && stc != nullptr) {
            cts->matcher_elt_force = stc;
            stc->matcher_elt_force = cts;
        }
        return PDATA_SUCCESS;
    });
}

pdb_matcher_list_t *pdb_matcher_tab_find(const pdb_matcher_tab_t &matcher_tab,
                                         const matcher_key_t &key)
{
    const auto found = matcher_tab.index.find(key);
    return found == matcher_tab.index.end() ? nullptr : found->second;
}

uint32_t pdb_matcher_tab_get_nr(const pdb_matcher_list_t &list)
{
    return static_cast<uint32_t>(list.matcher_elts.size());
}

void pdb_matcher_tab_print(const pdb_matcher_tab_t &matcher_tab, std::FILE *file)
{
    const auto &lists = matcher_tab.matcher_lists;
    for (auto list = lists.rbegin(); list != lists.rend(); ++list) {
        const matcher_key_t &key = list->matcher_list_key;
        std::fprintf(file, "%.*s %.*s %u\n", key.key_proto.str_len, key.key_proto.str_buf,
                     key.key_attr.str_len, key.key_attr.str_buf, key.key_way);
        for (auto elt = list->matcher_elts.rbegin(); elt != list->matcher_elts.rend(); ++elt)
            std::fprintf(file, "  %u:%u %.*s\n", elt->matcher_elt_idx.item_proto_idx,
                         elt->matcher_elt_idx.item_rule_idx, elt->matcher_elt_val.str_len,
                         elt->matcher_elt_val.str_buf);
    }
}

void pdb_matcher_tab_clean(pdb_matcher_tab_t *matcher_tab)
{
    *matcher_tab = {};
}
