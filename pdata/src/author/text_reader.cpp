#include "text_reader.h"

#include <algorithm>

#include "csa_char.h"

namespace
{

/// The names of text_expected_t; that of TEXT_EXPECT_NEXT is of an array, of an object the one
/// behind all.
constexpr const char *expected_names[] = {
    "'{'", "a value",    "a value or ']'", "a key in quotes", "a key in quotes or '}'",
    "':'", "',' or ']'", "no more",        "',' or '}'"};

/// Bytes that are a token each, and end a word.
constexpr std::string_view ENDS = ",:[]{}";

bool string_end(text_reader_t &reader, size_t &end)
{
    const std::string_view text = reader.description.text;
    end = text_closing_quote(text, reader.at) + 1;
    if (end > text.size())
        return text_reader_refuse(reader, reader.at, "a string without an end");
    return true;
}

bool literal_end(text_reader_t &reader, size_t &end)
{
    const std::string_view rest = reader.description.text.substr(reader.at);
    for (const std::string_view word : {"true", "false", "null"})
        if (rest.starts_with(word)) {
            end = reader.at + word.size();
            return true;
        }
    return text_reader_refuse(reader, reader.at, "a word that is none of true, false, null");
}

std::string no_token(std::string_view rest)
{
    if (rest.front() == '\r')
        return "a carriage return: lines end in a line feed alone";
    if (rest.starts_with("\xef\xbb\xbf"))
        return "a byte order mark";
    if (rest.starts_with("//") || rest.starts_with("/*") || rest.starts_with("#"))
        return "a comment: descriptions have none";
    if (rest.front() == '-' || rest.front() == '+' || rest.front() == '.')
        return "a number is digits only";
    return "nothing begins with this";
}

bool token_end(text_reader_t &reader, text_token_kind_t &kind, size_t &end)
{
    const std::string_view rest = reader.description.text.substr(reader.at);
    const char c = rest.front();
    end = reader.at + 1;
    kind = static_cast<text_token_kind_t>(c);
    if (ENDS.find(c) != ENDS.npos)
        return true;
    if (c == '"')
        return string_end(reader, end);
    if (char_is_digit(c)) {
        kind = TEXT_NUMBER;
        end = reader.at + std::min(rest.find_first_not_of("0123456789"), rest.size());
        return true;
    }
    if (c < 'a' || c > 'z')
        return text_reader_refuse(reader, reader.at, no_token(rest));
    kind = TEXT_LITERAL;
    return literal_end(reader, end);
}

bool in_object(const text_reader_t &reader)
{
    return reader.description.tokens[reader.open.back()].kind == TEXT_OBJECT;
}

bool is_key(text_expected_t expected)
{
    return expected == TEXT_EXPECT_KEY || expected == TEXT_EXPECT_KEY_OR_END;
}

/// The kinds of tokens that may stand at each place, by text_expected_t.
constexpr std::string_view allowed_kinds[] = {"{", "{[\"0t", "{[\"0t]", "\"", "\"}", ":", ",", ""};

/// Tells whether a token may stand where `expected` stands.
bool fits(const text_reader_t &reader, text_expected_t expected, text_token_kind_t kind)
{
    const bool ends = expected == TEXT_EXPECT_NEXT &&
                      kind == (in_object(reader) ? TEXT_OBJECT_END : TEXT_ARRAY_END);
    return ends || allowed_kinds[expected].find(kind) != std::string_view::npos;
}

/// Closes what is open.
void close(text_reader_t &reader)
{
    reader.open.pop_back();
    reader.expected = reader.open.empty() ? TEXT_EXPECT_NOTHING : TEXT_EXPECT_NEXT;
}

/// Opens or closes what a token opens or closes, and notes what may follow it.
void follow(text_reader_t &reader, uint32_t token)
{
    text_token_t &now = reader.description.tokens[token];
    text_expected_t &expected = reader.expected;
    switch (now.kind) {
    case TEXT_OBJECT:
    case TEXT_ARRAY:
        reader.open.push_back(token);
        expected = now.kind == TEXT_OBJECT ? TEXT_EXPECT_KEY_OR_END : TEXT_EXPECT_VALUE_OR_END;
        break;
    case TEXT_OBJECT_END:
    case TEXT_ARRAY_END:
        now.mate = reader.open.back();
        reader.description.tokens[now.mate].mate = token;
        close(reader);
        break;
    case TEXT_COLON:
        expected = TEXT_EXPECT_VALUE;
        break;
    case TEXT_COMMA:
        expected = in_object(reader) ? TEXT_EXPECT_KEY : TEXT_EXPECT_VALUE;
        break;
    default:
        expected = is_key(expected) ? TEXT_EXPECT_COLON : TEXT_EXPECT_NEXT;
    }
}

std::string expected_text(const text_reader_t &reader)
{
    const bool object = reader.expected == TEXT_EXPECT_NEXT && in_object(reader);
    return std::string("expected ") +
           expected_names[object ? TEXT_EXPECT_NOTHING + 1 : reader.expected];
}

/// Goes on behind a token that is left out.
bool leave_out(text_reader_t &reader, size_t end)
{
    reader.at = end;
    return true;
}

/// Goes on at a token as if `expected` stood there.
bool go_on(text_reader_t &reader, text_expected_t expected)
{
    reader.expected = expected;
    return true;
}

/// Tells whether what is open stands in something that a bracket closes.
bool closes_around(const text_reader_t &reader, text_token_kind_t kind)
{
    if (reader.open.size() == 1)
        return false;
    const text_token_t &around = reader.description.tokens[reader.open.end()[-2]];
    return (around.kind == TEXT_OBJECT) == (kind == TEXT_OBJECT_END);
}

/// Passes a token where a comma or an end is expected: one of them lacks in front of it, or it is
/// another end.
bool pass_next(text_reader_t &reader, text_token_kind_t kind, size_t end)
{
    const text_expected_t member = in_object(reader) ? TEXT_EXPECT_KEY : TEXT_EXPECT_VALUE;
    if (fits(reader, member, kind))
        return go_on(reader, member);
    if (kind != TEXT_OBJECT_END && kind != TEXT_ARRAY_END)
        return false;
    if (!closes_around(reader, kind))
        reader.at = end;
    close(reader);
    return true;
}

/// Passes a token where a key is expected: a comma is too much, or an object in an array lacks its
/// end.
bool pass_key(text_reader_t &reader, text_token_kind_t kind, size_t end)
{
    if (kind == TEXT_COMMA)
        return leave_out(reader, end);
    if (kind == TEXT_OBJECT_END || kind == TEXT_ARRAY_END)
        return go_on(reader, TEXT_EXPECT_NEXT);
    if (kind != TEXT_OBJECT || reader.open.size() == 1)
        return false;
    close(reader);
    reader.expected = TEXT_EXPECT_VALUE;
    return !in_object(reader);
}

/// Passes a token that reads, and does not fit.
bool pass_token(text_reader_t &reader, text_token_kind_t kind, size_t end)
{
    switch (reader.expected) {
    case TEXT_EXPECT_NEXT:
        return pass_next(reader, kind, end);
    case TEXT_EXPECT_KEY:
    case TEXT_EXPECT_KEY_OR_END:
        return pass_key(reader, kind, end);
    case TEXT_EXPECT_COLON:
        return go_on(reader,
                     fits(reader, TEXT_EXPECT_VALUE, kind) ? TEXT_EXPECT_VALUE : TEXT_EXPECT_NEXT);
    default:
        return kind == TEXT_COLON ? leave_out(reader, end) : go_on(reader, TEXT_EXPECT_NEXT);
    }
}

/// Passes bytes that are no token, as if they were the text that is expected.
bool pass_bytes(text_reader_t &reader)
{
    const std::string_view text = reader.description.text;
    const char first = text[reader.at];
    if (first == '"')
        return false;
    const bool quote = first == '\'' || first == '`';
    const size_t mate = quote ? text.find_first_of(std::string{first, '\n'}, reader.at + 1) : 0;
    const size_t end = quote && mate != text.npos && text[mate] == first
                           ? mate + 1
                           : text.find_first_of(" \t\n,:[]{}\"", reader.at + 1);
    reader.at = std::min(end, text.size());
    if (is_key(reader.expected))
        reader.expected = TEXT_EXPECT_COLON;
    else if (reader.expected != TEXT_EXPECT_COLON)
        reader.expected = TEXT_EXPECT_NEXT;
    return true;
}

} // namespace

bool text_reader_refuse(text_reader_t &reader, size_t offset, std::string text)
{
    reader.fault = {offset, std::move(text)};
    return false;
}

bool text_reader_read(text_reader_t &reader, bool whole)
{
    const std::string_view text = reader.description.text;
    std::vector<text_token_t> &tokens = reader.description.tokens;
    while (whole || reader.expected != TEXT_EXPECT_NOTHING) {
        reader.at = text_skip_blanks(text, reader.at);
        if (reader.at == text.size())
            break;
        text_token_kind_t kind{};
        size_t end = 0;
        if (!token_end(reader, kind, end))
            return false;
        if (!fits(reader, reader.expected, kind))
            return text_reader_refuse(reader, reader.at, expected_text(reader));
        tokens.push_back({kind, static_cast<uint32_t>(reader.at), static_cast<uint32_t>(end), 0});
        follow(reader, static_cast<uint32_t>(tokens.size() - 1));
        reader.at = end;
    }
    if (reader.expected != TEXT_EXPECT_NOTHING)
        return text_reader_refuse(reader, text.size(), expected_text(reader) + ", found the end");
    return true;
}

bool text_reader_in_step(const text_reader_t &reader)
{
    const description_text_t &description = reader.description;
    const text_token_t &last = description.tokens.back();
    if (last.kind != TEXT_STRING || reader.at == description.text.size())
        return true;
    const bool behind =
        last.end == reader.at && ENDS.find(description.text[reader.at]) == ENDS.npos;
    return !behind && text_token_bytes(description, description.tokens.size() - 1).find('\n') ==
                          std::string_view::npos;
}

bool text_reader_pass(text_reader_t &reader)
{
    text_token_kind_t kind{};
    size_t end = 0;
    if (reader.at == reader.description.text.size())
        return false;
    return token_end(reader, kind, end) ? pass_token(reader, kind, end) : pass_bytes(reader);
}
