/// What a file was made from, as make reads it.
#pragma once

#include <span>
#include <string>
#include <string_view>

/// Returns a rule without commands: `target` depends on `inputs`. Blanks, "$", "#" and backslashes
/// in front of them are written so that make, and ninja, read the names as they are. A name with a
/// line feed cannot be written, and is left out.
std::string depfile_text(std::string_view target, std::span<const std::string> inputs);
