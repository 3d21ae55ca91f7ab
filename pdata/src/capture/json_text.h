/// The words of JSON (RFC 8259): strings, numbers, and what stands between them. Each operation
/// takes the place where the reader stands and moves it behind what it took, or returns false
/// where there is no such thing.
#pragma once

#include <string>
#include <string_view>

/// Where a reader stands.
struct json_place_t {
    const char *at;
    const char *end;
};

/// Passes blanks and line ends.
inline void json_skip_blanks(json_place_t &place)
{
    while (place.at != place.end &&
           (*place.at == ' ' || *place.at == '\t' || *place.at == '\n' || *place.at == '\r'))
        ++place.at;
}

/// Takes the rest of a string, behind its first quote, which must be UTF-8 with known escapes.
/// `text` is what stands between the quotes, `escaped` whether it has escapes.
[[nodiscard]] bool json_take_string(json_place_t &place, std::string_view &text, bool &escaped);

/// Appends a string that was taken to `plain`, without its escapes: no byte more than it has.
void json_unescape(std::string_view text, std::string &plain);

/// Takes a number as it is written.
[[nodiscard]] bool json_take_number(json_place_t &place, std::string_view &text);

/// Takes `word`.
[[nodiscard]] bool json_take_word(json_place_t &place, std::string_view word);
