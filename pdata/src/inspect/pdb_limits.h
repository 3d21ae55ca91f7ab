/// How full every limit of a pdb is, and what its values lost in silence.
///
/// Beside the limits of what is stored (view_limits.h) there is what the descriptions of a pdb ask
/// for and the engines cannot keep: ranges of one list that overlap (value_ranges.h), and preempts
/// that overlap other texts of their matcher (preempt_overlap.h). Both are judged by the values, so
/// that a pdb of descriptions tells them too. Of expressions that are not expanded (value_form.h)
/// nothing is said, nor of overlaps in a matcher whose texts make more states than an automaton has
/// numbers for, which is a limit of its own, or take more than PDB_LIMITS_TEXTS_MAX.
#pragma once

#include <cstddef>
#include <vector>

#include "view_limits.h"

constexpr size_t PDB_LIMITS_TEXTS_MAX = size_t{4} << 20;

/// Returns every limit of an open and verified pdb, the fullest first. Linear time, and once more
/// for each matcher with preempts. Throws std::bad_alloc.
std::vector<view_limit_t> pdb_limits_take(const pdb_view_t &pdb);
