/// The sections of a loadable pdb in a listing.
#pragma once

#include "pdb_list_totals.h"

/// Prints the matchers in the file `pdb`, each with the number of values in `totals` and the sizes
/// of its engines; nothing for a pdb without matchers. Returns false with `error` at the first
/// that cannot be read.
[[nodiscard]] bool pdb_list_print_matchers(const view_area_t &pdb, const pdb_totals_t &totals,
                                           view_error_t &error);

/// Prints how many rules and item slots a pdb has; nothing for a pdb without rules. Returns false
/// with `error` for a section that cannot be read.
[[nodiscard]] bool pdb_list_print_rules(const view_area_t &pdb, view_error_t &error);
