/// What a letter behind a backslash stands for.
#pragma once

/// Returns the control character of b, f, n, r and t; any other character stands for itself.
constexpr char char_escaped(char c)
{
    switch (c) {
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return c;
    }
}
