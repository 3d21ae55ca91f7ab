/// Reads a whole serialized pattern build and matches data with all its engines. See
/// pattern_build.h for the format.
#pragma once

#include "aho_corasick_reader.h"
#include "dot_prefix_reader.h"
#include "radix_tree_reader.h"

/// A view of a pattern build; the blob must outlive it. Only the engines whose bit is set in
/// `algo` are open.
struct pattern_reader_t {
    uint32_t algo = 0; ///< pattern_algo bits
    aho_corasick_reader_t aho_corasick;
    aho_corasick_reader_t ahoff_corasick;
    radix_tree_reader_t prefix_tree;
    radix_tree_reader_t suffix_tree;
    dot_prefix_reader_t dot_prefix;
};

/// Opens a pattern blob, which must end with its last record.
[[nodiscard]] bool pattern_reader_open(blob_span_t blob, pattern_reader_t &reader,
                                       std::string &error);

/// Matches `data` with every engine, in the order of the blob, and appends all hits. Hits of the
/// suffix tree count positions from the end of the data.
[[nodiscard]] bool pattern_reader_match(const pattern_reader_t &reader, blob_span_t data,
                                        std::vector<pattern_hit_t> &hits, std::string &error);
