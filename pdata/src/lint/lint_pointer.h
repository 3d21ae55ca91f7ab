/// JSON pointers (RFC 6901) to the values that findings stand at.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "lint_model.h"

/// Returns for each finding, in the order of files and places, the pointer to the value, or to the
/// value of the key, that begins at its place or that it stands in: "/protocols/0/rules/2/order".
/// Empty where a text is no JSON up to there. Takes one pass over each text.
std::vector<std::string> lint_pointers(std::span<const lint_file_t> files,
                                       std::span<const finding_t> findings);
