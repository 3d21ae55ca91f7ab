#include "rexpand_ast.h"

uint32_t rexpand_ast_add(rexpand_tree &tree, uint32_t kind)
{
    tree.nodes.push_back({.kind = kind});
    return static_cast<uint32_t>(tree.nodes.size() - 1);
}

uint32_t rexpand_ast_add_literal(rexpand_tree &tree, uint32_t kind, std::string_view bytes)
{
    const uint32_t node = rexpand_ast_add(tree, kind);
    tree.nodes[node].text = static_cast<uint32_t>(tree.text.size());
    tree.nodes[node].length = static_cast<uint32_t>(bytes.size());
    tree.text.append(bytes);
    return node;
}

uint32_t rexpand_ast_wrap(rexpand_tree &tree, uint32_t kind, uint32_t child)
{
    const uint32_t node = rexpand_ast_add(tree, kind);
    rexpand_ast_append(tree, node, child);
    return node;
}

void rexpand_ast_append(rexpand_tree &tree, uint32_t parent, uint32_t child)
{
    rexpand_node &node = tree.nodes[parent];
    if (node.last_child == REXPAND_NO_NODE)
        node.first_child = child;
    else
        tree.nodes[node.last_child].next = child;
    node.last_child = child;
    ++node.nb_child;
}

std::string_view rexpand_ast_literal(const rexpand_tree &tree, const rexpand_node &node)
{
    return std::string_view(tree.text).substr(node.text, node.length);
}
