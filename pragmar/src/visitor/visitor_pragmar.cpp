#include "visitor_pragmar.h"

#include "json_error.h"

namespace
{

visitor_pragmar_t *self(json_visitor_t *visitor)
{
    return reinterpret_cast<visitor_pragmar_t *>(visitor);
}

const semantic_node_t &current_node(const visitor_pragmar_t &visitor)
{
    return visitor.semantic->nodes[visitor.node_key];
}

/// Takes the transition of an event and remembers it. Null where the machine has none, or where
/// it leads to node 0, which is the start and never a target. Oddity O74.
const semantic_trans_t *take(const visitor_pragmar_t &visitor, trans_type_t type,
                             std::string_view text)
{
    const semantic_trans_t *trans = semantic_next_node_find(current_node(visitor), type, text);
    if (trans == nullptr)
        return nullptr;
    semantic_history_add(visitor.semantic, trans);
    return trans->to == 0 || trans->to >= SEMANTIC_NODE_DIM ? nullptr : trans;
}

/// Enters the target of a transition; `closing` marks the end of an object or an array.
int enter(visitor_pragmar_t &visitor, const semantic_trans_t *trans, bool closing)
{
    semantic_t *semantic = visitor.semantic;
    visitor.node_key = trans->to;
    semantic_node_inc(semantic, trans->to);
    if (closing)
        if (const semantic_node_t *node = semantic_node_check(semantic, trans->to))
            return json_err_semantic_cardinality(*node, *semantic);
    semantic_node_reset(semantic, trans->to);
    return 0;
}

int structural_event(json_visitor_t *visitor, trans_type_t type)
{
    visitor_pragmar_t *v = self(visitor);
    const semantic_trans_t *trans = take(*v, type, {});
    if (trans == nullptr)
        return json_err_semantic(*v->semantic, current_node(*v), type);
    return enter(*v, trans, type == TRANS_OBJECT_END || type == TRANS_ARRAY_END);
}

int v_pragmar_string(json_visitor_t *visitor, json_string_t *string)
{
    visitor_pragmar_t *v = self(visitor);
    const std::string_view text = json_string_view(*string);
    if (v->name_follows)
        json_err_protocol_name_set(string->str, string->len);
    v->name_follows = text == "name"; // also a value: oddity O78
    const semantic_trans_t *trans = take(*v, TRANS_STRING, text);
    if (trans == nullptr)
        return json_err_semantic_string(*v->semantic, current_node(*v), string->str, string->len);
    return enter(*v, trans, false);
}

int v_pragmar_number(json_visitor_t *visitor, json_number_t *number)
{
    visitor_pragmar_t *v = self(visitor);
    const semantic_trans_t *trans = take(*v, TRANS_NUMBER, {});
    if (trans == nullptr)
        return json_err_semantic_number(*v->semantic, current_node(*v), number->number);
    return enter(*v, trans, false);
}

int v_pragmar_atom(json_visitor_t *visitor, json_atom_t *atom)
{
    visitor_pragmar_t *v = self(visitor);
    const semantic_trans_t *trans = take(*v, TRANS_ATOM, {});
    if (trans == nullptr)
        return json_err_semantic_atom(*v->semantic, current_node(*v), *atom);
    return enter(*v, trans, false);
}

int v_pragmar_object_start(json_visitor_t *visitor, json_object_t *)
{
    return structural_event(visitor, TRANS_OBJECT_START);
}

int v_pragmar_object_end(json_visitor_t *visitor, json_object_t *)
{
    return structural_event(visitor, TRANS_OBJECT_END);
}

int v_pragmar_array_start(json_visitor_t *visitor, json_array_t *)
{
    return structural_event(visitor, TRANS_ARRAY_START);
}

int v_pragmar_array_end(json_visitor_t *visitor, json_array_t *)
{
    return structural_event(visitor, TRANS_ARRAY_END);
}

int v_pragmar_members_sep(json_visitor_t *visitor, json_pair_t *)
{
    return structural_event(visitor, TRANS_COMMA);
}

int v_pragmar_elements_sep(json_visitor_t *visitor, json_node_t *)
{
    return structural_event(visitor, TRANS_COMMA);
}

} // namespace

void visitor_pragmar_init(visitor_pragmar_t *visitor, semantic_t *semantic)
{
    *visitor = {};
    visitor->visitor.json_string = v_pragmar_string;
    visitor->visitor.json_number = v_pragmar_number;
    visitor->visitor.json_atom = v_pragmar_atom;
    visitor->visitor.json_object_start = v_pragmar_object_start;
    visitor->visitor.json_object_end = v_pragmar_object_end;
    visitor->visitor.json_array_start = v_pragmar_array_start;
    visitor->visitor.json_array_end = v_pragmar_array_end;
    visitor->visitor.json_members_sep = v_pragmar_members_sep;
    visitor->visitor.json_elements_sep = v_pragmar_elements_sep;
    visitor->semantic = semantic;
}

void visitor_pragmar_cleanup(visitor_pragmar_t *visitor)
{
    *visitor = {};
}
