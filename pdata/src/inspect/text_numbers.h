/// Texts and their numbers: equal texts have equal numbers, and comparing them costs nothing.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

/// The numbers that were given out. It grows with the different texts, not with their uses.
struct text_numbers_t {
    std::unordered_map<std::string_view, uint32_t> numbers;
    std::unordered_map<const char *, uint32_t> places; ///< of long texts of files
    std::unordered_map<uint64_t, uint32_t> forms;      ///< of values that were compiled
    std::deque<std::string> made;                      ///< texts that stand in no file
};

/// Texts that are looked up by their place, so that a long one that is used again and again is
/// read once.
constexpr size_t TEXT_NUMBERS_LONG = 64;

/// Returns the number of a text of a file, which stays where it is and of which no other text of
/// another length begins at the same place. Throws std::bad_alloc.
uint32_t text_number(text_numbers_t &texts, std::string_view text);

/// Returns the number of a text that was made, and keeps it. Throws std::bad_alloc.
uint32_t text_number_made(text_numbers_t &texts, std::string text);
