/// What the text of a value compiles to, as a key: values with equal keys find the same data.
///
/// A text of a stream is expanded by the compiler's own expansion: its form is the set of its
/// permutations, each with its pieces and where they must stand. Where the pieces do not prove the
/// value, the second level checks the text itself, and the form is the text. A number or an address
/// is the ranges that the compiler's transformers make of it. So are texts that the compiler
/// refuses, and those of more than VALUE_FORM_TEXT_MAX bytes or whose permutations take more than
/// VALUE_FORM_EXPANSION_MAX: they are what they say.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Bytes of a text that is expanded.
constexpr size_t VALUE_FORM_TEXT_MAX = 1024;

/// Bytes that the permutations of a text may take.
constexpr size_t VALUE_FORM_EXPANSION_MAX = size_t{1} << 20;

/// Returns the key of a value of an attribute; `at_offset` for one that must stand at an offset,
/// where nothing but escapes is special. Throws std::bad_alloc.
std::string value_form(std::string_view protocol, std::string_view attribute, bool at_offset,
                       std::string_view text);
