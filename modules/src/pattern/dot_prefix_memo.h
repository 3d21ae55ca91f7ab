/// What is remembered of the merges of pairs of nodes, and when it no longer holds.
///
/// What merging two nodes says depends on what lies below them, and the pairs that are compared
/// overlap: below a pair lie pairs that are compared on their own, and the same pair comes up at
/// every node that both of its nodes continue. Results are kept in a table of fixed size, a pair in
/// one place. A result holds until a list of propagations changes below one of its nodes, which is
/// the maximum of a run of the depth-first order: a point is set, and a run is asked, in the
/// logarithm of the number of nodes. To forget everything at each change was turned down, as every
/// node that is merged changes.
#pragma once

#include <cstdint>
#include <vector>

#include "dot_prefix.h"

/// What the comparison of two nodes X and Y says.
enum merge_result : int8_t {
    MERGE_PENDING = -1, ///< not known yet
    MERGE_UNDECIDED = 0,
    MERGE_KEEP_BOTH = 1,
    MERGE_X_COVERS = 2, ///< Y is not needed beside X
    MERGE_Y_COVERS = 3,
};

/// What is known of a pair.
struct merge_known {
    uint32_t x = PATTERN_NONE;
    uint32_t y = PATTERN_NONE;
    uint32_t clock = 0;
    merge_result merged = MERGE_PENDING;   ///< of the merge of the two nodes
    merge_result compared = MERGE_PENDING; ///< of their comparison along first edges
};

struct merge_memo {
    std::vector<uint32_t> place;    ///< by node: its place in depth-first order
    std::vector<uint32_t> end;      ///< by node: the place behind what its bytes lead to
    std::vector<uint32_t> changed;  ///< binary tree over places: the clock of the last change
    std::vector<merge_known> known; ///< by hash of the pair, a power of two
    uint32_t clock = 0;             ///< number of changes
};

/// Makes `memo` empty, for the nodes of `build`. Throws std::bad_alloc.
void merge_memo_init(merge_memo &memo, const dp_build &build);

/// Notes that the propagations of `node` have changed.
void merge_memo_change(merge_memo &memo, uint32_t node);

/// Returns what is known of a pair, or null when nothing that still holds is.
const merge_known *merge_memo_find(const merge_memo &memo, uint32_t x, uint32_t y);

/// Remembers a result of a pair, `field` of merge_known, that holds now.
void merge_memo_store(merge_memo &memo, uint32_t x, uint32_t y, merge_result merge_known::*field,
                      merge_result result);
