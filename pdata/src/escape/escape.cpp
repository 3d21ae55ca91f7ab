#include "escape.h"

#include <algorithm>
#include <cstdint>

namespace
{

uint8_t byte_at(std::string_view text, size_t i)
{
    return static_cast<uint8_t>(text[i]);
}

bool is_continuation(std::string_view text, size_t i)
{
    return i < text.size() && (byte_at(text, i) & 0xC0) == 0x80;
}

/// Bytes that a first byte announces, 0 for one that cannot begin a character.
size_t announced_length(uint8_t first)
{
    if (first < 0x80)
        return 1;
    if (first < 0xC2)
        return 0; // a continuation, or an overlong form of ASCII
    if (first < 0xE0)
        return 2;
    if (first < 0xF0)
        return 3;
    return first < 0xF5 ? 4 : 0;
}

/// The code point of a well-formed sequence.
uint32_t code_point(std::string_view text, size_t length)
{
    if (length == 1)
        return byte_at(text, 0);
    uint32_t code = byte_at(text, 0) & (0x7FU >> length);
    for (size_t i = 1; i < length; ++i)
        code = code << 6 | (byte_at(text, i) & 0x3FU);
    return code;
}

/// Code points that do something to a terminal other than to show a sign, in order.
struct control_range_t {
    uint32_t first;
    uint32_t last;
};

constexpr control_range_t control_ranges[] = {
    {0x0000, 0x001F},     // C0
    {0x007F, 0x009F},     // delete, C1
    {0x00AD, 0x00AD},     // soft hyphen
    {0x061C, 0x061C},     // mark of the reading direction
    {0x200E, 0x200F},     // the same
    {0x2028, 0x202E},     // line ends, embeddings
    {0x2066, 0x2069},     // isolates
    {0xFEFF, 0xFEFF},     // byte order mark
    {0xFFF9, 0xFFFB},     // annotations
    {0xE0000, UINT32_MAX} // tags, private signs
};

bool is_control(uint32_t code)
{
    const auto row = std::ranges::lower_bound(control_ranges, code, {}, &control_range_t::last);
    return code >= row->first;
}

void put_hex(std::string &out, uint8_t byte)
{
    static constexpr char digits[] = "0123456789abcdef";
    out += digits[byte >> 4];
    out += digits[byte & 15];
}

/// Adds \uHHHH, or two of them for what UTF-16 has two words for.
void put_code(std::string &out, uint32_t code)
{
    if (code >= 0x10000) {
        put_code(out, 0xD7C0 + (code >> 10));
        code = 0xDC00 + (code & 0x3FF);
    }
    out += "\\u";
    put_hex(out, static_cast<uint8_t>(code >> 8));
    put_hex(out, static_cast<uint8_t>(code & 0xFF));
}

/// Returns 1 for what is no printable ASCII, or a backslash, else 0.
uint8_t is_special(char c)
{
    const auto above = static_cast<uint8_t>(c - ' ');
    return static_cast<uint8_t>((above > '~' - ' ') | (c == '\\'));
}

/// Returns how many bytes at the front are printable ASCII and no backslash. Blocks are looked at
/// as a whole, without a branch for each byte: nearly all text is plain.
size_t plain_run(std::string_view text)
{
    constexpr size_t block = 16;
    size_t run = 0;
    while (run + block <= text.size()) {
        uint8_t special = 0;
        for (size_t i = 0; i < block; ++i)
            special |= is_special(text[run + i]);
        if (special != 0)
            break;
        run += block;
    }
    while (run < text.size() && is_special(text[run]) == 0)
        ++run;
    return run;
}

/// Appends a character, or a byte that begins none, in the form that a terminal may see.
void put_character(std::string &out, std::string_view character, bool is_sound,
                   std::string_view backslash)
{
    if (character.front() == '\\')
        out += backslash;
    else if (is_sound && !is_control(code_point(character, character.size())))
        out += character;
    else
        for (const char byte : character) {
            out += "\\x";
            put_hex(out, static_cast<uint8_t>(byte));
        }
}

/// Appends `text` without what no terminal should see; a backslash becomes `backslash`.
void escape(std::string &out, std::string_view text, std::string_view backslash)
{
    for (;;) {
        const size_t run = plain_run(text);
        out += text.substr(0, run);
        text.remove_prefix(run);
        if (text.empty())
            return;
        const size_t length = utf8_length(text);
        const size_t taken = length == 0 ? 1 : length;
        put_character(out, text.substr(0, taken), length != 0, backslash);
        text.remove_prefix(taken);
    }
}

} // namespace

size_t utf8_length(std::string_view text)
{
    if (text.empty())
        return 0;
    const size_t length = announced_length(byte_at(text, 0));
    for (size_t i = 1; i < length; ++i)
        if (!is_continuation(text, i))
            return 0;
    if (length < 3)
        return length;
    const uint32_t code = code_point(text, length);
    const bool overlong = code < (length == 3 ? 0x800U : 0x10000U);
    const bool surrogate = code >= 0xD800 && code < 0xE000;
    return overlong || surrogate || code > 0x10FFFF ? 0 : length;
}

bool utf8_valid(std::string_view text)
{
    while (!text.empty()) {
        const size_t length = utf8_length(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

void escape_terminal_to(std::string &out, std::string_view text)
{
    escape(out, text, "\\\\");
}

void escape_line_to(std::string &out, std::string_view text)
{
    escape(out, text, "\\");
}

std::string escape_terminal(std::string_view text)
{
    std::string out;
    escape_terminal_to(out, text);
    return out;
}

std::string escape_line(std::string_view text)
{
    std::string out;
    escape_line_to(out, text);
    return out;
}

std::string escape_json(std::string text)
{
    const auto is_plain = [](char c) { return c >= 0 && c < 0x7F; };
    if (std::ranges::all_of(text, is_plain))
        return text;
    std::string out;
    for (std::string_view left = text; !left.empty();) {
        const size_t length = utf8_length(left);
        const size_t taken = std::max<size_t>(length, 1);
        const uint32_t code = length == 0 ? 0 : code_point(left, length);
        if (code < 0x7F || !is_control(code))
            out += left.substr(0, taken);
        else
            put_code(out, code);
        left.remove_prefix(taken);
    }
    return out;
}

std::string escape_hex(std::string_view text)
{
    std::string out;
    out.reserve(2 * text.size());
    for (const char byte : text)
        put_hex(out, static_cast<uint8_t>(byte));
    return out;
}
