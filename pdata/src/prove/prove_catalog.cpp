#include "prove_catalog.h"

#include <new>

#include "pdb_view.h"

namespace
{

void expect(pdata_result result)
{
    if (result == PDATA_R_MEMORY)
        throw std::bad_alloc();
}

bool open(std::span<const uint8_t> pdb, prove_catalog_t &catalog)
{
    pdata_db *db = nullptr;
    expect(pdata_db_open_memory(pdb.data(), pdb.size(), 0, &db, nullptr));
    catalog.db.reset(db);
    pdata_flow *flow = nullptr;
    if (db != nullptr)
        expect(pdata_flow_new(db, 0, &flow));
    catalog.flow.reset(flow);
    return flow != nullptr;
}

bool read_values(std::span<const uint8_t> pdb, prove_catalog_t &catalog)
{
    pdb_view_t view;
    view_error_t error;
    const bool known = pdb_view_open(pdb, view, error) &&
                       view_values_read(view, catalog.values, error) &&
                       view_values_origins(view, catalog.values, catalog.value_of, error);
    if (error.fault == VIEW_MEMORY)
        throw std::bad_alloc();
    return known;
}

/// Names every rule by the values that its items stand for.
void name_rules(prove_catalog_t &catalog)
{
    pdata_db_info info;
    pdata_db_describe(catalog.db.get(), &info);
    catalog.rule_of.assign(catalog.values.size(), 0);
    catalog.values_of.resize(size_t{info.nr_rule} + 1);
    for (pdata_item item = 1; item <= info.nr_item && item < catalog.value_of.size(); ++item) {
        pdata_item_info row{};
        expect(pdata_db_item(catalog.db.get(), item, &row));
        if (catalog.value_of[item] != VIEW_VALUE_NONE)
            catalog.rule_of[catalog.value_of[item]] = row.rule;
    }
    for (uint32_t i = 0; i < catalog.values.size(); ++i) {
        const view_stored_value_t &value = catalog.values[i];
        const uint32_t rule = catalog.rule_of[i];
        if (rule == 0)
            continue;
        catalog.values_of[rule].push_back(i);
        uint32_t &known =
            catalog.rules.try_emplace({value.protocol, value.rule}, rule).first->second;
        if (known != rule)
            known = 0; // two protocols of one name
    }
}

} // namespace

bool prove_catalog_open(std::span<const uint8_t> pdb, prove_catalog_t &catalog)
{
    if (!open(pdb, catalog) || !read_values(pdb, catalog))
        return false;
    name_rules(catalog);
    return true;
}
