/// Pairing of what two sides have, by keys: the surest first, then what is left by the next.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

/// Indexes of two sides that are still to be paired, ascending, and the pairs.
struct pairing_t {
    std::vector<uint32_t> before;
    std::vector<uint32_t> after;
    std::vector<std::pair<uint32_t, uint32_t>> pairs;
};

/// Returns the pairing of two sides of which nothing is paired yet.
pairing_t pairing_of(size_t nr_before, size_t nr_after);

/// Takes indexes out of a side.
void pairing_drop(std::vector<uint32_t> &side, std::vector<uint32_t> &indexes);

/// Pairs what has the same key; equal ones in their order. `before_key` and `after_key` give the
/// key of an index. Time of sorting; no key is kept.
template <typename BeforeKey, typename AfterKey>
void pair_by(pairing_t &pairing, BeforeKey before_key, AfterKey after_key)
{
    std::vector<uint32_t> before = pairing.before;
    std::vector<uint32_t> after = pairing.after;
    std::ranges::stable_sort(before, {}, before_key);
    std::ranges::stable_sort(after, {}, after_key);
    std::vector<std::pair<uint32_t, uint32_t>> found;
    for (size_t i = 0, j = 0; i < before.size() && j < after.size();) {
        const auto one = before_key(before[i]);
        const auto other = after_key(after[j]);
        if (one == other)
            found.emplace_back(before[i++], after[j++]);
        else
            ++(one < other ? i : j);
    }
    std::ranges::sort(found);
    pairing.pairs.insert(pairing.pairs.end(), found.begin(), found.end());
    std::vector<uint32_t> paired_before;
    std::vector<uint32_t> paired_after;
    for (const auto &[one, other] : found) {
        paired_before.push_back(one);
        paired_after.push_back(other);
    }
    pairing_drop(pairing.before, paired_before);
    pairing_drop(pairing.after, paired_after);
}
