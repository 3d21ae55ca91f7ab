/// Second checks: tells whether data is, from its first byte to its last, what an expression
/// describes (the language of rexpand.h).
///
/// An expression is compiled once, into a program of bytes and branches (K. Thompson, "Regular
/// expression search algorithm", 1968). All places that a part of the data can lead to are followed
/// at once, so that no data takes longer than its length times the program's. Up to 64 bytes of
/// program, which nearly all values have, the places are the bits of one word and a step is a few
/// operations on it (V. M. Glushkov, "The abstract theory of automata", 1961; G. Navarro and
/// M. Raffinot, "Compact DFA representation for fast regular expression search", 2001): most places
/// are followed by the next one, which is a shift, and only the others look their followers up.
/// Trying one way after another was turned down, as nested repetitions take exponential time, and
/// so was a deterministic automaton, which may have exponentially many states.
///
/// "." is any byte. "\d" is a decimal digit, "\w" a letter, a digit or "_", "\s" a blank or one of
/// the bytes 9 to 13. The anchors "^" and "$" stand for themselves, as they do in the engines.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

/// The deepest nesting of an expression that is compiled.
constexpr uint32_t MATCH_EXPRESSION_DEPTH_MAX = 1000;

/// Places that fit a word.
constexpr uint32_t MATCH_EXPRESSION_WORD = 64;

/// Steps of a program.
enum match_step_kind_t : uint8_t {
    MATCH_STEP_BYTE,  ///< one byte of a set; then the next step
    MATCH_STEP_SPLIT, ///< the next step, and step `to` as well
    MATCH_STEP_JUMP,  ///< step `to`
    MATCH_STEP_END,   ///< the expression ends
};

struct match_step_t {
    match_step_kind_t kind = MATCH_STEP_END;
    uint32_t to = 0; ///< a step, or for a byte the index of its set
};

/// A set of bytes: bit c & 63 of word c / 64.
using match_byte_set_t = std::array<uint64_t, 4>;

inline bool match_byte_set_has(const match_byte_set_t &set, uint8_t c)
{
    return (set[c / 64] >> (c & 63) & 1) != 0;
}

/// The places of a short program as the bits of a word.
struct match_places_t {
    uint64_t first = 0;                ///< places that the data may begin with
    uint64_t last = 0;                 ///< places that it may end with
    uint64_t linear = 0;               ///< places that only the next one follows
    uint64_t branch = 0;               ///< places that `follow` has the followers of
    std::vector<uint64_t> follow;      ///< for each bit of `branch`, lowest first
    std::array<uint8_t, 256> class_of; ///< by byte: its index in `classes`
    std::vector<uint64_t> classes;     ///< places whose set has the bytes of a class
};

/// A compiled expression.
struct match_expression_t {
    std::vector<match_step_t> steps;    ///< none once `places` is made
    std::vector<match_byte_set_t> sets; ///< none once `places` is made
    match_places_t places;
    bool is_short = false;   ///< `places` is made
    bool is_empty = false;   ///< no data at all matches
    bool open_ended = false; ///< ends with ".*" or ".+": what matches goes on matching
};

/// What a run works with. The vectors are made once and kept.
struct match_expression_room_t {
    std::vector<uint32_t> current;
    std::vector<uint32_t> next;
    std::vector<uint32_t> stack;
    std::vector<uint32_t> mark; ///< by step: the round in which it was entered
    uint32_t round = 0;
};

/// Compiles `text`; the case of ASCII letters does not matter when `icase` is set. Returns false
/// for what is no expression, or nests too deeply. std::bad_alloc passes.
[[nodiscard]] bool match_expression_compile(std::string_view text, bool icase,
                                            match_expression_t &expression);

/// Turns the steps of an expression, of which at most MATCH_EXPRESSION_WORD take a byte, into
/// places of a word. std::bad_alloc passes.
void match_places_make(match_expression_t &expression);

/// Makes `room` fit `expression` as well as all that it fits already. std::bad_alloc passes.
void match_expression_reserve(const match_expression_t &expression, match_expression_room_t &room);

/// Tells whether `data` as a whole matches. Does not allocate.
[[nodiscard]] bool match_expression_run(const match_expression_t &expression,
                                        std::span<const uint8_t> data,
                                        match_expression_room_t &room);

/// Returns the bytes of memory of a compiled expression.
[[nodiscard]] size_t match_expression_bytes(const match_expression_t &expression);
