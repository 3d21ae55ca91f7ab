#include <memory>

#include "commands.h"
#include "dump_graph.h"
#include "dump_print.h"
#include "graph.h"
#include "open_file.h"

namespace
{

struct dump_options_t {
    std::string file;
    std::string section;
    size_t from = 0;
    dump_graph_options_t graph;
};

void put_text(void *context, const dump_range_t &range)
{
    dump_print_text(*static_cast<console_t *>(context), range);
}

void put_json(void *context, const dump_range_t &range)
{
    console_print(*static_cast<console_t *>(context), "{}\n", json_line(dump_document(range)));
}

void print_summary(console_t &console, const input_file_t &file, const dump_totals_t &totals)
{
    json_document_t document = json_document("dump");
    document["summary"] = {{"file", json_text(file.name)},
                           {"bytes", input_file_bytes(file).size()},
                           {"ranges", totals.nr_range},
                           {"damaged", totals.nr_damaged}};
    console_record(console, document);
}

/// Tells, after a message, whether a form is asked for that a graph, or all else, does not have.
bool mixes_forms(console_t &console, bool graph)
{
    if (graph && console.format == OUTPUT_JSON)
        console_error(console, "--dot draws a graph, which has no form in JSON");
    else if (!graph && console.format == OUTPUT_DOT)
        console_error(console, "--output-format dot is for graphs, which --dot MATCHER draws");
    else
        return false;
    return true;
}

/// Says what is wrong with an offset. The parser of numbers takes a sign.
std::string offset_fault(const std::string &text)
{
    return text.starts_with('-') ? "no offset: " + text : "";
}

exit_status_t dump_run(const dump_options_t &options, console_t &console)
{
    if (mixes_forms(console, !options.graph.matcher.empty()))
        return EXIT_STATUS_USAGE;
    dump_choice_t choice = {options.from, FORMAT_KIND_NONE};
    if (!options.section.empty() && !dump_section_find(options.section, choice.section)) {
        console_error(console,
                      "no section \"{}\"; sections are records as docs/pdb.md names them, "
                      "as in MATCHERS or PROTO_META",
                      options.section);
        return EXIT_STATUS_USAGE;
    }
    input_file_t file;
    if (!open_file(console, options.file, file))
        return EXIT_STATUS_FILE;
    if (!options.graph.matcher.empty())
        return dump_graph(console, file, options.graph);
    const bool json = console.format == OUTPUT_JSON;
    const dump_totals_t totals =
        dump_file(input_file_bytes(file), choice, {json ? put_json : put_text, &console});
    if (json)
        print_summary(console, file, totals);
    return totals.nr_damaged == 0 ? EXIT_STATUS_FINE : EXIT_STATUS_FINDINGS;
}

} // namespace

command_run_t dump_declare(CLI::App &app)
{
    auto options = std::make_shared<dump_options_t>();
    app.add_option("FILE", options->file, "A pdb, - for standard input")->required();
    CLI::Option *const from =
        app.add_option("--from", options->from, "First byte, decimal or 0x and hexadecimal")
            ->type_name("OFFSET")
            ->check(offset_fault);
    CLI::Option *const section = app.add_option("--section", options->section,
                                                "Records of one kind alone, with what is in them")
                                     ->type_name("SECTION");
    CLI::Option *const dot =
        app.add_option("--dot", options->graph.matcher,
                       "An automaton or tree of a matcher as a graph for Graphviz; the matcher is "
                       "protocol:attribute, with a blank and cts or stc where both are there")
            ->type_name("MATCHER")
            ->excludes(from)
            ->excludes(section);
    app.add_option("--engine", options->graph.engine, "Which of the matcher's engines is drawn")
        ->check(CLI::IsMember(graph_engine_names()))
        ->needs(dot);
    app.add_option("--around", options->graph.around, "Only what is on the way of a text, and near")
        ->type_name("TEXT")
        ->needs(dot);
    return [options](console_t &console) { return dump_run(*options, console); };
}
