/// Radix tree: finds the patterns that the data begins with, or ends with.
///
/// An anchored trie in which runs of nodes with a single child are collapsed into compressed
/// edges (the idea of D. R. Morrison, "PATRICIA", 1968). The prefix form inserts patterns front
/// to back, the suffix form back to front; matching walks from the start state and follows an
/// edge or stops. A plain trie table would need a row for every byte of every pattern.
///
/// One number space serves two tables. A number is a row of the transition table (ordinary
/// nodes) or a word index into the compressed-edge table (first nodes of chains); a bitmap marks
/// the numbers of the second kind. The numbering of ordinary nodes leaves holes behind numbers
/// that a chain took. Oddity O160.
///
/// Memory is proportional to the trie: about 50 bytes per node and 12 per item. Time is linear
/// in the total length of the patterns and in the size of what is written.
///
/// Serialized, when at least one pattern was inserted (else nothing is written):
///
///   29  transitions: rows of n + 1 16-bit words, n the bytes of the alphabet. Word 0 is the item
///       word, word c the number of the target on code c, or 0. Rows that no node has are zero.
///       Empty when `rt_last_state_id` is 0. Oddity O162.
///   27  compressed edges, by word index: 2-byte number of the end node, 1-byte chain length k
///       (its low 8 bits: oddity O161), the k bytes of the edges behind the first node of the
///       chain, as inserted, padded to a whole word. Word 0 is 0.
///   30  items: per node, in order of creation, a mindata word if a preempt ends there, then the
///       number of items and their ids. All are 4-byte words.
///   31  the bitmap of exact item ids (their low 28 bits)
///   28  the bitmap of numbers that are compressed edges
///   33  the alphabet, code 0 reserved; bytes that occur only inside chains are not in it
///   32  `rt_nr_item_max`, one word
///
/// The item word is 0xFFFF at a node where no pattern ends, else the index of the node's record
/// in the item table, in 4-byte words. Numbers and indices are cut to 16 bits without a check.
/// Oddity O153.
///
/// Calling order: init, register for every pattern, finalize, get_size, serialize, clean.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "bitmap_build.h"
#include "pattern_alphabet.h"
#include "pattern_item.h"
#include "pattern_oe.h"
#include "pattern_preempt.h"
#include "pattern_types.h"
#include "tlv_sink.h"

/// Flags of a node.
enum rt_status_t : uint8_t {
    RT_STATUS_TERMINAL = 1,    ///< a pattern ends here
    RT_STATUS_MINDATA = 2,     ///< a preempt pattern ends here: a mindata word is written
    RT_STATUS_LEAF = 4,        ///< terminal without edges; not serialized
    RT_STATUS_CHAIN_FIRST = 8, ///< first node of a chain; RT_STATUS_CHAIN is set as well
    RT_STATUS_CHAIN = 16,      ///< inside a chain
};

/// One node. `rt_l_state` holds them in the order of creation.
struct rt_state {
    list_pattern_item rt_l_item; ///< the patterns that end here
    ps_oe rt_l_oe;
    uint32_t rt_mindata = 0; ///< bytes, of the last pattern that ends here
    uint32_t rt_id = 0;      ///< from finalize: row or word index; 0 inside a chain
    uint8_t rt_status = 0;   ///< rt_status_t flags
};

/// One compressed edge.
struct rt_ce {
    uint32_t ce_first;    ///< first node of the chain
    uint32_t ce_endstate; ///< the node behind the chain
    uint32_t ce_len;      ///< nodes of the chain, at least 2
    uint8_t ce_char;      ///< the byte that leads to the first node; it stands in the parent's row
};

struct rt_build {
    std::vector<rt_state> rt_l_state; ///< the start state first
    ps_oe_pool_t rt_oe;
    pattern_item_pool_t rt_item;
    std::vector<rt_ce> rt_l_c_edges; ///< from finalize: by first node, in order of creation
    ps_preempt rt_l_preempt;         ///< kept aside until finalize
    ps_alphabet_t rt_alphabet;
    bitmap_build_t rt_exact_bitmap;   ///< item ids, low 28 bits
    bitmap_build_t rt_c_edges_bitmap; ///< numbers of chains
    uint32_t rt_c_edges_length = 0;   ///< size of the compressed-edge table in 4-byte words
    uint32_t rt_last_state_id = 0;    ///< the last row of the transition table
    uint32_t rt_nr_pattern = 0;       ///< patterns inserted
    uint32_t rt_nr_item_max = 0;      ///< most items of a node
};
using rt_build_t = rt_build;

/// The part of an item id that the exact bitmap knows.
constexpr uint32_t RT_EXACT_ID_MASK = 0x0FFFFFFF;

/// Makes `build` a tree of one node. Returns 0, or MODULE_ERR_NO_MEMORY when memory runs out.
[[nodiscard]] int radix_tree_init(rt_build &build, uint8_t alpha_config);

/// Inserts a pattern, back to front when it is a PATTERN_SUFFIX, or keeps it aside when it is a
/// preempt. Returns 0, or MODULE_ERR_NO_MEMORY when memory runs out.
[[nodiscard]] int radix_tree_register(rt_build &build, const pattern_info &info);

/// The same for a pattern that must match the whole data. The id of a preempt does not enter the
/// exact bitmap (oddity O159). Returns 0, or MODULE_ERR_NO_MEMORY when memory runs out.
///
/// A tree that was never initialised takes patterns too; it grows its start state and bitmap.
[[nodiscard]] int radix_tree_register_exact(rt_build &build, const pattern_info &info);

/// Inserts the preempts, finds the chains, numbers chains and nodes, and collects the alphabet.
/// Returns 0; MODULE_ERR_INVALID when the alphabet refuses a byte; MODULE_ERR_NO_MEMORY when memory
/// runs out.
[[nodiscard]] int radix_tree_finalize(rt_build &build);

/// Emits the finalized tree.
void radix_tree_emit(const rt_build &build, tlv_sink_t &sink);

/// Returns the size in bytes of the serialized tree, a multiple of 4; 0 without patterns.
size_t radix_tree_get_size(const rt_build &build);

/// Writes the finalized tree into the zero-filled `buf`. Returns the position behind it, or null
/// when it does not fit.
[[nodiscard]] uint8_t *radix_tree_serialize(const rt_build &build, std::span<uint8_t> buf);

/// Releases everything.
void radix_tree_clean(rt_build &build);
