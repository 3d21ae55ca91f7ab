/// One way to walk the engines: the steps that lead from a state, and its items.
#pragma once

#include <bitset>
#include <span>
#include <vector>

#include "graph.h"

using graph_bytes_t = std::bitset<256>;

/// A step from a state.
struct graph_step_t {
    uint32_t to = 0;
    graph_edge_kind_t kind = GRAPH_STEP; ///< GRAPH_FALLBACK is told apart later
    graph_bytes_t bytes;                 ///< one of these comes first
    std::span<const uint8_t> chain;      ///< and these follow
};

/// A row of the table of engines.
struct graph_engine_row_t {
    graph_engine_t engine;
    const char *name;
    bool backward; ///< walked from the last byte of the data to the first
    uint32_t (*nr_row)(const view_pattern_t &pattern);
    view_item_record_t (*items)(const view_pattern_t &pattern, uint32_t state);
    void (*steps)(const view_pattern_t &pattern, uint32_t state, std::vector<graph_step_t> &steps);
};

/// Returns what a step stands for: its bytes as people write them, in the order of the data, or its
/// kind in words.
std::string graph_step_label(const graph_engine_row_t &row, const graph_step_t &step);

/// Every engine, at the index of its graph_engine_t.
std::span<const graph_engine_row_t> graph_engines();
