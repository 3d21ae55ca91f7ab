/// The bytes of an expression, classified one at a time under a cursor.
#pragma once

#include <cstdint>
#include <string_view>

/// Class of a byte that means nothing but itself.
constexpr uint32_t REXPAND_TOKEN_ORDINARY = 255;
/// Class of every place past the end. A 0 byte of the expression is an ordinary byte.
constexpr uint32_t REXPAND_TOKEN_END = 0;

struct rexpand_token_list_t {
    std::string_view regexp; ///< the expression, owned by the caller
    size_t offset = 0;       ///< the cursor
};

/// Returns the class of the byte `k` places behind the cursor: the byte itself for one of
/// $ ( ) * + - . ? [ \ ] ^ |, REXPAND_TOKEN_ORDINARY for any other, REXPAND_TOKEN_END past the end.
uint32_t rexpand_lexer_classify(const rexpand_token_list_t &lexer, size_t k);

/// Returns the byte `k` places behind the cursor, 0 to 255, or -1 past the end.
int rexpand_lexer_byte(const rexpand_token_list_t &lexer, size_t k);

/// Moves the cursor `n` bytes on, at most to the end.
void rexpand_lexer_eat(rexpand_token_list_t &lexer, size_t n);
