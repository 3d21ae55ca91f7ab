/// The description of a batch, as text.
#pragma once

#include <span>
#include <string>

#include "csa_types.h"
#include "prove_value.h"

/// Returns the direction in which a batch tests an attribute: that which it allows, or one of
/// both, as both are compiled alike.
csa_attr_way_t prove_text_way(const prove_value_t &value);

/// Writes a description of values of one attribute: value i is the rule whose order is i + 1.
/// std::bad_alloc passes.
std::string prove_text(std::span<const prove_value_t *const> values);
