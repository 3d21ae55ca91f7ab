#include "dump_graph.h"

#include "escape.h"
#include "graph.h"
#include "open_pdb.h"

namespace
{

std::string name_of(const view_matcher_t &matcher)
{
    return fmt::format("{}:{} {}", matcher.protocol, matcher.attribute, attr_way2str(matcher.way));
}

/// Tells whether a matcher is the one that is meant, with or without its direction.
bool is_meant(const view_matcher_t &matcher, const std::string &wanted)
{
    const std::string name = name_of(matcher);
    return wanted == name || wanted == name.substr(0, name.size() - 4);
}

/// Finds the matcher that is meant: of both directions the one that has the engine that is asked
/// for, then the one that comes first in the file.
bool find_matcher(const pdb_view_t &pdb, const dump_graph_options_t &options, view_matcher_t &found)
{
    bool any = false;
    view_cursor_t cursor = view_walk(pdb.matchers.list);
    for (view_record_t record; view_next(cursor, record);) {
        view_error_t error;
        view_matcher_t matcher;
        (void)view_matcher_open(record, pdb.matchers.names, matcher, error); // as the verifier did
        if (!is_meant(matcher, options.matcher))
            continue;
        const bool wanted = graph_has_engine(matcher, graph_engine_find(options.engine));
        if (wanted || !any)
            found = matcher;
        any = true;
        if (wanted)
            break;
    }
    return any;
}

/// The words for an item: the rule that owns it.
std::string item_text(void *context, uint32_t item)
{
    const auto &rules = *static_cast<const view_rules_t *>(context);
    const view_slot_t slot = view_rules_slot(rules, item);
    if (slot.rule_id == 0)
        return fmt::format("item {}", item);
    std::string path;
    for (uint32_t cell = 0; cell < PDB_PROTOCOL_MAP_PATH; ++cell)
        if (const std::string_view name = view_rules_path(rules, slot.rule_id, cell); !name.empty())
            path += fmt::format("/{}", name);
    return fmt::format("rule {}: {}", slot.rule_id, path);
}

/// The words for the engines of a matcher that has some.
std::string engines_of(const view_matcher_t &matcher)
{
    std::string names;
    for (uint8_t i = 0; i < GRAPH_ENGINE_NONE; ++i)
        if (const auto engine = static_cast<graph_engine_t>(i); graph_has_engine(matcher, engine))
            names +=
                fmt::format("{}{}", names.empty() ? "it has " : ", ", graph_engine_name(engine));
    return names;
}

/// The engine that is asked for, GRAPH_ENGINE_NONE after a message for none.
graph_engine_t chosen_engine(console_t &console, const view_matcher_t &matcher,
                             const dump_graph_options_t &options)
{
    const graph_engine_t engine =
        options.engine.empty() ? graph_first_engine(matcher) : graph_engine_find(options.engine);
    if (graph_has_engine(matcher, engine))
        return engine;
    if (graph_first_engine(matcher) == GRAPH_ENGINE_NONE)
        console_error(console, "{}: has no automaton and no tree", name_of(matcher));
    else
        console_error(console, "{}: has no {}; {}", name_of(matcher), graph_engine_name(engine),
                      engines_of(matcher));
    return GRAPH_ENGINE_NONE;
}

exit_status_t print_graph(console_t &console, const pdb_view_t &pdb, const view_matcher_t &matcher,
                          const dump_graph_options_t &options)
{
    const graph_engine_t engine = chosen_engine(console, matcher, options);
    if (engine == GRAPH_ENGINE_NONE)
        return EXIT_STATUS_FINDINGS;
    graph_choice_t choice;
    choice.has_around = options.around.has_value();
    choice.around = options.around ? std::string_view(*options.around) : std::string_view();
    graph_t graph;
    if (!graph_take(matcher, engine, choice, graph)) {
        console_error(console, "{}: nothing in its {} leads there", name_of(matcher),
                      graph_engine_name(engine));
        return EXIT_STATUS_FINDINGS;
    }
    if (graph.states.size() < graph.nr_state)
        console_error(console, "{} of {} states are drawn{}", graph.states.size(), graph.nr_state,
                      choice.has_around ? "" : "; --around TEXT draws those near a text");
    const std::string title = fmt::format("{}, {}", name_of(matcher), graph_engine_name(engine));
    view_rules_t rules = pdb.rules;
    console_write(console, graph_dot(graph, title, item_text, &rules));
    return EXIT_STATUS_FINE;
}

} // namespace

exit_status_t dump_graph(console_t &console, const input_file_t &file,
                         const dump_graph_options_t &options)
{
    pdb_view_t pdb;
    view_matcher_t matcher;
    if (!open_pdb(console, file, pdb))
        return EXIT_STATUS_FILE;
    if (!pdb.compiled || !find_matcher(pdb, options, matcher)) {
        console_error(console, "{}: has no matcher {}; \"pdata list\" names those that it has",
                      file.name, options.matcher);
        return EXIT_STATUS_FINDINGS;
    }
    return print_graph(console, pdb, matcher, options);
}
