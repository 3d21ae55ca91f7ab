/// What the two integer transformers share: one reading of the text, for any largest value.
#pragma once

#include <cstdint>
#include <string_view>

#include "transformer.h"

/// How one width differs from the other.
struct transformer_integer_width {
    uint32_t max;    ///< the largest value
    int upper_error; ///< returned for the second number of a range when it is out of range
};

/// Reads `text` as transformer.h describes for the integer forms. Returns 0, MODULE_ERR_INVALID,
/// MODULE_ERR_OVERFLOW or `width.upper_error`.
[[nodiscard]] int transformer_integer(const transformer_integer_width &width, csa_str_t text,
                                      uint32_t inequation, transformer_value_t &lower,
                                      transformer_value_t &upper);

/// Reads a decimal number from the start of `text`: blanks, a sign, digits up to the first other
/// byte. Without digits the number is 0; beyond 32 signed bits it stays at their limits.
[[nodiscard]] int32_t transformer_read_decimal(std::string_view text);
