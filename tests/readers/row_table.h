/// What the serialized engines have in common: an alphabet, rows of 16-bit words, item records.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "blob_reader.h"

/// A serialized alphabet.
struct alphabet_view_t {
    uint32_t size = 0; ///< codes, reserved ones included
    blob_span_t code;  ///< 256 codes by byte, each below `size`
};

/// Reads the alphabet record of `type` off the front of `rest`.
[[nodiscard]] bool alphabet_read(blob_span_t &rest, uint32_t type, uint32_t nr_reserved,
                                 alphabet_view_t &alphabet, std::string &error);

/// A transition table: rows of `width` 16-bit words.
struct row_table_t {
    blob_span_t bytes;
    uint32_t width = 0;
    uint32_t nr_row = 0;
};

/// Lays rows of `width` words over `bytes`, which may end with two bytes of padding.
[[nodiscard]] bool row_table_open(blob_span_t bytes, uint32_t width, row_table_t &table,
                                  std::string &error);

/// Returns a word of a row; both must lie within the table.
uint16_t row_table_word(const row_table_t &table, uint32_t row, uint32_t column);

/// A pattern that ends at a state.
struct pattern_end_t {
    uint32_t item_id = 0;
    uint32_t offset = 0xFFFFFFFFU; ///< where a match must end, all ones for anywhere
    uint32_t mindata = 0x10000;    ///< bytes to be seen before it counts, 0x10000 for no minimum
};

/// How item records are laid out.
enum item_layout_t {
    ITEM_LAYOUT_IDS,         ///< a mindata word holds the mindata in its low bits
    ITEM_LAYOUT_OFFSETS,     ///< the same, and an offset follows each id
    ITEM_LAYOUT_WIDE_MINDATA ///< the mindata follows the mindata word
};

/// Reads the record at `index` words into the item table `items` and appends its items to `ends`.
[[nodiscard]] bool item_record_read(blob_span_t items, uint32_t index, item_layout_t layout,
                                    std::vector<pattern_end_t> &ends, std::string &error);

/// One pattern found in data.
struct pattern_hit_t {
    uint32_t item_id = 0;
    uint32_t at = 0; ///< bytes of data read so far, from the end that the engine starts at
    uint32_t mindata = 0x10000;

    bool operator==(const pattern_hit_t &) const = default;
};

/// Orders hits by position and id and drops repeated ones.
void pattern_hits_normalize(std::vector<pattern_hit_t> &hits);
