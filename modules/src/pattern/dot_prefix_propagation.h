/// The steps of dot_prefix_finalize that set and reduce propagations; no interface of its own.
///
/// Patterns may be as long as 65,535 bytes, so trees are walked with stacks of their own, never
/// by recursion.
#pragma once

#include <cstdint>
#include <vector>

#include "dot_prefix.h"

/// Puts `target` in front of the propagations of `node`.
void dot_prefix_push_propagation(dp_build &build, uint32_t node, uint32_t target);

/// Walks the subtree of each wildcard node together with that of every other node of its depth:
/// copies items over and links the specific nodes to the wildcard ones. `wildcards[d]` is the
/// wildcard node of depth d, for d from 1 to `wildcard_depth`.
void dot_prefix_propagate(dp_build &build, const std::vector<uint32_t> &wildcards);

/// Turns the failures that remain into propagations, then drops from the propagations of each
/// node those that another one covers.
void dot_prefix_propagation_merge(dp_build &build);

/// Orders the propagations of each node by the priority of their nodes, the lowest first; equal
/// priorities keep their order.
void dot_prefix_sort_propagation(dp_build &build);
