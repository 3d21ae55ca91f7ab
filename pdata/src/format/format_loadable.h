/// Values and marks inside the sections of a loadable pdb, for their writers and readers.
///
/// The records that hold them are in loadable_records.def and engine_records.def. All numbers
/// reach the serialized form and never change.
#pragma once

#include <cstdint>

#include "format_limits.h"
#include "format_values.h"

/// Engines of a pattern build, as a bit set, and the combinations that work together.
enum pattern_algo : uint32_t {
    PATTERN_ALGO_AC = 2,     ///< Aho-Corasick
    PATTERN_ALGO_PT = 4,     ///< prefix radix tree
    PATTERN_ALGO_ST = 8,     ///< suffix radix tree
    PATTERN_ALGO_AO = 16,    ///< offset-aware Aho-Corasick
    PATTERN_ALGO_DP = 32,    ///< dot-prefix matcher
    PATTERN_ALGO_ICASE = 64, ///< only in the serialized meta record: case does not matter

    PATTERN_ALGO_CLASSIC = PATTERN_ALGO_AC | PATTERN_ALGO_PT | PATTERN_ALGO_ST,
    PATTERN_ALGO_OFFSET_V1 = PATTERN_ALGO_PT | PATTERN_ALGO_AO,
    PATTERN_ALGO_OFFSET_V2 = PATTERN_ALGO_AC | PATTERN_ALGO_DP,
    PATTERN_ALGO_OFFSET_V3 = PATTERN_ALGO_AO | PATTERN_ALGO_DP,
};
using pattern_algo_t = pattern_algo;
using algo_combination_t = pattern_algo;

/// First private id, and the bits of one that are its index into the second level. Ids below the
/// first private one are public: items of rules.
constexpr uint32_t MATCHER_PRIVATE_ID = 0x80000000;
constexpr uint32_t MATCHER_PRIVATE_INDEX = 0x0FFFFFFF;

/// Reserved alphabet codes of each engine; they never denote a byte.
constexpr uint8_t AHO_CORASICK_NR_META = 2;
constexpr uint8_t RADIX_NR_META = 1;
constexpr uint8_t DOT_PREFIX_NR_META = 4;

/// The word of a row that holds its item word.
constexpr uint32_t AHO_CORASICK_ITEM_COLUMN = 1;
constexpr uint32_t RADIX_ITEM_COLUMN = 0;
constexpr uint32_t DOT_PREFIX_ITEM_COLUMN = 2;

/// The words of a dot-prefix row that lead to its propagation and along its wildcard edge.
constexpr uint32_t DOT_PREFIX_PROPAGATION_COLUMN = 1;
constexpr uint32_t DOT_PREFIX_WILDCARD_COLUMN = 3;

/// The propagation of a dot-prefix node that has none.
constexpr uint16_t DOT_PREFIX_NO_PROPAGATION = 0xFFFF;

/// The item word of a state at which no pattern ends.
constexpr uint16_t PATTERN_NO_ITEM_WORD = 0xFFFF;

/// The top bits that set a mindata word apart from an item count.
constexpr uint32_t PATTERN_MINDATA_MARK = 0xFFFE0000U;

/// The `mindata` of a pattern to which no minimum applies.
constexpr uint32_t PATTERN_MINDATA_NONE = 0x10000;

/// The offset of an item that may match anywhere.
constexpr uint32_t PATTERN_NO_OFFSET = 0xFFFFFFFFU;

/// An Aho-Corasick item word that holds the item itself: the mark, bit 31 of the id, and the ids
/// that fit.
constexpr uint16_t AHO_CORASICK_INLINE = 0x8000;
constexpr uint16_t AHO_CORASICK_INLINE_PRIVATE = 0x4000;
constexpr uint32_t AHO_CORASICK_INLINE_IDS = 0x4000;

/// States that a transition can name, which holds a mark beside the number, and item words of
/// records that the item word of a state can, where records may stand inline. The private id whose
/// item word, written inline, says that there is no item.
constexpr uint32_t AHO_CORASICK_STATES = 0x8000;
constexpr uint32_t AHO_CORASICK_ITEM_WORDS = AHO_CORASICK_INLINE;
constexpr uint32_t AHO_CORASICK_LOST_ID = AHO_CORASICK_INLINE_IDS - 1;

/// Codes of an alphabet map, and flags of INTERVAL_TLV_MSB: one for each byte.
constexpr uint32_t ALPHABET_MAP_COUNT = 256;
constexpr uint32_t INTERVAL_MSB_COUNT = 256;

/// Cells of a rule in the protocol map, and one that is not used.
constexpr uint32_t PDB_PROTOCOL_MAP_PATH = PROTOCOL_PATH_DIM;
constexpr uint32_t PDB_PROTOCOL_MAP_BOTTOMS = PROTOCOL_SUB_RULE_DIM;
constexpr uint32_t PDB_PROTOCOL_MAP_EMPTY = 0xFFFFFFFF;

/// A slot of the rule engine: four words. The first is the rule's id: its sequence number, and the
/// flags above.
constexpr uint32_t RULE_SLOT_WORDS = 4;
constexpr uint32_t RULE_SEQUENCE_MASK = 0x0FFFFFFF;

/// Flags in bits 31 to 28 of a rule id: the rule's parameters, 0 to 7, and the fast-pass bit.
constexpr uint32_t RULE_FLAG_SHIFT = 28;
constexpr uint32_t RULE_FLAG_FASTPASS = 8;

/// Set in the full bitset of a rule of several items one of which is a referer.
constexpr uint32_t RULE_BITSET_REFERER = 0x80000000;

/// Where the position of an item's bit begins in the fourth word of its slot.
constexpr uint32_t RULE_BITSET_POS_SHIFT = 16;

/// Words of a second-level entry of a stream matcher.
constexpr uint32_t MATCHER_MAP_WORDS = 4;
