/// Reads a serialized radix tree and walks it along data. See radix_tree.h for the format.
#pragma once

#include "row_table.h"

/// A view of a tree; the blob must outlive it.
struct radix_tree_reader_t {
    row_table_t rows; ///< none in a tree without patterns, or with an empty one alone
    blob_span_t c_edges;
    blob_span_t items;
    blob_span_t exact_bitmap;   ///< whole value: the last index, then the bits
    blob_span_t c_edges_bitmap; ///< the same
    alphabet_view_t alphabet;
    uint32_t nr_item_max = 0;
    bool icase = false; ///< chains hold folded bytes that the alphabet may not know
};

/// Opens the value of a radix record. Whether case is folded does not stand in the tree: it comes
/// from the engine bits of the pattern blob.
[[nodiscard]] bool radix_tree_reader_open(blob_span_t blob, bool icase, radix_tree_reader_t &reader,
                                          std::string &error);

/// Appends the patterns that end at `row` to `ends`.
[[nodiscard]] bool radix_tree_reader_items(const radix_tree_reader_t &reader, uint32_t row,
                                           std::vector<pattern_end_t> &ends, std::string &error);

/// Tells whether an item must match the whole data.
bool radix_tree_reader_is_exact(const radix_tree_reader_t &reader, uint32_t item_id);

/// Walks along `data`, from its end backwards when `backwards` is set, and appends a hit for each
/// pattern passed; exact ones only at the very end of the walk. Positions count from the side
/// where the walk starts.
[[nodiscard]] bool radix_tree_reader_match(const radix_tree_reader_t &reader, blob_span_t data,
                                           bool backwards, std::vector<pattern_hit_t> &hits,
                                           std::string &error);
