/// docs/diagnostics.md, which the program carries.
#pragma once

#include <string_view>

/// Returns the section of an id, empty for none.
std::string_view check_paper_section(std::string_view id);
