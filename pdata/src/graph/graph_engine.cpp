#include "graph_engine.h"

#include <unordered_map>

namespace
{

/// The steps from a state, one for all bytes that lead to one place.
struct grouped_steps_t {
    std::vector<graph_step_t> &steps;
    std::unordered_map<uint32_t, size_t> places; ///< in `steps`, by state or compressed edge
};

/// Adds a byte to the step of `key`, or makes it.
void add_byte(grouped_steps_t &grouped, uint32_t key, size_t byte, const graph_step_t &step)
{
    const auto [place, fresh] = grouped.places.try_emplace(key, grouped.steps.size());
    if (fresh)
        grouped.steps.push_back(step);
    grouped.steps[place->second].bytes.set(byte);
}

void add_state(grouped_steps_t &grouped, uint32_t to, size_t byte)
{
    add_byte(grouped, to, byte, {to, GRAPH_STEP, {}, {}});
}

/// Adds what leads from a state of an automaton, but for the ways back to the start.
void automaton_steps(const view_aho_corasick_t &view, uint32_t state,
                     std::vector<graph_step_t> &steps)
{
    grouped_steps_t grouped = {steps, {}};
    for (size_t byte = 0; byte < ALPHABET_MAP_COUNT; ++byte)
        if (const uint32_t word = view_aho_corasick_next(view, state, static_cast<uint8_t>(byte));
            word >> 1 != 0)
            add_state(grouped, word >> 1, byte);
}

void tree_steps(const view_radix_t &view, uint32_t state, std::vector<graph_step_t> &steps)
{
    grouped_steps_t grouped = {steps, {}};
    for (size_t byte = 0; byte < ALPHABET_MAP_COUNT; ++byte) {
        const uint32_t number = view_radix_next(view, state, static_cast<uint8_t>(byte));
        if (number == 0)
            continue;
        if (!view_radix_is_chain(view, number)) {
            add_state(grouped, number, byte);
            continue;
        }
        const view_radix_chain_t chain = view_radix_chain(view, number);
        add_byte(grouped, number, byte, {chain.end, GRAPH_STEP, {}, chain.bytes});
    }
}

void dot_prefix_steps(const view_pattern_t &pattern, uint32_t state,
                      std::vector<graph_step_t> &steps)
{
    const view_dot_prefix_t &view = pattern.dot_prefix;
    const uint32_t wildcard = view_row_word(view.rows, state, DOT_PREFIX_WILDCARD_COLUMN);
    grouped_steps_t grouped = {steps, {}};
    for (size_t byte = 0; byte < ALPHABET_MAP_COUNT; ++byte) {
        const uint32_t to = view_dot_prefix_next(view, state, static_cast<uint8_t>(byte));
        if (to != 0 && to != wildcard)
            add_state(grouped, to, byte);
    }
    if (wildcard != 0)
        steps.push_back({wildcard, GRAPH_WILDCARD, {}, {}});
    const uint32_t propagation = view_dot_prefix_propagation(view, state);
    if (propagation != DOT_PREFIX_NO_PROPAGATION)
        steps.push_back({propagation, GRAPH_PROPAGATION, {}, {}});
}

constexpr graph_engine_row_t rows[] = {
    {GRAPH_AUTOMATON, "automaton", false,
     [](const view_pattern_t &pattern) { return pattern.aho_corasick.rows.nr_row; },
     [](const view_pattern_t &pattern, uint32_t state) {
         return view_aho_corasick_items(pattern.aho_corasick, state);
     },
     [](const view_pattern_t &pattern, uint32_t state, std::vector<graph_step_t> &steps) {
         automaton_steps(pattern.aho_corasick, state, steps);
     }},
    {GRAPH_OFFSET_AUTOMATON, "offset-automaton", false,
     [](const view_pattern_t &pattern) { return pattern.ahoff_corasick.rows.nr_row; },
     [](const view_pattern_t &pattern, uint32_t state) {
         return view_aho_corasick_items(pattern.ahoff_corasick, state);
     },
     [](const view_pattern_t &pattern, uint32_t state, std::vector<graph_step_t> &steps) {
         automaton_steps(pattern.ahoff_corasick, state, steps);
     }},
    {GRAPH_PREFIX_TREE, "prefix-tree", false,
     [](const view_pattern_t &pattern) { return pattern.prefix_tree.rows.nr_row; },
     [](const view_pattern_t &pattern, uint32_t state) {
         return view_radix_items(pattern.prefix_tree, state);
     },
     [](const view_pattern_t &pattern, uint32_t state, std::vector<graph_step_t> &steps) {
         tree_steps(pattern.prefix_tree, state, steps);
     }},
    {GRAPH_SUFFIX_TREE, "suffix-tree", true,
     [](const view_pattern_t &pattern) { return pattern.suffix_tree.rows.nr_row; },
     [](const view_pattern_t &pattern, uint32_t state) {
         return view_radix_items(pattern.suffix_tree, state);
     },
     [](const view_pattern_t &pattern, uint32_t state, std::vector<graph_step_t> &steps) {
         tree_steps(pattern.suffix_tree, state, steps);
     }},
    {GRAPH_DOT_PREFIX, "dot-prefix", false,
     [](const view_pattern_t &pattern) { return pattern.dot_prefix.rows.nr_row; },
     [](const view_pattern_t &pattern, uint32_t state) {
         return view_dot_prefix_items(pattern.dot_prefix, state);
     },
     dot_prefix_steps},
};

} // namespace

std::span<const graph_engine_row_t> graph_engines()
{
    return rows;
}
