/// No exception leaves the library: every operation that may allocate runs in here.
#pragma once

#include <new>
#include <stdexcept>

#include "pdata.h"

/// Returns what `operation` returns, or PDATA_R_MEMORY when memory runs out in it.
template <typename Operation>
pdata_result match_guarded(Operation &&operation)
{
    try {
        return operation();
    } catch (const std::bad_alloc &) {
        return PDATA_R_MEMORY;
    } catch (const std::length_error &) { // a size that no memory could have
        return PDATA_R_MEMORY;
    }
}
