/// The second grade of a verification: parts that do not fit together (see pdb_verify.h).
#pragma once

#include "pdb_verify.h"

/// Hands the first fault of each part of a pdb without a fault of grade VIEW_UNSAFE to `sink`: of
/// the descriptions, each pool of theirs, and, of a compiled one, each engine, each second level,
/// the rules, their number. A fault of another grade
/// than VIEW_UNSOUND says that memory ran out.
void verify_sound(const pdb_view_t &pdb, const pdb_fault_sink_t &sink);
