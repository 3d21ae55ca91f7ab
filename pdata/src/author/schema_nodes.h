/// What can begin and end at each node of a rule machine.
#pragma once

#include <array>
#include <bitset>
#include <map>
#include <string_view>

#include "container_semantic.h"

using node_set_t = std::bitset<SEMANTIC_NODE_DIM>;

/// Facts about the nodes of a machine, each by the node at which something begins.
struct schema_nodes_t {
    const semantic_t &semantic;
    std::array<node_set_t, SEMANTIC_NODE_DIM> value_ends;   ///< where a value may have ended
    std::array<node_set_t, SEMANTIC_NODE_DIM> object_exits; ///< entered by the brace that ends it
    std::array<node_set_t, SEMANTIC_NODE_DIM> object_keys;  ///< nodes in front of its keys
    std::array<node_set_t, SEMANTIC_NODE_DIM> array_exits;  ///< entered by the bracket
    std::array<node_set_t, SEMANTIC_NODE_DIM> array_values; ///< nodes in front of its elements
    std::array<node_set_t, SEMANTIC_NODE_DIM> nested;       ///< objects within an object, by start
    std::array<node_set_t, SEMANTIC_NODE_DIM> value_nested; ///< objects within a value, by start
};

/// Works the facts out. The machine must outlive them.
schema_nodes_t schema_nodes(const semantic_t &semantic);

/// Returns where an event without a text leads from a node: a node, or none.
node_set_t schema_step(const semantic_t &semantic, size_t node, trans_type_t type);

/// The same from each of some nodes.
node_set_t schema_steps(const semantic_t &semantic, const node_set_t &from, trans_type_t type);

/// Returns where a key, or a string, leads from a node.
node_set_t schema_step_text(const semantic_t &semantic, size_t node, std::string_view text);

/// Returns where keys of no name of their own lead from a node.
node_set_t schema_step_any(const semantic_t &semantic, size_t node);

/// Tells whether an object that begins at any of `starts` is refused without a key that leads to
/// `target`: the count of that node is asked for by every brace that ends such an object, and
/// nothing outside of one object can count for it.
bool schema_requires(const schema_nodes_t &nodes, const node_set_t &starts, size_t target);

/// Calls `take` with each member of a set.
template <typename Take>
void each_node(const node_set_t &set, const Take &take)
{
    for (size_t i = 0; i < set.size(); ++i)
        if (set[i])
            take(i);
}
