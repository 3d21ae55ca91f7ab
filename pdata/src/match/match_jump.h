/// A way into a suffix tree that skips its rows.
///
/// Most of a walk over thousands of host names goes through the few rows that all of them share
/// (".com"), one dependent look at memory after the other. The last bytes of the data, as one key
/// in a hash table, lead behind them at once: to a row, or into the compressed edge that only one
/// pattern goes on with. The eight bytes at whose end the edge does stand beside the key and are
/// compared at once, which settles edges of up to eight bytes.
/// With them stands what ends there, which spares the walk the row, its record and the second
/// level. Data whose last bytes no pattern has is done with one look, or one more for each length
/// of the shorter patterns. Copying the rows themselves was turned down: they are used where they
/// lie.
///
/// A key has one place, which a displacement of its bucket makes free of others (D. Belazzougui,
/// F. C. Botelho, M. Dietzfelbinger, "Hash, displace, and compress", 2009): a look is a byte from a
/// small table and one entry.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "match_jump_word.h"
#include "view_radix_tree.h"

/// What ends at a row: the number of the item, and marks.
constexpr uint32_t MATCH_END_NONE = UINT32_MAX;
constexpr uint32_t MATCH_END_RECORD = UINT32_MAX - 1; ///< see its record
constexpr uint32_t MATCH_END_ABOVE = UINT32_MAX - 2;  ///< of a key: a shorter pattern ends, too
constexpr uint32_t MATCH_END_LEAF = 0x80000000;       ///< no pattern goes on
constexpr uint32_t MATCH_END_ADMITTED = 0x40000000;   ///< by its rule, whoever hands the data over
constexpr uint32_t MATCH_END_ITEM = 0x3FFFFFFF;

/// Tells whether an item is what ends.
inline bool match_end_is_item(uint32_t end)
{
    return end < MATCH_END_ABOVE;
}

/// Tells whether an item ends that is admitted, and no pattern goes on.
inline bool match_end_is_final(uint32_t end)
{
    return end >= (MATCH_END_LEAF | MATCH_END_ADMITTED) && match_end_is_item(end);
}

/// A key, and where it leads.
struct match_jump_entry_t {
    uint64_t key = 0;    ///< the last bytes of data, the last one most significant
    uint64_t front = 0;  ///< the last eight bytes of the key and the rest, in the same order; where
                         ///< these are fewer, or the rest has more, where it begins in the edges of
                         ///< the tree
    uint32_t end = 0;    ///< what ends at `row`
    uint16_t row = 0;    ///< where the walk begins, behind the rest
    uint8_t length = 0;  ///< bytes of the key; 0 for a free entry
    uint8_t nr_rest = 0; ///< bytes that the data must go on with
};

/// The paths of a tree that become keys: all of one length, and those of shorter patterns.
struct match_jump_paths_t {
    std::vector<match_jump_entry_t> entries; ///< `end` is the row whose end it will tell
    uint32_t short_lengths = 0;              ///< bit by length: a shorter pattern has it
};

/// Returns the bytes of an entry's key and rest.
inline uint32_t match_jump_bytes_of(const match_jump_entry_t &entry)
{
    return uint32_t{entry.length} + entry.nr_rest;
}

/// Returns the bytes that are passed where an entry leads.
inline uint32_t match_jump_depth(const match_jump_entry_t &entry)
{
    return entry.end == MATCH_END_ABOVE ? 0 : match_jump_bytes_of(entry);
}

struct match_jump_t {
    uint64_t mask = 0;          ///< of the bytes of a key in a word
    uint64_t letters = 0;       ///< MATCH_JUMP_LETTERS where keys are folded
    uint64_t factor = 0;        ///< of the hash, odd
    uint32_t length = 0;        ///< bytes of a key; 0 where there is no table
    uint32_t short_lengths = 0; ///< bit by length: there are shorter keys of it
    uint32_t shift = 0;         ///< of a hash, to a bucket
    uint32_t nr_place = 0;      ///< of entries, free ones included
    std::vector<uint8_t> displacements;
    std::vector<match_jump_entry_t> entries;
};

/// Makes the table of a suffix tree whose second level has `roles`, in at most `room` bytes; small
/// trees, and those that have a pattern without bytes, have none. std::bad_alloc passes.
void match_jump_make(const view_radix_t &tree, bool icase, std::span<const uint32_t> roles,
                     size_t room, match_jump_t &jump);

/// Finds the paths of `length` bytes, and those of shorter patterns: at most `most`. Returns false
/// where there are more, or none. std::bad_alloc passes.
[[nodiscard]] bool match_jump_find_paths(const view_radix_t &tree, bool icase, uint32_t length,
                                         size_t most, match_jump_paths_t &paths);

/// Gives every entry a place of its own. Returns false where the keys do not take one: then the
/// table is as it was. std::bad_alloc passes.
[[nodiscard]] bool match_jump_place(std::span<const match_jump_entry_t> entries,
                                    match_jump_t &jump);

/// Returns the bytes of a table.
[[nodiscard]] size_t match_jump_bytes(const match_jump_t &jump);

/// Returns how many entries a table of `room` bytes has.
[[nodiscard]] size_t match_jump_most(size_t room);

/// Returns the hash of a key, which leaves the low bytes free for the length unless it is a whole
/// word.
inline uint64_t match_jump_hash(const match_jump_t &jump, uint64_t key, uint32_t length)
{
    const uint64_t hash = (key ^ length) * jump.factor; // D. E. Knuth, multiplicative hashing
    return hash ^ hash >> 32;
}

/// Returns the bucket of a hash.
inline uint32_t match_jump_bucket(const match_jump_t &jump, uint64_t hash)
{
    return static_cast<uint32_t>(hash) >> jump.shift;
}

/// Returns where a hash goes with the displacement of its bucket.
inline uint32_t match_jump_place_of(const match_jump_t &jump, uint64_t hash, uint8_t displacement)
{
    const auto first = static_cast<uint32_t>(hash >> 32);
    const auto step = static_cast<uint32_t>(hash) | 1;
    return static_cast<uint32_t>(uint64_t{first + displacement * step} * jump.nr_place >> 32);
}

/// Returns the entry where a key would stand, which may have another.
inline const match_jump_entry_t &match_jump_look(const match_jump_t &jump, uint64_t key,
                                                 uint32_t length)
{
    const uint64_t hash = match_jump_hash(jump, key, length);
    const uint8_t displacement = jump.displacements[match_jump_bucket(jump, hash)];
    return jump.entries[match_jump_place_of(jump, hash, displacement)];
}

/// Tells whether an entry has a key.
inline bool match_jump_has_key(const match_jump_entry_t &entry, uint64_t key, uint32_t length)
{
    return entry.key == key && entry.length == length;
}

/// Tells whether the front of an entry is its last eight bytes, and has its whole rest.
inline bool match_jump_has_front(const match_jump_entry_t &entry)
{
    return entry.nr_rest <= MATCH_JUMP_WORD && match_jump_bytes_of(entry) >= MATCH_JUMP_WORD;
}

/// Tells whether data that has the key of an entry, and no fewer bytes than it and its rest, goes
/// on with the rest. For an entry that has a front.
inline bool match_jump_fits_front(const match_jump_t &jump, const match_jump_entry_t &entry,
                                  std::span<const uint8_t> data)
{
    const uint64_t word = match_jump_load(data.data() + data.size() - match_jump_bytes_of(entry));
    return word == entry.front || match_jump_folded(word, jump.letters) == entry.front;
}

/// Returns the entry that the walk of `tree` over `data` may begin with, or null where no pattern
/// matches. For a jump with a table.
[[nodiscard]] const match_jump_entry_t *
match_jump_find(const match_jump_t &jump, const view_radix_t &tree, std::span<const uint8_t> data);

/// Returns the entry of the longest of the shorter keys that data of eight bytes or more has, or
/// null. They have no rest.
[[nodiscard]] const match_jump_entry_t *match_jump_find_shorter(const match_jump_t &jump,
                                                                std::span<const uint8_t> data);

/// Tells whether data that has the key of an entry goes on with its rest.
[[nodiscard]] bool match_jump_goes_on(const match_jump_t &jump, const view_radix_t &tree,
                                      std::span<const uint8_t> data,
                                      const match_jump_entry_t &entry);
