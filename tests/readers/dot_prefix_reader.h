/// Reads a serialized dot-prefix matcher and runs it over data. See dot_prefix.h for the format.
#pragma once

#include "row_table.h"

/// A view of a matcher; the blob must outlive it.
struct dot_prefix_reader_t {
    row_table_t rows;
    blob_span_t items;
    alphabet_view_t alphabet;
};

/// Opens the value of a dot-prefix record.
[[nodiscard]] bool dot_prefix_reader_open(blob_span_t blob, dot_prefix_reader_t &reader,
                                          std::string &error);

/// Appends the patterns that end at `node`, a row, to `ends`.
[[nodiscard]] bool dot_prefix_reader_items(const dot_prefix_reader_t &reader, uint32_t node,
                                           std::vector<pattern_end_t> &ends, std::string &error);

/// Runs the matcher over `data` from the start node. At each byte every current node goes on
/// along the edge for the byte, or else along its wildcard edge; a byte whose code is a reserved
/// one has no edge. The propagation of a node that is reached, and that node's own, are current
/// as well. Appends a hit for each item of each current node, once per position.
[[nodiscard]] bool dot_prefix_reader_match(const dot_prefix_reader_t &reader, blob_span_t data,
                                           std::vector<pattern_hit_t> &hits, std::string &error);
