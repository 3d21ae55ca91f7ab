#include "field_bag.h"

#include <algorithm>
#include <charconv>

#include <nlohmann/json.hpp>

namespace
{

/// Deepest nesting of objects that is looked into.
constexpr size_t depth_max = 32;

/// Takes the events of the JSON reader. `path` is the name of the value that comes next.
struct json_fields_t {
    field_bag_t &bag;
    std::string path = {};
    std::vector<size_t> starts = {}; ///< of objects: length of `path` in front of their keys
    size_t depth = 0;                ///< of objects, those too deep included
    bool top_is_object = false;

    bool scalar(std::string_view text)
    {
        if (depth > 0 && depth <= depth_max)
            field_bag_add(bag, path, text);
        return true;
    }
    bool null() { return true; }
    bool boolean(bool value) { return scalar(value ? "true" : "false"); }
    bool number_integer(int64_t value) { return scalar(std::to_string(value)); }
    bool number_unsigned(uint64_t value) { return scalar(std::to_string(value)); }
    bool number_float(double, const std::string &text) { return scalar(text); }
    bool string(std::string &text) { return scalar(text); }
    bool binary(nlohmann::json::binary_t &) { return true; }
    bool start_object(size_t)
    {
        if (depth == 0)
            top_is_object = true;
        if (++depth <= depth_max) {
            if (depth > 1)
                path += '.';
            starts.push_back(path.size());
        }
        return true;
    }
    bool key(std::string &name)
    {
        if (depth <= depth_max) {
            path.resize(starts.back());
            path.append(name, 0, 256);
        }
        return true;
    }
    bool end_object()
    {
        if (depth-- > depth_max)
            return true;
        path.resize(starts.back() - (depth > 0 ? 1 : 0));
        starts.pop_back();
        return true;
    }
    bool start_array(size_t) { return depth > 0; }
    bool end_array() { return true; }
    bool parse_error(size_t, const std::string &, const nlohmann::json::exception &)
    {
        return false;
    }
};

} // namespace

uint32_t field_bag_ask(field_bag_t &bag, std::string_view name)
{
    const auto number = static_cast<uint32_t>(bag.values.size());
    const auto [found, is_new] = bag.numbers.try_emplace(std::string(name), number);
    if (is_new)
        bag.values.emplace_back();
    return found->second;
}

void field_bag_clear(field_bag_t &bag)
{
    for (const uint32_t number : bag.touched)
        bag.values[number].clear();
    bag.touched.clear();
}

void field_bag_add(field_bag_t &bag, std::string_view name, std::string_view value)
{
    const auto found = bag.numbers.find(name);
    if (found == bag.numbers.end())
        return;
    std::vector<std::string> &values = bag.values[found->second];
    if (values.empty())
        bag.touched.push_back(found->second);
    if (values.size() < FIELD_BAG_OCCURRENCES)
        values.emplace_back(value);
}

void field_bag_limit(field_bag_t &bag, uint32_t number, size_t count)
{
    std::vector<std::string> &values = bag.values[number];
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

bool field_bag_read_json(field_bag_t &bag, std::string_view line)
{
    field_bag_clear(bag);
    json_fields_t fields = {bag};
    const bool read = nlohmann::json::sax_parse(line.begin(), line.end(), &fields);
    return read && fields.top_is_object;
}
