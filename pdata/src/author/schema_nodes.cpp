#include "schema_nodes.h"

#include <algorithm>

namespace
{

/// A transition is taken unless it leads to the start or beyond the machine.
node_set_t target_of(const semantic_trans_t *trans)
{
    node_set_t set;
    if (trans != nullptr && trans->to != 0 && trans->to < SEMANTIC_NODE_DIM)
        set.set(trans->to);
    return set;
}

/// Returns where any string, number or literal leads from a node.
node_set_t step_scalar(const semantic_t &semantic, size_t node)
{
    node_set_t ends = schema_step_any(semantic, node);
    for (const std::string_view label : semantic_labels(semantic.nodes[node]))
        ends |= schema_step_text(semantic, node, label);
    return ends;
}

void update_value(schema_nodes_t &nodes, size_t node)
{
    const semantic_t &semantic = nodes.semantic;
    nodes.value_ends[node] |= step_scalar(semantic, node);
    each_node(schema_step(semantic, node, TRANS_OBJECT_START), [&](size_t start) {
        nodes.value_ends[node] |= nodes.object_exits[start];
        nodes.value_nested[node] |= nodes.nested[start];
        nodes.value_nested[node].set(start);
    });
    each_node(schema_step(semantic, node, TRANS_ARRAY_START), [&](size_t start) {
        nodes.value_ends[node] |= nodes.array_exits[start];
        each_node(nodes.array_values[start],
                  [&](size_t element) { nodes.value_nested[node] |= nodes.value_nested[element]; });
    });
}

void update_object(schema_nodes_t &nodes, size_t start)
{
    const semantic_t &semantic = nodes.semantic;
    nodes.object_keys[start].set(start);
    nodes.object_exits[start] |= schema_step(semantic, start, TRANS_OBJECT_END);
    const node_set_t known = nodes.object_keys[start];
    each_node(known, [&](size_t key) {
        each_node(step_scalar(semantic, key), [&](size_t value) {
            const node_set_t &ends = nodes.value_ends[value];
            nodes.object_keys[start] |= schema_steps(semantic, ends, TRANS_COMMA);
            nodes.object_exits[start] |= schema_steps(semantic, ends, TRANS_OBJECT_END);
            nodes.nested[start] |= nodes.value_nested[value];
        });
    });
}

void update_array(schema_nodes_t &nodes, size_t start)
{
    const semantic_t &semantic = nodes.semantic;
    nodes.array_values[start].set(start);
    nodes.array_exits[start] |= schema_step(semantic, start, TRANS_ARRAY_END);
    const node_set_t known = nodes.array_values[start];
    each_node(known, [&](size_t element) {
        const node_set_t &ends = nodes.value_ends[element];
        nodes.array_values[start] |= schema_steps(semantic, ends, TRANS_COMMA);
        nodes.array_exits[start] |= schema_steps(semantic, ends, TRANS_ARRAY_END);
    });
}

size_t facts_of(const schema_nodes_t &nodes)
{
    size_t count = 0;
    for (const auto *facts :
         {&nodes.value_ends, &nodes.object_exits, &nodes.object_keys, &nodes.array_exits,
          &nodes.array_values, &nodes.nested, &nodes.value_nested})
        for (const node_set_t &set : *facts)
            count += set.count();
    return count;
}

/// Tells whether a check on the way into `exit` asks for at least one entry of `target`. Numbers
/// beyond the machine are passed over, and a node without a range ends a check.
bool asks_for(const semantic_t &semantic, size_t exit, size_t target)
{
    for (const uint32_t checked : semantic.nodes[exit].check) {
        if (checked >= SEMANTIC_NODE_DIM)
            continue;
        const semantic_node_t &node = semantic.nodes[checked];
        if (!node.min && !node.max)
            return false;
        if (checked == target)
            return node.min.value_or(0) > 0;
    }
    return false;
}

/// Returns the nodes that `target` is entered from, and through `only_text` whether a string is
/// what enters it, always.
node_set_t sources_of(const semantic_t &semantic, size_t target, bool &only_text)
{
    node_set_t sources;
    only_text = true;
    for (size_t node = 0; node < SEMANTIC_NODE_DIM; ++node)
        for (const semantic_trans_t &trans : semantic.nodes[node].trans)
            if (trans.to == target) {
                sources.set(node);
                only_text = only_text && trans.type == TRANS_STRING;
            }
    return sources;
}

/// Returns the nodes at which a value may begin.
node_set_t value_starts(const schema_nodes_t &nodes)
{
    node_set_t values;
    for (size_t start = 0; start < SEMANTIC_NODE_DIM; ++start) {
        values |= nodes.array_values[start];
        each_node(nodes.object_keys[start],
                  [&](size_t key) { values |= step_scalar(nodes.semantic, key); });
    }
    return values;
}

} // namespace

node_set_t schema_step(const semantic_t &semantic, size_t node, trans_type_t type)
{
    return target_of(semantic_next_node_find(semantic.nodes[node], type, {}));
}

node_set_t schema_steps(const semantic_t &semantic, const node_set_t &from, trans_type_t type)
{
    node_set_t to;
    each_node(from, [&](size_t node) { to |= schema_step(semantic, node, type); });
    return to;
}

node_set_t schema_step_text(const semantic_t &semantic, size_t node, std::string_view text)
{
    return target_of(semantic_next_node_find(semantic.nodes[node], TRANS_STRING, text));
}

node_set_t schema_step_any(const semantic_t &semantic, size_t node)
{
    return target_of(semantic_next_node_find(semantic.nodes[node], TRANS_NUMBER, {}));
}

schema_nodes_t schema_nodes(const semantic_t &semantic)
{
    schema_nodes_t nodes = {semantic, {}, {}, {}, {}, {}, {}, {}};
    node_set_t objects;
    node_set_t arrays;
    for (size_t node = 0; node < SEMANTIC_NODE_DIM; ++node) {
        objects |= schema_step(semantic, node, TRANS_OBJECT_START);
        arrays |= schema_step(semantic, node, TRANS_ARRAY_START);
    }
    for (size_t before = 1, after = 0; before != after; after = facts_of(nodes)) {
        before = facts_of(nodes);
        for (size_t node = 0; node < SEMANTIC_NODE_DIM; ++node)
            update_value(nodes, node);
        each_node(objects, [&](size_t start) { update_object(nodes, start); });
        each_node(arrays, [&](size_t start) { update_array(nodes, start); });
    }
    return nodes;
}

bool schema_requires(const schema_nodes_t &nodes, const node_set_t &starts, size_t target)
{
    bool only_text = true;
    const node_set_t sources = sources_of(nodes.semantic, target, only_text);
    if (!only_text || (sources & value_starts(nodes)).any())
        return false;
    node_set_t holders = starts; // every object in which `target` may be counted
    for (size_t start = 0; start < SEMANTIC_NODE_DIM; ++start)
        if ((nodes.object_keys[start] & sources).any())
            holders.set(start);
    bool required = true;
    each_node(holders, [&](size_t start) {
        required = required && (nodes.nested[start] & holders).none();
        each_node(nodes.object_exits[start], [&](size_t exit) {
            required = required && asks_for(nodes.semantic, exit, target);
        });
    });
    return required;
}
