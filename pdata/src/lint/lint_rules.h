/// The tables of the check, one row a rule, by the place that a rule looks at.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "lint_look.h"

/// What is looked at in a protocol.
std::span<const lint_row_t> lint_protocol_rows();

/// What the compiler refuses in a rule, with its sub-rules and attributes.
std::span<const lint_row_t> lint_refusal_rows();

/// What is most likely a slip in a rule, and in one of its attributes.
std::span<const lint_row_t> lint_rule_rows();
std::span<const lint_row_t> lint_attribute_rows();

/// What is most likely a slip in a value, by what the attribute holds: numbers and addresses,
/// expressions, bytes at an offset, and expressions where names of hosts are.
std::span<const lint_row_t> lint_number_rows();
std::span<const lint_row_t> lint_text_rows();
std::span<const lint_row_t> lint_choice_rows();
std::span<const lint_row_t> lint_offset_rows();
std::span<const lint_row_t> lint_host_rows(const lint_look_t &look);

/// Returns a text as it is written with the backslashes doubled that JSON takes away.
std::string lint_with_backslashes(std::string_view raw);
