/// A form at work: which data is accepted, followed byte by byte.
///
/// The pieces of all ways are looked for at once by a tree with failure links (A. V. Aho and M. J.
/// Corasick, "Efficient string matching: an aid to bibliographic search", 1975). What has been
/// found so far, the place in that tree and the pieces found of each way, is a state; states are
/// made when they are first reached and their steps kept (M. O. Rabin and D. Scott, "Finite
/// automata and their decision problems", 1959), so that few of the many that there could be are.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "prove_form.h"

/// Stands for a step that was not taken yet.
constexpr uint32_t PROVE_NO_STATE = 0xFFFFFFFF;

/// A node of the tree of pieces; node 0 is its root.
struct prove_node_t {
    uint32_t first_child = 0;
    uint32_t sibling = 0; ///< the next child of the same parent
    uint32_t failure = 0; ///< the longest end of its text that is a node as well
    uint32_t report = 0;  ///< itself or the nearest failure at which a piece ends; 0 for none
    uint8_t byte = 0;     ///< the last of its text
    std::vector<uint32_t> endings{}; ///< pieces that end here
};

/// What is known of data behind which an acceptor is in a state.
struct prove_state_t {
    bool is_long = false;  ///< it has as many bytes as anything that counts
    bool accepted = false; ///< accepted if it ends here
    bool is_final = false; ///< whatever follows, it is accepted once it is long
};

/// What a state is: the place in the tree and whether data began there, bytes passed as far as they
/// matter, and pieces found of each way of several.
using prove_key_t = std::u32string;

/// An acceptor of a form, which must live as long.
struct prove_acceptor_t {
    const prove_form_t &form;
    uint32_t nr_class; ///< classes of bytes, of which the pieces tell no two bytes apart
    uint32_t min_size; ///< bytes that data must have for anything to count
    std::vector<prove_node_t> nodes = {};
    std::vector<uint32_t> way_of = {};  ///< by piece
    std::vector<uint32_t> cell_of = {}; ///< by way: of its progress in a key; 0 for a single piece
    uint32_t nr_cell = 0;               ///< of a key
    std::vector<prove_key_t> keys = {}; ///< by state
    std::vector<prove_state_t> states = {};
    std::vector<uint32_t> steps = {}; ///< by state and class
    std::unordered_map<prove_key_t, uint32_t> known = {};
    uint64_t cost = 0; ///< words of all keys made so far
};

/// Begins an acceptor; state 0 is that in front of all data. std::bad_alloc passes.
void prove_acceptor_begin(prove_acceptor_t &acceptor);

/// Returns the state behind a byte of class `byte_class`. std::bad_alloc passes.
uint32_t prove_acceptor_step(prove_acceptor_t &acceptor, uint32_t state, uint32_t byte_class,
                             uint8_t byte);
