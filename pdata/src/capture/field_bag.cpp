#include "field_bag.h"

#include <algorithm>
#include <charconv>

uint32_t field_bag_ask(field_bag_t &bag, std::string_view name)
{
    const auto number = static_cast<uint32_t>(bag.values.size());
    const auto [found, is_new] = bag.numbers.try_emplace(std::string(name), number);
    if (is_new) {
        bag.values.emplace_back();
        field_names_add(bag.names, name, number);
    }
    return found->second;
}

void field_bag_clear(field_bag_t &bag, size_t size)
{
    for (const uint32_t number : bag.touched)
        bag.values[number].clear();
    bag.touched.clear();
    bag.made.clear();
    bag.made.reserve(size);
}

void field_bag_put(field_bag_t &bag, uint32_t number, std::string_view value)
{
    std::vector<std::string_view> &values = bag.values[number];
    if (values.empty())
        bag.touched.push_back(number);
    if (values.size() < FIELD_BAG_OCCURRENCES)
        values.push_back(value);
}

void field_bag_limit(field_bag_t &bag, uint32_t number, size_t count)
{
    std::vector<std::string_view> &values = bag.values[number];
    values.resize(std::min(values.size(), count));
}

std::string_view field_bag_first(const field_bag_t &bag, uint32_t number)
{
    return bag.values[number].empty() ? std::string_view() : bag.values[number].front();
}

int64_t field_bag_number(const field_bag_t &bag, uint32_t number, int64_t other)
{
    return field_number(field_bag_first(bag, number), other);
}

int64_t field_number(std::string_view text, int64_t other)
{
    const bool hexadecimal = text.starts_with("0x");
    if (hexadecimal)
        text.remove_prefix(2);
    int64_t number = 0;
    const auto [end, fault] =
        std::from_chars(text.data(), text.data() + text.size(), number, hexadecimal ? 16 : 10);
    return fault == std::errc() && end == text.data() + text.size() ? number : other;
}
