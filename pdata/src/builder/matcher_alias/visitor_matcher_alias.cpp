#include "visitor_matcher_alias.h"

namespace
{

// clang-format off
/// Which state a key opens below which state.
constexpr state_key_t keys[] = {
    {MATCHER_ALIAS_STATE_ROOT, "aliases", MATCHER_ALIAS_STATE_ALIASES},
    {MATCHER_ALIAS_STATE_ALIASES, "alias", MATCHER_ALIAS_STATE_ALIASES_ALIAS},
    {MATCHER_ALIAS_STATE_ALIASES, "reference", MATCHER_ALIAS_STATE_ALIASES_REFERENCE},
    {MATCHER_ALIAS_STATE_ALIASES_ALIAS, "protocol", MATCHER_ALIAS_STATE_ALIASES_ALIAS_PROTOCOL},
    {MATCHER_ALIAS_STATE_ALIASES_ALIAS, "attr", MATCHER_ALIAS_STATE_ALIASES_ALIAS_ATTR},
    {MATCHER_ALIAS_STATE_ALIASES_ALIAS, "way", MATCHER_ALIAS_STATE_ALIASES_ALIAS_WAY},
    {MATCHER_ALIAS_STATE_ALIASES_REFERENCE, "protocol", MATCHER_ALIAS_STATE_ALIASES_REFERENCE_PROTOCOL},
    {MATCHER_ALIAS_STATE_ALIASES_REFERENCE, "attr", MATCHER_ALIAS_STATE_ALIASES_REFERENCE_ATTR},
    {MATCHER_ALIAS_STATE_ALIASES_REFERENCE, "way", MATCHER_ALIAS_STATE_ALIASES_REFERENCE_WAY},
};
// clang-format on

visitor_matcher_alias_t *self(json_visitor_t *visitor)
{
    return reinterpret_cast<visitor_matcher_alias_t *>(visitor);
}

uint32_t top_state(const visitor_matcher_alias_t &visitor)
{
    return stack_state_top(visitor.stack, MATCHER_ALIAS_STATE_UNKNOWN);
}

int v_matcher_alias_pair_start(json_visitor_t *visitor, json_pair_t *pair)
{
    visitor_matcher_alias_t *v = self(visitor);
    const uint32_t state = stack_state_find(keys, top_state(*v), json_string_view(*pair->string),
                                            MATCHER_ALIAS_STATE_UNKNOWN);
    v->is_value = false;
    return stack_state_push(&v->stack, state);
}

int v_matcher_alias_pair_sep(json_visitor_t *visitor, json_pair_t *)
{
    self(visitor)->is_value = true;
    return 0;
}

int v_matcher_alias_pair_end(json_visitor_t *visitor, json_pair_t *)
{
    stack_state_pop(&self(visitor)->stack);
    return 0;
}

/// Where a value goes under the state on top; null: nowhere.
json_string_t **field_of(visitor_matcher_alias_t *v)
{
    matcher_alias_entry_t &entry = matcher_alias_entry(&v->container);
    switch (top_state(*v)) {
    case MATCHER_ALIAS_STATE_ALIASES_ALIAS_PROTOCOL:
        return &entry.alias.protocol;
    case MATCHER_ALIAS_STATE_ALIASES_ALIAS_ATTR:
        return &entry.alias.attr;
    case MATCHER_ALIAS_STATE_ALIASES_ALIAS_WAY:
        return &entry.alias.way;
    case MATCHER_ALIAS_STATE_ALIASES_REFERENCE_PROTOCOL:
        return &entry.reference.protocol;
    case MATCHER_ALIAS_STATE_ALIASES_REFERENCE_ATTR:
        return &entry.reference.attr;
    case MATCHER_ALIAS_STATE_ALIASES_REFERENCE_WAY:
        return &entry.reference.way;
    default:
        return nullptr;
    }
}

int v_matcher_alias_string(json_visitor_t *visitor, json_string_t *string)
{
    visitor_matcher_alias_t *v = self(visitor);
    json_string_t **field = v->is_value ? field_of(v) : nullptr;
    if (field != nullptr)
        *field = string;
    return 0;
}

/// An object that ends inside the array of aliases is an entry.
int v_matcher_alias_object_end(json_visitor_t *visitor, json_object_t *)
{
    visitor_matcher_alias_t *v = self(visitor);
    return top_state(*v) == MATCHER_ALIAS_STATE_ALIASES ? matcher_alias_next(&v->container) : 0;
}

} // namespace

void visitor_matcher_alias_init(visitor_matcher_alias_t *visitor)
{
    *visitor = {};
    visitor->visitor.json_string = v_matcher_alias_string;
    visitor->visitor.json_object_end = v_matcher_alias_object_end;
    visitor->visitor.json_pair_start = v_matcher_alias_pair_start;
    visitor->visitor.json_pair_sep = v_matcher_alias_pair_sep;
    visitor->visitor.json_pair_end = v_matcher_alias_pair_end;
    visitor->stack = {{MATCHER_ALIAS_STATE_ROOT}, 1};
}

void visitor_matcher_alias_cleanup(visitor_matcher_alias_t *visitor)
{
    *visitor = {};
}
