/// What a list of numbers or addresses that does not read is most likely meant to say.
#pragma once

#include <string>
#include <string_view>

#include "pdb_attr_properties.h"

/// Returns a list of which not all parts read, with these written as they are meant: without blanks
/// and signs, "90-80" as "80-90", ">1024" as "1025-65535", "192.0.2.*" as "192.0.2.0/24". Empty
/// where a part says nothing that is known.
std::string lint_meant_numbers(const pdb_attr_properties_t &properties, std::string_view list);

/// Returns how two numbers with another sign than '-' between them are meant, "80:90", "80..90" or
/// "80 - 90" as "80-90"; empty for anything else.
std::string lint_meant_range(std::string_view part);
