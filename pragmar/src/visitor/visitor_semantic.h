/// The reader of rule files: a visitor that fills a rule machine.
///
/// A rule file is an object with "nodes", an array of objects with "key", "category", "reset",
/// "check" and "range" ("min", "max"), and "transitions", an array of objects with "from", which
/// must come first (oddity O75), "to" and "trans". Any other key, with all that it holds, is
/// ignored.
#pragma once

#include "container_semantic.h"
#include "visitor_keyed.h"

enum semantic_state_t : uint32_t {
    SEMANTIC_STATE_ROOT,
    SEMANTIC_STATE_NODE,
    SEMANTIC_STATE_NODE_KEY,
    SEMANTIC_STATE_NODE_CATEGORY,
    SEMANTIC_STATE_NODE_RESET,
    SEMANTIC_STATE_NODE_CHECK,
    SEMANTIC_STATE_NODE_RANGE,
    SEMANTIC_STATE_NODE_RANGE_MIN,
    SEMANTIC_STATE_NODE_RANGE_MAX,
    SEMANTIC_STATE_TRANS,
    SEMANTIC_STATE_TRANS_FROM,
    SEMANTIC_STATE_TRANS_TO,
    SEMANTIC_STATE_TRANS_TRANS,
    SEMANTIC_STATE_UNKNOWN,
};

using visitor_semantic_t = visitor_keyed_t<semantic_t>;

/// Prepares `visitor` to fill `semantic`, which is emptied and must outlive the walk.
void visitor_semantic_init(visitor_semantic_t *visitor, semantic_t *semantic);

/// Forgets the machine.
void visitor_semantic_cleanup(visitor_semantic_t *visitor);
