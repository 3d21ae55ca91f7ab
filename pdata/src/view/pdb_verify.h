/// Verification: everything in a pdb is within its bounds, or where it is not.
///
/// A pdb from outside is hostile until it has passed here. Afterwards every view of it can be used
/// without further checks: each reference, count, length, state, alphabet code, id, offset, slot
/// and string of the file leads somewhere within it.
///
/// A pdb that is safe may be unsound: its parts do not fit together, or some were lost when it was
/// made. A compile that passes a limit of the format in silence writes such a file. Every reader is
/// safe with it, but some of its rules never fire.
///
/// Time is linear in the size of the file. Memory is at most its size: an index of a string pool or
/// of an item table at a time, marks of states, rows, items and entries, 8 bytes a rule. Nothing is
/// kept or printed. Items of matchers may lie behind the slots of the rule engine, where no rule
/// owns them.
#pragma once

#include <span>

#include "pdb_view.h"

/// Who takes the faults.
struct pdb_fault_sink_t {
    void (*put)(void *context, const view_error_t &fault);
    void *context;
};

/// How many faults there were, by grade.
struct pdb_verdict_t {
    size_t nr_unsafe = 0;
    size_t nr_unsound = 0;
};

/// Verifies a loadable pdb or one of descriptions. Hands the first fault of each part to `sink`: a
/// part is a matcher, a protocol, a pool, a table. Faults of parts that hold others end the
/// verification, since what lies inside cannot be found. Faults of grade VIEW_UNSOUND are looked
/// for in a compiled pdb without any of the other; beside those, tables that are too large for
/// their numbers are named, which they may come of.
pdb_verdict_t pdb_verify(std::span<const uint8_t> file, const pdb_fault_sink_t &sink);

/// Tells whether a pdb has no fault of grade VIEW_UNSAFE, and makes `view` its view. Otherwise
/// `error` is the first one.
[[nodiscard]] bool pdb_verify_open(std::span<const uint8_t> file, pdb_view_t &view,
                                   view_error_t &error);
