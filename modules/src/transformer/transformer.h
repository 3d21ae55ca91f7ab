/// Value transformers: the text of a matcher value becomes a closed interval [lower, upper].
///
/// One function per text form, all of one type, so that a table of attributes can name the one
/// that reads its values; the number matchers take the bounds as they come. Bounds of each
/// width's own type behind untyped pointers were turned down: one structure holds every width.
#pragma once

#include <array>
#include <cstdint>

#include "csa_str.h"
#include "module_error.h"

/// One bound, of any width.
struct transformer_value_t {
    /// Values of up to 64 bits, and IPv4 addresses with the first octet most significant.
    uint64_t number = 0;
    /// IPv6 addresses: four words of host order, the most significant word first.
    std::array<uint32_t, 4> address{};
};

/// How an integer form turns its value v into an interval; MAX is the largest value of the width.
/// Any other code counts as INEQUATION_NONE.
enum inequation_type : uint32_t {
    INEQUATION_NONE = 0,             ///< the text gives a value or a range itself
    INEQUATION_LESS = 1,             ///< [0, v - 1], refused for v = 0
    INEQUATION_LESS_OR_EQUAL = 2,    ///< [0, v]
    INEQUATION_GREATER = 3,          ///< [v + 1, MAX], refused for v = MAX
    INEQUATION_GREATER_OR_EQUAL = 4, ///< [v, MAX]
};

/// A transformer: reads `text` and writes both bounds.
///
/// Returns 0, MODULE_ERR_INVALID for a text that does not parse, or MODULE_ERR_OVERFLOW for a
/// number out of range where stated below. After a failure the bounds may have been partly written.
/// Nothing beyond the text's length is read.
using transformer_fct = int (*)(csa_str_t text, uint32_t inequation, transformer_value_t &lower,
                                transformer_value_t &upper);

/// An 8-bit value "v" or range "v-w" or "[v-w]", in decimal, into `number`; MAX is 255.
///
/// v is MODULE_ERR_OVERFLOW when it exceeds MAX; w is MODULE_ERR_INVALID when it does not lie in 0
/// to MAX, and so is v above w. With an inequation the text must not hold a "-". Each number ends
/// at its first byte that is not a digit, and what follows is ignored; blanks and a sign may stand
/// before w, and a w without digits is 0. Brackets without a "-" are refused. Oddity O176.
[[nodiscard]] int transformer_8(csa_str_t text, uint32_t inequation, transformer_value_t &lower,
                                transformer_value_t &upper);

/// The same for 16-bit values; MAX is 65535. Here a w out of range is MODULE_ERR_OVERFLOW: the
/// difference from the 8-bit form is oddity O175.
[[nodiscard]] int transformer_range16(csa_str_t text, uint32_t inequation,
                                      transformer_value_t &lower, transformer_value_t &upper);

/// An IPv4 address "a.b.c.d", prefix "a.b.c.d/n" (n up to 32) or range "a.b.c.d-e.f.g.h" into
/// `number`. The inequation is ignored; every failure is MODULE_ERR_INVALID.
///
/// A prefix length of 0 gives the single address, and a range that ends at 0.0.0.0 ends at its
/// first address: oddities O177 and O178. A range may run backwards; who stores it refuses.
[[nodiscard]] int transformer_ipv4(csa_str_t text, uint32_t inequation, transformer_value_t &lower,
                                   transformer_value_t &upper);

/// An IPv6 address (RFC 4291, section 2.2, forms 1 and 2) or prefix "address/p" (p up to 127:
/// oddity O179) into `address`. The inequation is ignored; every failure is MODULE_ERR_INVALID.
/// Dotted IPv4 tails and "::" alone are refused.
[[nodiscard]] int transformer_ipv6(csa_str_t text, uint32_t inequation, transformer_value_t &lower,
                                   transformer_value_t &upper);
