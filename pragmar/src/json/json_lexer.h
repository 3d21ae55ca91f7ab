/// JSON lexer: one token of lookahead over a text that is not terminated.
///
/// Whitespace is the blank, the line feed and the tab; a carriage return is not. Oddity O55. Every
/// scan stops at the end of the text.
#pragma once

#include "json.h"

/// Moves the start of `token` over whitespace, counting lines, and makes the token empty there.
void json_lexer_skip(const char *json, uint32_t json_len, json_token_t *token);

/// Classifies the token that follows `token`'s start, skipping whitespace first. The token is not
/// consumed: filling again gives the same token.
///
/// Returns 0, or nonzero when no token starts there: -1 for a character that starts nothing, 1
/// for a string that is not closed (the token then ends where the text ends).
[[nodiscard]] int json_lexer_token_fill(const char *json, uint32_t json_len, json_token_t *token);

/// Consumes a filled token: the next one starts where it ends.
void json_lexer_token_eat(json_token_t *token);

/// One function for each kind of token, called with the token's start on its first character.
/// A literal is recognised only where at least one more character follows it.
int json_lexer_opening_brace(const char *json, uint32_t json_len, json_token_t *token);
int json_lexer_closing_brace(const char *json, uint32_t json_len, json_token_t *token);
int json_lexer_opening_bracket(const char *json, uint32_t json_len, json_token_t *token);
int json_lexer_closing_bracket(const char *json, uint32_t json_len, json_token_t *token);
int json_lexer_colon(const char *json, uint32_t json_len, json_token_t *token);
int json_lexer_comma(const char *json, uint32_t json_len, json_token_t *token);
int json_lexer_string(const char *json, uint32_t json_len, json_token_t *token);
int json_lexer_number(const char *json, uint32_t json_len, json_token_t *token);
int json_lexer_true(const char *json, uint32_t json_len, json_token_t *token);
int json_lexer_false(const char *json, uint32_t json_len, json_token_t *token);
int json_lexer_null(const char *json, uint32_t json_len, json_token_t *token);
