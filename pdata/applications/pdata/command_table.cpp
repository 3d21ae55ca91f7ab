#include <array>

#include "command.h"
#include "commands.h"

namespace
{

constexpr const char *authors = "For authors of descriptions";
constexpr const char *operators = "For operators who ship pdbs";

constexpr output_format_t text_json[] = {OUTPUT_TEXT, OUTPUT_JSON};
constexpr output_format_t dump_formats[] = {OUTPUT_TEXT, OUTPUT_JSON, OUTPUT_DOT};
constexpr output_format_t test_formats[] = {OUTPUT_TEXT, OUTPUT_JSON, OUTPUT_TAP, OUTPUT_JUNIT};
constexpr output_format_t check_formats[] = {OUTPUT_TEXT, OUTPUT_JSON, OUTPUT_SARIF};

} // namespace

std::span<const command_t> command_table()
{
    static constexpr command_t table[] = {
        {"check", authors, "Every fault of a description at once, where it stands", check_formats,
         "  pdata check protocols.pdd --cfg cfg", check_declare},
        {"build", authors, "Descriptions to a pdb in one step: compiled, verified, tested, written",
         text_json, "  pdata build protocols.pdd -o loadable.pdb --loadable --tests traffic.tsv",
         build_declare},
        {"match", authors, "Which rules fire for a flow, and why", text_json,
         "  pdata match loadable.pdb 'ssl:common_name cts \"www.youtube.com\"'", match_declare},
        {"test", authors, "Flows with the protocols expected of them, run like a test suite",
         test_formats, "  pdata test loadable.pdb traffic.tsv --coverage", test_declare},
        {"fmt", authors, "A description in one canonical layout", text_json,
         "  pdata fmt --check protocols.pdd", fmt_declare},
        {"import", authors, "Lists of domains, hosts, addresses or ports as a description",
         text_json, "  pdata import domains list.txt --name mine --category web -o mine.pdd",
         import_declare},
        {"schema", authors, "JSON Schema of a kind of document, for editors", text_json,
         "  pdata schema pdd -o pdd.schema.json", schema_declare},
        {"list", operators, "What is in a pdb: parts, protocols, matchers, rules", text_json,
         "  pdata list example.pdb", list_declare},
        {"dump", operators, "Every byte of a pdb: where it stands, what it is, what it means",
         dump_formats, "  pdata dump example.pdb --section TAGS", dump_declare},
        {"verify", operators, "Everything in a pdb is within its bounds, or where it is not",
         text_json, "  pdata verify example.pdb loadable.pdb", verify_declare},
        {"flows", operators, "Captures and logs as flow lines, for match and test", text_json,
         "  pdata flows eve.json | pdata match loadable.pdb -", flows_declare},
        {"classify", operators, "Captures and logs in, classified flows out", text_json,
         "  pdata classify loadable.pdb eve.json --only unknown", classify_declare},
        {"decompile", operators, "A pdb back into a description that compiles to the same records",
         text_json, "  pdata decompile loadable.pdb -o protocols.pdd", decompile_declare},
        {"diff", operators, "What two pdbs say differently: protocols, rules, values", text_json,
         "  pdata diff --stat released.pdb new.pdb", diff_declare},
        {"report", operators,
         "One page about a pdb: what needs action, what is in it, how full it is", text_json,
         "  pdata report loadable.pdb -o report.html --tests traffic.tsv", report_declare},
    };
    return table;
}
