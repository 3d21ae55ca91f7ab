#include "dump.h"

#include <algorithm>

namespace
{

char upper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

} // namespace

bool dump_section_find(std::string_view name, format_kind_t &kind)
{
    for (const format_record_t &record : format_records())
        if (std::ranges::equal(std::string_view(record.name), name, {}, upper, upper)) {
            kind = record.kind;
            return true;
        }
    return false;
}
