/// A way into a suffix tree that skips its first rows.
///
/// Most of a walk over thousands of host names goes through the few rows that all of them share
/// (".com"), one dependent look at memory after the other. The last bytes of the data, as one key
/// in a hash table, lead to the row behind them at once; data whose last bytes no pattern has is
/// done with one look. Beside it stands, for each row, the one item that ends there, which spares
/// the walk the record and the second level. Copying the rows themselves was turned down: they are
/// used where they lie.
///
/// The table takes at most an eighth of its tree, and small trees have none.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "view_radix_tree.h"

/// One path of `length` bytes, and where the walk goes on.
struct match_jump_entry_t {
    uint64_t key = 0; ///< the last bytes of the data, the last one most significant
    uint32_t row = 0;
    uint32_t depth = UINT32_MAX; ///< bytes passed at that row; UINT32_MAX for a free entry
};

/// What ends at a row: the number of the item, and marks.
constexpr uint32_t MATCH_END_NONE = UINT32_MAX;
constexpr uint32_t MATCH_END_RECORD = UINT32_MAX - 1; ///< see its record
constexpr uint32_t MATCH_END_LEAF = 0x80000000;       ///< no pattern goes on
constexpr uint32_t MATCH_END_ITEM = 0x3FFFFFFF;

struct match_jump_t {
    uint32_t length = 0;                   ///< bytes of a key; 0 where there is no table
    uint32_t shift = 0;                    ///< of a hash
    bool icase = false;                    ///< keys are folded
    bool short_ends = false;               ///< patterns end above the rows of the table
    std::vector<match_jump_entry_t> table; ///< open addressing, at most half full
    std::vector<uint32_t> ends;            ///< by row; none in a small tree
};

/// Makes the table of a suffix tree whose second level has `roles`. std::bad_alloc passes.
void match_jump_make(const view_radix_t &tree, bool icase, std::span<const uint32_t> roles,
                     match_jump_t &jump);

/// Gives the row that the walk over `data` may begin at, and the bytes passed there. Returns false
/// where no pattern matches. For a jump with a table.
[[nodiscard]] bool match_jump_find(const match_jump_t &jump, std::span<const uint8_t> data,
                                   uint32_t &row, uint32_t &depth);
