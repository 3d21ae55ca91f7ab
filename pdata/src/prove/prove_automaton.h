/// What a value describes, as an automaton: the positions of its expression.
///
/// Each byte that an expression takes is a position; the data that it describes are the ways from
/// a first position to a last one, each followed by one of its followers (V. M. Glushkov, "The
/// abstract theory of automata", 1961; G. Berry and R. Sethi, "From regular expressions to
/// deterministic automata", 1986). Such an automaton has no moves without a byte, so that a way
/// through it is a text, its length the text's. It is built from the tree of the compiler's parser
/// and shares nothing else with what runs an expression, whose judge it is.
///
/// "." is any byte, "\d" a decimal digit, "\w" a letter, a digit or "_", "\s" a blank or one of the
/// bytes 9 to 13; the anchors "^" and "$" stand for themselves.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "rexpand_ast.h"

/// The deepest nesting of an expression that is looked into.
constexpr uint32_t PROVE_DEPTH_MAX = 1000;

/// Followers that an automaton has at most in all, beyond PROVE_FOLLOWERS_PER_BYTE for every byte
/// of its expression: nested repetitions of many choices have a square of them.
constexpr size_t PROVE_FOLLOWERS_BASE = 4096;
constexpr size_t PROVE_FOLLOWERS_PER_BYTE = 64;

/// A set of bytes: bit c & 63 of word c / 64.
using prove_set_t = std::array<uint64_t, 4>;

inline bool prove_set_has(const prove_set_t &set, uint32_t c)
{
    return (set[c / 64] >> (c & 63) & 1) != 0;
}

inline void prove_set_add(prove_set_t &set, uint32_t c)
{
    set[c / 64] |= uint64_t{1} << (c & 63);
}

/// An automaton. Positions count from 0, in the order in which they are written.
struct prove_automaton_t {
    std::vector<prove_set_t> sets;      ///< by position: the bytes that it takes
    std::vector<uint32_t> first;        ///< positions that data may begin with, ascending
    std::vector<uint8_t> is_last;       ///< by position: data may end with it
    std::vector<uint32_t> followers;    ///< those of position 0, then of 1, each ascending
    std::vector<uint32_t> follow_begin; ///< by position: where its followers begin; and the end
    bool takes_nothing = false;         ///< data without a byte is described as well
    bool is_partial = false;            ///< some ways are left out for want of room: it takes less
};

/// Returns the positions that may follow a position.
inline std::span<const uint32_t> prove_followers(const prove_automaton_t &automaton, uint32_t at)
{
    const uint32_t begin = automaton.follow_begin[at];
    return std::span(automaton.followers).subspan(begin, automaton.follow_begin[at + 1] - begin);
}

/// Tells whether an automaton is whole, and a row of positions, each followed by the next one
/// alone, as that of a plain text is.
[[nodiscard]] bool prove_is_row(const prove_automaton_t &automaton);

/// How the making of an automaton ended.
enum prove_made_t : uint8_t {
    PROVE_MADE = 0,
    PROVE_NO_EXPRESSION, ///< the text is no expression
    PROVE_TOO_DEEP,      ///< it nests deeper than PROVE_DEPTH_MAX
};

/// Reads an expression. Returns false for a text that is none. std::bad_alloc passes.
[[nodiscard]] bool prove_parse(std::string_view text, rexpand_tree &tree);

/// Makes the automaton of an expression of `size` bytes; the case of ASCII letters does not matter
/// when `icase` is set. Time and memory are linear in the expression, by the bound on followers.
/// std::bad_alloc passes.
[[nodiscard]] prove_made_t prove_automaton_make(const rexpand_tree &tree, size_t size, bool icase,
                                                prove_automaton_t &automaton);

/// The same of a text.
[[nodiscard]] prove_made_t prove_automaton_make(std::string_view text, bool icase,
                                                prove_automaton_t &automaton);
