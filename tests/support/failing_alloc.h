/// Allocations that fail on demand, for tests of what happens when memory runs out.
///
/// failing_alloc.cpp replaces the global operator new of the executable that it is linked into.
#pragma once

#include <cstddef>

/// Makes the `nth` allocation from now on fail (1: the next one), once.
void failing_alloc_arm(size_t nth);

/// Switches the failure off. Returns whether it has happened.
bool failing_alloc_disarm();

/// Returns the bytes that were asked for since the program began: work that can be counted.
size_t failing_alloc_bytes();

/// Runs `operation` again and again, each time with a later allocation failing, until it gets
/// through without a failure. `operation()` returns its module code; `check(code)` is
/// called for each run in which an allocation failed.
template <typename Operation, typename Check>
void failing_alloc_sweep(Operation &&operation, Check &&check)
{
    for (size_t nth = 1;; ++nth) {
        failing_alloc_arm(nth);
        const int code = operation();
        if (!failing_alloc_disarm())
            return;
        check(code);
    }
}
