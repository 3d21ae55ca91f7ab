#include "lint_text_hint.h"

#include "csa_char.h"

namespace
{

/// Tells whether a byte may stand in a word.
bool is_letter(char c)
{
    return char_is_letter(c) || c == '_';
}

/// Tells whether a comma stands in front of a place, blanks passed over.
bool is_behind_comma(std::string_view text, size_t at)
{
    return text.substr(0, text.substr(0, at).find_last_not_of(" \t\n") + 1).ends_with(',');
}

/// Returns the word that begins at a place, its letters made small.
std::string word_at(std::string_view text, size_t at)
{
    std::string word;
    for (; at < text.size() && is_letter(text[at]); ++at)
        word += static_cast<char>(text[at] | 0x20);
    return word;
}

/// What is to be done about bytes that are no token.
std::string token_hint(std::string_view text, size_t at)
{
    const std::string_view rest = text.substr(at);
    for (const std::string_view mark :
         {"'", "`", "\xe2\x80\x9c", "\xe2\x80\x9d", "\xe2\x80\x9e", "\xe2\x80\x98", "\xe2\x80\x99"})
        if (rest.starts_with(mark))
            return "write '\"' around a text";
    if (!is_letter(rest.front()))
        return "";
    const std::string word = word_at(text, at);
    if (word == "true" || word == "false")
        return "write " + word;
    if (char_is_digit(text[at - 1])) // a brace at least stands in front
        return "write a number in digits alone";
    return "write '\"' in front of the text and behind it";
}

} // namespace

std::string lint_syntax_hint(std::string_view text, size_t at, std::string_view message)
{
    if (at >= text.size())
        return "";
    const char c = text[at];
    const bool begins = c == '"' || c == '{' || c == '[' || char_is_digit(c) || is_letter(c);
    if (message.starts_with("expected a key") && c == '{')
        return "write '}' in front of it";
    if (message.starts_with("expected ',' or '}'") && c == ']')
        return "write '}' in front of it";
    if (message.starts_with("expected ',' or ']'") && c == '}')
        return "write ']' in front of it";
    if (message.starts_with("expected ','"))
        return begins ? "write ',' in front of it" : "";
    if (message.starts_with("expected ':'"))
        return begins ? "write ':' in front of it" : "";
    if (c == ',' && is_behind_comma(text, at))
        return "leave it out";
    if (message.starts_with("expected ") && (c == '}' || c == ']') && is_behind_comma(text, at))
        return "leave the ',' in front of it out";
    if (message.starts_with("a number is digits only"))
        return "write a number in digits alone";
    return message.starts_with("nothing begins") || message.starts_with("a word")
               ? token_hint(text, at)
               : "";
}
