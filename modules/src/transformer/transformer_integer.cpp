#include "transformer_integer.h"

#include <limits>

#include "csa_char.h"

namespace
{

bool is_blank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool is_inequation(uint32_t inequation)
{
    return inequation >= INEQUATION_LESS && inequation <= INEQUATION_GREATER_OR_EQUAL;
}

int apply_inequation(uint32_t inequation, uint32_t value, uint32_t max, transformer_value_t &lower,
                     transformer_value_t &upper)
{
    const bool less = inequation == INEQUATION_LESS;
    const bool greater = inequation == INEQUATION_GREATER;
    if ((less && value == 0) || (greater && value == max))
        return MODULE_ERR_INVALID;
    if (less || inequation == INEQUATION_LESS_OR_EQUAL) {
        lower.number = 0;
        upper.number = less ? value - 1 : value;
    } else {
        lower.number = greater ? value + 1 : value;
        upper.number = max;
    }
    return MODULE_SUCCESS;
}

bool is_in_range(int32_t value, uint32_t max)
{
    return value >= 0 && static_cast<uint32_t>(value) <= max;
}

} // namespace

int32_t transformer_read_decimal(std::string_view text)
{
    constexpr int64_t limit = std::numeric_limits<int32_t>::max();
    size_t i = 0;
    while (i < text.size() && is_blank(text[i]))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+'))
        negative = text[i++] == '-';
    const int64_t bound = negative ? limit + 1 : limit;
    int64_t value = 0;
    for (; i < text.size() && char_is_digit(text[i]); ++i) {
        value = value * 10 + (text[i] - '0');
        if (value > bound)
            value = bound;
    }
    return static_cast<int32_t>(negative ? -value : value);
}

int transformer_integer(const transformer_integer_width &width, csa_str_t text, uint32_t inequation,
                        transformer_value_t &lower, transformer_value_t &upper)
{
    std::string_view rest = csa_str_view(text);
    if (rest.empty())
        return MODULE_ERR_INVALID;
    const bool bracketed = rest.front() == '[' && rest.back() == ']';
    if (bracketed)
        rest.remove_prefix(1); // the closing bracket stays: it ends the number before it
    const size_t dash = rest.find('-');
    if (bracketed && dash == std::string_view::npos)
        return MODULE_ERR_INVALID;
    if (!char_is_digit(rest.front()))
        return MODULE_ERR_INVALID;
    const int32_t first = transformer_read_decimal(rest);
    if (!is_in_range(first, width.max))
        return MODULE_ERR_OVERFLOW;
    lower = {};
    upper = {};
    lower.number = upper.number = static_cast<uint32_t>(first);
    if (is_inequation(inequation)) {
        if (dash != std::string_view::npos)
            return MODULE_ERR_INVALID;
        return apply_inequation(inequation, static_cast<uint32_t>(first), width.max, lower, upper);
    }
    if (dash == std::string_view::npos)
        return MODULE_SUCCESS;
    const int32_t second = transformer_read_decimal(rest.substr(dash + 1));
    if (!is_in_range(second, width.max))
        return width.upper_error;
    upper.number = static_cast<uint32_t>(second);
    return first > second ? MODULE_ERR_INVALID : MODULE_SUCCESS;
}
