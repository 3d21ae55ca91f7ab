#include "matcher_pieces.h"

#include <algorithm>

#include "csa_char.h"
#include "csa_escape.h"

namespace
{

/// A piece proves nothing when it is empty or made of 1 to 3 zero bytes. Oddity O140.
bool is_mandatory(const rexpand_pattern_t &piece)
{
    return piece.str.size() > 3 ||
           std::any_of(piece.str.begin(), piece.str.end(), [](char c) { return c != '\0'; });
}

} // namespace

std::string_view matcher_without_final_zero(std::string_view value)
{
    if (!value.empty() && value.back() == '\0')
        value.remove_suffix(1);
    return value;
}

bool matcher_is_marked(const rexpand_permutation &permutation)
{
    return (permutation.flag & REXPAND_FLAG_L2_REQUIRED) != 0 ||
           !std::all_of(permutation.patterns.begin(), permutation.patterns.end(), is_mandatory);
}

const rexpand_pattern_t *matcher_longest_piece(const rexpand_permutation &permutation)
{
    const rexpand_pattern_t *longest = nullptr;
    for (const rexpand_pattern_t &piece : permutation.patterns)
        if (is_mandatory(piece) && piece.flag != REXPAND_FLAG_L2_REQUIRED &&
            (longest == nullptr || piece.str.size() > longest->str.size()))
            longest = &piece;
    return longest;
}

bool matcher_unescape(std::string_view value, std::string &bytes, std::string_view &fault)
{
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\') {
            bytes.push_back(value[i]);
            continue;
        }
        const std::string_view rest = value.substr(i + 1);
        const int high = rest.size() > 2 ? char_hex_value(rest[1]) : -1;
        const int low = rest.size() > 2 ? char_hex_value(rest[2]) : -1;
        fault = rest;
        if (rest.empty() || (rest[0] == 'x' && (high < 0 || low < 0)))
            return false;
        if (rest[0] == 'x') {
            bytes.push_back(static_cast<char>(high * 16 + low));
            i += 3;
        } else {
            bytes.push_back(char_escaped(rest[0]));
            i += 1;
        }
    }
    return true;
}
