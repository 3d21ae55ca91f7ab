#include "dump.h"

#include <algorithm>

#include "csa_char.h"

bool dump_section_find(std::string_view name, format_kind_t &kind)
{
    for (const format_record_t &record : format_records())
        if (std::ranges::equal(std::string_view(record.name), name, {}, char_small, char_small)) {
            kind = record.kind;
            return true;
        }
    return false;
}
