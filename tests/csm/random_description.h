/// Random descriptions: a text, and what a reader must make of it.
///
/// What is expected is worked out here from the choices that were made, without any part of the
/// compiler: the splitting of rules, the directions, the scopes, what a slot keeps from its last
/// use, the aliases, and the order in which strings are met.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "description_reader.h"

/// One side of an alias, and an alias.
struct alias_side_model {
    std::string protocol;
    std::string attr;
    csa_attr_way_t way;
};

struct alias_model {
    alias_side_model alias;
    alias_side_model reference;
};

struct random_description {
    std::string json;
    std::vector<protocol_model> protocols;
    std::vector<std::string> group_strings; ///< as they enter the group's table, each once
    std::vector<std::string> rule_tags;     ///< as they are written, each as often as it is
};

/// What a random description is like.
struct random_shape {
    uint32_t nr_protocol = 0; ///< 0: one to six
    uint32_t first_id = 0;    ///< of ids that are 41 apart, names made of them; 0: any
    bool meeting = false;     ///< of few rules, so that those of different seeds are often equal
    bool plain = false;       ///< every sub-rule has attributes: no slot keeps what it last held
};

/// Makes a description of a few protocols; the same seed makes the same one.
random_description make_random_description(uint32_t seed, std::span<const alias_model> aliases,
                                           const random_shape &shape = {});

/// Aliases for random descriptions, and the document that configures them.
extern const std::vector<alias_model> random_aliases;
extern const char *const random_aliases_json;

/// A text as JSON, with escapes chosen by `choice` where they may stand: bit n of it for the nth
/// character.
std::string json_quoted(const std::string &text, uint32_t choice);
