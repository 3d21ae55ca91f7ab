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

visitor_semantic_t *self(json_visitor_t *visitor)
{
    return reinterpret_cast<visitor_semantic_t *>(visitor);
}

uint32_t top_state(const visitor_semantic_t &visitor)
{
    return stack_state_top(visitor.stack, SEMANTIC_STATE_UNKNOWN);
}

int v_semantic_pair_start(json_visitor_t *visitor, json_pair_t *pair)
{
    visitor_semantic_t *v = self(visitor);
    const uint32_t state = stack_state_find(keys, top_state(*v), json_string_view(*pair->string),
                                            SEMANTIC_STATE_UNKNOWN);
    v->is_value = false;
    return stack_state_push(&v->stack, state);
}

int v_semantic_pair_sep(json_visitor_t *visitor, json_pair_t *)
{
    self(visitor)->is_value = true;
    return 0;
}

int v_semantic_pair_end(json_visitor_t *visitor, json_pair_t *)
{
    self(visitor)->is_value = false;
    stack_state_pop(&self(visitor)->stack);
    return 0;
}

int v_semantic_string(json_visitor_t *visitor, json_string_t *string)
{
    visitor_semantic_t *v = self(visitor);
    if (!v->is_value)
        return 0;
    switch (top_state(*v)) {
    case SEMANTIC_STATE_NODE_CATEGORY:
        return semantic_node_category_set(v->semantic, json_string_view(*string));
    case SEMANTIC_STATE_TRANS_TRANS:
        return semantic_trans_trans_set(v->semantic, json_string_view(*string));
    default:
        return 0;
    }
}

int v_semantic_number(json_visitor_t *visitor, json_number_t *number)
{
    visitor_semantic_t *v = self(visitor);
    if (!v->is_value)
        return 0;
    switch (top_state(*v)) {
    case SEMANTIC_STATE_NODE_KEY:
        return semantic_node_key_set(v->semantic, number->number);
    case SEMANTIC_STATE_NODE_RESET:
        return semantic_node_reset_add(v->semantic, number->number);
    case SEMANTIC_STATE_NODE_CHECK:
        return semantic_node_check_add(v->semantic, number->number);
    case SEMANTIC_STATE_NODE_RANGE_MIN:
        return semantic_node_min_set(v->semantic, number->number);
    case SEMANTIC_STATE_NODE_RANGE_MAX:
        return semantic_node_max_set(v->semantic, number->number);
    case SEMANTIC_STATE_TRANS_FROM:
        return semantic_trans_from_set(v->semantic, number->number);
    case SEMANTIC_STATE_TRANS_TO:
        return semantic_trans_to_set(v->semantic, number->number);
    default:
        return 0;
    }
}

int v_semantic_object_end(json_visitor_t *visitor, json_object_t *)
{
    visitor_semantic_t *v = self(visitor);
    switch (top_state(*v)) {
    case SEMANTIC_STATE_NODE:
        return semantic_node_next(v->semantic);
    case SEMANTIC_STATE_TRANS:
        return semantic_trans_next(v->semantic);
    default:
        return 0;
    }
}

} // namespace

void visitor_semantic_init(visitor_semantic_t *visitor, semantic_t *semantic)
{
    *visitor = {};
    visitor->visitor.json_string = v_semantic_string;
    visitor->visitor.json_number = v_semantic_number;
    visitor->visitor.json_object_end = v_semantic_object_end;
    visitor->visitor.json_pair_start = v_semantic_pair_start;
    visitor->visitor.json_pair_sep = v_semantic_pair_sep;
    visitor->visitor.json_pair_end = v_semantic_pair_end;
    visitor->semantic = semantic;
    semantic_init(semantic);
    visitor->stack = {{SEMANTIC_STATE_ROOT}, 1};
}

void visitor_semantic_cleanup(visitor_semantic_t *visitor)
{
    *visitor = {};
}
