#include "json_error.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "json_error_text.h"

namespace
{

char err[JSON_ERR_MAX + 1];
uint32_t err_len;

struct protocol_name {
    const char *name;
    uint32_t name_len;
};

protocol_name current_protocol;

} // namespace

const json_token_type_t expected_eof[] = {JSON_TOKEN_EOF, JSON_TOKEN_END};
const json_token_type_t expected_string[] = {JSON_TOKEN_STRING, JSON_TOKEN_END};
const json_token_type_t expected_colon[] = {JSON_TOKEN_COLON, JSON_TOKEN_END};
const json_token_type_t expected_members_next[] = {JSON_TOKEN_CLOSING_BRACE, JSON_TOKEN_COMMA,
                                                   JSON_TOKEN_END};
const json_token_type_t expected_elements_next[] = {JSON_TOKEN_CLOSING_BRACKET, JSON_TOKEN_COMMA,
                                                    JSON_TOKEN_END};
const json_token_type_t expected_all[] = {JSON_TOKEN_STRING,
                                          JSON_TOKEN_NUMBER,
                                          JSON_TOKEN_NULL,
                                          JSON_TOKEN_TRUE,
                                          JSON_TOKEN_FALSE,
                                          JSON_TOKEN_OPENING_BRACE,
                                          JSON_TOKEN_OPENING_BRACKET,
                                          JSON_TOKEN_END};

const char *json_type2str(json_token_type_t type)
{
    static const char *const names[] = {"{",      "}",      "[",    "]",     ":",    ",",
                                        "STRING", "NUMBER", "TRUE", "FALSE", "NULL", "EOF"};
    return type <= JSON_TOKEN_EOF ? names[type] : "X";
}

const char *pragmar_err_get()
{
    return err;
}

void pragmar_err_clear()
{
    err_len = 0;
    err[0] = '\0';
    current_protocol = {};
}

void json_err_concat(const char *format, ...)
{
    if (err_len >= JSON_ERR_MAX)
        return;
    va_list args;
    va_start(args, format);
    const int printed = std::vsnprintf(err + err_len, sizeof(err) - err_len, format, args);
    va_end(args);
    err_len = std::min(err_len + static_cast<uint32_t>(std::max(printed, 0)), JSON_ERR_MAX);
}

int json_err_printed_len(uint32_t len)
{
    return static_cast<int>(std::min(len, JSON_ERR_MAX));
}

void json_err_protocol_name_set(const char *name, uint32_t name_len)
{
    current_protocol = {name, name_len};
}

void json_err_protocol_name_dump()
{
    if (current_protocol.name_len != 0)
        json_err_concat("Protocol: %.*s.\n", json_err_printed_len(current_protocol.name_len),
                        current_protocol.name);
}

void json_err_concat_last_lines(const json_t &json, const json_token_t &token)
{
    if (json.len == 0)
        return;
    const uint32_t end = std::min(token.offset_end, json.len);
    uint32_t start = token.offset_end < json.len ? token.offset_end : json.len - 1;
    // The walk steps over the third line feed to the character before it. Oddity O64.
    for (uint32_t line_feeds = 0; line_feeds < 3 && start > 0; --start)
        line_feeds += json.str[start] == '\n';
    if (start >= end)
        return;
    const uint32_t len = end - start;
    // The error text holds no more than this of an excerpt, and nothing behind it.
    const uint32_t shown = std::min(len, JSON_ERR_MAX);
    std::string text(json.str + start, shown);
    std::replace(text.begin(), text.end(), '\n', ' ');
    std::string underline(shown, '-');
    if (shown == len)
        underline.back() = '^';
    json_err_concat("%s\n", text.c_str());
    json_err_concat("%s\n", underline.c_str());
}

int json_err_lexer(const json_t &json, const json_token_t &token)
{
    const char *start = json.str + token.offset_start;
    const size_t left = json.len - token.offset_start;
    const void *feed = left == 0 ? nullptr : std::memchr(start, '\n', left);
    const size_t line_len =
        feed == nullptr ? left : static_cast<size_t>(static_cast<const char *>(feed) - start);
    json_err_concat("lex failure on line: %u\n", token.line);
    if (token.offset_end != 0)
        json_err_concat_last_lines(json, token);
    json_err_concat("Unknown token '%.*s'\n", json_err_printed_len(static_cast<uint32_t>(line_len)),
                    start);
    return JSON_ERR_LEXER;
}

int json_err_parser(const json_t &json, const json_token_t &token,
                    const json_token_type_t *expected)
{
    json_err_concat("parse failure on line: %u\n", token.line);
    json_err_concat_last_lines(json, token);
    json_err_concat("Expecting ");
    for (const json_token_type_t *type = expected; *type != JSON_TOKEN_END; ++type)
        json_err_concat("%s'%s'", type == expected ? "" : ", ", json_type2str(*type));
    if (token.offset_start < json.len)
        json_err_concat(", got '%.*s'.\n",
                        json_err_printed_len(token.offset_end - token.offset_start),
                        json.str + token.offset_start);
    else
        json_err_concat(", got 'EOF'.\n");
    return JSON_ERR_PARSER;
}

int json_err_pool(const char *pool)
{
    // The header does not exist. Oddity O46.
    json_err_concat("pool failure.\n");
    json_err_concat("Pool '%s' is empty. Increase value in configuration (json_config.h).\n", pool);
    return JSON_ERR_POOL;
}
