/// Expansions and trees in the form in which tests write them.
#pragma once

#include <string>
#include <vector>

#include "rexpand.h"
#include "rexpand_ast.h"

/// A permutation as its pieces in order, each with ":" and the first letter of its type (and a 1
/// when it is flagged), and a "!" at the end when the permutation is marked: "ab:p cd:s !".
template <typename Permutation>
std::string rexpand_show(const Permutation &permutation)
{
    std::string out;
    for (const rexpand_pattern_t &piece : permutation.patterns) {
        out += out.empty() ? "" : " ";
        out.append(piece.str).append(":").push_back("ipsero"[piece.type]);
        out += piece.flag != 0 ? "1" : "";
    }
    if (permutation.flag)
        out += out.empty() ? "!" : " !";
    return out;
}

/// A failure: "error -1".
inline std::string rexpand_show_error(int code)
{
    return std::string("error ").append(std::to_string(code));
}

/// The permutations of an expression, one text each; a failure is one text with its code.
inline std::vector<std::string> rexpand_show(std::string_view expression, uint32_t limit)
{
    rexpand_permutation_list list;
    const int code = rexpand_process(expression, limit, nullptr, &list);
    if (code != 0)
        return {rexpand_show_error(code)};
    std::vector<std::string> out;
    for (const rexpand_permutation &permutation : list)
        out.push_back(rexpand_show(permutation));
    return out;
}

/// A node and what is below it: "seq(word(a) star(word(b)))". For shallow trees.
inline std::string rexpand_show(const rexpand_tree &tree, uint32_t at)
{
    static const char *const names[] = {"seq", "bol",   "eol",    "word",   "any",  "w",
                                        "s",   "d",     "number", "nocase", "star", "plus",
                                        "opt", "group", "alt",    "class",  "range"};
    const rexpand_node &node = tree.nodes[at];
    std::string out = node.is_negated ? "not-" : "";
    out += names[node.kind];
    std::string inner(rexpand_ast_literal(tree, node));
    for (uint32_t child = node.first_child; child != REXPAND_NO_NODE;
         child = tree.nodes[child].next)
        inner.append(inner.empty() ? "" : " ").append(rexpand_show(tree, child));
    return inner.empty() ? out : out.append("(").append(inner).append(")");
}
