/// Bytes as characters of ASCII, whatever the locale.
#pragma once

/// Returns the small letter of a capital one, any other byte as it is.
constexpr char char_small(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}

/// Tells whether a byte is a space, a tab or a line feed: what may stand between the tokens of a
/// description.
constexpr bool char_is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\n';
}
