#include "rexpand_lexer.h"

#include <algorithm>

int rexpand_lexer_byte(const rexpand_token_list_t &lexer, size_t k)
{
    if (k >= lexer.regexp.size() - lexer.offset)
        return -1;
    return static_cast<uint8_t>(lexer.regexp[lexer.offset + k]);
}

uint32_t rexpand_lexer_classify(const rexpand_token_list_t &lexer, size_t k)
{
    const int byte = rexpand_lexer_byte(lexer, k);
    switch (byte) {
    case -1:
        return REXPAND_TOKEN_END;
    case '$':
    case '(':
    case ')':
    case '*':
    case '+':
    case '-':
    case '.':
    case '?':
    case '[':
    case '\\':
    case ']':
    case '^':
    case '|':
        return static_cast<uint32_t>(byte);
    default:
        return REXPAND_TOKEN_ORDINARY;
    }
}

void rexpand_lexer_eat(rexpand_token_list_t &lexer, size_t n)
{
    lexer.offset += std::min(n, lexer.regexp.size() - lexer.offset);
}
