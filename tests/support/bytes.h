/// Bytes as tests write them.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

/// Bytes given in hexadecimal, blanks ignored: bytes("00 04 'a").
/// A quote takes the character behind it as it is.
inline std::vector<uint8_t> bytes(std::string_view text)
{
    std::vector<uint8_t> out;
    const auto digit = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == ' ' || text[i] == '\n')
            continue;
        if (text[i] == '\'') {
            out.push_back(static_cast<uint8_t>(text[++i]));
            continue;
        }
        out.push_back(static_cast<uint8_t>(digit(text[i]) * 16 + digit(text[i + 1])));
        ++i;
    }
    return out;
}

/// The bytes of a text.
inline std::vector<uint8_t> text_bytes(std::string_view text)
{
    return {text.begin(), text.end()};
}
