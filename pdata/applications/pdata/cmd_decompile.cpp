#include <memory>
#include <new>

#include "commands.h"
#include "decompile.h"
#include "open_file.h"
#include "open_pdb.h"
#include "save_file.h"
#include "view_totals.h"

namespace
{

struct decompile_options_t {
    std::string file;
    std::string output = "-";
    std::string aliases;
    std::string tags;
};

void print_lost(console_t &console, const std::string &name, const decompile_lost_t &lost)
{
    for (const std::string &one : lost.first)
        console_error(console, "{}: not in the text: {}", name, one);
    if (lost.count != 0)
        console_error(console, "{}: {} {} in which the text compiles to something else", name,
                      lost.count, lost.count == 1 ? "case" : "cases");
}

/// Prints what was written, what it holds, and what is not in it, as one object.
void print_document(console_t &console, const decompile_options_t &options,
                    const input_file_t &file, const pdb_view_t &pdb, const decompile_lost_t &lost)
{
    view_totals_t totals;
    view_error_t error;
    // It was read to its end before.
    (void)view_totals_count(pdb_view_root(pdb, TLV_TYPE_ROOT_PROTODESCS), totals, error);
    json_document_t document = json_document("decompile");
    document["file"] = json_text(file.name);
    document["output"] = json_text(options.output);
    for (const auto &[key, path] :
         {std::pair{"aliases", &options.aliases}, {"tags", &options.tags}})
        document[key] = path->empty() ? json_document_t() : json_text(*path);
    document["protocols"] = totals.protocols;
    document["rules"] = totals.rules;
    document["values"] = totals.values;
    document["lost"] = {{"cases", lost.count}, {"first", json_texts(lost.first)}};
    console_document(console, document);
}

/// Makes the text, of which is known that it can be made.
void make_text(void *context, const save_sink_t &sink)
{
    const decompile_sink_t pieces = {sink.put, sink.context};
    decompiled_t out;
    view_error_t error;
    if (!decompile_pdb_walk(*static_cast<const pdb_view_t *>(context), &pieces, out, error))
        throw std::bad_alloc();
}

bool save_part(console_t &console, const input_file_t &file, const std::string &path,
               const std::string &text, const char *what)
{
    if (path.empty())
        return true;
    if (text.empty())
        console_error(console, "{}: no {} with names", file.name, what);
    return !text.empty() && save_file(console, path, text);
}

exit_status_t decompile_run(const decompile_options_t &options, console_t &console)
{
    if (report_mixes(console, {options.output, options.aliases, options.tags}, "description"))
        return EXIT_STATUS_USAGE;
    input_file_t file;
    pdb_view_t pdb;
    if (!open_file(console, options.file, file) || !open_pdb(console, file, pdb))
        return EXIT_STATUS_FILE;
    decompiled_t out;
    view_error_t error;
    if (!decompile_pdb_walk(pdb, nullptr, out, error)) {
        print_fault(console, file.name, error);
        return EXIT_STATUS_FILE;
    }
    print_lost(console, file.name, out.lost);
    if (!save_part(console, file, options.aliases, out.aliases, "aliases") ||
        !save_part(console, file, options.tags, out.tags, "tag table") ||
        !save_made(console, options.output, make_text, &pdb))
        return EXIT_STATUS_FILE;
    if (console.format == OUTPUT_JSON)
        print_document(console, options, file, pdb, out.lost);
    return out.lost.count == 0 ? EXIT_STATUS_FINE : EXIT_STATUS_FINDINGS;
}

} // namespace

command_run_t decompile_declare(CLI::App &app)
{
    auto options = std::make_shared<decompile_options_t>();
    app.add_option("FILE", options->file, "A pdb, - for standard input")->required();
    app.add_option("-o,--output", options->output,
                   "Where the description goes, - for standard output")
        ->type_name("FILE");
    app.add_option("--aliases", options->aliases, "Write the matcher aliases as their document")
        ->type_name("FILE");
    app.add_option("--tags", options->tags, "Write the tag table as its document")
        ->type_name("FILE");
    return [options](console_t &console) { return decompile_run(*options, console); };
}
