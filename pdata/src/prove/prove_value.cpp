#include "prove_value.h"

#include <algorithm>
#include <tuple>

#include "prove_batch.h"
#include "prove_decide.h"

namespace
{

/// How much a value that is tried on all data counts in a batch.
constexpr size_t HEAVY = 16;

/// Indexes of values, alike ones side by side and those of an attribute together.
using value_order_t = std::vector<uint32_t>;

/// One run.
struct proving_t {
    std::span<const prove_value_t> values;
    std::vector<prove_verdict_t> verdicts = {};
    std::vector<prove_case_t> cases = {}; ///< of a batch
    std::vector<uint32_t> places = {};    ///< by case: its value
};

auto key_of(const prove_value_t &value)
{
    return std::tie(value.protocol, value.attribute, value.text, value.offset, value.min_size);
}

bool same_attribute(const prove_value_t &a, const prove_value_t &b)
{
    return a.protocol == b.protocol && a.attribute == b.attribute;
}

/// Tries a case of an open batch.
void try_case(prove_batch_t &batch, size_t index, prove_case_t &at)
{
    for (size_t i = 0; i < at.samples.size(); ++i)
        at.is_found[i] = prove_batch_finds(batch, index, at.samples[i]);
    if (at.comparison.is_lost)
        at.lost_is_found = prove_batch_finds(batch, index, at.comparison.lost);
    for (prove_part_t &part : at.parts)
        part.is_found = prove_batch_finds(batch, index, part.range.from) &&
                        prove_batch_finds(batch, index, part.range.to) &&
                        prove_batch_finds(batch, index, prove_range_middle(part.range));
}

/// Tries cases together; those of which the compiler refuses one, by halves.
void try_cases(std::span<prove_case_t *const> cases)
{
    if (cases.empty())
        return;
    std::vector<const prove_value_t *> values;
    for (const prove_case_t *at : cases)
        values.push_back(at->value);
    prove_batch_t batch;
    if (prove_batch_open(values, batch)) {
        for (size_t i = 0; i < cases.size(); ++i)
            try_case(batch, i, *cases[i]);
        return;
    }
    if (cases.size() == 1) {
        cases[0]->is_refused = true;
        return;
    }
    try_cases(cases.first(cases.size() / 2));
    try_cases(cases.subspan(cases.size() / 2));
}

/// Closes the batch in the making.
void finish_batch(proving_t &proving)
{
    std::vector<prove_case_t *> open;
    for (prove_case_t &at : proving.cases)
        if (!at.is_refused)
            open.push_back(&at);
    try_cases(open);
    for (size_t i = 0; i < proving.cases.size(); ++i)
        proving.verdicts[proving.places[i]] = prove_case_close(proving.cases[i]);
    proving.cases.clear();
    proving.places.clear();
}

value_order_t order_of(std::span<const prove_value_t> values)
{
    value_order_t order(values.size());
    for (uint32_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::sort(order.begin(), order.end(),
              [&](uint32_t a, uint32_t b) { return key_of(values[a]) < key_of(values[b]); });
    return order;
}

} // namespace

std::vector<prove_verdict_t> prove_values(std::span<const prove_value_t> values)
{
    proving_t proving{values};
    proving.verdicts.resize(values.size());
    const value_order_t order = order_of(values);
    size_t weight = 0;
    for (size_t i = 0; i < order.size(); ++i) {
        const prove_value_t &value = values[order[i]];
        if (i != 0 && key_of(value) == key_of(values[order[i - 1]]))
            continue;
        if (weight >= PROVE_BATCH_MAX || (i != 0 && !same_attribute(value, values[order[i - 1]]))) {
            finish_batch(proving);
            weight = 0;
        }
        proving.cases.push_back(prove_case_make(value));
        proving.places.push_back(order[i]);
        weight += proving.cases.back().is_heavy ? HEAVY : 1;
    }
    finish_batch(proving);
    for (size_t i = 1; i < order.size(); ++i)
        if (key_of(values[order[i]]) == key_of(values[order[i - 1]]))
            proving.verdicts[order[i]] = proving.verdicts[order[i - 1]];
    return std::move(proving.verdicts);
}

prove_verdict_t prove_value(const prove_value_t &value)
{
    return prove_values({&value, 1}).front();
}
