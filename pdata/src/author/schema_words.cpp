#include "schema_words.h"

#include <string>

namespace
{

/// Keys whose objects have a section of their own, and its heading.
struct section_t {
    std::string_view holder;
    std::string_view heading;
};

constexpr section_t sections[] = {
    {"", "A protocol"},
    {"rules", "A rule"},
    {"rule", "A sub-rule"},
};

bool is_about(const schema_vocabulary_t &vocabulary, const vocabulary_row_t &row,
              std::string_view holder)
{
    if (!vocabulary.section.empty())
        return row.section == vocabulary.section && row.holder == holder;
    for (const section_t &section : sections)
        if (section.holder == holder)
            return row.holder.empty() && row.section == section.heading;
    return row.holder == holder;
}

} // namespace

void schema_add_words(const schema_vocabulary_t &vocabulary, std::string_view holder,
                      std::string_view key, schema_json_t &schema)
{
    for (const vocabulary_row_t &row : vocabulary.rows) {
        if (row.key != key || !is_about(vocabulary, row, holder))
            continue;
        schema["title"] = key == "*" ? "any other key" : std::string(key);
        schema["description"] = row.value + (row.meaning.empty() ? "" : ": ") + row.meaning;
        return;
    }
}
