#include "visitor_psa.h"

#include <string_view>

namespace
{

visitor_psa_t *self(json_visitor_t *visitor)
{
    return reinterpret_cast<visitor_psa_t *>(visitor);
}

uint32_t top_state(const visitor_psa_t &visitor)
{
    return stack_state_top(visitor.stack, PSA_STATE_IGNORED);
}

/// Which table the names and values of a state go to; null: none.
psa_pattern_table_t *table_of(visitor_psa_t *visitor)
{
    switch (top_state(*visitor)) {
    case PSA_STATE_PREFIX:
        return &visitor->container->prefixes;
    case PSA_STATE_SUFFIX:
        return &visitor->container->suffixes;
    case PSA_STATE_REGULAR:
        return &visitor->container->regular;
    default:
        return nullptr;
    }
}

int v_psa_pair_start(json_visitor_t *visitor, json_pair_t *pair)
{
    visitor_psa_t *v = self(visitor);
    const std::string_view key = json_string_view(*pair->string);
    uint32_t state = top_state(*v);
    if (v->stack.nr == 1) {
        if (key == "prefix")
            state = PSA_STATE_PREFIX_KEY;
        else if (key == "suffix")
            state = PSA_STATE_SUFFIX_KEY;
        else if (key == "regular")
            state = PSA_STATE_REGULAR_KEY;
    }
    v->is_value = false;
    return stack_state_push(&v->stack, state);
}

int v_psa_pair_sep(json_visitor_t *visitor, json_pair_t *)
{
    self(visitor)->is_value = true;
    return 0;
}

int v_psa_pair_end(json_visitor_t *visitor, json_pair_t *)
{
    stack_state_pop(&self(visitor)->stack);
    return 0;
}

int v_psa_array_start(json_visitor_t *visitor, json_array_t *)
{
    visitor_psa_t *v = self(visitor);
    uint32_t state = PSA_STATE_IGNORED;
    switch (top_state(*v)) {
    case PSA_STATE_PREFIX_KEY:
        state = PSA_STATE_PREFIX;
        break;
    case PSA_STATE_SUFFIX_KEY:
        state = PSA_STATE_SUFFIX;
        break;
    case PSA_STATE_REGULAR_KEY:
        state = PSA_STATE_REGULAR;
        break;
    default:
        break;
    }
    return stack_state_push(&v->stack, state);
}

int v_psa_array_end(json_visitor_t *visitor, json_array_t *)
{
    stack_state_pop(&self(visitor)->stack);
    return 0;
}

int v_psa_string(json_visitor_t *visitor, json_string_t *string)
{
    visitor_psa_t *v = self(visitor);
    psa_pattern_table_t *table = table_of(v);
    if (table == nullptr)
        return 0;
    const csa_str_t text = csa_str(json_string_view(*string));
    if (v->is_value)
        return psa_pattern_value_add(table, text);
    psa_pattern_name_set(table, text);
    return 0;
}

} // namespace

void visitor_psa_init(visitor_psa_t *visitor, psa_container_t *container)
{
    *visitor = {};
    visitor->visitor.json_string = v_psa_string;
    visitor->visitor.json_array_start = v_psa_array_start;
    visitor->visitor.json_array_end = v_psa_array_end;
    visitor->visitor.json_pair_start = v_psa_pair_start;
    visitor->visitor.json_pair_sep = v_psa_pair_sep;
    visitor->visitor.json_pair_end = v_psa_pair_end;
    *container = {};
    visitor->container = container;
    visitor->stack = {{PSA_STATE_ROOT}, 1};
}
