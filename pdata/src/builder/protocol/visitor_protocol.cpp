#include "visitor_protocol.h"

namespace
{

// clang-format off
/// Which state a key opens below which state.
constexpr state_key_t keys[] = {
    {PROTOCOL_STATE_ROOT, "name", PROTOCOL_STATE_NAME},
    {PROTOCOL_STATE_ROOT, "id", PROTOCOL_STATE_ID},
    {PROTOCOL_STATE_ROOT, "version", PROTOCOL_STATE_VERSION},
    {PROTOCOL_STATE_ROOT, "tags", PROTOCOL_STATE_TAGS},
    {PROTOCOL_STATE_ROOT, "altname", PROTOCOL_STATE_ALTNAME},
    {PROTOCOL_STATE_ROOT, "http_reclassify", PROTOCOL_STATE_HTTP_RECLASSIFY},
    {PROTOCOL_STATE_ROOT, "implicit_bottom_layer", PROTOCOL_STATE_IMPLICIT_BOTTOM_LAYER},
    {PROTOCOL_STATE_ROOT, "virtual_id", PROTOCOL_STATE_VIRTUAL_ID},
    {PROTOCOL_STATE_ROOT, "cacheable", PROTOCOL_STATE_CACHEABLE},
    {PROTOCOL_STATE_ROOT, "description", PROTOCOL_STATE_DESCRIPTION},
    {PROTOCOL_STATE_ROOT, "rules", PROTOCOL_STATE_RULES},
    {PROTOCOL_STATE_VERSION, "major", PROTOCOL_STATE_VERSION_MAJOR},
    {PROTOCOL_STATE_VERSION, "minor", PROTOCOL_STATE_VERSION_MINOR},
    {PROTOCOL_STATE_VERSION, "revision", PROTOCOL_STATE_VERSION_REVISION},
    {PROTOCOL_STATE_TAGS, "category", PROTOCOL_STATE_TAGS_CATEGORY},
    {PROTOCOL_STATE_TAGS, "family", PROTOCOL_STATE_TAGS_FAMILY},
    {PROTOCOL_STATE_TAGS, "deprecated", PROTOCOL_STATE_TAGS_DEPRECATED},
    {PROTOCOL_STATE_DESCRIPTION, "fr", PROTOCOL_STATE_DESCRIPTION_FR},
    {PROTOCOL_STATE_DESCRIPTION, "en", PROTOCOL_STATE_DESCRIPTION_EN},
    {PROTOCOL_STATE_RULES, "rule", PROTOCOL_STATE_RULES_RULE},
    {PROTOCOL_STATE_RULES, "scope", PROTOCOL_STATE_RULES_RULE_SCOPE},
    {PROTOCOL_STATE_RULES, "fastpass", PROTOCOL_STATE_RULES_RULE_FASTPASS},
    {PROTOCOL_STATE_RULES, "preempt", PROTOCOL_STATE_RULES_RULE_PREEMPT},
    {PROTOCOL_STATE_RULES, "order", PROTOCOL_STATE_RULES_RULE_ORDER},
    {PROTOCOL_STATE_RULES, "path", PROTOCOL_STATE_RULES_RULE_PATH},
    {PROTOCOL_STATE_RULES, "rule-tags", PROTOCOL_STATE_RULES_RULE_TAG},
    {PROTOCOL_STATE_RULES_RULE, "protocol", PROTOCOL_STATE_RULES_RULE_PROTOCOL},
    {PROTOCOL_STATE_RULES_RULE, "mindata", PROTOCOL_STATE_RULES_RULE_MINDATA},
    {PROTOCOL_STATE_RULES_RULE, "cts-mindata", PROTOCOL_STATE_RULES_RULE_CTS_MINDATA},
    {PROTOCOL_STATE_RULES_RULE, "stc-mindata", PROTOCOL_STATE_RULES_RULE_STC_MINDATA},
    {PROTOCOL_STATE_RULES_RULE, "stream_offset", PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET},
    {PROTOCOL_STATE_RULES_RULE, "cts-stream_offset", PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET},
    {PROTOCOL_STATE_RULES_RULE, "stc-stream_offset", PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET},
    {PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET, "offset", PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET_OFFSET},
    {PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET, "pattern", PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET_PATTERN},
};
// clang-format on

/// Where the value of a state goes.
struct string_row {
    uint32_t state;
    int (*store)(protocol_t *protocol, json_string_t *string);
};

constexpr string_row strings[] = {
    {PROTOCOL_STATE_NAME, protocol_name_set},
    {PROTOCOL_STATE_TAGS_CATEGORY, protocol_tags_category_add},
    {PROTOCOL_STATE_TAGS_FAMILY, protocol_tags_family_set},
    {PROTOCOL_STATE_ALTNAME, protocol_altname_add},
    {PROTOCOL_STATE_DESCRIPTION_FR, protocol_description_fr_set},
    {PROTOCOL_STATE_DESCRIPTION_EN, protocol_description_en_set},
    {PROTOCOL_STATE_RULES_RULE_ORDER, protocol_rules_rule_order_set},
    {PROTOCOL_STATE_RULES_RULE_SCOPE, protocol_rules_rule_scope_add},
    {PROTOCOL_STATE_RULES_RULE_PATH, protocol_rules_rule_path_add},
    {PROTOCOL_STATE_RULES_RULE_TAG, protocol_rules_rule_tag_add},
    {PROTOCOL_STATE_RULES_RULE_PROTOCOL, protocol_rules_rule_protocol_set},
    {PROTOCOL_STATE_RULES_RULE_ATTR, protocol_rules_rule_attr_value_add},
    {PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET_PATTERN,
     protocol_rules_rule_stream_offset_pattern_set},
};

struct number_row {
    uint32_t state;
    int (*store)(protocol_t *protocol, json_number_t *number);
};

constexpr number_row numbers[] = {
    {PROTOCOL_STATE_ID, protocol_id_set},
    {PROTOCOL_STATE_VIRTUAL_ID, protocol_vid_set},
    {PROTOCOL_STATE_VERSION_MAJOR, protocol_version_major_set},
    {PROTOCOL_STATE_VERSION_MINOR, protocol_version_minor_set},
    {PROTOCOL_STATE_VERSION_REVISION, protocol_version_revision_set},
    {PROTOCOL_STATE_RULES_RULE_MINDATA, protocol_rules_rule_mindata_set},
    {PROTOCOL_STATE_RULES_RULE_CTS_MINDATA, protocol_rules_rule_cts_mindata_set},
    {PROTOCOL_STATE_RULES_RULE_STC_MINDATA, protocol_rules_rule_stc_mindata_set},
    {PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET_OFFSET, protocol_rules_rule_stream_offset_offset_set},
    {PROTOCOL_STATE_IMPLICIT_BOTTOM_LAYER, protocol_implicit_bottom_layer_set},
};

struct atom_row {
    uint32_t state;
    int (*store)(protocol_t *protocol, json_atom_t *atom);
};

constexpr atom_row atoms[] = {
    {PROTOCOL_STATE_TAGS_DEPRECATED, protocol_tags_deprecated_set},
    {PROTOCOL_STATE_HTTP_RECLASSIFY, protocol_http_reclassify_set},
    {PROTOCOL_STATE_CACHEABLE, protocol_cacheable_set},
    {PROTOCOL_STATE_RULES_RULE_FASTPASS, protocol_rules_rule_fastpass_set},
    {PROTOCOL_STATE_RULES_RULE_PREEMPT, protocol_rules_rule_preempt_set},
};

visitor_protocol_t *self(json_visitor_t *visitor)
{
    return reinterpret_cast<visitor_protocol_t *>(visitor);
}

uint32_t top_state(const visitor_protocol_t &visitor)
{
    return stack_state_top(visitor.stack, PROTOCOL_STATE_UNKNOWN);
}

/// Tells whether a state takes a value of the kind that `accepts` stands for.
bool check_value_type(uint32_t state, uint32_t accepts)
{
    return (state & (accepts | PROTOCOL_ACCEPTS_CONTAINER)) != 0;
}

/// Stores a value where the state on top wants it. A container state accepts anything and stores
/// nothing.
template <typename Row, size_t Nr, typename Node>
int value_dispatch(visitor_protocol_t &visitor, const Row (&rows)[Nr], uint32_t accepts, Node *node)
{
    if (visitor.stack.nr == 0)
        return -1;
    const uint32_t state = top_state(visitor);
    if (!check_value_type(state, accepts))
        return -1;
    for (const Row &row : rows)
        if (row.state == state)
            return row.store(visitor.protocol, node);
    return 0;
}

/// Stores a key that is itself the name of an attribute.
int name_dispatch(visitor_protocol_t &visitor, json_string_t *key)
{
    switch (top_state(visitor)) {
    case PROTOCOL_STATE_RULES_RULE_ATTR:
        return protocol_rules_rule_attr_name_add(visitor.protocol, key);
    case PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET:
        return protocol_rules_rule_stream_offset_name_add(visitor.protocol, key);
    default:
        return 0;
    }
}

int v_protocol_pair_start(json_visitor_t *visitor, json_pair_t *pair)
{
    visitor_protocol_t *v = self(visitor);
    const uint32_t parent = top_state(*v);
    const uint32_t unknown = parent == PROTOCOL_STATE_RULES_RULE ? PROTOCOL_STATE_RULES_RULE_ATTR
                                                                 : PROTOCOL_STATE_UNKNOWN;
    const uint32_t state = stack_state_find(keys, parent, json_string_view(*pair->string), unknown);
    v->is_value = 0;
    return stack_state_push(&v->stack, state);
}

int v_protocol_pair_sep(json_visitor_t *visitor, json_pair_t *)
{
    self(visitor)->is_value = 1;
    return 0;
}

int v_protocol_pair_end(json_visitor_t *visitor, json_pair_t *)
{
    stack_state_pop(&self(visitor)->stack);
    return 0;
}

int v_protocol_string(json_visitor_t *visitor, json_string_t *string)
{
    visitor_protocol_t *v = self(visitor);
    if (!v->is_value)
        return name_dispatch(*v, string);
    return value_dispatch(*v, strings, PROTOCOL_ACCEPTS_STRING, string);
}

int v_protocol_number(json_visitor_t *visitor, json_number_t *number)
{
    visitor_protocol_t *v = self(visitor);
    return v->is_value ? value_dispatch(*v, numbers, PROTOCOL_ACCEPTS_NUMBER, number) : 0;
}

int v_protocol_atom(json_visitor_t *visitor, json_atom_t *atom)
{
    visitor_protocol_t *v = self(visitor);
    return v->is_value ? value_dispatch(*v, atoms, PROTOCOL_ACCEPTS_ATOM, atom) : 0;
}

int v_protocol_object_end(json_visitor_t *visitor, json_object_t *)
{
    visitor_protocol_t *v = self(visitor);
    if (top_state(*v) != PROTOCOL_STATE_RULES_RULE)
        return 0;
    return protocol_rules_sub_rule_next(v->protocol);
}

/// The end of a "rule" array moves on to the next rule: keys of the rule that stand behind it
/// belong to the next one. Part of the format.
int v_protocol_array_end(json_visitor_t *visitor, json_array_t *)
{
    visitor_protocol_t *v = self(visitor);
    return top_state(*v) == PROTOCOL_STATE_RULES_RULE ? protocol_rules_rule_next(v->protocol) : 0;
}

} // namespace

void visitor_protocol_init(visitor_protocol_t *visitor, protocol_t *protocol)
{
    *visitor = {};
    visitor->visitor.json_string = v_protocol_string;
    visitor->visitor.json_number = v_protocol_number;
    visitor->visitor.json_atom = v_protocol_atom;
    visitor->visitor.json_object_end = v_protocol_object_end;
    visitor->visitor.json_array_end = v_protocol_array_end;
    visitor->visitor.json_pair_start = v_protocol_pair_start;
    visitor->visitor.json_pair_sep = v_protocol_pair_sep;
    visitor->visitor.json_pair_end = v_protocol_pair_end;
    protocol_init(protocol);
    visitor->protocol = protocol;
    visitor->stack = {{PROTOCOL_STATE_ROOT}, 1};
}

void visitor_protocol_cleanup(visitor_protocol_t *visitor)
{
    *visitor = {};
}
