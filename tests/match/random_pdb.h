/// Random loadable pdbs, and random flows for them.
///
/// Rules are written as authors write them, and aliases are followed here as the compiler follows
/// them when it stores a description: what is tested is the reference, the real bottom is what was
/// written, and a sub-rule one of whose attributes is an alias moves whole.
#pragma once

#include <random>

#include "loadable_fixture.h"
#include "runtime_model.h"

/// What random values are made of.
struct random_match_t {
    std::mt19937 random;

    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(random() % limit); }
    bool one_in(uint32_t n) { return below(n) == 0; }

    /// A few of the first three letters, rarely in capitals.
    std::string letters(uint32_t n);

    /// An expression of one of the shapes that descriptions use.
    std::string expression();
};

/// Makes the bytes of a loadable pdb of some protocols, in which "authority" of http2 is an alias
/// of "server" of http, beside others.
std::vector<uint8_t> make_pdb(const std::vector<protocol_model> &protocols);

/// Makes the bytes of a loadable pdb of a few protocols.
std::vector<uint8_t> make_random_pdb(random_match_t &random);

/// Makes a flow of up to five values, some of which may go on.
std::vector<flow_value_t> make_random_flow(random_match_t &random);
