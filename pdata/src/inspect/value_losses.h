/// What the values of stored descriptions lose in silence, matcher by matcher.
#pragma once

#include "view_limits.h"

/// Adds the lists of each matcher whose ranges overlap so that a part is lost.
void range_losses(const pdb_view_t &pdb, std::vector<view_limit_t> &limits);

/// Adds, for each matcher with preempts, the texts of preempts and of other values that it misses
/// where they overlap.
void preempt_losses(const pdb_view_t &pdb, std::vector<view_limit_t> &limits);
