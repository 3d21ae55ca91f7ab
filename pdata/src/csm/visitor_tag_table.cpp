#include "visitor_tag_table.h"

namespace
{

/// Which state a key opens below which state.
constexpr state_key_t keys[] = {{TAG_TABLE_STATE_ROOT, "tag_table", TAG_TABLE_STATE_TAGS}};

/// Every key below "tag_table" is the name of a tag.
uint32_t unknown(uint32_t parent)
{
    return parent == TAG_TABLE_STATE_TAGS ? TAG_TABLE_STATE_TAGS : TAG_TABLE_STATE_UNKNOWN;
}

constexpr keyed_row_t<tag_table_t, json_string_t> names[] = {
    {TAG_TABLE_STATE_TAGS, tag_table_name_set}};

constexpr keyed_row_t<tag_table_t, json_number_t> numbers[] = {
    {TAG_TABLE_STATE_TAGS, tag_table_value_set}};

constexpr keyed_table_t<tag_table_t> table = {
    .root = TAG_TABLE_STATE_ROOT,
    .unknown = unknown,
    .keys = keys,
    .names = names,
    .numbers = numbers,
};

} // namespace

void visitor_tag_table_init(visitor_tag_table_t *visitor, tag_table_t *tag_table)
{
    tag_table_init(tag_table);
    visitor_keyed_init<tag_table_t, table>(visitor, tag_table);
}

void visitor_tag_table_cleanup(visitor_tag_table_t *visitor)
{
    *visitor = {};
}
