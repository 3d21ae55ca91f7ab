/// The generated sources of a description run, in the working directory.
#pragma once

#include "pdata_cfg.h"
#include "pdata_error.h"

/// Generates "psa_key.h", "psa_serialization.c" and "psa_serialization.h" from the pattern tables
/// of the configuration. No file is written when one of them cannot be generated.
[[nodiscard]] pdata_status_t pdata_compiler_psa(const pdata_cfg_t *cfg);

/// Generates "ipbt_serialization.c" and "ipbt_serialization.h" from the IPv4 table of the
/// configuration. No file is written when one of them cannot be generated.
[[nodiscard]] pdata_status_t pdata_compiler_ipbt(const pdata_cfg_t *cfg);
