/// The words of a rule's scope and their bits, in the order in which words are tried.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

/// The bit that is in every scope.
constexpr uint32_t FORMAT_SCOPE_ALWAYS = 0x800;

/// Returns the bit that a word sets: that of the first scope word that begins with it, so that an
/// empty text means the first. Returns 0 for any other text.
uint32_t format_scope_bit(std::string_view word);

/// Returns the word of a single bit, empty for one that has none. It lives as long as the program.
std::string_view format_scope_word(uint32_t bit);

/// Returns the words of the bits of a scope; bits without a word are left out.
std::vector<std::string_view> format_scope_words(uint32_t scope);
