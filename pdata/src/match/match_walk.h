/// Walks through radix trees, from the front of a value or from its back.
#pragma once

#include "match_flow.h"

struct match_walk_t {
    const view_radix_t &tree;
    bool backwards;
    bool icase;
    uint32_t row = 0; ///< where it stands
    uint32_t at = 0;  ///< bytes passed
};

/// Passes one edge; false where no pattern goes on.
[[nodiscard]] bool match_walk_step(const match_value_t &value, match_walk_t &walk);

/// Reports the items of the row where a walk stands. What must match the whole data counts at its
/// end, and not before that is known.
void match_walk_report(pdata_flow &flow, const match_value_t &value, const match_walk_t &walk);
