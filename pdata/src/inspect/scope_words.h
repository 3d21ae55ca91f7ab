/// The words of a scope and their bits.
#pragma once

#include <cstdint>
#include <string_view>

/// The bit that is in every scope.
constexpr uint32_t SCOPE_ALWAYS = 0x800;

/// Returns the bit that a word sets: that of the first scope word that begins with it, as the
/// compiler reads them, so that an empty text means the first. Returns 0 for any other text.
uint32_t scope_bit(std::string_view word);

/// Returns the word of a single bit, empty for one that has none.
std::string_view scope_word(uint32_t bit);
