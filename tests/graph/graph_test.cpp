// Engines worked out by hand, as the graphs that are drawn of them.
#include "graph.h"

#include <algorithm>

#include "view_blobs.h"

namespace
{

using lines_t = std::vector<std::string>;

/// An engine in a matcher, with its bytes.
struct engine_t {
    std::vector<uint8_t> bytes;
    std::vector<uint8_t> second_level;
    view_matcher_t matcher;
};

/// Makes a matcher of one engine of a view_pattern_t, its record opened and checked.
template <typename View, typename Open, typename Check>
engine_t engine_of(const word_list &words, View view_pattern_t::*place, Open &&open, Check &&check,
                   const word_list &second_level = {})
{
    engine_t engine = {stored(words), stored(second_level), {}};
    engine.matcher.second_level = {engine.second_level.data(), engine.second_level.size(), 0};
    View &view = engine.matcher.pattern.*place;
    view_error_t error;
    EXPECT_TRUE(open({engine.bytes.data(), engine.bytes.size(), 0}, view, error)) << error.text;
    EXPECT_TRUE(check(view, view_matcher_nr_private(engine.matcher), error)) << error.text;
    return engine;
}

engine_t dot_prefix(const word_list &words)
{
    return engine_of(words, &view_pattern_t::dot_prefix, view_dot_prefix_open,
                     view_dot_prefix_check);
}

engine_t automaton(const word_list &words, const word_list &second_level = {})
{
    const auto open = [](const view_area_t &area, view_aho_corasick_t &view, view_error_t &error) {
        return view_aho_corasick_open(area, false, view, error);
    };
    return engine_of(words, &view_pattern_t::aho_corasick, open, view_aho_corasick_check,
                     second_level);
}

graph_t graph_of(const engine_t &engine, graph_engine_t kind, const graph_choice_t &choice = {})
{
    graph_t graph;
    EXPECT_TRUE(graph_take(engine.matcher, kind, choice, graph));
    return graph;
}

/// Texts that lead to the states that were taken, by their numbers.
lines_t states_of(const graph_t &graph)
{
    lines_t lines;
    for (const graph_state_t &state : graph.states)
        lines.push_back(std::to_string(state.state) + ' ' + state.text);
    std::ranges::sort(lines);
    return lines;
}

lines_t edges_of(const graph_t &graph)
{
    constexpr const char *arrows[] = {" -> ", " ~> ", " *> ", " => "};
    lines_t lines;
    for (const graph_edge_t &edge : graph.edges)
        lines.push_back(std::to_string(edge.from) + arrows[edge.kind] + std::to_string(edge.to) +
                        ' ' + edge.label);
    std::ranges::sort(lines);
    return lines;
}

lines_t states_around(const engine_t &engine, graph_engine_t kind, std::string_view text,
                      size_t limit = 150)
{
    return states_of(graph_of(engine, kind, {true, text, limit}));
}

/// A dot-prefix matcher whose start row is `start`. Codes: x 4, b 5. Nodes: 0 start, 1 any byte,
/// 2 b behind it (item 4), 3 x (1 is current as well), 4 xb (items 3 and 4).
word_list any_then_b(const word_list &start, const word_list &items = {1, 4, 2, 3, 4})
{
    return join({
        alphabet(41, 6, {{'x', 4}, {'b', 5}}),
        blob(39, join({start,
                       {0x0000FFFF, 0xFFFF0000, 0x00000002,     // 1
                        0x0000FFFF, 0x00000000, 0x00000000,     // 2: record 0
                        0x00000001, 0xFFFF0000, 0x00000004,     // 3
                        0x0000FFFF, 0x00020000, 0x00000000}})), // 4: record 2
        blob(40, items),
    });
}

TEST(GraphDotPrefix, GoesOnByAnyByteAndInTwoStates)
{
    const engine_t engine = dot_prefix(any_then_b({0x0000FFFF, 0xFFFF0001, 0x00030000}));
    EXPECT_EQ(graph_first_engine(engine.matcher), GRAPH_DOT_PREFIX);
    const graph_t graph = graph_of(engine, GRAPH_DOT_PREFIX);
    EXPECT_EQ(states_of(graph), (lines_t{"0 ", "1 .", "2 .b", "3 x", "4 xb"}));
    EXPECT_EQ(edges_of(graph),
              (lines_t{"0 *> 1 any byte", "0 -> 3 x", "1 -> 2 b", "3 -> 4 b", "3 => 1 also"}));
    for (const graph_state_t &state : graph.states)
        EXPECT_EQ(state.items, (state.state == 2   ? std::vector<uint32_t>{4}
                                : state.state == 4 ? std::vector<uint32_t>{3, 4}
                                                   : std::vector<uint32_t>{}))
            << state.state;
}

// The minimum of a record is the word behind the one that marks it; record 2 is its other half.
TEST(GraphDotPrefix, ItemsStandBehindTheirMinimum)
{
    const word_list start = {0x0000FFFF, 0xFFFF0001, 0x00030000};
    const engine_t engine = dot_prefix(any_then_b(start, {0xFFFE0000, 70000, 1, 4}));
    const graph_t graph = graph_of(engine, GRAPH_DOT_PREFIX);
    ASSERT_EQ(graph.states.size(), 5U);
    for (const graph_state_t &state : graph.states)
        EXPECT_EQ(state.items.size(), state.state == 2 || state.state == 4 ? 1U : 0U)
            << state.state;
}

TEST(GraphDotPrefix, StateThatIsCurrentFromTheStartNeedsNoByte)
{
    const engine_t engine = dot_prefix(any_then_b({0x00000001, 0xFFFF0000, 0x00030000}));
    const graph_t graph = graph_of(engine, GRAPH_DOT_PREFIX);
    EXPECT_EQ(states_of(graph), (lines_t{"0 ", "1 ", "2 b", "3 x", "4 xb"}));
    EXPECT_EQ(edges_of(graph),
              (lines_t{"0 -> 3 x", "0 => 1 also", "1 -> 2 b", "3 -> 4 b", "3 => 1 also"}));
}

TEST(GraphDotPrefix, TextLeadsByAnyByteButNotToWhatIsCurrentAsWell)
{
    const engine_t engine = dot_prefix(any_then_b({0x0000FFFF, 0xFFFF0001, 0x00030000}));
    EXPECT_EQ(states_around(engine, GRAPH_DOT_PREFIX, "qb"), (lines_t{"0 ", "1 .", "2 .b"}));
    EXPECT_EQ(states_around(engine, GRAPH_DOT_PREFIX, "xq"), (lines_t{"0 ", "3 x", "4 xb"}));
}

TEST(GraphDotPrefix, StateMayBeReachedInTwoWaysFromOne)
{
    const engine_t engine = dot_prefix(any_then_b({0x00000001, 0xFFFF0001, 0x00030000}));
    const graph_t graph = graph_of(engine, GRAPH_DOT_PREFIX);
    EXPECT_EQ(states_of(graph), (lines_t{"0 ", "1 .", "2 .b", "3 x", "4 xb"}));
    EXPECT_EQ(edges_of(graph), (lines_t{"0 *> 1 any byte", "0 -> 3 x", "0 => 1 also", "1 -> 2 b",
                                        "3 -> 4 b", "3 => 1 also"}));
}

/// An automaton. Codes: a and A 2; 0, 1 and 2 3; 254 and 255 4; blank, '"' and 127 5; x and y 6;
/// b 7. States: 1 to 4 behind codes 2 to 5, 5 behind a and x. From 1, 254 leads to 3 as from the
/// start, and b to 4. Seven items, the first of them private, two of them the same, are found in 5.
engine_t odd_bytes()
{
    return automaton(join({
                         blob(34, {0x0000FFFF, 0x00020004, 0x00060008, 0x00000000,   // 0
                                   0x0000FFFF, 0x00000000, 0x00060000, 0x000B0008,   // 1
                                   0x0000FFFF, 0x00000004, 0x00000000, 0x00000000,   // 2
                                   0x0000FFFF, 0x00000000, 0x00000000, 0x00000000,   // 3
                                   0x0000FFFF, 0x00000000, 0x00000000, 0x00000000,   // 4
                                   0x00000000, 0x00000000, 0x00000000, 0x00000000}), // 5
                         blob(35, {7, 0x80000000, 11, 12, 13, 14, 15, 11}),
                         alphabet(37, 8,
                                  {{'a', 2},
                                   {'A', 2},
                                   {0, 3},
                                   {1, 3},
                                   {2, 3},
                                   {254, 4},
                                   {255, 4},
                                   {' ', 5},
                                   {'"', 5},
                                   {127, 5},
                                   {'x', 6},
                                   {'y', 6},
                                   {'b', 7}}),
                         blob(36, {7, 2}),
                     }),
                     {16, 0, 0, 0});
}

std::string item_name(void *, uint32_t item)
{
    return "item " + std::to_string(item);
}

void expect_lines(const std::string &dot, std::initializer_list<const char *> lines)
{
    for (const char *line : lines)
        EXPECT_NE(dot.find("\n    " + std::string(line) + ";\n"), dot.npos) << line << dot;
}

TEST(GraphAutomaton, BytesAreWrittenAsPeopleDo)
{
    const graph_t graph = graph_of(odd_bytes(), GRAPH_AUTOMATON);
    EXPECT_EQ(states_of(graph),
              (lines_t{"0 ", "1 a", std::string("2 \0", 3), "3 \xfe", "4  ", "5 ax"}));
    EXPECT_EQ(edges_of(graph), (lines_t{"0 -> 1 a", "0 -> 2 [\\x00-\\x02]", "0 -> 3 [\\xfe\\xff]",
                                        "0 -> 4 [\\x20\"\\x7f]", "1 -> 5 [xy]", "1 ~> 4 b"}));
    const auto last = std::ranges::find(graph.states, 5U, &graph_state_t::state);
    ASSERT_NE(last, graph.states.end());
    EXPECT_EQ(last->items, (std::vector<uint32_t>{11, 12, 13, 14, 15, 16}));
}

TEST(GraphAutomaton, StateGoesOnWhereAnotherOneBeginsThere)
{
    const graph_t graph = graph_of(odd_bytes(), GRAPH_AUTOMATON, {true, "a", 2});
    EXPECT_EQ(states_of(graph), (lines_t{"0 ", "1 a"}));
    EXPECT_TRUE(graph.states[0].goes_on);
    EXPECT_TRUE(graph.states[1].goes_on) << "with x, though not with b";
    EXPECT_EQ(graph.nr_state, 6U);
}

/// Patterns a (item 5) and ab (item 7).
engine_t a_and_ab()
{
    return automaton(join({
        blob(34, {0x0000FFFF, 0x00030000, 0x00008005, 0x00030005, 0x00000000, 0x00030000}),
        blob(35, {1, 7}),
        alphabet(37, 4, {{'a', 2}, {'b', 3}}),
        blob(36, {1, 1}),
    }));
}

TEST(GraphAutomaton, TextThatComesBackTakesAStateOnce)
{
    const graph_t graph = graph_of(a_and_ab(), GRAPH_AUTOMATON, {true, "aba", 150});
    EXPECT_EQ(states_of(graph), (lines_t{"0 ", "1 a", "2 ab"}));
    EXPECT_EQ(edges_of(graph), (lines_t{"0 -> 1 a", "1 -> 2 b"}));
}

TEST(GraphAutomaton, TextThatLeadsNowhereTakesNothing)
{
    graph_t graph;
    EXPECT_FALSE(graph_take(a_and_ab().matcher, GRAPH_AUTOMATON, {true, "ba", 150}, graph));
    EXPECT_EQ(states_around(a_and_ab(), GRAPH_AUTOMATON, "").size(), 3U) << "near the start";
}

/// The tree of the prefix abcde (item 9): the chain b, c, d, e goes from its start to its end.
engine_t chain(view_radix_t view_pattern_t::*place)
{
    return engine_of(blob_of_tree, place, view_radix_open, view_radix_check);
}

TEST(GraphTree, ChainIsOneStep)
{
    const graph_t graph = graph_of(chain(&view_pattern_t::prefix_tree), GRAPH_PREFIX_TREE);
    EXPECT_EQ(states_of(graph), (lines_t{"0 ", "2 a", "4 abcde"}));
    EXPECT_EQ(edges_of(graph), (lines_t{"0 -> 2 a", "2 -> 4 bcde"}));
    const graph_t backward = graph_of(chain(&view_pattern_t::suffix_tree), GRAPH_SUFFIX_TREE);
    EXPECT_EQ(states_of(backward), (lines_t{"0 ", "2 a", "4 edcba"}));
    EXPECT_EQ(edges_of(backward), (lines_t{"0 -> 2 a", "2 -> 4 edcb"}));
}

TEST(GraphTree, TextLeadsAsFarAsAChainSaysTheSame)
{
    const engine_t engine = chain(&view_pattern_t::prefix_tree);
    EXPECT_EQ(states_around(engine, GRAPH_PREFIX_TREE, "abcx", 2), (lines_t{"0 ", "2 a"}));
    EXPECT_EQ(states_around(engine, GRAPH_PREFIX_TREE, "abc", 2),
              (lines_t{"0 ", "2 a", "4 abcde"}));
}

TEST(GraphDot, DrawsEveryKindOfEdge)
{
    expect_lines(graph_dot(graph_of(dot_prefix(any_then_b({0x0000FFFF, 0xFFFF0001, 0x00030000})),
                                    GRAPH_DOT_PREFIX),
                           "title", item_name, nullptr),
                 {"s0 [label=\"start\"]",
                  "s4 [label=\"xb\\nitem 3\\nitem 4\", peripheries=2, fillcolor=\"#d8ecd8\", "
                  "style=\"rounded,filled\"]",
                  "s0 -> s1 [label=\"any byte\", style=dashed]",
                  "s3 -> s1 [label=\"also\", style=dotted, arrowhead=empty]",
                  "s3 -> s4 [label=\"b\"]"});
    expect_lines(graph_dot(graph_of(odd_bytes(), GRAPH_AUTOMATON), "title", item_name, nullptr),
                 {"s1 -> s4 [label=\"b\", style=dotted, color=\"#888888\", fontcolor=\"#888888\", "
                  "constraint=false]"});
}

TEST(GraphDot, NoByteIsDot)
{
    const graph_t graph = graph_of(odd_bytes(), GRAPH_AUTOMATON);
    const std::string dot = graph_dot(graph, "a \"title\" & more", item_name, nullptr);
    EXPECT_NE(dot.find("label=\"a \\\"title\\\" &amp; more\"];\n"), dot.npos) << dot;
    expect_lines(dot, {"s2 [label=\"\\\\x00\"]", "s3 [label=\"\\\\xfe\"]",
                       "s0 -> s2 [label=\"[\\\\x00-\\\\x02]\"]",
                       "s0 -> s4 [label=\"[\\\\x20\\\"\\\\x7f]\"]"});
}

TEST(GraphDot, OfManyItemsSomeAreNamed)
{
    expect_lines(
        graph_dot(graph_of(odd_bytes(), GRAPH_AUTOMATON), "", item_name, nullptr),
        {"s5 [label=\"ax\\nitem 11\\nitem 12\\nitem 13\\nitem 14\\nitem 15\\nand 1 more\", "
         "peripheries=2, fillcolor=\"#d8ecd8\", style=\"rounded,filled\"]"});
}

TEST(GraphDot, StateThatGoesOnIsDashed)
{
    expect_lines(
        graph_dot(graph_of(a_and_ab(), GRAPH_AUTOMATON, {false, "", 2}), "", item_name, nullptr),
        {"s0 [label=\"start\"]", "s1 [label=\"a\\nitem 5\", peripheries=2, fillcolor=\"#d8ecd8\", "
                                 "style=\"rounded,filled,dashed\"]"});
    expect_lines(
        graph_dot(graph_of(a_and_ab(), GRAPH_AUTOMATON, {false, "", 1}), "", item_name, nullptr),
        {"s0 [label=\"start\", style=\"rounded,dashed\"]"});
}

TEST(GraphEngines, AreFoundByTheirNames)
{
    for (size_t i = 0; i < GRAPH_ENGINE_NONE; ++i) {
        const auto engine = static_cast<graph_engine_t>(i);
        EXPECT_EQ(graph_engine_find(graph_engine_name(engine)), engine);
    }
    EXPECT_EQ(graph_engine_find("nothing"), GRAPH_ENGINE_NONE);
    EXPECT_EQ(graph_first_engine({}), GRAPH_ENGINE_NONE);
}

} // namespace
