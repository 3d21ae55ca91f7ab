#include "json_visitor.h"

#include <vector>

namespace
{

/// An object or an array being walked.
struct open_node {
    json_node_t *container;
    json_node_t *current; ///< the pair or element where the walk stands, null behind the last
    bool visited = false; ///< the value of `current` has been visited
};

struct walk_t {
    json_visitor_t *visitor;
    std::vector<open_node> stack;
};

template <typename Node>
int call(const walk_t &walk, int (*callback)(json_visitor_t *, Node *), Node *node)
{
    return callback != nullptr && callback(walk.visitor, node) != 0 ? -1 : 0;
}

int call(int (*callback)())
{
    return callback != nullptr && callback() != 0 ? -1 : 0;
}

int json_visit_string(walk_t &walk, json_string_t *string)
{
    return call(walk, walk.visitor->json_string, string);
}

int json_visit_number(walk_t &walk, json_number_t *number)
{
    return call(walk, walk.visitor->json_number, number);
}

int json_visit_atom(walk_t &walk, json_atom_t *atom)
{
    return call(walk, walk.visitor->json_atom, atom);
}

/// What precedes a pair's value.
int json_visit_pair(walk_t &walk, json_pair_t *pair)
{
    if (call(walk, walk.visitor->json_pair_start, pair) != 0)
        return -1;
    if (json_visit_string(walk, pair->string) != 0)
        return -1;
    return call(walk, walk.visitor->json_pair_sep, pair);
}

/// What precedes an object's first value; an empty object is visited whole.
int json_visit_object(walk_t &walk, json_object_t *object)
{
    json_pair_t *first = object->node.child == nullptr ? nullptr : json_as_pair(object->node.child);
    if (call(walk, walk.visitor->json_object_start, object) != 0)
        return -1;
    if (call(walk, walk.visitor->json_members_start, first) != 0)
        return -1;
    walk.stack.push_back({&object->node, object->node.child});
    return first == nullptr ? 0 : json_visit_pair(walk, first);
}

/// What precedes an array's first element.
int json_visit_array(walk_t &walk, json_array_t *array)
{
    if (call(walk, walk.visitor->json_array_start, array) != 0)
        return -1;
    if (call(walk, walk.visitor->json_elements_start, array->node.child) != 0)
        return -1;
    walk.stack.push_back({&array->node, array->node.child});
    return 0;
}

/// A leaf is visited whole, an object or an array is opened.
int json_visit_value(walk_t &walk, json_node_t *node)
{
    switch (node->type) {
    case JSON_OBJECT:
        return json_visit_object(walk, json_as_object(node));
    case JSON_ARRAY:
        return json_visit_array(walk, json_as_array(node));
    case JSON_STRING:
        return json_visit_string(walk, json_as_string(node));
    case JSON_NUMBER:
        return json_visit_number(walk, json_as_number(node));
    case JSON_TRUE:
    case JSON_FALSE:
    case JSON_NULL:
        return json_visit_atom(walk, json_as_atom(node));
    default:
        return -1;
    }
}

/// The value of a pair has been visited: on to the next pair.
int json_visit_members(walk_t &walk)
{
    open_node &top = walk.stack.back();
    if (call(walk, walk.visitor->json_pair_end, json_as_pair(top.current)) != 0)
        return -1;
    top = {top.container, top.current->next};
    if (top.current == nullptr)
        return 0;
    json_pair_t *next = json_as_pair(top.current);
    if (call(walk, walk.visitor->json_members_sep, next) != 0)
        return -1;
    return json_visit_pair(walk, next);
}

/// An element has been visited: on to the next one.
int json_visit_elements(walk_t &walk)
{
    open_node &top = walk.stack.back();
    top = {top.container, top.current->next};
    return top.current == nullptr ? 0 : call(walk, walk.visitor->json_elements_sep, top.current);
}

/// All that the object or array on top holds has been visited.
int visit_end(walk_t &walk)
{
    json_node_t *container = walk.stack.back().container;
    walk.stack.pop_back();
    if (container->type == JSON_OBJECT) {
        if (call(walk, walk.visitor->json_members_end, static_cast<json_pair_t *>(nullptr)) != 0)
            return -1;
        return call(walk, walk.visitor->json_object_end, json_as_object(container));
    }
    if (call(walk, walk.visitor->json_elements_end, static_cast<json_node_t *>(nullptr)) != 0)
        return -1;
    return call(walk, walk.visitor->json_array_end, json_as_array(container));
}

/// One step of the walk in the object or array on top.
int visit_step(walk_t &walk)
{
    open_node &top = walk.stack.back();
    const bool in_object = top.container->type == JSON_OBJECT;
    if (top.current == nullptr)
        return visit_end(walk);
    if (top.visited)
        return in_object ? json_visit_members(walk) : json_visit_elements(walk);
    top.visited = true;
    return json_visit_value(walk, in_object ? json_as_pair(top.current)->value : top.current);
}

} // namespace

int json_visit(const json_t &json, json_visitor_t *visitor)
{
    if (json.ast == nullptr || json.ast->root.child == nullptr)
        return -1;
    walk_t walk = {visitor, {}};
    if (call(visitor->json_start) != 0)
        return -1;
    if (json_visit_value(walk, json.ast->root.child) != 0)
        return -1;
    while (!walk.stack.empty())
        if (visit_step(walk) != 0)
            return -1;
    return call(visitor->json_end);
}
