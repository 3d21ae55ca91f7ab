/// Expansion of small regular expressions into literal strings that the string engines can index.
///
/// No automaton is built. The result is a list of permutations, each one way of choosing among
/// alternatives, classes, ranges and optional parts: an ordered list of literal pieces, split
/// wherever the expression has a part that cannot be spelled out. Compiling expressions into the
/// run-time engine was turned down: the engine knows literals only.
///
/// Grammar, on a byte string that may contain 0 bytes:
///
///     entry      = ["^"] expression ["$"]           "^" and "$" nowhere else (oddity O141)
///     expression = sequence *("|" sequence)         a sequence may be empty
///     sequence   = *(element ["*" | "+" | "?"])
///     element    = "." | "(" expression ")" | "[" ["^"] class "]" | escape | literal bytes
///     class      = *(member ["-" member])           "]" only escaped, all else literal
///     escape     = "\d" | "\s" | "\w"               decimal, whitespace, part of a word
///                | "\f" | "\n" | "\r" | "\t" | "\v" those bytes
///                | "\0" 1*3 octal digits            one byte, modulo 256
///                | "\x" hexadecimal pairs           bytes; after several, "\x" must follow
///                | "\[" expression "\]"             a part that is matched without case
///                | "\" any other byte               that byte
///
/// Depth is bounded by memory alone: nothing here recurses.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "module_error.h"

/// Where a piece must stand in the matched text.
enum rexpand_pattern_type_t : uint32_t {
    REXPAND_TYPE_INIT = 0,
    REXPAND_TYPE_PREFIX = 1,
    REXPAND_TYPE_SUFFIX = 2,
    REXPAND_TYPE_EXACT = 3,
    REXPAND_TYPE_REGULAR = 4, ///< anywhere
    REXPAND_TYPE_OFFSET = 5,
};

enum rexpand_flag_t : uint32_t {
    REXPAND_FLAG_NONE = 0,
    /// The literal pieces alone do not prove a match: a second-level check is needed.
    REXPAND_FLAG_L2_REQUIRED = 1,
};

/// One literal piece, never empty.
struct rexpand_pattern_t {
    std::string str; ///< the bytes; "^" and "$" anchors stand among them as themselves
    uint32_t flag = REXPAND_FLAG_NONE;
    rexpand_pattern_type_t type = REXPAND_TYPE_INIT;
};

/// One way of choosing: its pieces in the order of the expression, none when nothing is literal.
struct rexpand_permutation {
    std::vector<rexpand_pattern_t> patterns;
    rexpand_flag_t flag = REXPAND_FLAG_NONE;
};

using rexpand_permutation_list = std::vector<rexpand_permutation>;

/// Bytes that the permutations of one expansion may take, their bookkeeping included. The
/// permutation limit bounds each step only, so that nested choices multiply; without this bound
/// an expression of 64 KiB could ask for gigabytes.
constexpr uint64_t REXPAND_MAX_BYTES = 1ULL << 30;

/// Expands `expression` into `*list`, with at most `permutation_limit` permutations wherever a
/// choice is spelled out; beyond the limit the choice is left out (oddity O146) and the
/// permutations are marked REXPAND_FLAG_L2_REQUIRED. `*nb`, when not null, receives the number of
/// permutations.
///
/// Returns 0, or with an empty list:
///  MODULE_ERR_INVALID for a syntax error or an absent list,
///  MODULE_ERR_NO_MEMORY when memory or `max_bytes` does not suffice,
///  MODULE_ERR_RANGE for a range whose ends are not single bytes in ascending order.
[[nodiscard]] int rexpand_process(std::string_view expression, uint32_t permutation_limit,
                                  uint32_t *nb, rexpand_permutation_list *list,
                                  uint64_t max_bytes = REXPAND_MAX_BYTES);

/// Empties `list` and gives its memory back.
void rexpand_permutation_list_destroy(rexpand_permutation_list *list);
