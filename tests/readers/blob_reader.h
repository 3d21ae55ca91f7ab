/// Reading records of the blob framing: a 4-byte type, a 4-byte length in bytes, the value.
///
/// Readers look at serialized bytes alone and know nothing of the builders that wrote them. Every
/// length is checked before it is trusted: a damaged blob gives an error text, never a wild read.
#pragma once

#include <cstdint>
#include <span>
#include <string>

using blob_span_t = std::span<const uint8_t>;

/// Takes the next record off the front of `rest`, which must be of `type`, and gives its value.
/// Returns false, with an `error` that names the type, when it is another one or does not fit.
[[nodiscard]] bool blob_read(blob_span_t &rest, uint32_t type, blob_span_t &value,
                             std::string &error);

/// The same for a record whose value is `nr_word` big-endian words.
[[nodiscard]] bool blob_read_words(blob_span_t &rest, uint32_t type, std::span<uint32_t> words,
                                   std::string &error);

/// Tells whether all of `rest` was read; if not, says so in `error`.
[[nodiscard]] bool blob_end(blob_span_t rest, std::string &error);

/// Returns false after putting `text` into `error`.
bool blob_fail(std::string &error, std::string text);
