#include "rexpand_parser.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory_resource>
#include <vector>

namespace
{

/// Nodes that nearly every expression makes do with; more are made room for as they come.
constexpr size_t NODES_OF_A_VALUE = 32;

/// Bytes of open parts that nearly every expression makes do with; more come from the heap.
constexpr size_t ROOM_OF_A_VALUE = 512;

/// What opened the part of the expression that is being read.
enum class opener { entry, group, insensitive, character_class };

/// A part that is not closed yet.
struct open_part {
    opener by;
    uint32_t sequence = REXPAND_NO_NODE;        ///< the sequence that takes the next element
    uint32_t alternative = REXPAND_NO_NODE;     ///< present from the first "|" on
    uint32_t character_class = REXPAND_NO_NODE; ///< of a class: its node
    uint32_t range_low = REXPAND_NO_NODE;       ///< of a class: the end in front of a "-"
};

/// The parser. What would be the recursion of a descent is the stack `parts`.
struct parser {
    rexpand_token_list_t lexer;
    rexpand_tree &tree;
    std::pmr::vector<open_part> parts;
    uint32_t expression = REXPAND_NO_NODE; ///< the whole expression, once it has ended
};

bool is_at(const parser &state, char first, char second)
{
    return rexpand_lexer_byte(state.lexer, 0) == first &&
           rexpand_lexer_byte(state.lexer, 1) == second;
}

bool is_postfix(uint32_t token)
{
    return token == '*' || token == '+' || token == '?';
}

uint32_t postfix_kind(uint32_t token)
{
    if (token == '*')
        return REXPAND_AST_REPETITION_NODE;
    return token == '+' ? REXPAND_AST_REPETITION_ONCE_NODE : REXPAND_AST_OPTIONAL_NODE;
}

void open_expression(parser &state, opener by)
{
    open_part part{.by = by};
    part.sequence = rexpand_ast_add(state.tree, REXPAND_AST_REGEXP_NODE);
    state.parts.push_back(part);
}

void open_class(parser &state)
{
    open_part part{.by = opener::character_class};
    part.character_class = rexpand_ast_add(state.tree, REXPAND_AST_CLASS_NODE);
    rexpand_lexer_eat(state.lexer, 1);
    if (rexpand_lexer_classify(state.lexer, 0) == '^') {
        rexpand_lexer_eat(state.lexer, 1);
        state.tree.nodes[part.character_class].is_negated = true;
    }
    state.parts.push_back(part);
}

/// Tells whether a "-" that joins the member in front of it to another one is under the cursor.
bool is_at_range(const rexpand_token_list_t &lexer)
{
    const uint32_t behind = rexpand_lexer_classify(lexer, 1);
    return rexpand_lexer_classify(lexer, 0) == '-' && behind != ']' && behind != REXPAND_TOKEN_END;
}

void add_class_member(parser &state, open_part &part, uint32_t node)
{
    if (part.range_low != REXPAND_NO_NODE) {
        const uint32_t range = rexpand_ast_wrap(state.tree, REXPAND_AST_RANGE_NODE, part.range_low);
        rexpand_ast_append(state.tree, range, node);
        rexpand_ast_append(state.tree, part.character_class, range);
        part.range_low = REXPAND_NO_NODE;
    } else if (is_at_range(state.lexer)) {
        rexpand_lexer_eat(state.lexer, 1);
        part.range_low = node;
    } else {
        rexpand_ast_append(state.tree, part.character_class, node);
    }
}

/// Hands a complete element, whose bytes are eaten, to the innermost open part.
void add_element(parser &state, uint32_t node)
{
    open_part &part = state.parts.back();
    if (part.by == opener::character_class) {
        add_class_member(state, part, node);
        return;
    }
    const uint32_t token = rexpand_lexer_classify(state.lexer, 0);
    if (is_postfix(token)) {
        rexpand_lexer_eat(state.lexer, 1);
        node = rexpand_ast_wrap(state.tree, postfix_kind(token), node);
    }
    rexpand_ast_append(state.tree, part.sequence, node);
}

void parse_branch(parser &state)
{
    open_part &part = state.parts.back();
    if (part.alternative == REXPAND_NO_NODE)
        part.alternative =
            rexpand_ast_wrap(state.tree, REXPAND_AST_ALTERNATIVE_NODE, part.sequence);
    part.sequence = rexpand_ast_add(state.tree, REXPAND_AST_REGEXP_NODE);
    rexpand_ast_append(state.tree, part.alternative, part.sequence);
    rexpand_lexer_eat(state.lexer, 1);
}

/// A word leaves its last byte to the next one when a postfix follows, which binds one byte only.
void parse_word(parser &state)
{
    size_t length = 0;
    uint32_t token = rexpand_lexer_classify(state.lexer, 0);
    while (token == REXPAND_TOKEN_ORDINARY || token == '-')
        token = rexpand_lexer_classify(state.lexer, ++length);
    if (length > 1 && is_postfix(token))
        --length;
    const std::string_view bytes = state.lexer.regexp.substr(state.lexer.offset, length);
    const uint32_t word = rexpand_ast_add_literal(state.tree, REXPAND_AST_WORD_NODE, bytes);
    rexpand_lexer_eat(state.lexer, length);
    add_element(state, word);
}

int parse_escape(parser &state)
{
    if (is_at(state, '\\', '[')) {
        rexpand_lexer_eat(state.lexer, 2);
        open_expression(state, opener::insensitive);
        return MODULE_SUCCESS;
    }
    uint32_t node;
    const int error = rexpand_parse_escape(state.lexer, state.tree, &node);
    if (error == MODULE_SUCCESS)
        add_element(state, node);
    return error;
}

/// Ends the innermost expression, in front of what must close it.
int close_expression(parser &state)
{
    const open_part part = state.parts.back();
    const uint32_t expression =
        part.alternative != REXPAND_NO_NODE ? part.alternative : part.sequence;
    state.parts.pop_back();
    if (part.by == opener::entry) {
        state.expression = expression;
        return MODULE_SUCCESS;
    }
    if (part.by == opener::group) {
        if (rexpand_lexer_classify(state.lexer, 0) != ')')
            return MODULE_ERR_INVALID;
        rexpand_lexer_eat(state.lexer, 1);
        add_element(state, rexpand_ast_wrap(state.tree, REXPAND_AST_GROUP_NODE, expression));
        return MODULE_SUCCESS;
    }
    if (!is_at(state, '\\', ']'))
        return MODULE_ERR_INVALID;
    rexpand_lexer_eat(state.lexer, 2);
    add_element(state, rexpand_ast_wrap(state.tree, REXPAND_AST_INSENSITIVE_NODE, expression));
    return MODULE_SUCCESS;
}

/// Reads the next element of a sequence, or what ends the sequence.
int parse_in_sequence(parser &state)
{
    switch (rexpand_lexer_classify(state.lexer, 0)) {
    case REXPAND_TOKEN_END:
    case '$':
    case ')':
        return close_expression(state);
    case '|':
        parse_branch(state);
        return MODULE_SUCCESS;
    case '.':
        rexpand_lexer_eat(state.lexer, 1);
        add_element(state, rexpand_ast_add(state.tree, REXPAND_AST_WILDCARD_NODE));
        return MODULE_SUCCESS;
    case '(':
        rexpand_lexer_eat(state.lexer, 1);
        open_expression(state, opener::group);
        return MODULE_SUCCESS;
    case '[':
        open_class(state);
        return MODULE_SUCCESS;
    case '\\':
        return is_at(state, '\\', ']') ? close_expression(state) : parse_escape(state);
    case '-':
    case REXPAND_TOKEN_ORDINARY:
        parse_word(state);
        return MODULE_SUCCESS;
    default:
        return MODULE_ERR_INVALID;
    }
}

/// Reads the next member of a class, or its end.
int parse_in_class(parser &state)
{
    switch (rexpand_lexer_classify(state.lexer, 0)) {
    case REXPAND_TOKEN_END:
        return MODULE_ERR_INVALID;
    case '\\':
        return parse_escape(state);
    case ']': {
        const uint32_t node = state.parts.back().character_class;
        rexpand_lexer_eat(state.lexer, 1);
        state.parts.pop_back();
        add_element(state, node);
        return MODULE_SUCCESS;
    }
    default: {
        const std::string_view byte = state.lexer.regexp.substr(state.lexer.offset, 1);
        rexpand_lexer_eat(state.lexer, 1);
        add_element(state, rexpand_ast_add_literal(state.tree, REXPAND_AST_WORD_NODE, byte));
        return MODULE_SUCCESS;
    }
    }
}

int parse_expression(parser &state)
{
    open_expression(state, opener::entry);
    while (state.expression == REXPAND_NO_NODE) {
        const int error = state.parts.back().by == opener::character_class
                              ? parse_in_class(state)
                              : parse_in_sequence(state);
        if (error != MODULE_SUCCESS)
            return error;
    }
    rexpand_ast_append(state.tree, state.tree.root, state.expression);
    return MODULE_SUCCESS;
}

int parse_entry(parser &state)
{
    rexpand_tree &tree = state.tree;
    tree.root = rexpand_ast_add(tree, REXPAND_AST_REGEXP_NODE);
    if (rexpand_lexer_classify(state.lexer, 0) == '^') {
        rexpand_lexer_eat(state.lexer, 1);
        rexpand_ast_append(tree, tree.root, rexpand_ast_add(tree, REXPAND_AST_BOL_NODE));
    }
    const int error = parse_expression(state);
    if (error != MODULE_SUCCESS)
        return error;
    if (rexpand_lexer_classify(state.lexer, 0) == '$') {
        rexpand_lexer_eat(state.lexer, 1);
        rexpand_ast_append(tree, tree.root, rexpand_ast_add(tree, REXPAND_AST_EOL_NODE));
    }
    return rexpand_lexer_classify(state.lexer, 0) == REXPAND_TOKEN_END ? MODULE_SUCCESS
                                                                       : MODULE_ERR_INVALID;
}

} // namespace

int rexpand_parse(std::string_view expression, rexpand_tree *tree)
{
    *tree = {};
    if (expression.empty())
        return MODULE_ERR_INVALID;
    // Every byte adds less than two nodes, so that half of the index space always suffices.
    if (expression.size() > std::numeric_limits<uint32_t>::max() / 2)
        return MODULE_ERR_NO_MEMORY;
    const int error = module_guard([&] {
        tree->nodes.reserve(std::min(expression.size() + 3, NODES_OF_A_VALUE));
        alignas(std::max_align_t) std::byte bytes[ROOM_OF_A_VALUE];
        std::pmr::monotonic_buffer_resource room(bytes, sizeof bytes);
        parser state{{expression, 0}, *tree, std::pmr::vector<open_part>(&room)};
        return parse_entry(state);
    });
    if (error != MODULE_SUCCESS)
        *tree = {};
    return error;
}
