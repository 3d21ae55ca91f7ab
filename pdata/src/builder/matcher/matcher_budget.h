/// The budget of a compile: how much its values may expand to.
///
/// A stored value takes four bytes wherever it is used, however long its text is, and expands into
/// several patterns, of which an engine keeps some 60 bytes per byte. Without a bound a pdb of some
/// kilobytes could ask for gigabytes. The bound grows with the descriptions. A text that is stored
/// once and used once takes no more than 32 times its size, the most permutations of a value, so
/// only one whose texts overlap, or are long and used over and over, is refused. The names by which
/// a value is filed count as well: the longest that any matcher has are short.
#pragma once

#include <cstdint>

#include "pdata_error.h"

/// What a budget starts with, and what each byte of the descriptions adds.
constexpr uint64_t MATCHER_BUDGET_BASE = 16ULL << 20;
constexpr uint64_t MATCHER_BUDGET_PER_BYTE = 32;

/// What filing a value, a registration, and each of its pieces cost beside their bytes.
constexpr uint64_t MATCHER_BUDGET_COST = 4;

struct matcher_budget_t {
    uint64_t limit = 0; ///< bytes of values and of the pieces that they expand into
    uint64_t used = 0;
    bool exceeded = false; ///< something was refused
};

/// Takes `amount` out of `budget`; null stands for no bound. PDATA_ERR_OVERFLOW with a message
/// when it does not suffice.
[[nodiscard]] inline pdata_status_t matcher_budget_take(matcher_budget_t *budget, uint64_t amount)
{
    if (budget == nullptr)
        return PDATA_SUCCESS;
    budget->exceeded = amount > budget->limit - budget->used;
    if (budget->exceeded)
        return pdata_fail(PDATA_ERR_OVERFLOW, "values expand to more than %llu bytes\n",
                          static_cast<unsigned long long>(budget->limit));
    budget->used += amount;
    return PDATA_SUCCESS;
}
