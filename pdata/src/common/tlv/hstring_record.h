/// The record of a string table: what every structure that names strings by offset ends with.
#pragma once

#include "hstring.h"
#include "tlv_description.h"

/// Emits the record of type `type` whose value is the serialized pool `hstring`. A pool that cannot
/// be written gives the status of its module.
[[nodiscard]] pdata_status_t hstring_emit(const hstring_build_t &hstring, uint32_t type,
                                          tlv_sink_t &sink);
