#include <memory>

#include "commands.h"
#include "decompile.h"
#include "open_file.h"
#include "pdb_verify.h"
#include "save_file.h"

namespace
{

/// Most cases that are printed of those in which the text may compile to something else.
constexpr size_t LOST_SHOWN_MAX = 50;

struct decompile_options_t {
    std::string file;
    std::string output = "-";
    std::string aliases;
    std::string tags;
};

void print_lost(console_t &console, const std::string &name, const std::vector<std::string> &lost)
{
    for (size_t i = 0; i < lost.size() && i < LOST_SHOWN_MAX; ++i)
        console_error(console, "{}: not in the text: {}", name, lost[i]);
    if (!lost.empty())
        console_error(console, "{}: {} cases in which the text compiles to something else", name,
                      lost.size());
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
    input_file_t file;
    if (!open_file(console, options.file, file))
        return EXIT_STATUS_FILE;
    pdb_view_t pdb;
    decompiled_t out;
    view_error_t error;
    if (!pdb_verify_open(input_file_bytes(file), pdb, error) || !decompile_pdb(pdb, out, error)) {
        print_fault(console, file.name, error);
        return EXIT_STATUS_FILE;
    }
    print_lost(console, file.name, out.lost);
    if (!save_part(console, file, options.aliases, out.aliases, "aliases") ||
        !save_part(console, file, options.tags, out.tags, "tag table") ||
        !save_file(console, options.output, out.text))
        return EXIT_STATUS_FILE;
    return out.lost.empty() ? EXIT_STATUS_FINE : EXIT_STATUS_FINDINGS;
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
