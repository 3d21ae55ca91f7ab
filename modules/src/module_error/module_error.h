/// The small negative codes that every engine module returns.
///
/// An engine knows nothing of the program's statuses: it returns 0 or one of these, and its
/// caller translates the code with module_err2pdata_status.
#pragma once

#include <new>
#include <stdexcept>

enum module_error_t : int {
    MODULE_SUCCESS = 0,
    MODULE_ERR_INVALID = -1,    ///< an argument, a syntax or a limit is wrong
    MODULE_ERR_NO_MEMORY = -5,  ///< an allocation failed
    MODULE_ERR_OPERATION = -11, ///< the engine cannot take this
    MODULE_ERR_RANGE = -13,     ///< a range or a structure is inconsistent
    MODULE_ERR_OVERFLOW = -27,  ///< a number or a depth is beyond its bounds
};

/// Runs `operation`, which returns a module code, and turns a failed allocation inside it into
/// MODULE_ERR_NO_MEMORY. Every public operation of an engine that allocates goes through it.
template <typename Operation>
[[nodiscard]] int module_guard(Operation &&operation) noexcept
{
    try {
        return operation();
    } catch (const std::bad_alloc &) {
        return MODULE_ERR_NO_MEMORY;
    } catch (const std::length_error &) {
        return MODULE_ERR_NO_MEMORY;
    }
}
