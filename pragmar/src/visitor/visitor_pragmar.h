/// The checker: a visitor that takes a document's events through a rule machine.
///
/// The walk starts at node 0. The events are the starts and ends of objects and arrays, the
/// separators between members and elements, each string (keys and values alike), each number and
/// each literal. The document is refused at the first event without a transition, or at the first
/// count out of its range, with a report of json_error.h.
#pragma once

#include "container_semantic.h"
#include "json_visitor.h"

struct visitor_pragmar_t {
    json_visitor_t visitor; ///< must stay first: the callbacks cast back
    semantic_t *semantic;   ///< the machine; not owned
    uint32_t node_key;      ///< the current node's number
    bool name_follows;      ///< the next string is the name of the protocol, for reports
};

/// Prepares `visitor` to check one document against `semantic`, whose counts must be clear
/// (semantic_rewind) and which must outlive the walk.
void visitor_pragmar_init(visitor_pragmar_t *visitor, semantic_t *semantic);

/// Forgets the machine.
void visitor_pragmar_cleanup(visitor_pragmar_t *visitor);
