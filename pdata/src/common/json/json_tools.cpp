#include "json_tools.h"

#include <cstring>
#include <memory_resource>
#include <new>

namespace
{

/// Owns every text that the value functions make.
using string_list_t = std::pmr::monotonic_buffer_resource;

string_list_t json_list;

} // namespace

char *alloc_from_string_list(size_t size)
{
    try {
        return static_cast<char *>(json_list.allocate(size, 1));
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void string_list_clean()
{
    json_list.release();
}

char *string_assign(const char *str, size_t *len)
{
    char *copy = alloc_from_string_list(*len + 1);
    if (copy == nullptr)
        return nullptr;
    size_t written = 0;
    for (size_t i = 0; i < *len; ++i) {
        const bool escaped = str[i] == '\\' && i + 1 < *len;
        copy[written++] = escaped ? char_escaped(str[++i]) : str[i];
    }
    copy[written] = '\0';
    *len = written;
    return copy;
}

void set_string_from_charstar(csa_str_t *str, const char *s, size_t len)
{
    *str = {};
    if (s == nullptr)
        return;
    if (const char *copy = string_assign(s, &len))
        *str = csa_str(copy, len);
}

void set_string_from_json(csa_str_t *str, const json_string_t *json_string)
{
    if (json_string == nullptr)
        *str = {};
    else
        set_string_from_charstar(str, json_string->str, json_string->len);
}

void set_string_in_json(csa_str_t *str, const json_string_t *json_string)
{
    if (json_string != nullptr && std::memchr(json_string->str, '\\', json_string->len) == nullptr)
        *str = csa_str(json_string_view(*json_string));
    else
        set_string_from_json(str, json_string);
}

uint32_t get_number_from_json(const json_number_t *json_number)
{
    return json_number == nullptr ? 0 : json_number->number;
}

csa_bool_t get_boolean_from_json(const json_atom_t *json_atom)
{
    return json_atom != nullptr && json_atom->type == JSON_ATOM_TRUE ? 1 : 0;
}
