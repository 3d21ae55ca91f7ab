/// The rules of two protocols held against each other.
#pragma once

#include "description_model.h"
#include "pdb_difference.h"
#include "rule_row.h"

/// One comparison.
struct comparison_t {
    const difference_sink_t *sink;
    pdb_difference_t &out;
    view_error_t &error;
    const difference_bounds_t &bounds;
    row_maker_t maker = {};
    size_t shown = 0; ///< bytes of values that were listed
};

/// A protocol of one side, or none.
struct side_t {
    bool is_after = false;
    model_strings_t strings;
    view_protocol_t view;
    model_protocol_t fields;
    uint32_t nr_rule = 0;
};

/// A protocol that is compared. It is handed out once something of it differs.
struct protocol_pair_t {
    comparison_t &comparison;
    side_t before;
    side_t after;
    protocol_difference_t shown = {};
    bool differs = false;
};

/// Hands out the protocol, when nothing of it was.
void put_protocol(protocol_pair_t &pair);

/// Pairs the rules of both protocols and hands out those that differ. Returns false with the error
/// of the comparison for rules that are damaged. Throws std::bad_alloc.
[[nodiscard]] bool compare_rules(protocol_pair_t &pair);
