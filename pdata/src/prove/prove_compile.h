/// The compiler's own flow in this process, without a trace: nothing is printed, and the status
/// slot stays as it was.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "pdata_cfg.h"
#include "pdata_error.h"

/// What a compile came to.
struct prove_compiled_t {
    pdata_status_t status = PDATA_SUCCESS;
    std::string message;        ///< of a failure, as it was recorded
    std::vector<uint8_t> bytes; ///< of the loadable pdb
};

/// Compiles a description into a loadable pdb. A value that is too costly to expand has the status
/// PDATA_ERR_NO_MEMORY, as in the compiler. Memory that runs out is std::bad_alloc, also where the
/// compiler has a status for it.
prove_compiled_t prove_compile(std::string_view text, const pdata_cfg_t &cfg);

/// Returns a configuration of nothing but what no description can do without.
pdata_cfg_t prove_least_configuration();
