/// Which attribute or protocol is meant by one that there is not.
#pragma once

#include <string>
#include <string_view>

/// Returns what to write for the key of an unknown attribute of a protocol, with its direction: the
/// key that is meant, the protocol that has attributes, or the attributes that there are.
std::string lint_meant_attribute(std::string_view protocol, std::string_view key);

/// Tells whether any protocol has an attribute of the name that a key says, with a direction or
/// without.
bool lint_is_attribute(std::string_view key);
