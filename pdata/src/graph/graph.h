/// An engine of a matcher as a graph: its states, labelled by the text that leads to them, the
/// edges between them, and the items that are found there.
///
/// States are numbered as the engine numbers them. They are found breadth first from the start
/// (Moore 1959), so that each text is the shortest that leads there and, in an automaton, the
/// prefix that the state stands for (Aho and Corasick 1975). Of a large engine a part is taken: the
/// states nearest to the start, or those around a text.
///
/// The matcher must have been checked (view_matcher_check). Time is linear in the engine's rows;
/// memory is a few words for each of its states, and the part that is taken.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "view_matcher.h"

/// The engines of a text matcher.
enum graph_engine_t : uint8_t {
    GRAPH_AUTOMATON,
    GRAPH_OFFSET_AUTOMATON,
    GRAPH_PREFIX_TREE,
    GRAPH_SUFFIX_TREE,
    GRAPH_DOT_PREFIX,
    GRAPH_ENGINE_NONE, ///< no engine; the number of engines
};

/// What an edge stands for.
enum graph_edge_kind_t : uint8_t {
    GRAPH_STEP,        ///< data goes on
    GRAPH_FALLBACK,    ///< data goes on with a shorter text; steps as from the start are left out
    GRAPH_WILDCARD,    ///< any byte
    GRAPH_PROPAGATION, ///< this state is current as well
};

struct graph_edge_t {
    uint32_t from = 0;
    uint32_t to = 0;
    graph_edge_kind_t kind = GRAPH_STEP;
    std::string label; ///< bytes as people write them: "a", "[a-f]", "com"; of a terminal's kind
};

struct graph_state_t {
    uint32_t state = 0;
    std::string text;            ///< bytes that lead to it, in the order of the data
    std::vector<uint32_t> items; ///< public ids, each once
    bool goes_on = false;        ///< steps lead from it to states that were not taken
};

struct graph_t {
    graph_engine_t engine = GRAPH_ENGINE_NONE;
    size_t nr_state = 0; ///< states of the engine that can be reached, taken or not
    std::vector<graph_state_t> states;
    std::vector<graph_edge_t> edges; ///< between states that were taken
};

/// Which part of an engine is taken.
struct graph_choice_t {
    bool has_around = false;
    std::string_view around; ///< a text: the states on its way, and those near its end
    size_t limit = 150;      ///< most states, but for those on the way of a text
};

/// Returns the first engine that has states, GRAPH_ENGINE_NONE for none: numbers and addresses have
/// no engine of this kind.
graph_engine_t graph_first_engine(const view_matcher_t &matcher);

/// Tells whether a matcher has states of an engine; of none it has none.
bool graph_has_engine(const view_matcher_t &matcher, graph_engine_t engine);

/// Returns the name of an engine, as in "suffix-tree".
const char *graph_engine_name(graph_engine_t engine);

/// Returns the names of all engines.
std::vector<std::string> graph_engine_names();

/// Finds an engine by its name; GRAPH_ENGINE_NONE for none.
graph_engine_t graph_engine_find(std::string_view name);

/// Takes a graph. Returns false when the matcher has no such engine, or no state lies on the way of
/// `choice.around`. Throws std::bad_alloc when memory runs out.
[[nodiscard]] bool graph_take(const view_matcher_t &matcher, graph_engine_t engine,
                              const graph_choice_t &choice, graph_t &graph);

/// What an item is to people, as in "rule 3 of youtube".
using graph_item_text_t = std::string (*)(void *context, uint32_t item);

/// Returns a graph in the DOT language of Graphviz (Gansner and North 2000). `title` and what
/// `item_text` returns may hold any bytes: nothing of them is taken for DOT or HTML.
std::string graph_dot(const graph_t &graph, std::string_view title, graph_item_text_t item_text,
                      void *context);
