#include "visitor_semantic.h"

namespace
{

/// Which state a key opens below which state.
constexpr state_key_t keys[] = {
    {SEMANTIC_STATE_ROOT, "nodes", SEMANTIC_STATE_NODE},
    {SEMANTIC_STATE_ROOT, "transitions", SEMANTIC_STATE_TRANS},
    {SEMANTIC_STATE_NODE, "key", SEMANTIC_STATE_NODE_KEY},
    {SEMANTIC_STATE_NODE, "category", SEMANTIC_STATE_NODE_CATEGORY},
    {SEMANTIC_STATE_NODE, "reset", SEMANTIC_STATE_NODE_RESET},
    {SEMANTIC_STATE_NODE, "check", SEMANTIC_STATE_NODE_CHECK},
    {SEMANTIC_STATE_NODE, "range", SEMANTIC_STATE_NODE_RANGE},
    {SEMANTIC_STATE_NODE_RANGE, "min", SEMANTIC_STATE_NODE_RANGE_MIN},
    {SEMANTIC_STATE_NODE_RANGE, "max", SEMANTIC_STATE_NODE_RANGE_MAX},
    {SEMANTIC_STATE_TRANS, "from", SEMANTIC_STATE_TRANS_FROM},
    {SEMANTIC_STATE_TRANS, "to", SEMANTIC_STATE_TRANS_TO},
    {SEMANTIC_STATE_TRANS, "trans", SEMANTIC_STATE_TRANS_TRANS},
};

using string_row = keyed_row_t<semantic_t, json_string_t>;
using number_row = keyed_row_t<semantic_t, json_number_t>;

/// A row that hands the number of a node to an operation of the machine.
template <int (*Operation)(semantic_t *, uint32_t)>
int with_number(semantic_t *semantic, json_number_t *number)
{
    return Operation(semantic, number->number);
}

template <int (*Operation)(semantic_t *, std::string_view)>
int with_text(semantic_t *semantic, json_string_t *string)
{
    return Operation(semantic, json_string_view(*string));
}

constexpr string_row strings[] = {
    {SEMANTIC_STATE_NODE_CATEGORY, with_text<semantic_node_category_set>},
    {SEMANTIC_STATE_TRANS_TRANS, with_text<semantic_trans_trans_set>},
};

constexpr number_row numbers[] = {
    {SEMANTIC_STATE_NODE_KEY, with_number<semantic_node_key_set>},
    {SEMANTIC_STATE_NODE_RESET, with_number<semantic_node_reset_add>},
    {SEMANTIC_STATE_NODE_CHECK, with_number<semantic_node_check_add>},
    {SEMANTIC_STATE_NODE_RANGE_MIN, with_number<semantic_node_min_set>},
    {SEMANTIC_STATE_NODE_RANGE_MAX, with_number<semantic_node_max_set>},
    {SEMANTIC_STATE_TRANS_FROM, with_number<semantic_trans_from_set>},
    {SEMANTIC_STATE_TRANS_TO, with_number<semantic_trans_to_set>},
};

constexpr keyed_end_t<semantic_t> object_ends[] = {
    {SEMANTIC_STATE_NODE, semantic_node_next},
    {SEMANTIC_STATE_TRANS, semantic_trans_next},
};

constexpr keyed_table_t<semantic_t> table = {
    .root = SEMANTIC_STATE_ROOT,
    .unknown = [](uint32_t) -> uint32_t { return SEMANTIC_STATE_UNKNOWN; },
    .keys = keys,
    .strings = strings,
    .numbers = numbers,
    .object_ends = object_ends,
    .pair_end_closes = true,
};

} // namespace

void visitor_semantic_init(visitor_semantic_t *visitor, semantic_t *semantic)
{
    semantic_init(semantic);
    visitor_keyed_init<semantic_t, table>(visitor, semantic);
}

void visitor_semantic_cleanup(visitor_semantic_t *visitor)
{
    *visitor = {};
}
