/// The short proof that nothing of a value is lost: it is spelled out, and its pieces are there.
///
/// Most values are words with open data around them, or a choice of a few. Each such way through
/// the value is a row of literal texts with gaps of any data between them; if one way of the
/// compiled form finds its pieces in that row, in order, it finds them in whatever the row
/// describes. A value for which that does not hold may be whole nevertheless: it goes to the
/// comparison of automata (prove_product.h), which takes ten times as long.
#pragma once

#include "prove_form.h"
#include "rexpand_ast.h"

/// Rows that a value is spelled out into at most, and their parts.
constexpr size_t PROVE_ROWS_MAX = 64;
constexpr size_t PROVE_ROW_PARTS_MAX = 1024;

/// Tells whether every row of an expression is found by a way of its form. std::bad_alloc passes.
[[nodiscard]] bool prove_spelled(const rexpand_tree &tree, const prove_form_t &form);
