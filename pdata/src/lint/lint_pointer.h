/// JSON pointers (RFC 6901) to the values that findings stand at.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "lint_model.h"

/// Most bytes of a pointer: keys may be as long as a text, and stand above all of its findings.
constexpr size_t LINT_POINTER_MAX = 4096;

/// Returns for each finding, in the order of files and places, the pointer to the value, or to the
/// value of the key, that begins at its place or that it stands in: "/protocols/0/rules/2/order".
/// Empty where a text is no JSON up to there, and where it would be longer than LINT_POINTER_MAX.
/// Takes one pass over each text.
std::vector<std::string> lint_pointers(std::span<const lint_file_t> files,
                                       std::span<const finding_t> findings);
