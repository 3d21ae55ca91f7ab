/// The stream family of the matcher builder; called by matcher_builder.h alone.
#pragma once

#include "matcher_builder.h"

/// Registers a value as a small regular expression.
[[nodiscard]] pdata_status_t matcher_register_stream(matcher_build *matcher,
                                                     const matcher_data_t &data, uint32_t item_id,
                                                     pattern_info info);

/// Registers a value that must match at an offset; escapes stand for bytes, nothing else is
/// special.
[[nodiscard]] pdata_status_t matcher_register_stream_offset(matcher_build *matcher,
                                                            const matcher_data_t &data,
                                                            uint32_t item_id, pattern_info info);

/// Emits what a stream matcher has behind its meta record.
[[nodiscard]] pdata_status_t matcher_serialize_stream(const matcher_build &matcher,
                                                      tlv_sink_t &sink);
