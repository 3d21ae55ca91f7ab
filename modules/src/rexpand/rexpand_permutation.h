/// Permutations under construction, and the three things that an expansion does to them: copy,
/// append and break.
///
/// A step of the expansion always works on the newest permutations down to some place, so they
/// are held as a stack whose order is that of the result. A linked list that takes copies in its
/// middle was turned down: behind a stack, marking and breaking all permutations of a step is one
/// fill of an array.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <string_view>
#include <vector>

#include "rexpand.h"

/// A stack of permutations, one entry of each array per permutation.
struct rexpand_permutation_stack {
    rexpand_permutation_list permutations; ///< their own `flag` is set by finalize alone
    std::pmr::vector<uint8_t> flags;       ///< rexpand_flag_t
    std::pmr::vector<uint8_t> broken; ///< 1: the piece under construction is a new one, still empty
};

/// Bytes that an expansion has used up; the count never falls.
struct rexpand_budget {
    uint64_t used = 0;
    uint64_t limit = REXPAND_MAX_BYTES;
};

/// Makes `stack` hold one permutation without pieces. Throws std::bad_alloc.
void rexpand_permutation_list_init(rexpand_permutation_stack &stack);

/// Pushes copies of the `count` permutations of `from` that start at `first` onto `to`, which may
/// be the same stack, in their order. Returns 0, or MODULE_ERR_NO_MEMORY beyond the budget; throws
/// std::bad_alloc.
[[nodiscard]] int rexpand_permutation_copy(const rexpand_permutation_stack &from, size_t first,
                                           size_t count, rexpand_permutation_stack &to,
                                           rexpand_budget &budget);

/// Pushes all permutations of `from` from place `first` on onto `to`, and removes them from
/// `from`. Throws std::bad_alloc.
void rexpand_permutation_move(rexpand_permutation_stack &from, size_t first,
                              rexpand_permutation_stack &to);

/// Sets the flag of every permutation from place `first` on.
void rexpand_permutation_mark(rexpand_permutation_stack &stack, size_t first, rexpand_flag_t flag);

/// Appends `bytes` to the piece under construction of every permutation from place `first` on. An
/// empty piece takes `flag` and `type`; any other takes `flag`, and its type becomes that of
/// rexpand_permutation_merge_type. Empty `bytes` do nothing. Returns 0, or MODULE_ERR_NO_MEMORY
/// beyond the budget; throws std::bad_alloc.
[[nodiscard]] int rexpand_permutation_insert_pattern(rexpand_permutation_stack &stack, size_t first,
                                                     std::string_view bytes, uint32_t flag,
                                                     rexpand_pattern_type_t type,
                                                     rexpand_budget &budget);

/// Returns the type of a piece of type `current` when bytes of type `incoming` join it.
rexpand_pattern_type_t rexpand_permutation_merge_type(rexpand_pattern_type_t current,
                                                      rexpand_pattern_type_t incoming);

/// Ends the piece under construction, unless it is empty, of every permutation from `first` on.
void rexpand_permutation_break_pattern(rexpand_permutation_stack &stack, size_t first);

/// Moves the permutations of `stack` into `list`, gives each its flag, and settles the types of
/// its pieces by their places: with more than one piece, only the first may be a prefix and only
/// the last a suffix, and none is exact.
void rexpand_permutation_list_finalize(rexpand_permutation_stack &stack,
                                       rexpand_permutation_list *list);
