#include "prove_catalog.h"

#include <algorithm>
#include <iterator>
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
    expect(pdata_flow_new(db, 0, &flow)); // none without a database
    catalog.flow.reset(flow);
    return flow != nullptr;
}

/// Counts the values of each matcher, each of which was opened once, that are tried on all data.
void count_checks(const pdb_view_t &view, prove_catalog_t &catalog)
{
    catalog.checks.assign(1, 0);
    view_error_t error;
    view_cursor_t cursor = view_walk(view.matchers.list);
    for (view_record_t record; view_next(cursor, record);) {
        view_matcher_t matcher;
        uint64_t nr = 0;
        (void)view_matcher_open(record, view.matchers.names, matcher, error); // as before
        for (uint32_t i = 0; i < view_matcher_nr_private(matcher); ++i)
            nr += view_matcher_entry(matcher, i).kind == MATCHER_MAP_CATCH_ALL ? 1 : 0;
        catalog.checks.push_back(nr);
    }
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
    if (known)
        count_checks(view, catalog);
    return known;
}

/// Notes the rule of every value.
void find_rules(prove_catalog_t &catalog)
{
    catalog.rule_of.assign(catalog.values.size(), 0);
    for (pdata_item item = 1; item < catalog.value_of.size(); ++item) {
        pdata_item_info row{};
        expect(pdata_db_item(catalog.db.get(), item, &row));
        catalog.rule_of[catalog.value_of[item]] = row.rule;
    }
}

/// Begins the protocol that a value is the first one of.
prove_protocol_t &begin_protocol(prove_catalog_t &catalog, const view_stored_value_t &value)
{
    const auto [at, is_new] =
        catalog.protocols.try_emplace(value.protocol, prove_protocol_t{catalog.rows.size()});
    at->second.is_one = is_new;
    return at->second;
}

/// Files a value under its rule, and the rule under its name.
void file_value(prove_catalog_t &catalog, uint32_t index, prove_protocol_t &protocol)
{
    const view_stored_value_t &value = catalog.values[index];
    const uint32_t number = catalog.rule_of[index];
    if (number == 0)
        return;
    prove_rule_values_t &rule = catalog.rules[number];
    if (rule.nr++ == 0)
        rule = {{value.protocol, value.rule}, index, 1};
    const size_t row = protocol.first + value.rule;
    catalog.rows.resize(std::max(catalog.rows.size(), row + 1));
    // Two protocols of one name may stand side by side with rules of one index.
    protocol.is_one = protocol.is_one && (catalog.rows[row] == 0 || catalog.rows[row] == number);
    catalog.rows[row] = number;
}

/// Names every rule by the values that its items stand for.
void name_rules(prove_catalog_t &catalog)
{
    pdata_db_info info;
    pdata_db_describe(catalog.db.get(), &info);
    catalog.rules.resize(size_t{info.nr_rule} + 1);
    prove_protocol_t *protocol = nullptr;
    for (uint32_t i = 0; i < catalog.values.size(); ++i) {
        const view_stored_value_t &value = catalog.values[i];
        if (i == 0 || value.protocol != catalog.values[i - 1].protocol)
            protocol = &begin_protocol(catalog, value);
        file_value(catalog, i, *protocol);
    }
}

} // namespace

bool prove_catalog_open(std::span<const uint8_t> pdb, prove_catalog_t &catalog)
{
    if (!open(pdb, catalog) || !read_values(pdb, catalog))
        return false;
    find_rules(catalog);
    name_rules(catalog);
    return true;
}

uint32_t prove_catalog_rule(const prove_catalog_t &catalog, const prove_rule_name_t &name)
{
    const auto protocol = catalog.protocols.find(name.first);
    if (protocol == catalog.protocols.end() || !protocol->second.is_one)
        return 0;
    const size_t row = protocol->second.first + name.second;
    return row < catalog.rows.size() ? catalog.rows[row] : 0;
}

uint64_t prove_catalog_cost(const prove_catalog_t &catalog, pdata_attribute attribute)
{
    pdata_attribute_info info{};
    if (pdata_db_attribute_info(catalog.db.get(), attribute, &info) != PDATA_R_OK)
        return 0;
    uint64_t cost = 0;
    for (uint32_t i = 0; i < std::min<size_t>(info.nr_matcher, std::size(info.matcher)); ++i)
        cost += catalog.checks[info.matcher[i]];
    return cost;
}

pdata_attribute prove_catalog_attribute(prove_catalog_t &catalog, std::string_view protocol,
                                        std::string_view attribute, pdata_direction direction)
{
    const auto [known, is_new] = catalog.attributes.try_emplace({protocol, attribute, direction});
    if (is_new)
        known->second = pdata_db_attribute(catalog.db.get(), std::string(protocol).c_str(),
                                           std::string(attribute).c_str(), direction);
    return known->second;
}
