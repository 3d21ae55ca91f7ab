/// The numbers of the formats, as the readers know them.
///
/// A judge shares nothing with what it judges: these are written down a second time on purpose,
/// from the format paper, and are no part of what the compiler or the views are made from.
#pragma once

#include <cstdint>

namespace file_format
{

// Root records.
constexpr uint32_t TLV_LEN_FIELD_MAX = 0xFFFFFF;
constexpr uint32_t TLV_TYPE_ROOT_PROTODESCS = 1;
constexpr uint32_t TLV_TYPE_ROOT_STRING = 3;
constexpr uint32_t TLV_TYPE_ROOT_MATCHERS = 4;
constexpr uint32_t TLV_TYPE_ROOT_RULES = 5;
constexpr uint32_t TLV_TYPE_ROOT_VERSION = 6;
constexpr uint32_t TLV_TYPE_ROOT_DEFAULT_LOADED = 7;
constexpr uint32_t TLV_TYPE_ROOT_TAGS = 9;
constexpr uint32_t TLV_TYPE_ROOT_MATCHER_ALIAS = 10;
constexpr uint32_t TLV_TYPE_ROOT_CFG = 11;
constexpr uint32_t TLV_TYPE_ROOT_LOAD = 12;
constexpr uint32_t TLV_TYPE_LOAD_LOADABLE = 0x02000002;

// The sections of a loadable pdb.
constexpr uint32_t TLV_TYPE_PDB_MATCHER_LIST = 1;
constexpr uint32_t TLV_TYPE_PDB_MATCHER_STRING = 2;
constexpr uint32_t TLV_TYPE_PDB_MATCHER = 1;
constexpr uint32_t TLV_TYPE_PDB_MATCHER_META = 1;
constexpr uint32_t TLV_TYPE_PDB_MATCHER_DATA = 2;
constexpr uint32_t TLV_TYPE_PDB_RULE_META = 1;
constexpr uint32_t TLV_TYPE_PDB_RULE_PROTOCOL_MAP = 2;
constexpr uint32_t TLV_TYPE_PDB_RULE_ENGINE = 3;
constexpr uint32_t TLV_TYPE_PDB_RULE_STRING = 4;
constexpr uint32_t TLV_TYPE_PDB_RULE_TAG_MAP = 5;
constexpr uint32_t PDB_PROTOCOL_MAP_EMPTY = 0xFFFFFFFF;
constexpr uint32_t TLV_TYPE_RULE_TABLE = 1;
constexpr uint32_t TLV_TYPE_MATCHER_META = 1;
constexpr uint32_t TLV_TYPE_MATCHER_NUMBER = 2;
constexpr uint32_t TLV_TYPE_MATCHER_AC = 3;
constexpr uint32_t TLV_TYPE_MATCHER_L2 = 4;
constexpr uint32_t TLV_TYPE_MATCHER_STRING = 5;

// Rules and the items of matchers.
constexpr uint32_t RULE_MAX_ITEM = 16;
constexpr uint32_t RULE_FLAG_SHIFT = 28;
constexpr uint32_t RULE_BITSET_REFERER = 0x80000000;
constexpr uint32_t MATCHER_PRIVATE_ID = 0x80000000;
constexpr uint32_t MATCHER_PRIVATE_INDEX = 0x0FFFFFFF;
constexpr uint32_t MATCHER_MAP_REGULAR = 0;
constexpr uint32_t MATCHER_MAP_CATCH_ALL = 2;
constexpr uint32_t MATCHER_MAP_PREFIX = 4;
constexpr uint32_t MATCHER_MAP_SUFFIX = 8;
constexpr uint32_t MATCHER_MAP_EXACT = 12;

// Kinds of matcher.
constexpr uint32_t MATCHER_TYPE_UNKNOWN = 0;
constexpr uint32_t MATCHER_TYPE_STREAM = 1;
constexpr uint32_t MATCHER_TYPE_NUMBER_8 = 3;
constexpr uint32_t MATCHER_TYPE_NUMBER_16 = 4;
constexpr uint32_t MATCHER_TYPE_NUMBER_32 = 5;
constexpr uint32_t MATCHER_TYPE_NUMBER_64 = 6;
constexpr uint32_t MATCHER_TYPE_IP_4 = 7;
constexpr uint32_t MATCHER_TYPE_IP_6 = 8;

// Number blobs.
constexpr uint32_t NUMBER_TLV_TYPE = 15;
constexpr uint32_t NUMBER_TLV_MAPPER = 16;
constexpr uint32_t NUMBER_TLV_INTERVAL = 17;
constexpr uint32_t MAPPER_TLV_ENDPOINTS = 13;
constexpr uint32_t MAPPER_TLV_ITEMS = 14;
constexpr uint32_t INTERVAL_TLV_META = 42;
constexpr uint32_t INTERVAL_TLV_MSB = 43;
constexpr uint32_t INTERVAL_TLV_ENDPOINTS = 44;
constexpr uint32_t INTERVAL_TLV_OFFSETS = 45;
constexpr uint32_t INTERVAL_TLV_ITEMS = 46;
constexpr uint32_t INTERVAL_MSB_COUNT = 256;

// Address trees.
constexpr uint32_t IPBT_TLV_NODES = 74;
constexpr uint32_t IPBT_TLV_DATA = 75;
constexpr uint32_t IPBT_NODE_WORDS = 3;

// Pattern blobs.
constexpr uint32_t PATTERN_TLV_META = 18;
constexpr uint32_t PATTERN_TLV_AHO_CORASICK = 19;
constexpr uint32_t PATTERN_TLV_AHOFF_CORASICK = 20;
constexpr uint32_t PATTERN_TLV_PREFIX_TREE = 21;
constexpr uint32_t PATTERN_TLV_SUFFIX_TREE = 22;
constexpr uint32_t PATTERN_TLV_DOT_PREFIX = 23;
constexpr uint16_t PATTERN_NO_ITEM_WORD = 0xFFFF;
constexpr uint32_t PATTERN_MINDATA_MARK = 0xFFFE0000U;
constexpr uint32_t PATTERN_NO_OFFSET = 0xFFFFFFFFU;
constexpr uint32_t PATTERN_MINDATA_NONE = 0x10000;
constexpr uint32_t PATTERN_ALGO_AC = 2;
constexpr uint32_t PATTERN_ALGO_PT = 4;
constexpr uint32_t PATTERN_ALGO_ST = 8;
constexpr uint32_t PATTERN_ALGO_AO = 16;
constexpr uint32_t PATTERN_ALGO_DP = 32;
constexpr uint32_t PATTERN_ALGO_ICASE = 64;
constexpr uint32_t PATTERN_ALGO_CLASSIC = PATTERN_ALGO_AC | PATTERN_ALGO_PT | PATTERN_ALGO_ST;
constexpr uint32_t PATTERN_ALGO_OFFSET_V1 = PATTERN_ALGO_PT | PATTERN_ALGO_AO;
constexpr uint32_t PATTERN_ALGO_OFFSET_V2 = PATTERN_ALGO_AC | PATTERN_ALGO_DP;
constexpr uint32_t PATTERN_ALGO_OFFSET_V3 = PATTERN_ALGO_AO | PATTERN_ALGO_DP;

// Alphabets.
constexpr uint32_t ALPHABET_TLV_SIZE = 25;
constexpr uint32_t ALPHABET_TLV_MAP = 26;

// Automata.
constexpr uint32_t AHO_CORASICK_TLV_TRANSITIONS = 34;
constexpr uint32_t AHO_CORASICK_TLV_ITEMS = 35;
constexpr uint32_t AHO_CORASICK_TLV_META = 36;
constexpr uint32_t AHO_CORASICK_TLV_ALPHABET = 37;
constexpr uint8_t AHO_CORASICK_NR_META = 2;
constexpr uint16_t AHO_CORASICK_INLINE = 0x8000;
constexpr uint16_t AHO_CORASICK_INLINE_PRIVATE = 0x4000;
constexpr uint32_t AHO_CORASICK_INLINE_IDS = 0x4000;

// Radix trees.
constexpr uint32_t RADIX_TLV_C_EDGES = 27;
constexpr uint32_t RADIX_TLV_C_EDGES_BITMAP = 28;
constexpr uint32_t RADIX_TLV_TRANSITIONS = 29;
constexpr uint32_t RADIX_TLV_ITEMS = 30;
constexpr uint32_t RADIX_TLV_EXACT_BITMAP = 31;
constexpr uint32_t RADIX_TLV_META = 32;
constexpr uint32_t RADIX_TLV_ALPHABET = 33;
constexpr uint8_t RADIX_NR_META = 1;

// Dot prefixes.
constexpr uint32_t DOT_PREFIX_TLV_TRANSITIONS = 39;
constexpr uint32_t DOT_PREFIX_TLV_ITEMS = 40;
constexpr uint32_t DOT_PREFIX_TLV_ALPHABET = 41;
constexpr uint8_t DOT_PREFIX_NR_META = 4;

} // namespace file_format
