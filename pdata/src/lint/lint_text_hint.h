/// What to do about a text that is no description.
#pragma once

#include <string>
#include <string_view>

/// Returns the hint for a fault at byte `at` of a text, behind a message of description_text.h;
/// empty where nothing is known that helps.
std::string lint_syntax_hint(std::string_view text, size_t at, std::string_view message);
