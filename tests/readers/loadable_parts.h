/// The parts of loadable_reader.h; not for its users.
#pragma once

#include "csa_endian.h"
#include "loadable_reader.h"

/// Takes the next record, whatever its type, off the front of `rest`. Records have one header word
/// with an 8-bit type and a 24-bit length in words.
[[nodiscard]] bool loadable_take(blob_span_t &rest, uint32_t &type, blob_span_t &value,
                                 std::string &error);

/// Takes the next record, which must be of `type` and, unless `nr_word` is LOADABLE_ANY_LENGTH, of
/// that length.
constexpr size_t LOADABLE_ANY_LENGTH = SIZE_MAX;
[[nodiscard]] bool loadable_take_typed(blob_span_t &rest, uint32_t type, size_t nr_word,
                                       blob_span_t &value, std::string &error);

/// Returns word `index` of `words`, which must hold it.
inline uint32_t loadable_word(blob_span_t words, size_t index)
{
    return csa_get_be32(words.data() + 4 * index);
}

/// Puts "where: " in front of an error. Returns false.
bool loadable_within(std::string &error, const std::string &where);

/// Read the matchers section and the rules section.
[[nodiscard]] bool loadable_read_matchers(blob_span_t section, loadable_pdb_t &pdb,
                                          std::string &error);
[[nodiscard]] bool loadable_read_rules(blob_span_t section, loadable_pdb_t &pdb,
                                       std::string &error);
