#include "container_tag_table.h"

#include <cstdio>

void tag_table_init(tag_table_t *tag_table)
{
    *tag_table = {};
}

int tag_table_name_set(tag_table_t *tag_table, json_string_t *name)
{
    tag_table->name[tag_table->nr_tag] = name;
    return 0;
}

int tag_table_value_set(tag_table_t *tag_table, json_number_t *value)
{
    if (tag_table->nr_tag == TAG_TABLE_DIM) {
        std::fputs(REFUSED_TAG_TABLE, stderr);
        return -1;
    }
    tag_table->value[tag_table->nr_tag++] = value;
    return 0;
}

void tag_table_dump(const tag_table_t &tag_table)
{
    for (uint32_t i = 0; i < tag_table.nr_tag; ++i) {
        if (const json_string_t *name = tag_table.name[i])
            std::printf("%s: %.*s\n", "name", static_cast<int>(name->len), name->str);
        std::printf("%s: %u\n", "value", tag_table.value[i]->number);
    }
}
