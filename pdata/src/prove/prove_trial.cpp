#include "prove_trial.h"

#include <algorithm>

namespace
{

/// Values that are tried on all data of an attribute, up to which it is cheaper to try than to
/// compile.
constexpr uint64_t CHECKS_MAX = 32;

/// Tells whether a value may be tried: preempt values wait for minimum data.
bool can_be_tried(const prove_trial_t &trial, const prove_stored_t &stored, const prove_case_t &at)
{
    if (trial.left == 0 || stored.attribute == 0 || stored.value == VIEW_VALUE_NONE)
        return false;
    const view_stored_value_t &value = trial.catalog.values[stored.value];
    return !value.preempt && value.text == at.value->text && !at.comparison.is_lost &&
           prove_catalog_cost(trial.catalog, stored.attribute) <= CHECKS_MAX;
}

bool finds_part(prove_trial_t &trial, const prove_stored_t &stored, const prove_range_t &range)
{
    const prove_number_t tried[] = {range.from, prove_range_middle(range), range.to};
    return std::ranges::all_of(tried, [&](const prove_number_t &number) {
        return prove_trial_finds(trial, stored, {}, number);
    });
}

} // namespace

prove_trial_t prove_trial_begin(prove_catalog_t &catalog, uint64_t work)
{
    pdata_db_info info;
    pdata_db_describe(catalog.db.get(), &info);
    return {catalog, work, std::vector<pdata_item>(info.nr_item)};
}

void prove_trial_feed(prove_trial_t &trial, pdata_attribute attribute, std::string_view bytes,
                      const prove_number_t &number)
{
    prove_trial_pay(trial, 1 + bytes.size() / PROVE_BYTES_PER_WORK +
                               prove_catalog_cost(trial.catalog, attribute));
    prove_feed(trial.catalog.db.get(), trial.catalog.flow.get(), attribute, bytes, number);
}

bool prove_trial_finds(prove_trial_t &trial, const prove_stored_t &stored, std::string_view bytes,
                       const prove_number_t &number)
{
    pdata_flow *flow = trial.catalog.flow.get();
    prove_trial_feed(trial, stored.attribute, bytes, number);
    const size_t nr = pdata_flow_items(flow, trial.items.data(), trial.items.size());
    prove_trial_pay(trial, nr);
    const auto end = trial.items.begin() + static_cast<ptrdiff_t>(nr);
    const bool found = std::any_of(trial.items.begin(), end, [&](pdata_item item) {
        return trial.catalog.value_of[item] == stored.value;
    });
    pdata_flow_reset(flow);
    return found;
}

bool prove_trial_finds_all(prove_trial_t &trial, const prove_stored_t &stored, prove_case_t &at)
{
    if (!can_be_tried(trial, stored, at))
        return false;
    for (const std::string &sample : at.samples)
        if (!prove_trial_finds(trial, stored, sample, {}))
            return false;
    for (const prove_part_t &part : at.parts)
        if (!finds_part(trial, stored, part.range))
            return false;
    std::ranges::fill(at.is_found, 1);
    for (prove_part_t &part : at.parts)
        part.is_found = true;
    return true;
}
