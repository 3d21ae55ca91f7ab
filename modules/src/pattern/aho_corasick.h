/// Aho-Corasick: finds every pattern anywhere in the data with one table lookup per byte.
///
/// A trie of the patterns with failure links (A. V. Aho, M. J. Corasick, "Efficient string
/// matching: an aid to bibliographic search", 1975), serialized as a table of resolved
/// transitions: every failure link is folded in, so that the run time never follows one. A table
/// with failure links left in would be smaller, but costs the run time a walk per mismatch.
///
/// A build has one of two forms. The plain one takes patterns that match anywhere; the
/// offset-aware one also takes patterns that must stand at an offset, and stores with every item
/// where a match must end.
///
/// Memory is proportional to the trie: about 60 bytes per state and 12 per item. Time is linear
/// in the total length of the patterns and in the size of what is written.
///
/// Serialized, when at least one pattern was inserted (else nothing is written):
///
///   34  transitions: per state a row of 2 + n 16-bit words, n the bytes of the alphabet.
///       Word 0 is 0. Word 1 is the item word. Word 2 + i is the transition on byte i of the
///       alphabet: the number of the target times 2, plus 1 when a pattern ends there.
///   35  items: per state, in order of numbers, a mindata word if it has one, then the number
///       of items and the items, each an id, in the offset-aware form followed by the offset at
///       which a match must end (PATTERN_NO_OFFSET for anywhere). All are 4-byte words.
///   37  the alphabet, codes 0 and 1 reserved
///   36  `ac_nr_item_max` and `ac_item_length`, two words
///
/// The item word is 0xFFFF at a state where no pattern ends. In the plain form a single item
/// whose id, bit 31 aside, is below 16384 stands in the item word: 0x8000, 0x4000 for bit 31,
/// and the low 14 bits (oddity O152). Otherwise the item word is the index of the state's record in
/// the item table, in 4-byte words. State numbers and indices are cut to 16 bits without a check.
/// Oddity O153.
///
/// Calling order: init, register for every pattern, finalize, get_size, serialize, clean.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "pattern_alphabet.h"
#include "pattern_item.h"
#include "pattern_oe.h"
#include "pattern_preempt.h"
#include "pattern_types.h"
#include "tlv_sink.h"

/// Flags of a state.
enum ac_status_t : uint8_t {
    AC_STATUS_TERMINAL = 1, ///< a pattern ends here
    AC_STATUS_MINDATA = 2,  ///< a preempt offset pattern ends here: a mindata word is written
};

/// One state. Its number is its position in `ac_l_state`, which is the order of creation.
struct ac_state {
    list_pattern_item ac_l_item; ///< the patterns that end here, after finalize also by failure
    ps_oe ac_l_oe;               ///< edges of the trie
    uint32_t ac_failure = 0;     ///< the failure state; 0, the start state, stands for none
    uint32_t ac_mindata = 0;     ///< bytes, of the last offset pattern that ends here
    uint32_t ac_distance = 0;    ///< depth: length of the string that leads here
    uint8_t ac_status = 0;       ///< ac_status_t flags
};

struct ac_build {
    std::vector<ac_state> ac_l_state; ///< the start state first
    ps_oe_pool_t ac_oe;
    pattern_item_pool_t ac_item;
    ps_preempt ac_l_preempt; ///< kept aside until finalize
    ps_alphabet_t ac_alphabet;
    uint32_t ac_nr_pattern = 0;  ///< patterns inserted
    uint32_t ac_nr_item_max = 0; ///< most items of a state, preempts aside
    uint32_t ac_item_length = 0; ///< depth of the last state that has so many (oddity O151)
    uint8_t ac_ahoff_enable = 0; ///< nonzero for the offset-aware form
};
using ac_build_t = ac_build;

/// The longest pattern that may be inserted as a non-preempt, in bytes.
constexpr uint32_t AC_DEPTH_MAX = 1024;

/// Makes `build` an automaton of one state. Returns 0, or MODULE_ERR_NO_MEMORY when memory runs
/// out.
[[nodiscard]] int aho_corasick_init(ac_build &build, uint8_t ahoff, uint8_t alpha_config);

/// Inserts a pattern, or keeps it aside when it is a preempt. An empty pattern ends at the start
/// state. The item of an offset pattern of the offset-aware form has the offset of its end. Returns
/// 0, or MODULE_ERR_NO_MEMORY when memory runs out.
[[nodiscard]] int aho_corasick_register(ac_build &build, const pattern_info &info);

/// Links the failure states, gives every state the items of its failure chain (first come, first
/// kept for each id), then inserts the preempts and collects the alphabet. Preempts come last on
/// purpose: what they add has no failure links and takes no items. Oddity O150.
///
/// Returns 0; MODULE_ERR_OVERFLOW when a pattern other than a preempt is longer than AC_DEPTH_MAX;
/// MODULE_ERR_INVALID when the alphabet refuses a byte; MODULE_ERR_NO_MEMORY when memory runs out.
[[nodiscard]] int aho_corasick_finalize(ac_build &build);

/// Emits the finalized automaton, in the offset-aware form when `ahoff` is nonzero. Writing takes
/// a few bits per state; std::bad_alloc passes when they are not to be had.
void aho_corasick_emit(const ac_build &build, tlv_sink_t &sink, uint8_t ahoff);

/// Returns the size in bytes of the serialized automaton, a multiple of 4; 0 without patterns.
size_t aho_corasick_get_size(const ac_build &build, uint8_t ahoff);

/// Writes the finalized automaton into the zero-filled `buf`. Returns the position behind it, or
/// null when it does not fit. std::bad_alloc passes as it does from aho_corasick_emit.
[[nodiscard]] uint8_t *aho_corasick_serialize(const ac_build &build, std::span<uint8_t> buf,
                                              uint8_t ahoff);

/// Releases everything.
void aho_corasick_clean(ac_build &build);
