/// How full the limits of the format are in a pdb, and which were passed in silence.
///
/// The compiler refuses what passes a limit that it guards. The others are widths of stored
/// numbers: what lies beyond is cut, and its rules never fire. A limit of 0 is for what loses its
/// rules whenever there is any. Only a verified pdb is to be asked (pdb_verify.h).
#pragma once

#include <string>
#include <vector>

#include "pdb_view.h"

/// One limit of one part.
struct view_limit_t {
    std::string subject; ///< as in "ssl:common_name cts"; untrusted
    const char *name;    ///< what is counted, as in "states of the automaton"
    uint64_t used = 0;
    uint64_t limit = 0;     ///< most that nothing is lost with
    const char *lost = "";  ///< what is lost beyond the limit
    std::string first = {}; ///< where the first of it stands, where that is known; untrusted
};

/// Tells whether a limit was passed.
inline bool view_limit_passed(const view_limit_t &limit)
{
    return limit.used > limit.limit;
}

/// Returns every limit of what is stored in an open pdb: of its records, its string pools and its
/// protocols, and of a loadable one those of its matchers and its rules. In no order. Linear time.
/// Throws std::bad_alloc.
std::vector<view_limit_t> view_limits_take(const pdb_view_t &pdb);

/// Sorts limits, the fullest first; equally full ones keep their order.
void view_limits_sort(std::vector<view_limit_t> &limits);
