/// JSON visitor: one depth-first walker that calls a table of optional callbacks.
///
/// Every consumer of a tree declares a visitor record whose first member is the callback table,
/// fills the slots it needs, and keeps its own state behind the table; a callback receives the
/// table and casts back to its record. An empty slot is not called. The walker keeps a stack of
/// its own, so the depth of a document costs memory, never the stack of the process.
#pragma once

#include "json.h"

/// The callback table. Each callback returns 0 to go on, anything else to abort the walk.
/// Oddity O68.
struct json_visitor_t {
    int (*json_start)() = nullptr;
    int (*json_end)() = nullptr;
    int (*json_string)(json_visitor_t *, json_string_t *) = nullptr; ///< a key or a value
    int (*json_number)(json_visitor_t *, json_number_t *) = nullptr;
    int (*json_atom)(json_visitor_t *, json_atom_t *) = nullptr;
    int (*json_object_start)(json_visitor_t *, json_object_t *) = nullptr;
    int (*json_object_end)(json_visitor_t *, json_object_t *) = nullptr;
    int (*json_array_start)(json_visitor_t *, json_array_t *) = nullptr;
    int (*json_array_end)(json_visitor_t *, json_array_t *) = nullptr;
    int (*json_members_start)(json_visitor_t *, json_pair_t *) = nullptr; ///< first pair or null
    int (*json_members_end)(json_visitor_t *, json_pair_t *) = nullptr;   ///< always null
    int (*json_members_sep)(json_visitor_t *, json_pair_t *) = nullptr;   ///< the pair that follows
    int (*json_elements_start)(json_visitor_t *,
                               json_node_t *) = nullptr;                 ///< first element or null
    int (*json_elements_end)(json_visitor_t *, json_node_t *) = nullptr; ///< always null
    int (*json_elements_sep)(json_visitor_t *, json_node_t *) = nullptr; ///< the one that follows
    int (*json_pair_start)(json_visitor_t *, json_pair_t *) = nullptr;
    int (*json_pair_sep)(json_visitor_t *, json_pair_t *) = nullptr;
    int (*json_pair_end)(json_visitor_t *, json_pair_t *) = nullptr;
};

/// Walks a parsed document in text order. A callback that returns nonzero ends the walk at once.
///
/// The order of calls: start; for an object its start, members start, then for each pair its
/// start, its key through json_string, its separator, its value and its end, with a members
/// separator before each further pair, then members end and object end; for an array its start,
/// elements start, each element with an elements separator before each further one, elements end
/// and array end; end.
///
/// Returns 0, or -1 when a callback aborted, when a node of an unexpected kind was met, or when
/// the document has no value.
[[nodiscard]] int json_visit(const json_t &json, json_visitor_t *visitor);
