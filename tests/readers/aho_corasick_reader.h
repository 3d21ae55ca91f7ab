/// Reads a serialized Aho-Corasick automaton and runs it over data. See aho_corasick.h for the
/// format.
#pragma once

#include "row_table.h"

/// A view of an automaton; the blob must outlive it.
struct aho_corasick_reader_t {
    row_table_t rows; ///< none in an automaton without patterns
    blob_span_t items;
    alphabet_view_t alphabet;
    uint32_t nr_item_max = 0;
    uint32_t item_length = 0;
    bool ahoff = false;
};

/// Opens the value of an Aho-Corasick record, in the offset-aware form when `ahoff` is set.
[[nodiscard]] bool aho_corasick_reader_open(blob_span_t blob, bool ahoff,
                                            aho_corasick_reader_t &reader, std::string &error);

/// Appends the patterns that end at `state`, a row, to `ends`.
[[nodiscard]] bool aho_corasick_reader_items(const aho_corasick_reader_t &reader, uint32_t state,
                                             std::vector<pattern_end_t> &ends, std::string &error);

/// Runs the automaton over `data`. Appends a hit for each pattern at each of its ends, those of
/// the start state at 0; an item with an offset counts only there.
[[nodiscard]] bool aho_corasick_reader_match(const aho_corasick_reader_t &reader, blob_span_t data,
                                             std::vector<pattern_hit_t> &hits, std::string &error);
