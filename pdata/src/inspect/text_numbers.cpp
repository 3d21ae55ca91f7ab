#include "text_numbers.h"

namespace
{

uint32_t number_of(text_numbers_t &texts, std::string_view text)
{
    const auto next = static_cast<uint32_t>(texts.numbers.size());
    return texts.numbers.try_emplace(text, next).first->second;
}

} // namespace

uint32_t text_number(text_numbers_t &texts, std::string_view text)
{
    if (text.size() < TEXT_NUMBERS_LONG)
        return number_of(texts, text);
    if (const auto found = texts.places.find(text.data()); found != texts.places.end())
        return found->second;
    const uint32_t number = number_of(texts, text);
    texts.places.emplace(text.data(), number);
    return number;
}

uint32_t text_number_made(text_numbers_t &texts, std::string text)
{
    if (const auto found = texts.numbers.find(text); found != texts.numbers.end())
        return found->second;
    return number_of(texts, texts.made.emplace_back(std::move(text)));
}
