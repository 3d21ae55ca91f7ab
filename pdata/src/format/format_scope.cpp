#include "format_scope.h"

#include "format_values.h"

uint32_t format_scope_bit(std::string_view word)
{
    for (const format_value_t &row : format_values)
        if (row.unit == FORMAT_UNIT_SCOPE && std::string_view(row.what).starts_with(word))
            return row.number;
    return 0;
}

std::string_view format_scope_word(uint32_t bit)
{
    for (const format_value_t &row : format_values)
        if (row.unit == FORMAT_UNIT_SCOPE && row.number == bit)
            return row.what;
    return {};
}

std::vector<std::string_view> format_scope_words(uint32_t scope)
{
    std::vector<std::string_view> words;
    for (const format_value_t &row : format_values)
        if (row.unit == FORMAT_UNIT_SCOPE && (scope & row.number) != 0)
            words.emplace_back(row.what);
    return words;
}
