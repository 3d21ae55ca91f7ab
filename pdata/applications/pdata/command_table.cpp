#include <array>

#include "command.h"
#include "commands.h"

namespace
{

constexpr const char *authors = "For authors of descriptions";
constexpr const char *operators = "For operators who ship pdbs";

constexpr output_format_t text_json[] = {OUTPUT_TEXT, OUTPUT_JSON};

} // namespace

std::span<const command_t> command_table()
{
    static constexpr command_t table[] = {
        {"list", operators, "What is in a pdb: parts, protocols, matchers, rules", text_json,
         "  pdata list example.pdb\n", list_declare},
    };
    return table;
}
