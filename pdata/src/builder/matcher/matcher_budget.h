/// The limit of a matcher: how much memory one may take, and how many bytes of values it may read.
///
/// A stored value takes four bytes wherever it is used, however long its text is, and expands into
/// several patterns, of which an engine keeps some 60 bytes per byte. Without a bound a pdb of some
/// kilobytes could ask for gigabytes, and for hours. Values are expanded one after another, and
/// what they expand to is released once it is filed, so that only the engine's own states stay;
/// patterns share them where they begin, or end, alike. The limit is far above what any description
/// of real signatures comes to: only a file that is made for it reaches it.
#pragma once

#include <cstdint>

#include "pdata_error.h"

/// Bytes that a matcher may take, and bytes of values and of their pieces that it may read.
constexpr uint64_t MATCHER_MAX_BYTES = 1ULL << 30;

/// What a state of an engine takes with its edges, and what a registration takes beside them.
constexpr uint64_t MATCHER_STATE_BYTES = 64;
constexpr uint64_t MATCHER_VALUE_BYTES = 64;

struct matcher_budget_t {
    uint64_t limit = MATCHER_MAX_BYTES;
    uint64_t used = 0;     ///< at most `limit`
    bool exceeded = false; ///< something was refused
};

/// Tells whether `bytes` are within the limit. PDATA_ERR_OVERFLOW with a message when not.
[[nodiscard]] inline pdata_status_t matcher_budget_check(matcher_budget_t *budget, uint64_t bytes)
{
    budget->exceeded = bytes > budget->limit;
    if (budget->exceeded)
        return pdata_fail(PDATA_ERR_OVERFLOW, "values expand to more than %llu bytes\n",
                          static_cast<unsigned long long>(budget->limit));
    return PDATA_SUCCESS;
}

/// Takes `amount`, which is far below 2^64, out of `budget`; fails as matcher_budget_check.
[[nodiscard]] inline pdata_status_t matcher_budget_take(matcher_budget_t *budget, uint64_t amount)
{
    PDATA_TRY(matcher_budget_check(budget, budget->used + amount));
    budget->used += amount;
    return PDATA_SUCCESS;
}
