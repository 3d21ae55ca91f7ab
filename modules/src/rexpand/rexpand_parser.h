/// The parser of expressions: bytes become a tree (grammar in rexpand.h).
#pragma once

#include <string_view>

#include "module_error.h"
#include "rexpand_ast.h"
#include "rexpand_lexer.h"

/// Parses `expression` into `*tree`, whose root is the sequence of the "^" anchor, the expression
/// and the "$" anchor. The tree does not refer to the bytes of `expression`.
///
/// Returns 0, or with an empty tree: MODULE_ERR_INVALID for a syntax error, MODULE_ERR_NO_MEMORY
/// when memory runs out.
[[nodiscard]] int rexpand_parse(std::string_view expression, rexpand_tree *tree);

/// Parses the escape whose "\" is under the cursor, "\[" excepted, and gives its node in `*node`.
///
/// A literal byte becomes a word, an octal or hexadecimal byte a number, several hexadecimal bytes
/// a sequence of numbers. Returns 0 or MODULE_ERR_INVALID.
[[nodiscard]] int rexpand_parse_escape(rexpand_token_list_t &lexer, rexpand_tree &tree,
                                       uint32_t *node);
