/// Records as lists of words, for descriptions that tests put together by hand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

using word_list = std::vector<uint32_t>;

/// Several lists, one behind another.
inline word_list join(std::initializer_list<word_list> lists)
{
    word_list out;
    for (const word_list &list : lists)
        out.insert(out.end(), list.begin(), list.end());
    return out;
}

/// A record: its header word and its value.
inline word_list record(uint32_t type, const word_list &value = {})
{
    return join({{type << 24 | static_cast<uint32_t>(value.size())}, value});
}

/// The bytes of a list, every word most significant byte first, in memory of exactly their size.
inline std::vector<uint8_t> stored(const word_list &words)
{
    std::vector<uint8_t> out(words.size() * 4);
    for (size_t i = 0; i < words.size(); ++i)
        for (size_t byte = 0; byte < 4; ++byte)
            out[i * 4 + byte] = static_cast<uint8_t>(words[i] >> (24 - 8 * byte));
    return out;
}
