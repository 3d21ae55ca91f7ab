#include "description_text.h"

#include <algorithm>

#include "csa_char.h"
#include "text_reader.h"

namespace
{

/// Refuses what is JSON and no description: '{', a key, ':', '[', a protocol, ..., ']', '}'.
bool check_frame(text_reader_t &reader)
{
    const std::vector<text_token_t> &tokens = reader.description.tokens;
    if (tokens.size() < 6 || tokens[3].kind != TEXT_ARRAY)
        return text_reader_refuse(reader, tokens[std::min<size_t>(3, tokens.size() - 1)].begin,
                                  "expected one key with an array of protocols");
    if (tokens[tokens[3].mate + 1].kind != TEXT_OBJECT_END)
        return text_reader_refuse(reader, tokens[tokens[3].mate + 1].begin,
                                  "expected '}' behind the protocols");
    for (size_t at = 4; at < tokens[3].mate; at = text_value_end(reader.description, at) + 1)
        if (tokens[at].kind != TEXT_OBJECT)
            return text_reader_refuse(reader, tokens[at].begin, "expected a protocol, an object");
    if (tokens[3].mate == 4)
        return text_reader_refuse(reader, tokens[4].begin, "expected a protocol");
    return true;
}

} // namespace

bool description_text_read(std::string_view text, description_text_t &description,
                           text_fault_t &fault)
{
    description = {text, {}};
    text_reader_t reader = {description, fault};
    if (text.size() > DESCRIPTION_TEXT_MAX)
        return text_reader_refuse(reader, DESCRIPTION_TEXT_MAX,
                                  "a text of more than 2147483647 bytes");
    return text_reader_read(reader, true) && check_frame(reader);
}

size_t text_skip_blanks(std::string_view text, size_t at)
{
    while (at < text.size() && char_is_blank(text[at]))
        ++at;
    return std::min(at, text.size());
}

size_t text_closing_quote(std::string_view text, size_t at)
{
    for (++at; at < text.size() && text[at] != '"'; ++at)
        if (text[at] == '\\')
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
