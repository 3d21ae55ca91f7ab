#include "json_text.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "csa_char.h"
#include "escape.h"

namespace
{

constexpr uint64_t ones = 0x0101010101010101ULL;
constexpr uint64_t tops = 0x80 * ones;

/// Returns eight bytes, the first one least significant.
uint64_t load(const char *at)
{
    uint64_t word = 0;
    std::memcpy(&word, at, sizeof word);
    return std::endian::native == std::endian::little ? word : __builtin_bswap64(word);
}

/// Marks bytes that a string does not have as they are: quotes, backslashes, control characters,
/// and those beyond ASCII. The first mark is right; others may be borrowed from it.
uint64_t marks_of(uint64_t word)
{
    const uint64_t quote = word ^ ('"' * ones);
    const uint64_t backslash = word ^ ('\\' * ones);
    return (((quote - ones) & ~quote) | ((backslash - ones) & ~backslash) |
            ((word - 0x20 * ones) & ~word) | word) &
           tops;
}

bool is_plain(char c)
{
    const auto byte = static_cast<uint8_t>(c);
    return byte >= 0x20 && byte < 0x80 && c != '"' && c != '\\';
}

/// Passes all that a string has as it is.
void skip_plain(json_place_t &place)
{
    constexpr std::ptrdiff_t step = sizeof(uint64_t);
    for (; place.end - place.at >= step; place.at += step)
        if (const uint64_t marks = marks_of(load(place.at)); marks != 0) {
            place.at += std::countr_zero(marks) / 8;
            return;
        }
    while (place.at != place.end && is_plain(*place.at))
        ++place.at;
}

/// Takes four hexadecimal digits.
bool take_digits(json_place_t &place, uint32_t &number)
{
    if (place.end - place.at < 4)
        return false;
    number = 0;
    for (int i = 0; i < 4; ++i) {
        const int digit = char_hex_value(*place.at++);
        if (digit < 0)
            return false;
        number = number << 4 | static_cast<uint32_t>(digit);
    }
    return true;
}

/// Takes what stands behind "\u", with the second half of a pair.
bool take_code(json_place_t &place, uint32_t &code)
{
    if (!take_digits(place, code) || (code >= 0xDC00 && code < 0xE000))
        return false;
    if (code < 0xD800 || code >= 0xE000)
        return true;
    uint32_t second = 0;
    if (!json_take_word(place, "\\u") || !take_digits(place, second) || second < 0xDC00 ||
        second >= 0xE000)
        return false;
    code = 0x10000 + ((code - 0xD800) << 10 | (second - 0xDC00));
    return true;
}

/// Takes an escape, behind its backslash.
bool take_escape(json_place_t &place, uint32_t &code)
{
    constexpr std::string_view letters = "\"\\/bfnrt";
    constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
    if (place.at == place.end)
        return false;
    const char letter = *place.at++;
    if (letter == 'u')
        return take_code(place, code);
    const size_t known = letters.find(letter);
    if (known == letters.npos)
        return false;
    code = static_cast<uint8_t>(meanings[known]);
    return true;
}

/// Passes a character beyond ASCII. Returns false for any other byte.
bool skip_character(json_place_t &place)
{
    const size_t length = utf8_length({place.at, place.end});
    place.at += length;
    return length > 1;
}

void append_character(uint32_t code, std::string &plain)
{
    const auto add = [&plain](uint32_t byte) { plain += static_cast<char>(byte); };
    if (code < 0x80) {
        add(code);
        return;
    }
    if (code < 0x800) {
        add(0xC0 | code >> 6);
    } else if (code < 0x10000) {
        add(0xE0 | code >> 12);
        add(0x80 | (code >> 6 & 0x3F));
    } else {
        add(0xF0 | code >> 18);
        add(0x80 | (code >> 12 & 0x3F));
        add(0x80 | (code >> 6 & 0x3F));
    }
    add(0x80 | (code & 0x3F));
}

/// Passes digits, at least one.
bool skip_digits(json_place_t &place)
{
    const char *first = place.at;
    while (place.at != place.end && char_is_digit(*place.at))
        ++place.at;
    return place.at != first;
}

bool take_char(json_place_t &place, char c)
{
    if (place.at == place.end || *place.at != c)
        return false;
    ++place.at;
    return true;
}

} // namespace

bool json_take_string(json_place_t &place, std::string_view &text, bool &escaped)
{
    const char *first = place.at;
    escaped = false;
    for (skip_plain(place); place.at != place.end; skip_plain(place)) {
        uint32_t code = 0;
        if (take_char(place, '"')) {
            text = {first, static_cast<size_t>(place.at - first) - 1};
            return true;
        }
        if (take_char(place, '\\')) {
            escaped = true;
            if (!take_escape(place, code))
                return false;
        } else if (!skip_character(place)) {
            return false;
        }
    }
    return false;
}

void json_unescape(std::string_view text, std::string &plain)
{
    json_place_t place = {text.data(), text.data() + text.size()};
    while (place.at != place.end) {
        const char *first = place.at;
        while (place.at != place.end && *place.at != '\\')
            ++place.at;
        plain.append(first, place.at);
        uint32_t code = 0;
        if (!take_char(place, '\\'))
            return;
        (void)take_escape(place, code); // the text was read before
        append_character(code, plain);
    }
}

bool json_take_number(json_place_t &place, std::string_view &text)
{
    const char *first = place.at;
    (void)take_char(place, '-');
    if (!take_char(place, '0') && !skip_digits(place))
        return false;
    if (take_char(place, '.') && !skip_digits(place))
        return false;
    if (take_char(place, 'e') || take_char(place, 'E')) {
        if (!take_char(place, '-'))
            (void)take_char(place, '+');
        if (!skip_digits(place))
            return false;
    }
    text = {first, static_cast<size_t>(place.at - first)};
    return true;
}

bool json_take_word(json_place_t &place, std::string_view word)
{
    if (!std::string_view(place.at, place.end).starts_with(word))
        return false;
    place.at += word.size();
    return true;
}
