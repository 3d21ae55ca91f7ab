/// How full the limits of the format are in a loadable pdb, and which were passed in silence.
///
/// The compiler refuses what passes a limit that it guards. The others are widths of stored
/// numbers: what lies beyond is cut, and its rules never fire. Only a verified pdb is to be asked
/// (pdb_verify.h).
#pragma once

#include <string>
#include <vector>

#include "pdb_view.h"

/// One limit of one part.
struct view_limit_t {
    std::string subject; ///< as in "ssl:common_name cts"; untrusted
    const char *name;    ///< what is counted, as in "states of the automaton"
    uint64_t used = 0;
    uint64_t limit = 0; ///< most that nothing is lost with
    const char *lost;   ///< what is lost beyond the limit
};

/// Tells whether a limit was passed.
inline bool view_limit_passed(const view_limit_t &limit)
{
    return limit.used > limit.limit;
}

/// Returns every limit of an open loadable pdb, the fullest first; of a pdb of descriptions none.
/// Linear time. Throws std::bad_alloc.
std::vector<view_limit_t> view_limits_take(const pdb_view_t &pdb);
