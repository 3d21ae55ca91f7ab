#include "csa_char.h"
#include "rexpand_parser.h"

namespace
{

bool is_octal_digit(int byte)
{
    return byte >= '0' && byte <= '7';
}

/// Returns the value of a hexadecimal digit, or -1 for any other byte and past the end.
int hexadecimal_digit(int byte)
{
    return byte < 0 ? -1 : char_hex_value(static_cast<char>(byte));
}

/// The blanks that hexadecimal pairs may be set apart by; a line feed is none of them.
bool is_hexadecimal_blank(int byte)
{
    return byte == '\f' || byte == '\t' || byte == ' ' || byte == '\r' || byte == '\v';
}

uint32_t add_byte(rexpand_tree &tree, uint32_t kind, int byte)
{
    const char c = static_cast<char>(byte);
    return rexpand_ast_add_literal(tree, kind, {&c, 1});
}

int parse_octal(rexpand_token_list_t &lexer, rexpand_tree &tree, uint32_t *node)
{
    int value = 0;
    int digits = 0;
    for (; digits < 3 && is_octal_digit(rexpand_lexer_byte(lexer, 0)); ++digits) {
        value = value * 8 + (rexpand_lexer_byte(lexer, 0) - '0');
        rexpand_lexer_eat(lexer, 1);
    }
    if (digits == 0)
        return MODULE_ERR_INVALID;
    *node = add_byte(tree, REXPAND_AST_NUMBER_NODE, value & 0xFF);
    return MODULE_SUCCESS;
}

void eat_hexadecimal_blank(rexpand_token_list_t &lexer)
{
    if (is_hexadecimal_blank(rexpand_lexer_byte(lexer, 0)))
        rexpand_lexer_eat(lexer, 1);
}

bool is_at_hexadecimal_escape(const rexpand_token_list_t &lexer)
{
    return rexpand_lexer_byte(lexer, 0) == '\\' && rexpand_lexer_byte(lexer, 1) == 'x';
}

/// Eats a "\x" that ends a run of pairs; one that two digits follow starts the next escape.
void eat_hexadecimal_terminator(rexpand_token_list_t &lexer)
{
    if (hexadecimal_digit(rexpand_lexer_byte(lexer, 2)) < 0 ||
        hexadecimal_digit(rexpand_lexer_byte(lexer, 3)) < 0)
        rexpand_lexer_eat(lexer, 2);
}

/// Adds the pairs under the cursor to a new sequence, which is given in `*node`.
int parse_hexadecimal_pairs(rexpand_token_list_t &lexer, rexpand_tree &tree, uint32_t *node)
{
    *node = rexpand_ast_add(tree, REXPAND_AST_REGEXP_NODE);
    for (;;) {
        const int high = hexadecimal_digit(rexpand_lexer_byte(lexer, 0));
        if (high < 0)
            return MODULE_SUCCESS;
        const int low = hexadecimal_digit(rexpand_lexer_byte(lexer, 1));
        if (low < 0)
            return MODULE_ERR_INVALID;
        rexpand_lexer_eat(lexer, 2);
        rexpand_ast_append(tree, *node, add_byte(tree, REXPAND_AST_NUMBER_NODE, high * 16 + low));
        eat_hexadecimal_blank(lexer);
    }
}

int parse_hexadecimal(rexpand_token_list_t &lexer, rexpand_tree &tree, uint32_t *node)
{
    eat_hexadecimal_blank(lexer);
    const int error = parse_hexadecimal_pairs(lexer, tree, node);
    if (error != MODULE_SUCCESS)
        return error;
    const uint32_t pairs = tree.nodes[*node].nb_child;
    const bool terminated = is_at_hexadecimal_escape(lexer);
    if (pairs == 0 || (pairs > 1 && !terminated))
        return MODULE_ERR_INVALID;
    if (terminated)
        eat_hexadecimal_terminator(lexer);
    if (pairs == 1)
        *node = tree.nodes[*node].first_child;
    return MODULE_SUCCESS;
}

} // namespace

int rexpand_parse_escape(rexpand_token_list_t &lexer, rexpand_tree &tree, uint32_t *node)
{
    const int byte = rexpand_lexer_byte(lexer, 1);
    if (byte < 0)
        return MODULE_ERR_INVALID;
    rexpand_lexer_eat(lexer, 2);
    switch (byte) {
    case '0':
        return parse_octal(lexer, tree, node);
    case 'x':
        return parse_hexadecimal(lexer, tree, node);
    case 'd':
        *node = rexpand_ast_add(tree, REXPAND_AST_DECIMAL_NODE);
        break;
    case 's':
        *node = rexpand_ast_add(tree, REXPAND_AST_WHITESPACE_NODE);
        break;
    case 'w':
        *node = rexpand_ast_add(tree, REXPAND_AST_PART_OF_WORD_NODE);
        break;
    case 'f':
        *node = add_byte(tree, REXPAND_AST_WORD_NODE, '\f');
        break;
    case 'n':
        *node = add_byte(tree, REXPAND_AST_WORD_NODE, '\n');
        break;
    case 'r':
        *node = add_byte(tree, REXPAND_AST_WORD_NODE, '\r');
        break;
    case 't':
        *node = add_byte(tree, REXPAND_AST_WORD_NODE, '\t');
        break;
    case 'v':
        *node = add_byte(tree, REXPAND_AST_WORD_NODE, '\v');
        break;
    default:
        *node = add_byte(tree, REXPAND_AST_WORD_NODE, byte);
        break;
    }
    return MODULE_SUCCESS;
}
