#include "prove_acceptor.h"

#include <algorithm>

#include "prove_bytes.h"

namespace
{

/// Cells of a key.
enum : uint32_t {
    CELL_NODE = 0,  ///< place in the tree, or FOUND
    CELL_FLAGS = 1, ///< BEGAN and ENDS
    CELL_SIZE = 2,  ///< bytes passed, at most the minimum
    CELL_FIRST = 3, ///< of the progress of ways
};

constexpr char32_t FOUND = 0xFFFFFFFF; ///< whatever follows is accepted
constexpr char32_t BEGAN = 1;          ///< the text of the node is all of the data
constexpr char32_t ENDS = 2;           ///< accepted if the data ends here

uint32_t find_child(const prove_acceptor_t &acceptor, uint32_t node, uint8_t byte)
{
    uint32_t child = acceptor.nodes[node].first_child;
    while (child != 0 && acceptor.nodes[child].byte != byte)
        child = acceptor.nodes[child].sibling;
    return child;
}

/// Puts a piece into the tree.
void insert(prove_acceptor_t &acceptor, uint32_t piece)
{
    uint32_t at = 0;
    for (const char c : acceptor.form.pieces[piece].bytes) {
        uint32_t child = find_child(acceptor, at, static_cast<uint8_t>(c));
        if (child == 0) {
            child = static_cast<uint32_t>(acceptor.nodes.size());
            acceptor.nodes.push_back({});
            acceptor.nodes[child].byte = static_cast<uint8_t>(c);
            acceptor.nodes[child].sibling = acceptor.nodes[at].first_child;
            acceptor.nodes[at].first_child = child;
        }
        at = child;
    }
    acceptor.nodes[at].endings.push_back(piece);
}

/// Returns the node behind a byte, by failure links where it is no child.
uint32_t go(const prove_acceptor_t &acceptor, uint32_t node, uint8_t byte)
{
    for (;;) {
        const uint32_t child = find_child(acceptor, node, byte);
        if (child != 0 || node == 0)
            return child;
        node = acceptor.nodes[node].failure;
    }
}

/// Sets the failure links, shorter texts first.
void link(prove_acceptor_t &acceptor)
{
    std::vector<uint32_t> order = {0};
    for (size_t i = 0; i < order.size(); ++i) {
        const uint32_t at = order[i];
        for (uint32_t child = acceptor.nodes[at].first_child; child != 0;
             child = acceptor.nodes[child].sibling) {
            prove_node_t &node = acceptor.nodes[child];
            if (at != 0)
                node.failure = go(acceptor, acceptor.nodes[at].failure, node.byte);
            node.report = node.endings.empty() ? acceptor.nodes[node.failure].report : child;
            order.push_back(child);
        }
    }
}

/// Returns the state of a key, which is made if it is new.
uint32_t settle(prove_acceptor_t &acceptor, prove_key_t &&key)
{
    const auto number = static_cast<uint32_t>(acceptor.states.size());
    const auto [at, is_new] = acceptor.known.emplace(key, number);
    if (!is_new)
        return at->second;
    prove_state_t state;
    state.is_long = key[CELL_SIZE] >= acceptor.min_size;
    state.is_final = key[CELL_NODE] == FOUND;
    state.accepted = state.is_long && (state.is_final || (key[CELL_FLAGS] & ENDS) != 0);
    acceptor.states.push_back(state);
    acceptor.cost += key.size();
    acceptor.keys.push_back(std::move(key));
    acceptor.steps.resize(acceptor.steps.size() + acceptor.nr_class, PROVE_NO_STATE);
    return number;
}

/// A piece that ends behind a byte.
struct ending_t {
    uint32_t piece;
    bool is_data; ///< it is all of the data so far
};

/// Takes a piece that stands where it must, or may if the data ends here.
void take_piece(const prove_acceptor_t &acceptor, const prove_key_t &from, const ending_t &ending,
                prove_key_t &to)
{
    const prove_piece_t &piece = acceptor.form.pieces[ending.piece];
    const uint32_t way = acceptor.way_of[ending.piece];
    const uint32_t nr = acceptor.form.ways[way].nr;
    const uint32_t index = ending.piece - acceptor.form.ways[way].first;
    const uint32_t cell = acceptor.cell_of[way];
    const bool from_begin = piece.place == PROVE_AT_BEGIN || piece.place == PROVE_WHOLE;
    if ((from_begin && !ending.is_data) || (cell != 0 && from[cell] != index))
        return;
    if (piece.place == PROVE_AT_END || piece.place == PROVE_WHOLE)
        to[CELL_FLAGS] |= ENDS;
    else if (index + 1 == nr)
        to[CELL_NODE] = FOUND;
    else
        to[cell] = index + 1;
}

/// Works a step out.
prove_key_t advance(const prove_acceptor_t &acceptor, const prove_key_t &from, uint8_t byte)
{
    prove_key_t to = from;
    to[CELL_SIZE] = std::min<char32_t>(from[CELL_SIZE] + 1, acceptor.min_size);
    if (from[CELL_NODE] == FOUND)
        return to;
    const uint32_t node = go(acceptor, from[CELL_NODE], byte);
    const bool began = (from[CELL_FLAGS] & BEGAN) != 0 && node != 0 &&
                       node == find_child(acceptor, from[CELL_NODE], byte);
    to[CELL_NODE] = node;
    to[CELL_FLAGS] = began ? BEGAN : 0;
    for (uint32_t at = acceptor.nodes[node].report; at != 0;
         at = acceptor.nodes[acceptor.nodes[at].failure].report)
        for (const uint32_t piece : acceptor.nodes[at].endings)
            take_piece(acceptor, from, {piece, began && at == node}, to);
    if (to[CELL_NODE] == FOUND) {
        std::fill(to.begin() + CELL_FIRST, to.end(), 0);
        to[CELL_FLAGS] = 0;
    }
    return to;
}

} // namespace

void prove_acceptor_begin(prove_acceptor_t &acceptor)
{
    const prove_form_t &form = acceptor.form;
    acceptor.nodes.resize(1);
    acceptor.nr_cell = CELL_FIRST;
    for (uint32_t way = 0; way < form.ways.size(); ++way) {
        acceptor.cell_of.push_back(form.ways[way].nr > 1 ? acceptor.nr_cell++ : 0);
        acceptor.way_of.insert(acceptor.way_of.end(), form.ways[way].nr, way);
    }
    for (uint32_t piece = 0; piece < form.pieces.size(); ++piece)
        insert(acceptor, piece);
    link(acceptor);
    prove_key_t key(acceptor.nr_cell, 0);
    key[CELL_NODE] = form.checks_all ? FOUND : 0;
    key[CELL_FLAGS] = form.checks_all ? 0 : BEGAN;
    (void)settle(acceptor, std::move(key));
}

uint32_t prove_acceptor_step(prove_acceptor_t &acceptor, uint32_t state, uint32_t byte_class,
                             uint8_t byte)
{
    const size_t cell = size_t{state} * acceptor.nr_class + byte_class;
    if (acceptor.steps[cell] == PROVE_NO_STATE) {
        const uint8_t seen = acceptor.form.icase ? prove_small(byte) : byte;
        const uint32_t to = settle(acceptor, advance(acceptor, acceptor.keys[state], seen));
        acceptor.steps[cell] = to; // settle may have moved the steps
    }
    return acceptor.steps[cell];
}
