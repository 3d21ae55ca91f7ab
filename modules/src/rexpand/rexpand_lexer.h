/// The bytes of an expression, classified one at a time under a cursor.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

/// Class of a byte that means nothing but itself.
constexpr uint32_t REXPAND_TOKEN_ORDINARY = 255;
/// Class of every place past the end. A 0 byte of the expression is an ordinary byte.
constexpr uint32_t REXPAND_TOKEN_END = 0;

/// The class of every byte: itself for those that mean something in an expression.
constexpr std::array<uint8_t, 256> REXPAND_TOKENS = [] {
    std::array<uint8_t, 256> tokens{};
    tokens.fill(REXPAND_TOKEN_ORDINARY);
    for (const char c : std::string_view("$()*+-.?[\\]^|"))
        tokens[static_cast<uint8_t>(c)] = static_cast<uint8_t>(c);
    return tokens;
}();

struct rexpand_token_list_t {
    std::string_view regexp; ///< the expression, owned by the caller
    size_t offset = 0;       ///< the cursor
};

/// Returns the byte `k` places behind the cursor, 0 to 255, or -1 past the end.
inline int rexpand_lexer_byte(const rexpand_token_list_t &lexer, size_t k)
{
    if (k >= lexer.regexp.size() - lexer.offset)
        return -1;
    return static_cast<uint8_t>(lexer.regexp[lexer.offset + k]);
}

/// Returns the class of the byte `k` places behind the cursor, REXPAND_TOKEN_END past the end.
inline uint32_t rexpand_lexer_classify(const rexpand_token_list_t &lexer, size_t k)
{
    const int byte = rexpand_lexer_byte(lexer, k);
    return byte < 0 ? REXPAND_TOKEN_END : REXPAND_TOKENS[static_cast<uint8_t>(byte)];
}

/// Moves the cursor `n` bytes on, at most to the end.
inline void rexpand_lexer_eat(rexpand_token_list_t &lexer, size_t n)
{
    lexer.offset += std::min(n, lexer.regexp.size() - lexer.offset);
}
