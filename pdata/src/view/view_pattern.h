/// The serialized patterns of a stream matcher: up to five engines. See pattern_build.h.
#pragma once

#include "view_aho_corasick.h"
#include "view_dot_prefix.h"
#include "view_radix_tree.h"

/// A view of the engines; the file must outlive it. An engine whose bit is not set in `algo`, or
/// that holds no pattern, has no rows.
struct view_pattern_t {
    uint32_t algo = 0; ///< pattern_algo bits
    view_aho_corasick_t aho_corasick;
    view_aho_corasick_t ahoff_corasick;
    view_radix_t prefix_tree;
    view_radix_t suffix_tree;
    view_dot_prefix_t dot_prefix;
};

/// Opens the value of a pattern record, which must end with its last engine.
[[nodiscard]] bool view_pattern_open(const view_area_t &area, view_pattern_t &view,
                                     view_error_t &error);

/// Checks every engine, as each one's header says. Linear time.
[[nodiscard]] bool view_pattern_check(const view_pattern_t &view, uint32_t nr_private,
                                      view_error_t &error);
