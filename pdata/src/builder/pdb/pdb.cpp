#include "pdb.h"

pdata_status_t pdb_init(pdb_build_t *pdb_build, const pdb_config_t *pdb_config)
{
    return pdata_guard([&] {
        *pdb_build = {};
        pdb_matcher_tab_init(&pdb_build->pdb_build_matcher_tab);
        pdb_rule_tab_init(&pdb_build->pdb_build_rule_tab, PDB_RULE_TAB_LINES);
        pdb_build->pdb_build_config = pdb_config;
        pdb_build->pdb_build_item_id = 1;
        const int ret = hstring_init(&pdb_build->pdb_build_matcher_hstring, 0);
        return ret == 0 ? PDATA_SUCCESS : PDATA_ERR_NO_MEMORY;
    });
}

void pdb_clean(pdb_build_t *pdb_build)
{
    pdb_facts_clean(&pdb_build->pdb_build_facts);
    pdb_matcher_tab_clean(&pdb_build->pdb_build_matcher_tab);
    pdb_rule_tab_clean(&pdb_build->pdb_build_rule_tab);
    hstring_clean(&pdb_build->pdb_build_matcher_hstring);
}

pdata_status_t pdb_matcher_register(pdb_build_t *pdb_build, const matcher_key_t &matcher_key,
                                    const pdb_matcher_value_t &value)
{
    ++pdb_build->pdb_build_nr_matcher;
    return pdb_matcher_tab_add(&pdb_build->pdb_build_matcher_tab, matcher_key, value);
}

uint32_t pdb_matcher_get_nr(const pdb_build_t &pdb_build)
{
    return pdb_build.pdb_build_nr_matcher;
}
