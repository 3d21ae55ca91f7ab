/// Record types and marks of the serialized pattern engines, for their writers and readers.
///
/// Every record is a blob: a 4-byte type, a 4-byte length in bytes rounded up to a multiple of
/// 4, and the value. All integers are big-endian.
#pragma once

#include <cstdint>

/// Records of a pattern blob, in the order in which they are written.
enum pattern_tlv_t : uint32_t {
    PATTERN_TLV_META = 18,           ///< engine bits, one word
    PATTERN_TLV_AHO_CORASICK = 19,   ///< an Aho-Corasick blob without offsets
    PATTERN_TLV_AHOFF_CORASICK = 20, ///< an Aho-Corasick blob with offsets
    PATTERN_TLV_PREFIX_TREE = 21,    ///< a radix blob
    PATTERN_TLV_SUFFIX_TREE = 22,    ///< a radix blob
    PATTERN_TLV_DOT_PREFIX = 23,     ///< a dot-prefix blob
};

/// Records of an alphabet.
enum alphabet_tlv_t : uint32_t {
    ALPHABET_TLV_SIZE = 25, ///< number of codes, reserved ones included
    ALPHABET_TLV_MAP = 26,  ///< 256 codes by byte
};

/// Records of a radix tree. They are written in the order 29, 27, 30, 31, 28, 33, 32.
enum radix_tlv_t : uint32_t {
    RADIX_TLV_C_EDGES = 27,        ///< compressed edges
    RADIX_TLV_C_EDGES_BITMAP = 28, ///< numbers that name a compressed edge
    RADIX_TLV_TRANSITIONS = 29,
    RADIX_TLV_ITEMS = 30,
    RADIX_TLV_EXACT_BITMAP = 31, ///< item ids that must match the whole data
    RADIX_TLV_META = 32,
    RADIX_TLV_ALPHABET = 33,
};

/// Records of an Aho-Corasick automaton. They are written in the order 34, 35, 37, 36.
enum aho_corasick_tlv_t : uint32_t {
    AHO_CORASICK_TLV_TRANSITIONS = 34,
    AHO_CORASICK_TLV_ITEMS = 35,
    AHO_CORASICK_TLV_META = 36,
    AHO_CORASICK_TLV_ALPHABET = 37,
};

/// Records of a dot-prefix matcher. They are written in the order 41, 39, 40.
enum dot_prefix_tlv_t : uint32_t {
    DOT_PREFIX_TLV_TRANSITIONS = 39,
    DOT_PREFIX_TLV_ITEMS = 40,
    DOT_PREFIX_TLV_ALPHABET = 41,
};

/// Reserved alphabet codes of each engine; they never denote a byte.
constexpr uint8_t AHO_CORASICK_NR_META = 2;
constexpr uint8_t RADIX_NR_META = 1;
constexpr uint8_t DOT_PREFIX_NR_META = 4;

/// The item word of a state at which no pattern ends.
constexpr uint16_t PATTERN_NO_ITEM_WORD = 0xFFFF;

/// The top bits that set a mindata word apart from an item count.
constexpr uint32_t PATTERN_MINDATA_MARK = 0xFFFE0000U;

/// The offset of an item that may match anywhere.
constexpr uint32_t PATTERN_NO_OFFSET = 0xFFFFFFFFU;

/// An Aho-Corasick item word that holds the item itself: the mark, bit 31 of the id, and the ids
/// that fit.
constexpr uint16_t AHO_CORASICK_INLINE = 0x8000;
constexpr uint16_t AHO_CORASICK_INLINE_PRIVATE = 0x4000;
constexpr uint32_t AHO_CORASICK_INLINE_IDS = 0x4000;
