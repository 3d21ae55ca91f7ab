/// The tree of a parsed expression: an arena of nodes that refer to each other by index.
///
/// An arena is freed whole, so that a tree as deep as its expression is long costs no stack;
/// nodes that own their children were turned down for that reason.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

enum rexpand_node_type_t : uint32_t {
    REXPAND_AST_REGEXP_NODE = 0,           ///< a sequence of elements
    REXPAND_AST_BOL_NODE = 1,              ///< "^" at the very start
    REXPAND_AST_EOL_NODE = 2,              ///< "$" at the very end
    REXPAND_AST_WORD_NODE = 3,             ///< a run of literal bytes
    REXPAND_AST_WILDCARD_NODE = 4,         ///< "."
    REXPAND_AST_PART_OF_WORD_NODE = 5,     ///< "\w"
    REXPAND_AST_WHITESPACE_NODE = 6,       ///< "\s"
    REXPAND_AST_DECIMAL_NODE = 7,          ///< "\d"
    REXPAND_AST_NUMBER_NODE = 8,           ///< one byte given in octal or hexadecimal
    REXPAND_AST_INSENSITIVE_NODE = 9,      ///< "\[" ... "\]", one child
    REXPAND_AST_REPETITION_NODE = 10,      ///< postfix "*", one child
    REXPAND_AST_REPETITION_ONCE_NODE = 11, ///< postfix "+", one child
    REXPAND_AST_OPTIONAL_NODE = 12,        ///< postfix "?", one child
    REXPAND_AST_GROUP_NODE = 13,           ///< "(" ... ")", one child
    REXPAND_AST_ALTERNATIVE_NODE = 14,     ///< two or more sequences
    REXPAND_AST_CLASS_NODE = 15,           ///< "[" ... "]", any number of members
    REXPAND_AST_RANGE_NODE = 16,           ///< the low and the high end
    REXPAND_AST_NODE_COUNT = 17,
};

/// Stands for "no node".
constexpr uint32_t REXPAND_NO_NODE = 0xFFFFFFFFU;

struct rexpand_node {
    uint32_t kind; ///< rexpand_node_type_t
    bool is_negated = false;
    uint32_t first_child = REXPAND_NO_NODE;
    uint32_t last_child = REXPAND_NO_NODE;
    uint32_t next = REXPAND_NO_NODE; ///< the next child of the same parent
    uint32_t nb_child = 0;
    uint32_t text = 0;   ///< words and numbers: where their bytes start in the tree's text
    uint32_t length = 0; ///< bytes there
};

struct rexpand_tree {
    std::vector<rexpand_node> nodes;
    std::string text; ///< the literal bytes of all nodes
    uint32_t root = REXPAND_NO_NODE;
};

/// Adds a node without parent and returns its index.
uint32_t rexpand_ast_add(rexpand_tree &tree, uint32_t kind);

/// Adds a word or number node of `bytes` and returns its index.
uint32_t rexpand_ast_add_literal(rexpand_tree &tree, uint32_t kind, std::string_view bytes);

/// Adds a node of `kind` whose first child is `child` and returns its index.
uint32_t rexpand_ast_wrap(rexpand_tree &tree, uint32_t kind, uint32_t child);

/// Makes `child`, which has no parent yet, the last child of `parent`.
void rexpand_ast_append(rexpand_tree &tree, uint32_t parent, uint32_t child);

/// Returns the bytes of a word or number node.
std::string_view rexpand_ast_literal(const rexpand_tree &tree, const rexpand_node &node);
