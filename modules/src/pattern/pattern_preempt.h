/// Preempt patterns: patterns that an engine keeps aside until it is finalized.
///
/// A preempt pattern decides before all data has been seen. A short one that begins a longer one
/// must therefore wait for as much data as the longer one needs, which is settled here before
/// the engine inserts them all, last of its patterns.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pattern_types.h"

/// One preempt pattern, with a copy of its bytes.
struct preempt {
    std::string pattern;
    uint32_t mindata = 0;
    uint32_t priority = 0;
    uint32_t item_id = 0;
    uint32_t offset = 0;
    pattern_type_t type = PATTERN_REGULAR;
};

/// The preempt patterns of one engine, in the order of registration.
using ps_preempt = std::vector<preempt>;

/// Keeps a copy of `info`. Throws std::bad_alloc, which the engine's operation turns into a
/// module code; the list is then as it was.
void pattern_preempt_register(ps_preempt &list, const pattern_info &info);

/// Updates `a` from `b`: when the bytes of `a` begin `b` and the priority of `a` is not lower,
/// `a` waits for at least as much data as `b`.
void pattern_preempt_update_mindata(preempt &a, const preempt &b);

/// Updates each preempt of `list` from each other one, in list order, until the first pair that
/// holds a PATTERN_OFFSET pattern: there the whole resolution stops. Oddity O158.
///
/// To begin a pattern and not to have the lower priority are both transitive, so what an update
/// passes on reaches its target directly as well, and the outcome is the same as that of one
/// maximum over each preempt's extensions. That maximum is taken by priority over the sorted
/// patterns, in n log n steps instead of the pairs. Throws std::bad_alloc.
void pattern_preempt_resolve_conflict(ps_preempt &list);

/// Returns the pattern that `p` stands for. Its bytes are those of `p`.
pattern_info pattern_preempt_info(const preempt &p);

/// Resolves conflicts, then hands every preempt to `insert`, which takes a pattern_info and
/// returns a module code. Returns the first failure.
template <typename Insert>
[[nodiscard]] int pattern_preempt_finalize(ps_preempt &list, Insert &&insert)
{
    pattern_preempt_resolve_conflict(list);
    for (const preempt &p : list) {
        const int code = insert(pattern_preempt_info(p));
        if (code != 0)
            return code;
    }
    return 0;
}

/// Releases every preempt.
void pattern_preempt_clean(ps_preempt &list);
