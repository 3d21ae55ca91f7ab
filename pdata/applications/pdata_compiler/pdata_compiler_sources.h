/// The generated sources of a description run, in the working directory.
///
/// All five go in place together, or none when one of them cannot be opened or written.
#pragma once

#include "pdata_cfg.h"
#include "pdata_output.h"
#include "pdata_serialize_ipbt.h"
#include "pdata_serialize_psa.h"

/// The five texts, which must live until they are in place, and their files.
struct generated_sources_t {
    text_stream_t psa_key = {{}, PSA_KEY_SIZE};
    text_stream_t psa_src = {{}, PSA_SOURCE_SIZE};
    text_stream_t psa_hdr = {{}, PSA_HEADER_SIZE};
    text_stream_t ipbt_src = {{}, IPBT_SOURCE_SIZE};
    text_stream_t ipbt_hdr = {{}, IPBT_HEADER_SIZE};
    output_t output;
};

/// Generates "psa_key.h", "psa_serialization.c" and "psa_serialization.h" from the pattern tables
/// of the configuration. They are not in place yet.
[[nodiscard]] pdata_status_t pdata_compiler_psa(const pdata_cfg_t *cfg,
                                                generated_sources_t &sources);

/// Generates "ipbt_serialization.c" and "ipbt_serialization.h" from the IPv4 table of the
/// configuration, and puts all five files in place; those that pdata_compiler_psa generated also
/// when these two cannot be generated.
[[nodiscard]] pdata_status_t pdata_compiler_ipbt(const pdata_cfg_t *cfg,
                                                 generated_sources_t &sources);
