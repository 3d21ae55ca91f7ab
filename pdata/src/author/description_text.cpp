#include "description_text.h"

#include <algorithm>

namespace
{

/// What may stand at a place of the grammar.
enum expected_t {
    EXPECT_DOCUMENT,
    EXPECT_VALUE,
    EXPECT_VALUE_OR_END,
    EXPECT_KEY,
    EXPECT_KEY_OR_END,
    EXPECT_COLON,
    EXPECT_NEXT, ///< a comma or the end of what is open
    EXPECT_NOTHING,
};

/// The names of expected_t; that of EXPECT_NEXT is of an array, of an object the one behind all.
constexpr const char *expected_names[] = {
    "'{'", "a value",    "a value or ']'", "a key in quotes", "a key in quotes or '}'",
    "':'", "',' or ']'", "no more",        "',' or '}'"};

struct reader_t {
    description_text_t &description;
    text_fault_t &fault;
    std::vector<uint32_t> open; ///< tokens of what is not closed yet
    size_t at = 0;
};

bool refuse(reader_t &reader, size_t offset, std::string text)
{
    reader.fault = {offset, std::move(text)};
    return false;
}

/// Reads a string: whatever stands behind a backslash belongs to it.
bool string_end(reader_t &reader, size_t &end)
{
    const std::string_view text = reader.description.text;
    for (end = reader.at + 1; end < text.size() && text[end] != '"'; ++end)
        if (text[end] == '\\')
            ++end;
    if (end++ >= text.size())
        return refuse(reader, reader.at, "a string without an end");
    return true;
}

bool literal_end(reader_t &reader, size_t &end)
{
    const std::string_view rest = reader.description.text.substr(reader.at);
    for (const std::string_view word : {"true", "false", "null"})
        if (rest.starts_with(word)) {
            end = reader.at + word.size();
            return true;
        }
    return refuse(reader, reader.at, "a word that is none of true, false, null");
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

bool token_end(reader_t &reader, text_token_kind_t &kind, size_t &end)
{
    const std::string_view rest = reader.description.text.substr(reader.at);
    const char c = rest.front();
    end = reader.at + 1;
    kind = static_cast<text_token_kind_t>(c);
    if (c == ',' || c == ':' || c == '[' || c == ']' || c == '{' || c == '}')
        return true;
    if (c == '"')
        return string_end(reader, end);
    if (c >= '0' && c <= '9') {
        kind = TEXT_NUMBER;
        end = reader.at + std::min(rest.find_first_not_of("0123456789"), rest.size());
        return true;
    }
    if (c < 'a' || c > 'z')
        return refuse(reader, reader.at, no_token(rest));
    kind = TEXT_LITERAL;
    return literal_end(reader, end);
}

bool in_object(const reader_t &reader)
{
    return reader.description.tokens[reader.open.back()].kind == TEXT_OBJECT;
}

/// Tells whether a token may stand where `expected` stands.
bool fits(const reader_t &reader, expected_t expected, text_token_kind_t kind)
{
    const bool value = kind == TEXT_OBJECT || kind == TEXT_ARRAY || kind == TEXT_STRING ||
                       kind == TEXT_NUMBER || kind == TEXT_LITERAL;
    switch (expected) {
    case EXPECT_DOCUMENT:
        return kind == TEXT_OBJECT;
    case EXPECT_VALUE:
        return value;
    case EXPECT_VALUE_OR_END:
        return value || kind == TEXT_ARRAY_END;
    case EXPECT_KEY:
        return kind == TEXT_STRING;
    case EXPECT_KEY_OR_END:
        return kind == TEXT_STRING || kind == TEXT_OBJECT_END;
    case EXPECT_COLON:
        return kind == TEXT_COLON;
    case EXPECT_NEXT:
        return kind == TEXT_COMMA || kind == (in_object(reader) ? TEXT_OBJECT_END : TEXT_ARRAY_END);
    case EXPECT_NOTHING:
        break;
    }
    return false;
}

/// Opens or closes what a token opens or closes, and returns what may follow it.
expected_t follow(reader_t &reader, expected_t expected, uint32_t token)
{
    text_token_t &now = reader.description.tokens[token];
    switch (now.kind) {
    case TEXT_OBJECT:
    case TEXT_ARRAY:
        reader.open.push_back(token);
        return now.kind == TEXT_OBJECT ? EXPECT_KEY_OR_END : EXPECT_VALUE_OR_END;
    case TEXT_OBJECT_END:
    case TEXT_ARRAY_END:
        now.mate = reader.open.back();
        reader.description.tokens[now.mate].mate = token;
        reader.open.pop_back();
        return reader.open.empty() ? EXPECT_NOTHING : EXPECT_NEXT;
    case TEXT_COLON:
        return EXPECT_VALUE;
    case TEXT_COMMA:
        return in_object(reader) ? EXPECT_KEY : EXPECT_VALUE;
    default:
        return expected == EXPECT_KEY || expected == EXPECT_KEY_OR_END ? EXPECT_COLON : EXPECT_NEXT;
    }
}

std::string expected_text(const reader_t &reader, expected_t expected)
{
    const bool object = expected == EXPECT_NEXT && in_object(reader);
    return std::string("expected ") + expected_names[object ? EXPECT_NOTHING + 1 : expected];
}

/// Reads the tokens of an object, and with `whole` what stands behind it.
bool read_tokens(reader_t &reader, bool whole)
{
    const std::string_view text = reader.description.text;
    std::vector<text_token_t> &tokens = reader.description.tokens;
    expected_t expected = EXPECT_DOCUMENT;
    while (whole || expected != EXPECT_NOTHING) {
        reader.at = text_skip_blanks(text, reader.at);
        if (reader.at == text.size())
            break;
        text_token_kind_t kind{};
        size_t end = 0;
        if (!token_end(reader, kind, end))
            return false;
        if (!fits(reader, expected, kind))
            return refuse(reader, reader.at, expected_text(reader, expected));
        tokens.push_back({kind, static_cast<uint32_t>(reader.at), static_cast<uint32_t>(end), 0});
        expected = follow(reader, expected, static_cast<uint32_t>(tokens.size() - 1));
        reader.at = end;
    }
    if (expected != EXPECT_NOTHING)
        return refuse(reader, text.size(), expected_text(reader, expected) + ", found the end");
    return true;
}

/// Refuses what is JSON and no description: '{', a key, ':', '[', a protocol, ..., ']', '}'.
bool check_frame(reader_t &reader)
{
    const std::vector<text_token_t> &tokens = reader.description.tokens;
    if (tokens.size() < 6 || tokens[3].kind != TEXT_ARRAY)
        return refuse(reader, tokens[std::min<size_t>(3, tokens.size() - 1)].begin,
                      "expected one key with an array of protocols");
    if (tokens[tokens[3].mate + 1].kind != TEXT_OBJECT_END)
        return refuse(reader, tokens[tokens[3].mate + 1].begin,
                      "expected '}' behind the protocols");
    for (size_t at = 4; at < tokens[3].mate; at = text_value_end(reader.description, at) + 1)
        if (tokens[at].kind != TEXT_OBJECT)
            return refuse(reader, tokens[at].begin, "expected a protocol, an object");
    if (tokens[3].mate == 4)
        return refuse(reader, tokens[4].begin, "expected a protocol");
    return true;
}

} // namespace

bool description_text_read(std::string_view text, description_text_t &description,
                           text_fault_t &fault)
{
    description = {text, {}};
    reader_t reader = {description, fault, {}};
    if (text.size() > DESCRIPTION_TEXT_MAX)
        return refuse(reader, DESCRIPTION_TEXT_MAX, "a text of more than 2147483647 bytes");
    return read_tokens(reader, true) && check_frame(reader);
}

bool description_object_read(std::string_view text, size_t at, description_text_t &description,
                             text_fault_t &fault)
{
    description.text = text;
    description.tokens.clear();
    reader_t reader = {description, fault, {}, at};
    return read_tokens(reader, false);
}

size_t text_skip_blanks(std::string_view text, size_t at)
{
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t' || text[at] == '\n'))
        ++at;
    return std::min(at, text.size());
}

std::string_view text_token_bytes(const description_text_t &description, size_t token)
{
    const text_token_t &it = description.tokens[token];
    return description.text.substr(it.begin, it.end - it.begin);
}

size_t text_value_end(const description_text_t &description, size_t token)
{
    const text_token_t &it = description.tokens[token];
    return (it.kind == TEXT_OBJECT || it.kind == TEXT_ARRAY ? it.mate : token) + 1;
}

text_place_t text_place(std::string_view text, size_t offset)
{
    const std::string_view before = text.substr(0, offset);
    const size_t feed = before.rfind('\n');
    const std::string_view line = feed == std::string_view::npos ? before : before.substr(feed + 1);
    return {static_cast<size_t>(std::ranges::count(before, '\n')) + 1, text_characters(line) + 1};
}

size_t text_characters(std::string_view text)
{
    return static_cast<size_t>(
        std::ranges::count_if(text, [](char c) { return (c & '\xc0') != '\x80'; }));
}

std::string_view text_line(std::string_view text, size_t line)
{
    for (; line > 1; --line)
        text.remove_prefix(std::min(text.find('\n') + 1, text.size()));
    return text.substr(0, text.find('\n'));
}
