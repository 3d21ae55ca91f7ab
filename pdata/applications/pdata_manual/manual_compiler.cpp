#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "manual_pages.h"
#include "mdoc.h"

namespace
{

/// What an option does. The help of the program, whose texts are a contract, says less, and some
/// of it beside other options.
struct compiler_option_t {
    std::string_view name;
    std::string_view argument;
    std::string_view text;
};

constexpr compiler_option_t compiler_options[] = {
    {"pdd", "FILE", "Compile this description."},
    {"loadable", "", "Write a loadable pdb, with its matchers and rules, for an engine."},
    {"description", "", "Write the records of the descriptions alone, to be merged later."},
    {"pdb-in", "'FILE;FILE;'",
     "Read these pdbs, separated by semicolons: one to make loadable or to take a protocol from, "
     "two to merge."},
    {"pdb-out", "FILE", "Write the pdb to this file, whole or not at all."},
    {"cfg-name", "WORD", "Accepted, and without effect."},
    {"cfg-path", "DIR",
     "Read the rule files, tag table, matcher aliases and pattern tables of this folder, and write "
     "the generated C sources."},
    {"ignore-sem", "", "Compile without the checks of the rule files."},
    {"merge", "", "Merge the second pdb into the first."},
    {"delete", "ID", "Remove the protocol of this id from the pdb."},
    {"sig-export", "WORD", "Export signatures into signature_coverage.data."},
    {"dump", "WORD", "Accepted for the names that --dump-list prints, and without effect."},
    {"dump-list", "", "Print the names that --dump accepts."},
    {"pdd-namespace", "ID", "Place the ids of the description into this namespace."},
    {"help", "", "Print the help."},
};

const compiler_option_t &row_of(std::string_view name)
{
    const auto row = std::ranges::find(compiler_options, name, &compiler_option_t::name);
    if (row == std::end(compiler_options))
        throw std::logic_error(fmt::format("option --{} has no text", name));
    return *row;
}

std::string argument_of(const compiler_option_t &row)
{
    return row.argument.empty() ? "" : " Ar " + mdoc_word(row.argument);
}

} // namespace

std::string manual_page_compiler(const option *options)
{
    std::string page = mdoc_head("PDATA_COMPILER", "1", "pdata_compiler",
                                 "compile descriptions of protocols into pdbs");
    std::string list = ".Bl -tag -width Ds\n";
    page += ".Sh SYNOPSIS\n.Nm\n";
    for (const option *row = options; row->name != nullptr; ++row) {
        const compiler_option_t &text = row_of(row->name);
        page += fmt::format(".Op Fl \\-{}{}\n", mdoc_word(row->name), argument_of(text));
        list += fmt::format(".It Fl \\-{}{}\n{}", mdoc_word(row->name), argument_of(text),
                            mdoc_text(text.text));
    }
    page += ".Sh DESCRIPTION\n";
    page += mdoc_text("Reads a description of protocols and their rules with a folder of "
                      "configuration, and writes a pdb, or a loadable pdb. It also merges pdbs, "
                      "removes protocols, generates C sources and exports signatures.");
    page += list + ".El\n.Sh EXIT STATUS\n";
    page += mdoc_text("0 when all was written. Other statuses tell what failed; the paper on exit "
                      "codes in the documentation of the package lists them.");
    page += ".Sh EXAMPLES\n.Bd -literal -offset indent\n"
            "pdata_compiler \\-\\-pdd protocols.pdd \\-\\-cfg\\-path cfg \\-\\-loadable "
            "\\-\\-pdb\\-out loadable.pdb\n"
            ".Ed\n.Sh SEE ALSO\n.Xr pdata 1 ,\n.Xr pdb 5 ,\n.Xr pdd 5\n";
    return page;
}
