/// A description as text: its tokens, each where it stands.
///
/// The grammar is that of the compiler's reader (docs/pdd.md): objects, arrays, strings in which
/// a backslash guards the byte behind it, numbers of digits, true, false, null; blanks, tabs and
/// line feeds between them. No byte of a token is interpreted, so that a text can be laid out anew,
/// or added to, with every value as its author wrote it. Reading takes linear time and no
/// recursion.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Kinds of tokens, by a byte that such a token begins with.
enum text_token_kind_t : char {
    TEXT_OBJECT = '{',
    TEXT_OBJECT_END = '}',
    TEXT_ARRAY = '[',
    TEXT_ARRAY_END = ']',
    TEXT_COLON = ':',
    TEXT_COMMA = ',',
    TEXT_STRING = '"',
    TEXT_NUMBER = '0',
    TEXT_LITERAL = 't',
};

/// A token: bytes `begin` to `end` (exclusive) of the text.
struct text_token_t {
    text_token_kind_t kind = TEXT_LITERAL;
    uint32_t begin = 0;
    uint32_t end = 0;
    uint32_t mate = 0; ///< of a bracket or brace: the index of the token that closes or opens it
};

/// Why a text is no description, and where.
struct text_fault_t {
    size_t offset = 0; ///< a byte of the text, or its length
    std::string text;  ///< "expected ',' or ']'"
};

/// A place for people.
struct text_place_t {
    size_t line = 1;   ///< from 1
    size_t column = 1; ///< from 1, in characters
};

/// The tokens of a text, which must outlive them.
struct description_text_t {
    std::string_view text;
    std::vector<text_token_t> tokens;
};

/// Most bytes of a text.
constexpr size_t DESCRIPTION_TEXT_MAX = (size_t{1} << 31) - 1;

/// Reads a text: one object whose first value is an array. Returns false with the first fault.
[[nodiscard]] bool description_text_read(std::string_view text, description_text_t &description,
                                         text_fault_t &fault);

/// Returns the first byte from `at` on that is no blank, tab or line feed, or the end.
size_t text_skip_blanks(std::string_view text, size_t at);

/// Returns where the string that begins at the quote at `at` ends: its other quote, or the end of
/// the text where it has none. A backslash guards the byte behind it.
size_t text_closing_quote(std::string_view text, size_t at);

/// Returns the bytes of a token.
std::string_view text_token_bytes(const description_text_t &description, size_t token);

/// Returns the index of the token behind the value that begins at `token`.
size_t text_value_end(const description_text_t &description, size_t token);

/// Returns the line and column of a byte of a text.
text_place_t text_place(std::string_view text, size_t offset);

/// Returns the number of characters of UTF-8 text: bytes that continue none.
size_t text_characters(std::string_view text);
