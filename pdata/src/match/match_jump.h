/// A way into a suffix tree that skips its rows.
///
/// Most of a walk over thousands of host names goes through the few rows that all of them share
/// (".com"), one dependent look at memory after the other. The last bytes of the data, as one key
/// in a hash table, lead behind them at once: to a row, or into the compressed edge that only one
/// pattern goes on with, whose rest is compared eight bytes at a time. Beside it stands what ends
/// there, which spares the walk the row, its record and the second level. Data whose last bytes no
/// pattern has is done with one look. Copying the rows themselves was turned down: they are used
/// where they lie.
///
/// Keys lie in buckets of one cache line, with what they lead to in the line behind it, which is
/// on its way while they are compared; a full bucket goes on in the next (D. E. Knuth, "The
/// Art of Computer Programming", volume 3, 1973, section 6.4).
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "view_radix_tree.h"

/// What ends at a row: the number of the item, and marks.
constexpr uint32_t MATCH_END_NONE = UINT32_MAX;
constexpr uint32_t MATCH_END_RECORD = UINT32_MAX - 1; ///< see its record
constexpr uint32_t MATCH_END_LEAF = 0x80000000;       ///< no pattern goes on
constexpr uint32_t MATCH_END_ITEM = 0x3FFFFFFF;

/// Keys of a bucket.
constexpr uint32_t MATCH_JUMP_BUCKET = 8;

/// Where a key leads.
enum match_jump_kind_t : uint8_t {
    MATCH_JUMP_ROOT, ///< a pattern ends above: the walk begins at the root
    MATCH_JUMP_ROW,
    MATCH_JUMP_CHAIN, ///< into a compressed edge
};
struct match_jump_place_t {
    uint16_t number = 0; ///< of a row or a compressed edge
    uint8_t passed = 0;  ///< bytes of the edge that the key has
    match_jump_kind_t kind = MATCH_JUMP_ROOT;
    uint32_t end = MATCH_END_RECORD; ///< what ends at the row, or at that behind the edge
};

/// Two cache lines. A key is the last bytes of data, the last one most significant; 0 for a free
/// one.
struct alignas(64) match_jump_bucket_t {
    uint64_t keys[MATCH_JUMP_BUCKET] = {};
    match_jump_place_t places[MATCH_JUMP_BUCKET] = {};
};

/// Where a walk begins.
struct match_jump_start_t {
    uint32_t row = 0;
    uint32_t depth = 0; ///< bytes passed
    uint32_t end = MATCH_END_RECORD;
};

struct match_jump_t {
    uint32_t length = 0;                      ///< bytes of a key; 0 where there is no table
    uint32_t shift = 0;                       ///< of a hash
    bool icase = false;                       ///< keys are folded
    bool short_ends = false;                  ///< patterns end above the rows of the table
    std::vector<match_jump_bucket_t> buckets; ///< at most three quarters full
};

/// Makes the table of a suffix tree whose second level has `roles`, in at most `room` bytes; small
/// trees have none. std::bad_alloc passes.
void match_jump_make(const view_radix_t &tree, bool icase, std::span<const uint32_t> roles,
                     size_t room, match_jump_t &jump);

/// Returns the bytes of a table.
[[nodiscard]] size_t match_jump_bytes(const match_jump_t &jump);

/// Gives where the walk of `tree` over `data` may begin. Returns false where no pattern matches.
/// For a jump with a table.
[[nodiscard]] bool match_jump_find(const match_jump_t &jump, const view_radix_t &tree,
                                   std::span<const uint8_t> data, match_jump_start_t &start);
