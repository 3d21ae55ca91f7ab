/// Dot-prefix: finds patterns at the beginning of the data or at a fixed offset from it.
///
/// An offset pattern at offset k is a prefix pattern that begins with k positions that match any
/// byte, so all of them share one chain of wildcard edges from the start node. Where a specific
/// path and the wildcard path both go on, a matcher must follow both: every node of the one is
/// linked to the node of the other from which matching also continues (its propagation), and the
/// links are reduced until a node needs one. Compiling a subset construction instead would
/// multiply the nodes by the offsets in use.
///
/// Case is never folded and the alphabet never sorted, whatever the rest of a pattern build does.
/// Oddity O165.
///
/// Memory is proportional to the trie: about 65 bytes per node and 12 per item and propagation.
/// Time is linear in the nodes times the pairs of offsets whose patterns agree there: in the input
/// where offsets are few, as PATTERN_ALGO_OFFSET_V3 leaves eleven at most, and not where every
/// offset has long patterns that are nearly the same. No description asks for that: the attributes
/// with offsets use the offset-aware automaton, which is linear in all of them.
///
/// Serialized, even without patterns (oddity O166):
///
///   41  the alphabet, codes 0 to 3 reserved
///   39  transitions: per node a row of n + 4 16-bit words, n the bytes of the alphabet.
///       Word 0 is 0. Word 1 is the node of the first propagation, or 0xFFFF. Word 2 is the item
///       word. Word 3 is the target of the wildcard edge, word 4 + i that of the edge with byte i
///       of the alphabet; 0 for none.
///   40  items: per node, for a preempt the words 0xFFFE0000 and `mindata`, then the number of
///       items and their ids, if there are any. All are 4-byte words.
///
/// The item word is 0xFFFF at a node without items, else the index of the node's record in the
/// item table, in 4-byte words. Node numbers and indices are cut to 16 bits without a check
/// (oddity O153). Of the propagations that remain at a node only the first is written
/// (oddity O164).
///
/// Calling order: init, register for every pattern, finalize, get_size, serialize, clean.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "pattern_alphabet.h"
#include "pattern_item.h"
#include "pattern_preempt.h"
#include "pattern_types.h"
#include "tlv_sink.h"

/// The symbol of an edge that any byte follows.
constexpr uint16_t DP_WILDCARD = 0xFFFF;

/// One edge.
struct dp_trans {
    uint32_t node; ///< number of the target
    uint32_t next; ///< position of the next edge of the list, or PATTERN_NONE
    uint16_t c;    ///< a byte, or DP_WILDCARD
};

/// One propagation.
struct dp_propagation {
    uint32_t node; ///< the node from which matching also continues
    uint32_t next; ///< position of the next propagation of the list, or PATTERN_NONE
};

/// One node. Its number is its position in `dp_l_node`, which is the order of creation.
struct dp_node {
    uint32_t trans = PATTERN_NONE; ///< newest edge; the list runs from newest to oldest
    uint32_t nb_trans = 0;
    uint32_t propagation = PATTERN_NONE; ///< newest propagation, after finalize that written
    uint32_t nb_propagations = 0;
    uint32_t failure = PATTERN_NONE; ///< the wildcard node of the same depth, while finalizing
    uint32_t priority = 0;           ///< wildcard edges taken in preference on the way here
    uint32_t depth = 0;
    uint32_t mindata = 0; ///< bytes, of the last preempt that ends here
    list_pattern_item l_item;
    uint8_t is_preempt = 0;
};

struct dp_build {
    std::vector<dp_node> dp_l_node;    ///< the start node first
    std::vector<uint32_t> dp_wildcard; ///< by offset: the node behind so many wildcards
    std::vector<dp_trans> dp_trans_pool;
    std::vector<dp_propagation> dp_propagation_pool;
    pattern_item_pool_t dp_item;
    ps_preempt preempt; ///< kept aside until finalize
    ps_alphabet_t alphabet;
    uint32_t wildcard_depth = 0; ///< largest offset inserted
    uint32_t node_depth = 0;     ///< one more than the depth of the deepest node
};
using dp_build_t = dp_build;

/// Makes `build` a matcher of one node. Returns 0, or MODULE_ERR_NO_MEMORY when memory runs out.
[[nodiscard]] int dot_prefix_init(dp_build &build);

/// Inserts a pattern behind `offset` wildcards, or keeps it aside when it is a preempt. Returns 0;
/// MODULE_ERR_INVALID for an empty pattern, unless it is a preempt; MODULE_ERR_NO_MEMORY when
/// memory runs out.
[[nodiscard]] int dot_prefix_register(dp_build &build, const pattern_info &info);

/// Inserts the preempts, sets the propagations, and collects the alphabet. Returns 0;
/// MODULE_ERR_INVALID when a preempt is empty or the alphabet refuses a byte; MODULE_ERR_RANGE when
/// a depth within the wildcard chain has no wildcard node, which registration never leaves behind;
/// MODULE_ERR_NO_MEMORY when memory runs out.
[[nodiscard]] int dot_prefix_finalize(dp_build &build);

/// Emits the finalized matcher.
void dot_prefix_emit(const dp_build &build, tlv_sink_t &sink);

/// Returns the size in bytes of the serialized matcher, a multiple of 4.
size_t dot_prefix_get_size(const dp_build &build);

/// Writes the finalized matcher into the zero-filled `buf`. Returns the position behind it, or null
/// when it does not fit.
[[nodiscard]] uint8_t *dot_prefix_serialize(const dp_build &build, std::span<uint8_t> buf);

/// Releases everything.
void dot_prefix_clean(dp_build &build);
