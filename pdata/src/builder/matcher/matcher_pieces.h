/// What is registered of the permutations of a stream value: all pieces, where together they are
/// the value, or else one piece that leads to a check of the complete value; and the bytes of a
/// value at an offset.
#pragma once

#include <string>
#include <string_view>

#include "rexpand.h"

/// Returns a value as it is stored and matched: one 0 byte at the end is no part of it.
/// Oddity O139.
std::string_view matcher_without_final_zero(std::string_view value);

/// Tells whether the pieces of a permutation do not prove the value.
bool matcher_is_marked(const rexpand_permutation &permutation);

/// Returns the longest piece that may stand for a marked permutation, the first of equal length,
/// or null: the value is then tried on all data.
const rexpand_pattern_t *matcher_longest_piece(const rexpand_permutation &permutation);

/// Replaces the escapes of a value at an offset by their bytes. Returns false, with what stands
/// behind the backslash in `fault`, for an escape that is none. Oddity O144.
[[nodiscard]] bool matcher_unescape(std::string_view value, std::string &bytes,
                                    std::string_view &fault);
