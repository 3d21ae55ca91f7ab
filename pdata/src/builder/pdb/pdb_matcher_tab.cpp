#include "pdb_matcher_tab.h"

#include <algorithm>
#include <exception>
#include <string_view>

namespace
{

/// What decides the equality of two names: the length, and the bytes up to a 0 byte.
void append_name(std::string *text, csa_str_t name)
{
    const std::string_view view = csa_str_view(name);
    text->append(std::to_string(view.size())).push_back(':');
    text->append(view.substr(0, view.find('\0'))).push_back('\0');
}

std::string index_key(const matcher_key_t &key)
{
    std::string text = std::to_string(key.key_way) + '/';
    append_name(&text, key.key_proto);
    append_name(&text, key.key_attr);
    return text;
}

/// Adds a value to the list of a key and of one direction; the list comes into being if there is
/// none.
pdb_matcher_elt *add_elt(pdb_matcher_tab_t *matcher_tab, matcher_key_t key, csa_attr_way_t way,
                         const pdb_matcher_value_t &value)
{
    key.key_way = way;
    pdb_matcher_list_t *&list = matcher_tab->index[index_key(key)];
    if (list == nullptr) {
        list = &matcher_tab->matcher_lists.emplace_back();
        list->matcher_list_key = key;
    }
    pdb_matcher_elt &elt = list->matcher_elts.emplace_back();
    elt.matcher_elt_idx = value.idx;
    elt.matcher_elt_val = value.val;
    elt.matcher_elt_pattern_offset = value.pattern_offset;
    elt.srule_id = value.srule_id;
    list->matcher_list_min_data = std::max(list->matcher_list_min_data, value.min_data);
    list->matcher_list_offset = std::max(list->matcher_list_offset, value.pattern_offset);
    return &elt;
}

} // namespace

void pdb_matcher_tab_init(pdb_matcher_tab_t *matcher_tab)
{
    pdb_matcher_tab_clean(matcher_tab);
}

pdata_status_t pdb_matcher_tab_add(pdb_matcher_tab_t *matcher_tab, const matcher_key_t &matcher_key,
                                   const pdb_matcher_value_t &value)
{
    const uint32_t way = matcher_key.key_way;
    pdb_matcher_elt *cts = nullptr;
    pdb_matcher_elt *stc = nullptr;
    try {
        if (way == ATTR_WAY_CTS || way == ATTR_WAY_BOTH)
            cts = add_elt(matcher_tab, matcher_key, ATTR_WAY_CTS, value);
        if (way == ATTR_WAY_STC || way == ATTR_WAY_BOTH)
            stc = add_elt(matcher_tab, matcher_key, ATTR_WAY_STC, value);
    } catch (const std::exception &) {
        return PDATA_ERR_NO_MEMORY;
    }
    if (cts != nullptr && stc != nullptr) {
        cts->matcher_elt_force = stc;
        stc->matcher_elt_force = cts;
    }
    return PDATA_SUCCESS;
}

pdb_matcher_list_t *pdb_matcher_tab_find(pdb_matcher_tab_t *matcher_tab, const matcher_key_t &key)
{
    const auto found = matcher_tab->index.find(index_key(key));
    return found == matcher_tab->index.end() ? nullptr : found->second;
}

uint32_t pdb_matcher_tab_get_nr(const pdb_matcher_list_t &list)
{
    return static_cast<uint32_t>(list.matcher_elts.size());
}

void pdb_matcher_tab_clean(pdb_matcher_tab_t *matcher_tab)
{
    *matcher_tab = {};
}
