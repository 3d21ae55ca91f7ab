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

/// A value and its attribute, as a number that orders values by attribute, and those of each as
/// they were given, which is how they lie in the memory.
using placed_t = uint64_t;

uint32_t attribute_of(placed_t placed)
{
    return static_cast<uint32_t>(placed >> 32);
}

uint32_t index_of(placed_t placed)
{
    return static_cast<uint32_t>(placed);
}

/// What alike values have the same.
struct digest_t {
    placed_t placed;
    uint64_t hash;
};

/// One run.
struct proving_t {
    std::span<const prove_value_t> values;
    std::vector<prove_verdict_t> verdicts = {};
    std::vector<prove_case_t> cases = {}; ///< of a batch
    std::vector<uint32_t> places = {};    ///< by case: its value
    std::span<const prove_stored_t> stored = {};
    std::optional<prove_trial_t> trial = {};
};

/// Tells whether two values of an attribute are the same.
bool are_alike(const prove_value_t &one, const prove_value_t &other)
{
    return std::tie(one.text, one.offset, one.min_size) ==
           std::tie(other.text, other.offset, other.min_size);
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

/// Returns the values by attribute.
std::vector<placed_t> order_of(std::span<const prove_value_t> values)
{
    std::map<std::pair<std::string_view, std::string_view>, uint32_t> numbers; // of attributes
    std::vector<placed_t> order;
    order.reserve(values.size());
    for (const prove_value_t &value : values) {
        const auto next = static_cast<uint32_t>(numbers.size());
        const auto at = numbers.emplace(std::pair(value.protocol, value.attribute), next).first;
        order.push_back(placed_t{at->second} << 32 | order.size());
    }
    std::ranges::sort(order);
    return order;
}

uint64_t hash_of(const prove_value_t &value)
{
    return std::hash<std::string_view>()(value.text) + value.offset +
           (uint64_t{value.min_size} << 32);
}

/// Returns for each value the first one that is like it, mostly itself. Alike values have equal
/// hashes; of values that differ and have equal ones, all but one may be proved once more.
std::vector<uint32_t> first_alike(std::span<const prove_value_t> values,
                                  std::span<const placed_t> order)
{
    std::vector<digest_t> digests;
    digests.reserve(order.size());
    for (const placed_t at : order)
        digests.push_back({at, hash_of(values[index_of(at)])});
    std::ranges::sort(digests, {}, [](const digest_t &digest) {
        return std::tuple(attribute_of(digest.placed), digest.hash, digest.placed);
    });
    std::vector<uint32_t> first(values.size());
    for (size_t i = 0; i < digests.size(); ++i) {
        const uint32_t index = index_of(digests[i].placed);
        const bool follows = i != 0 && digests[i].hash == digests[i - 1].hash &&
                             attribute_of(digests[i].placed) == attribute_of(digests[i - 1].placed);
        const uint32_t before = follows ? first[index_of(digests[i - 1].placed)] : index;
        first[index] = follows && are_alike(values[before], values[index]) ? before : index;
    }
    return first;
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
    const std::vector<placed_t> order = order_of(values);
    const std::vector<uint32_t> first = first_alike(values, order);
    size_t weight = 0;
    for (size_t i = 0; i < order.size(); ++i) {
        const uint32_t index = index_of(order[i]);
        if (first[index] != index)
            continue;
        if (weight >= PROVE_BATCH_MAX ||
            (i != 0 && attribute_of(order[i]) != attribute_of(order[i - 1]))) {
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
    for (uint32_t index = 0; index < first.size(); ++index)
        if (first[index] != index)
            proving.verdicts[index] = proving.verdicts[first[index]];
    return std::move(proving.verdicts);
}

prove_verdict_t prove_value(const prove_value_t &value)
{
    return prove_values({&value, 1}).front();
}
