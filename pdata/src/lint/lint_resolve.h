/// What the compiler makes of a protocol, beside what is written: properties, directions, aliases,
/// priorities, minimum data.
#pragma once

#include "lint_config.h"
#include "lint_model.h"

/// Fills in what the model keeps beside the text. Says nothing.
void lint_resolve(const lint_config_t &config, lint_protocol_t &protocol);

/// Tells whether an attribute is tested in a direction, ATTR_WAY_CTS or ATTR_WAY_STC.
bool lint_tests_way(const lint_attribute_t &attribute, csa_attr_way_t way);

/// Returns a text without a colon as the order that it is meant to be: "50.7" as "50:7", "50" or
/// "-50" as "50:0".
std::string lint_meant_order(std::string_view text);

/// Returns the direction that an attribute is stored with, before aliases: a bare one of a single
/// direction gets it.
csa_attr_way_t lint_stored_way(const lint_attribute_t &attribute);
