#include "json_lexer.h"

#include <array>
#include <cstring>
#include <string_view>

#include "csa_char.h"

namespace
{

using lexer_fct = int (*)(const char *json, uint32_t json_len, json_token_t *token);

int single(json_token_type_t type, json_token_t *token)
{
    token->type = type;
    token->offset_end = token->offset_start + 1;
    return 0;
}

int literal(std::string_view letters, json_token_type_t type, const char *json, uint32_t json_len,
            json_token_t *token)
{
    const auto len = static_cast<uint32_t>(letters.size());
    // At least one character must follow the literal. Oddity O56.
    if (json_len - token->offset_start <= len ||
        std::memcmp(json + token->offset_start, letters.data(), len) != 0)
        return -1;
    token->type = type;
    token->offset_end = token->offset_start + len;
    return 0;
}

/// What a token's first character starts; null: nothing.
constexpr std::array<lexer_fct, 256> make_lexer_table()
{
    std::array<lexer_fct, 256> table{};
    table['{'] = json_lexer_opening_brace;
    table['}'] = json_lexer_closing_brace;
    table['['] = json_lexer_opening_bracket;
    table[']'] = json_lexer_closing_bracket;
    table[':'] = json_lexer_colon;
    table[','] = json_lexer_comma;
    table['"'] = json_lexer_string;
    for (size_t digit = '0'; digit <= '9'; ++digit)
        table[digit] = json_lexer_number;
    table['t'] = json_lexer_true;
    table['f'] = json_lexer_false;
    table['n'] = json_lexer_null;
    return table;
}

constexpr std::array<lexer_fct, 256> lexer_table = make_lexer_table();

} // namespace

void json_lexer_skip(const char *json, uint32_t json_len, json_token_t *token)
{
    uint32_t at = token->offset_start;
    for (; at < json_len; ++at) {
        const char c = json[at];
        if (c == '\n')
            ++token->line;
        else if (c != ' ' && c != '\t')
            break;
    }
    token->offset_start = at;
    token->offset_end = at;
}

int json_lexer_token_fill(const char *json, uint32_t json_len, json_token_t *token)
{
    json_lexer_skip(json, json_len, token);
    if (token->offset_start >= json_len) {
        token->type = JSON_TOKEN_END;
        return 0;
    }
    const lexer_fct lexer = lexer_table[static_cast<uint8_t>(json[token->offset_start])];
    return lexer == nullptr ? -1 : lexer(json, json_len, token);
}

void json_lexer_token_eat(json_token_t *token)
{
    token->offset_start = token->offset_end;
}

int json_lexer_opening_brace(const char *, uint32_t, json_token_t *token)
{
    return single(JSON_TOKEN_OPENING_BRACE, token);
}

int json_lexer_closing_brace(const char *, uint32_t, json_token_t *token)
{
    return single(JSON_TOKEN_CLOSING_BRACE, token);
}

int json_lexer_opening_bracket(const char *, uint32_t, json_token_t *token)
{
    return single(JSON_TOKEN_OPENING_BRACKET, token);
}

int json_lexer_closing_bracket(const char *, uint32_t, json_token_t *token)
{
    return single(JSON_TOKEN_CLOSING_BRACKET, token);
}

int json_lexer_colon(const char *, uint32_t, json_token_t *token)
{
    return single(JSON_TOKEN_COLON, token);
}

int json_lexer_comma(const char *, uint32_t, json_token_t *token)
{
    return single(JSON_TOKEN_COMMA, token);
}

int json_lexer_string(const char *json, uint32_t json_len, json_token_t *token)
{
    uint32_t at = token->offset_start + 1;
    while (at < json_len && json[at] != '"') {
        // Whatever stands behind a backslash belongs to the string, and no line is counted.
        // Oddity O63.
        at += json[at] == '\\' ? 2 : 1;
    }
    if (at >= json_len) {
        token->offset_end = json_len;
        return 1;
    }
    token->type = JSON_TOKEN_STRING;
    token->offset_end = at + 1;
    return 0;
}

int json_lexer_number(const char *json, uint32_t json_len, json_token_t *token)
{
    uint32_t at = token->offset_start;
    while (at < json_len && char_is_digit(json[at]))
        ++at;
    token->type = JSON_TOKEN_NUMBER;
    token->offset_end = at;
    return 0;
}

int json_lexer_true(const char *json, uint32_t json_len, json_token_t *token)
{
    return literal("true", JSON_TOKEN_TRUE, json, json_len, token);
}

int json_lexer_false(const char *json, uint32_t json_len, json_token_t *token)
{
    return literal("false", JSON_TOKEN_FALSE, json, json_len, token);
}

int json_lexer_null(const char *json, uint32_t json_len, json_token_t *token)
{
    return literal("null", JSON_TOKEN_NULL, json, json_len, token);
}
