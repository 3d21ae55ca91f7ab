#include "value_form.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "format_limits.h"
#include "matcher_pieces.h"
#include "pdb_attr_properties.h"
#include "rexpand.h"
#include "value_ranges.h"

namespace
{

/// A kind of form in front of it, so that forms of different kinds are never equal.
std::string text_form(std::string_view text)
{
    return std::string("t").append(text);
}

/// Both ends of a range, a word of 32 bits a part, the most significant first.
using range_words_t = std::pair<std::array<uint64_t, 4>, std::array<uint64_t, 4>>;

std::array<uint64_t, 4> words_of(matcher_type_t type, const transformer_value_t &value)
{
    if (type != MATCHER_TYPE_IP_6)
        return {0, 0, 0, value.number};
    return {value.address[0], value.address[1], value.address[2], value.address[3]};
}

bool overlap(const range_words_t &one, const range_words_t &next)
{
    return next.first <= one.second;
}

/// Ranges apart from each other are a set; what becomes of others depends on their order.
void sort_ranges(std::vector<range_words_t> &ranges)
{
    std::vector<range_words_t> sorted = ranges;
    std::sort(sorted.begin(), sorted.end());
    if (std::adjacent_find(sorted.begin(), sorted.end(), overlap) == sorted.end())
        ranges = std::move(sorted);
}

std::string number_form(const pdb_attr_properties_t &row, std::string_view text)
{
    std::vector<range_words_t> ranges;
    std::string_view rest = text;
    for (std::string_view part; !(part = value_next_part(rest)).empty();) {
        transformer_value_t left;
        transformer_value_t right;
        if (row.proper_ftrans(csa_str(part), INEQUATION_NONE, left, right) != 0)
            return text_form(text);
        ranges.emplace_back(words_of(row.proper_type, left), words_of(row.proper_type, right));
    }
    sort_ranges(ranges);
    std::string form = "n";
    for (const auto &[left, right] : ranges)
        for (const auto &words : {left, right})
            for (const uint64_t word : words)
                form += std::to_string(word) + ' ';
    return form;
}

/// Returns a permutation as a key, in small letters where case does not matter.
std::string permutation_form(const rexpand_permutation &permutation, bool ignores_case)
{
    std::string form;
    for (const rexpand_pattern_t &piece : permutation.patterns) {
        form += std::to_string(piece.type) + ' ' + std::to_string(piece.str.size()) + '=';
        for (const char c : piece.str)
            form += ignores_case && c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
    }
    return form;
}

/// Tells whether the pieces of all permutations prove the value, and are numbered apart.
bool is_proved(const rexpand_permutation_list &list)
{
    static_assert(MATCHER_PERMUTATION_MAX <= UINT8_MAX);
    return std::none_of(list.begin(), list.end(), [](const rexpand_permutation &permutation) {
        return matcher_is_marked(permutation) || permutation.patterns.empty() ||
               permutation.patterns.size() > UINT8_MAX;
    });
}

std::string stream_form(const pdb_attr_properties_t &row, std::string_view text)
{
    const std::string_view value = matcher_without_final_zero(text);
    rexpand_permutation_list list;
    if (rexpand_process(value, MATCHER_PERMUTATION_MAX, nullptr, &list, VALUE_FORM_EXPANSION_MAX) !=
            0 ||
        !is_proved(list))
        return text_form(value);
    std::vector<std::string> permutations;
    for (const rexpand_permutation &permutation : list)
        permutations.push_back(permutation_form(permutation, row.icase != 0));
    std::sort(permutations.begin(), permutations.end());
    permutations.erase(std::unique(permutations.begin(), permutations.end()), permutations.end());
    std::string form = "p";
    for (const std::string &permutation : permutations)
        form += std::to_string(permutation.size()) + ':' + permutation;
    return form;
}

std::string offset_form(std::string_view text)
{
    std::string bytes = "o";
    std::string_view fault;
    return matcher_unescape(matcher_without_final_zero(text), bytes, fault) ? bytes
                                                                            : text_form(text);
}

} // namespace

std::string value_form(std::string_view protocol, std::string_view attribute, bool at_offset,
                       std::string_view text)
{
    const pdb_attr_properties_t *row =
        pdb_get_attr_properties(csa_str(protocol), csa_str(attribute));
    if (row == nullptr || text.size() > VALUE_FORM_TEXT_MAX)
        return text_form(text);
    if (at_offset)
        return offset_form(text);
    if (row->proper_type == MATCHER_TYPE_STREAM)
        return stream_form(*row, text);
    return number_form(*row, text);
}
