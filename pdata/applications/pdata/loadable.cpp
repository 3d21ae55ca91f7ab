#include "loadable.h"

#include <algorithm>
#include <new>

#include "flow_match.h"
#include "pdata.hpp"

namespace
{

/// Tells whether items stand for values of one rule of the descriptions, as those of a rule do.
bool is_of_one_rule(const loadable_t &loadable, const std::vector<pdata_item> &items)
{
    return std::ranges::all_of(items, [&](pdata_item item) {
        const view_stored_value_t &first = *loadable_origin(loadable, items.front());
        const view_stored_value_t &value = *loadable_origin(loadable, item);
        return value.protocol == first.protocol && value.rule == first.rule;
    });
}

void find_origins(loadable_t &loadable, uint32_t nr_item)
{
    pdb_view_t view;
    view_error_t error;
    const bool known = pdb_view_open(input_file_bytes(loadable.file), view, error) &&
                       view_values_read(view, loadable.values, error) &&
                       view_values_origins(view, loadable.values, loadable.origins, error) &&
                       loadable.origins.size() == size_t{nr_item} + 1 &&
                       std::ranges::all_of(loadable.rule_items, [&](const auto &items) {
                           return is_of_one_rule(loadable, items);
                       });
    if (!known && error.fault == VIEW_MEMORY)
        throw std::bad_alloc(); // another answer would be none
    if (!known)
        loadable.origins.clear();
}

} // namespace

bool loadable_open(console_t &console, const std::string &path, loadable_t &loadable)
{
    return open_file(console, path, loadable.file) && loadable_start(console, loadable);
}

bool loadable_start(console_t &console, loadable_t &loadable)
{
    const std::span<const uint8_t> bytes = input_file_bytes(loadable.file);
    pdata_db *db = nullptr;
    pdata_failure failure = {};
    const pdata_result result = pdata_db_open_memory(bytes.data(), bytes.size(), 0, &db, &failure);
    loadable.db.reset(db);
    if (result == PDATA_R_OK)
        return true;
    if (result == PDATA_R_MEMORY)
        throw std::bad_alloc();
    console_error(console, "{}: {}", loadable.file.name, failure.text);
    return false;
}

void loadable_prepare(loadable_t &loadable)
{
    pdata_db_info info = {};
    pdata_db_describe(loadable.db.get(), &info);
    loadable.rule_items.assign(size_t{info.nr_rule} + 1, {});
    for (pdata_item item = 1; item <= info.nr_item; ++item) {
        pdata_item_info row = {};
        if (pdata_db_item(loadable.db.get(), item, &row) != PDATA_R_OK)
            throw std::bad_alloc(); // the pdb has the item
        if (row.rule != 0)
            loadable.rule_items[row.rule].push_back(item);
    }
    find_origins(loadable, info.nr_item);
}

std::string_view loadable_rule_protocol(const loadable_t &loadable, pdata_rule rule)
{
    pdata_rule_info info = {};
    (void)pdata_db_rule(loadable.db.get(), rule, &info); // it is one of the pdb
    if (info.nr_path != 0)
        return flow_rule_protocol(loadable.db.get(), info);
    const std::vector<pdata_item> &items = loadable.rule_items[rule];
    const view_stored_value_t *value =
        items.empty() ? nullptr : loadable_origin(loadable, items.front());
    return value == nullptr ? "unknown" : value->protocol;
}

std::string_view loadable_protocol_name(const loadable_t &loadable, pdata_protocol protocol)
{
    return pdata::view(pdata_db_protocol_name(loadable.db.get(), protocol));
}

const view_stored_value_t *loadable_origin(const loadable_t &loadable, pdata_item item)
{
    if (item == 0 || item >= loadable.origins.size())
        return nullptr;
    return &loadable.values[loadable.origins[item]];
}
