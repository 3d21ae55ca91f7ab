/// The words for what a text cannot say.
#pragma once

#include <string>

#include "description_model.h"

/// Bytes of a name that are shown.
constexpr size_t LOST_NAME_MAX = 64;

/// Returns "protocol NAME: TEXT".
std::string lost_protocol(const model_protocol_t &protocol, std::string_view text);

/// Returns "rule N: TEXT" for rule `index`, from 0; N counts from 1.
std::string lost_rule(size_t index, std::string_view text);
