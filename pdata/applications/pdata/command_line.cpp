#include "command_line.h"

#include <array>
#include <map>

#include "pdata_version.h"

namespace
{

/// Names of output_format_t.
constexpr std::array<const char *, 6> format_names = {"text", "json",  "sarif",
                                                      "tap",  "junit", "dot"};

/// Adds --output-format and --json for the forms that a subcommand has.
void declare_formats(CLI::App &app, const command_t &command, console_t &console)
{
    std::map<std::string, output_format_t> names;
    std::string shown;
    for (const output_format_t format : command.formats) {
        names[format_names[format]] = format;
        shown += (shown.empty() ? "" : "|") + std::string(format_names[format]);
    }
    app.add_option_function<std::string>(
           "--output-format",
           [names, &console](const std::string &name) { console.format = names.at(name); },
           "Form of the output")
        ->check([names, shown](const std::string &name) {
            return names.contains(name) ? std::string() : name + " is none of " + shown;
        })
        ->type_name(shown);
    app.add_flag_callback(
        "--json", [&console] { console.format = OUTPUT_JSON; }, "The same as --output-format json");
}

void declare_command(CLI::App &program, const command_t &command, command_choice_t &choice,
                     console_t &console)
{
    CLI::App *app = program.add_subcommand(command.name, command.summary);
    app->group(command.audience);
    app->footer(std::string("Example:\n") + command.example);
    declare_formats(*app, command, console);
    app->callback([&choice, &command, run = command.declare(*app)] { choice = {&command, run}; });
}

} // namespace

void command_line_declare(CLI::App &program, command_choice_t &choice, console_t &console)
{
    program.name("pdata");
    program.require_subcommand(1);
    program.set_version_flag("--version", std::string(PDATA_VERSION_TEXT),
                             "Show the versions of the program and of the format");
    program.footer("Exit status: 0 fine, 1 findings, 2 wrong use, 3 a file could not be read or "
                   "written,\n4 internal. \"pdata COMMAND --help\" ends with an example.");
    for (const command_t &command : command_table())
        declare_command(program, command, choice, console);
}
