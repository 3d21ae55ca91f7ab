#include "visitor_tag_table.h"

namespace
{

visitor_tag_table_t *self(json_visitor_t *visitor)
{
    return reinterpret_cast<visitor_tag_table_t *>(visitor);
}

uint32_t top_state(const visitor_tag_table_t &visitor)
{
    return stack_state_top(visitor.stack, TAG_TABLE_STATE_UNKNOWN);
}

int v_tag_table_pair_start(json_visitor_t *visitor, json_pair_t *pair)
{
    visitor_tag_table_t *v = self(visitor);
    uint32_t state = TAG_TABLE_STATE_UNKNOWN;
    if (top_state(*v) == TAG_TABLE_STATE_TAGS ||
        (top_state(*v) == TAG_TABLE_STATE_ROOT && json_string_view(*pair->string) == "tag_table"))
        state = TAG_TABLE_STATE_TAGS;
    v->is_value = false;
    return stack_state_push(&v->stack, state);
}

int v_tag_table_pair_sep(json_visitor_t *visitor, json_pair_t *)
{
    self(visitor)->is_value = true;
    return 0;
}

int v_tag_table_pair_end(json_visitor_t *visitor, json_pair_t *)
{
    stack_state_pop(&self(visitor)->stack);
    return 0;
}

int v_tag_table_string(json_visitor_t *visitor, json_string_t *string)
{
    visitor_tag_table_t *v = self(visitor);
    if (v->is_value || top_state(*v) != TAG_TABLE_STATE_TAGS)
        return 0;
    return tag_table_name_set(v->tag_table, string);
}

int v_tag_table_number(json_visitor_t *visitor, json_number_t *number)
{
    visitor_tag_table_t *v = self(visitor);
    if (!v->is_value || top_state(*v) != TAG_TABLE_STATE_TAGS)
        return 0;
    return tag_table_value_set(v->tag_table, number);
}

} // namespace

void visitor_tag_table_init(visitor_tag_table_t *visitor, tag_table_t *tag_table)
{
    *visitor = {};
    visitor->visitor.json_string = v_tag_table_string;
    visitor->visitor.json_number = v_tag_table_number;
    visitor->visitor.json_pair_start = v_tag_table_pair_start;
    visitor->visitor.json_pair_sep = v_tag_table_pair_sep;
    visitor->visitor.json_pair_end = v_tag_table_pair_end;
    tag_table_init(tag_table);
    visitor->tag_table = tag_table;
    visitor->stack = {{TAG_TABLE_STATE_ROOT}, 1};
}

void visitor_tag_table_cleanup(visitor_tag_table_t *visitor)
{
    *visitor = {};
}
