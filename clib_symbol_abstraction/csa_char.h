/// Bytes as characters of ASCII, whatever the locale.
#pragma once

/// Returns the small letter of a capital one, any other byte as it is.
constexpr char char_small(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}

/// Tells whether a byte is a digit.
constexpr bool char_is_digit(char c)
{
    return c >= '0' && c <= '9';
}

/// Tells whether a byte is a letter.
constexpr bool char_is_letter(char c)
{
    return char_small(c) >= 'a' && char_small(c) <= 'z';
}

/// Tells whether a byte may stand in a label of a host's name.
constexpr bool char_is_label(char c)
{
    return char_is_letter(c) || char_is_digit(c) || c == '-' || c == '_';
}

/// Returns the value of a hexadecimal digit, -1 for any other byte.
constexpr int char_hex_value(char c)
{
    if (char_is_digit(c))
        return c - '0';
    return char_small(c) >= 'a' && char_small(c) <= 'f' ? char_small(c) - 'a' + 10 : -1;
}

/// Tells whether a byte is a space, a tab or a line feed: what may stand between the tokens of a
/// description.
constexpr bool char_is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\n';
}
