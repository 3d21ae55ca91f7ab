#include "graph.h"

#include "escape.h"

namespace
{

/// Returns text for a label: nothing of it is an escape of DOT, an entity of HTML or a control.
std::string escaped(std::string_view text)
{
    std::string made;
    for (const char c : text) {
        const auto byte = static_cast<uint8_t>(c);
        if (c == '"' || c == '\\')
            made += {'\\', c};
        else if (c == '&')
            made += "&amp;";
        else if (byte < 0x20 || byte >= 0x7F)
            made.append("\\\\x").append(escape_hex({&c, 1}));
        else
            made += c;
    }
    return made;
}

/// Most items of a state that are written out.
constexpr size_t items_shown = 5;

std::string state_label(const graph_t &graph, const graph_state_t &state,
                        graph_item_text_t item_text, void *context)
{
    const bool suffix = graph.engine == GRAPH_SUFFIX_TREE;
    std::string label;
    if (state.state == 0)
        label = suffix ? "end of the data" : "start";
    else
        label = suffix ? std::string(1, '*').append(escaped(state.text)) : escaped(state.text);
    for (size_t i = 0; i < state.items.size() && i < items_shown; ++i)
        label += "\\n" + escaped(item_text(context, state.items[i]));
    if (state.items.size() > items_shown)
        label += "\\nand " + std::to_string(state.items.size() - items_shown) + " more";
    return label;
}

std::string state_line(const graph_t &graph, const graph_state_t &state,
                       graph_item_text_t item_text, void *context)
{
    std::string line = "    s" + std::to_string(state.state) + " [label=\"" +
                       state_label(graph, state, item_text, context) + '"';
    if (!state.items.empty())
        line += ", peripheries=2, fillcolor=\"#d8ecd8\", style=\"rounded,filled";
    if (state.goes_on)
        line += state.items.empty() ? ", style=\"rounded,dashed" : ",dashed";
    if (!state.items.empty() || state.goes_on)
        line += '"';
    return line + "];\n";
}

/// How an edge is drawn, by its kind.
constexpr const char *edge_styles[] = {
    "",
    ", style=dotted, color=\"#888888\", fontcolor=\"#888888\", constraint=false",
    ", style=dashed",
    ", style=dotted, arrowhead=empty",
};

} // namespace

std::string graph_dot(const graph_t &graph, std::string_view title, graph_item_text_t item_text,
                      void *context)
{
    std::string dot = "digraph matcher {\n    rankdir=LR;\n"
                      "    graph [fontname=\"sans-serif\", labelloc=t, label=\"" +
                      escaped(title) +
                      "\"];\n"
                      "    node [shape=box, style=rounded, fontname=\"sans-serif\"];\n"
                      "    edge [fontname=\"monospace\"];\n";
    for (const graph_state_t &state : graph.states)
        dot += state_line(graph, state, item_text, context);
    for (const graph_edge_t &edge : graph.edges)
        dot += "    s" + std::to_string(edge.from) + " -> s" + std::to_string(edge.to) +
               " [label=\"" + escaped(edge.label) + '"' + edge_styles[edge.kind] + "];\n";
    return dot + "}\n";
}
