#include "prove_value.h"

#include <algorithm>
#include <map>
#include <optional>
#include <tuple>

#include "prove_batch.h"
#include "prove_decide.h"
#include "prove_trial.h"

namespace
{

/// How much a value that is tried on all data counts in a batch.
constexpr size_t HEAVY = 16;

/// Work in the pdb of all values that each of them brings with it. Where every sample leads to most
/// values it ends soon, and batches, which are small, do the rest.
constexpr uint64_t TRIAL_WORK = 256;

/// A value on its way into order. What tells most values apart stands here, so that texts, which
/// lie all over the memory, are seldom looked at.
struct placed_t {
    uint32_t attribute; ///< a number for its attribute
    uint32_t size;      ///< bytes of its text
    uint64_t begin;     ///< the first eight of them, the first the highest; zeros behind the end
    uint32_t index;     ///< of the value

    auto key() const { return std::tuple(attribute, size, begin); }
};

/// Values, alike ones side by side and those of an attribute together.
using value_order_t = std::vector<placed_t>;

/// One run.
struct proving_t {
    std::span<const prove_value_t> values;
    std::vector<prove_verdict_t> verdicts = {};
    std::vector<prove_case_t> cases = {}; ///< of a batch
    std::vector<uint32_t> places = {};    ///< by case: its value
    std::span<const prove_stored_t> stored = {};
    std::optional<prove_trial_t> trial = {};
};

/// Tells whether a value comes before another one: those of an attribute together, and alike ones.
bool comes_before(const proving_t &proving, const placed_t &a, const placed_t &b)
{
    if (a.key() != b.key())
        return a.key() < b.key();
    const prove_value_t &one = proving.values[a.index];
    const prove_value_t &other = proving.values[b.index];
    return std::tie(one.text, one.offset, one.min_size) <
           std::tie(other.text, other.offset, other.min_size);
}

bool are_alike(const proving_t &proving, const placed_t &a, const placed_t &b)
{
    if (a.key() != b.key())
        return false;
    const prove_value_t &one = proving.values[a.index];
    const prove_value_t &other = proving.values[b.index];
    return one.text == other.text && one.offset == other.offset && one.min_size == other.min_size;
}

/// Returns the first bytes of a text as a number that orders as they do.
uint64_t begin_of(std::string_view text)
{
    uint64_t begin = 0;
    for (size_t i = 0; i < sizeof begin; ++i)
        begin = begin << 8 | (i < text.size() ? static_cast<uint8_t>(text[i]) : 0U);
    return begin;
}

/// Tries a case of an open batch.
void try_case(prove_batch_t &batch, size_t index, prove_case_t &at)
{
    for (size_t i = 0; i < at.samples.size(); ++i)
        at.is_found[i] = prove_batch_finds(batch, index, at.samples[i]);
    if (at.comparison.is_lost)
        at.lost_is_found = prove_batch_finds(batch, index, at.comparison.lost);
    for (prove_part_t &part : at.parts) {
        part.is_found = true;
        for (const prove_number_t &number :
             {part.range.from, prove_range_middle(part.range), part.range.to})
            if (!prove_batch_finds(batch, index, number))
                part.is_found = false;
    }
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

/// Tells whether a case of the batch needs no compilation.
bool is_settled(proving_t &proving, size_t index)
{
    prove_case_t &at = proving.cases[index];
    return at.is_refused || at.is_plain ||
           (proving.trial &&
            prove_trial_finds_all(*proving.trial, proving.stored[proving.places[index]], at));
}

/// Closes the batch in the making.
void finish_batch(proving_t &proving)
{
    std::vector<prove_case_t *> open;
    for (size_t i = 0; i < proving.cases.size(); ++i)
        if (!is_settled(proving, i))
            open.push_back(&proving.cases[i]);
    try_cases(open);
    for (size_t i = 0; i < proving.cases.size(); ++i)
        proving.verdicts[proving.places[i]] = prove_case_close(proving.cases[i]);
    proving.cases.clear();
    proving.places.clear();
}

value_order_t order_of(const proving_t &proving)
{
    std::map<std::pair<std::string_view, std::string_view>, uint32_t> numbers; // of attributes
    value_order_t order;
    order.reserve(proving.values.size());
    for (const prove_value_t &value : proving.values) {
        const auto next = static_cast<uint32_t>(numbers.size());
        const auto at = numbers.emplace(std::pair(value.protocol, value.attribute), next).first;
        order.push_back({at->second, static_cast<uint32_t>(value.text.size()), begin_of(value.text),
                         static_cast<uint32_t>(order.size())});
    }
    std::sort(order.begin(), order.end(),
              [&](const placed_t &a, const placed_t &b) { return comes_before(proving, a, b); });
    return order;
}

} // namespace

std::vector<prove_verdict_t> prove_values(std::span<const prove_value_t> values,
                                          const prove_progress_t &progress,
                                          const prove_whole_t &whole)
{
    proving_t proving{values};
    proving.verdicts.resize(values.size());
    proving.stored = whole.stored;
    if (whole.catalog != nullptr)
        proving.trial.emplace(prove_trial_begin(*whole.catalog, TRIAL_WORK * (values.size() + 1)));
    const value_order_t order = order_of(proving);
    size_t weight = 0;
    for (size_t i = 0; i < order.size(); ++i) {
        const placed_t &before = order[i == 0 ? 0 : i - 1];
        const uint32_t index = order[i].index;
        if (i != 0 && are_alike(proving, order[i], before))
            continue;
        if (weight >= PROVE_BATCH_MAX || order[i].attribute != before.attribute) {
            finish_batch(proving);
            weight = 0;
            if (progress)
                progress(i);
        }
        proving.cases.push_back(prove_case_make(values[index]));
        proving.places.push_back(index);
        weight += proving.cases.back().is_heavy ? HEAVY : 1;
    }
    finish_batch(proving);
    for (size_t i = 1; i < order.size(); ++i)
        if (are_alike(proving, order[i], order[i - 1]))
            proving.verdicts[order[i].index] = proving.verdicts[order[i - 1].index];
    return std::move(proving.verdicts);
}

prove_verdict_t prove_value(const prove_value_t &value)
{
    return prove_values({&value, 1}).front();
}
