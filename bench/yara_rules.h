/// The values of a description as rules of the pattern matcher YARA, one string a rule, for a
/// comparison of the two compilers.
#pragma once

#include <string>
#include <vector>

#include "description_generator.h"

/// Returns the text of a rule file: bytes as a hexadecimal string, alternatives as a regular
/// expression, everything else as text.
std::string yara_rules(const std::vector<generated_value_t> &values);
