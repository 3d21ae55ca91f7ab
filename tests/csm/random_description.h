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

/// Makes a description of a few protocols; the same seed makes the same one.
random_description make_random_description(uint32_t seed, std::span<const alias_model> aliases);

/// A text as JSON, with escapes chosen by `choice` where they may stand: bit n of it for the nth
/// character.
std::string json_quoted(const std::string &text, uint32_t choice);
