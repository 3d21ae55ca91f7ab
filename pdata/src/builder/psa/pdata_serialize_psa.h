/// The PSA generator: the pattern tables of the configuration become generated source text.
///
/// Every file becomes a serialized pattern set, an enumeration that numbers its pattern names, and
/// a case of an accessor that returns the set by key, for the run-time engine to compile in. The
/// headers that the texts include are the engine's. Oddity O181.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "pdata_cfg.h"
#include "pdata_error.h"
#include "text_stream.h"

/// Sizes of the three texts, in bytes.
constexpr size_t PSA_KEY_SIZE = 12500;
constexpr size_t PSA_SOURCE_SIZE = 1000000;
constexpr size_t PSA_HEADER_SIZE = 1000;

/// Names of one file (oddity O182), and the size of a purified name with its terminator.
constexpr uint32_t PSA_NAME_DIM = 64;
constexpr size_t PSA_NAME_SIZE = 255;

/// Generates the key header, the serialization source and the serialization header from every
/// loaded file of the PSA role. The streams start empty, with the sizes above.
///
/// Returns PDATA_ERR_INVALID_ARGUMENT with a message for an absent argument, a stream without size
/// or an entry without a name; PDATA_ERR_JSON_BAD_SYNTAX or PDATA_ERR_PRAGMAR with the front end's
/// report for a file that does not parse or cannot be read; PDATA_ERR_PSA with a message for a
/// name that cannot be an identifier or has no room; what the pattern engines return;
/// PDATA_ERR_NO_MEMORY; PDATA_ERR_IO for a text that does not fit. The streams are partly written
/// after a failure.
[[nodiscard]] pdata_status_t pdata_serialize_psa(const pdata_cfg_t *cfg, text_stream_t *key,
                                                 text_stream_t *src, text_stream_t *hdr);

/// Turns a name into an identifier: capitals and digits stay, small letters become capitals, a
/// digit in front and every other byte become "_" (oddity O183). PDATA_ERR_PSA with a message for
/// an absent name or output, and for a name of `size` bytes or more.
[[nodiscard]] pdata_status_t psa_purify_string(std::string_view in, std::string *out, size_t size);
