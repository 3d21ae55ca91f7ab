/// Tells whether data is, from its first byte to its last, what an expression describes.
///
/// The language is that of rexpand.h. Instead of one try after another, all positions that a part
/// of the expression can reach are followed at once, so that no expression takes longer than its
/// length times the square of that of the data. Trying alternatives one by one was turned down:
/// nested repetitions take exponential time that way.
///
/// "." is any byte. "\d" is a decimal digit, "\w" a letter, a digit or "_", "\s" a blank or one of
/// the bytes 9 to 13. The anchors "^" and "$" stand for themselves, as they do in the engines.
#pragma once

#include <string_view>

#include "blob_reader.h"
#include "rexpand_ast.h"

/// The deepest nesting of an expression that is followed.
constexpr uint32_t EXPRESSION_DEPTH_MAX = 1000;

/// A parsed expression.
struct expression_t {
    rexpand_tree tree;
    bool icase = false; ///< the case of ASCII letters does not matter
};

/// Parses `text`. Returns false, with an `error`, for a syntax error or too deep a nesting.
[[nodiscard]] bool expression_open(std::string_view text, bool icase, expression_t &expression,
                                   std::string &error);

/// Tells whether the last part of the expression is ".*" or ".+": what matches goes on matching,
/// whatever follows.
bool expression_is_open_ended(const expression_t &expression);

/// Tells whether `data` as a whole matches.
bool expression_match(const expression_t &expression, blob_span_t data);
