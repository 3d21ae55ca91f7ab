/// Words of messages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

/// Returns the texts one behind the other.
std::string lint_joined(std::initializer_list<std::string_view> texts);

/// Tells whether a text is a decimal number.
bool lint_is_digits(std::string_view text);

/// Tells whether a decimal number is more than `max`, at most 32 bits.
bool lint_is_beyond(std::string_view digits, uint64_t max);

/// Returns a text without its blanks.
std::string lint_without_blanks(std::string_view text);

/// Returns a text of a description in quotes, cut where it is long.
std::string lint_quoted(std::string_view text);

/// Returns the edits (a character more, less or other) between two words (Wagner and Fischer 1974).
size_t lint_distance(std::string_view a, std::string_view b);

/// Returns the word of `words` that is the nearest to `word`, at most two edits away; else none.
std::string_view lint_nearest(std::string_view word, std::span<const std::string_view> words);

/// Returns what to do about a word that is none of `words`: "write "order"", or their list.
std::string lint_meant(std::string_view word, std::span<const std::string_view> words);

/// Returns a text as it is written in a description, in quotes, with escapes.
std::string lint_json(std::string_view text);

/// Returns the bytes that the compiler reads between the quotes of a string.
std::string lint_decoded(std::string_view raw);
