#include "pdata_app.h"

#include <algorithm>
#include <array>
#include <map>
#include <new>
#include <numeric>
#include <utility>
#include <vector>

#include "command.h"
#include "pdata_version.h"

namespace
{

/// Names of output_format_t.
constexpr std::array<const char *, 6> format_names = {"text", "json",  "sarif",
                                                      "tap",  "junit", "dot"};

/// The subcommand that the command line chose.
struct choice_t {
    const command_t *command = nullptr;
    command_run_t run;
};

/// Adds --output-format and --json for the forms that a subcommand has.
void declare_formats(CLI::App &app, const command_t &command, console_t &console)
{
    std::map<std::string, output_format_t> names;
    std::string shown;
    for (const output_format_t format : command.formats) {
        names[format_names[format]] = format;
        shown += (shown.empty() ? "" : "|") + std::string(format_names[format]);
    }
    if (names.size() < 2)
        return;
    app.add_option_function<std::string>(
           "--output-format",
           [names, &console](const std::string &name) { console.format = names.at(name); },
           "Form of the output")
        ->check([names, shown](const std::string &name) {
            return names.contains(name) ? std::string() : name + " is none of " + shown;
        })
        ->type_name(shown);
    if (names.contains("json"))
        app.add_flag_callback(
            "--json", [&console] { console.format = OUTPUT_JSON; },
            "The same as --output-format json");
}

void declare_command(CLI::App &program, const command_t &command, choice_t &choice,
                     console_t &console)
{
    CLI::App *app = program.add_subcommand(command.name, command.summary);
    app->group(command.audience);
    app->footer(std::string("Example:\n") + command.example);
    declare_formats(*app, command, console);
    app->callback([&choice, &command, run = command.declare(*app)] { choice = {&command, run}; });
}

void declare_program(CLI::App &program, choice_t &choice, console_t &console)
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

/// Edits (a character more, less or other) between two words (Wagner and Fischer 1974).
size_t word_distance(std::string_view a, std::string_view b)
{
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i);
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = std::exchange(row[j], std::min({replaced, row[j] + 1, row[j - 1] + 1}));
        }
    }
    return row.back();
}

/// Says that there is no such subcommand, and which one may be meant.
std::string unknown_command(std::string_view word)
{
    const auto distance = [word](const command_t &row) { return word_distance(word, row.name); };
    const command_t &nearest = *std::ranges::min_element(command_table(), {}, distance);
    const std::string text = fmt::format("no subcommand \"{}\"", word);
    return distance(nearest) > 2 ? text : fmt::format("{}; is \"{}\" meant?", text, nearest.name);
}

/// Says what is wrong with a command line, or prints the help that it asks for.
exit_status_t refuse(const CLI::App &program, const CLI::ParseError &error,
                     std::string_view first_word, console_t &console)
{
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
        std::ostringstream text;
        (void)program.exit(error, text, text);
        console_write(console, text.str());
        return EXIT_STATUS_FINE;
    }
    const auto chosen = program.get_subcommands();
    const bool word = !first_word.empty() && first_word.front() != '-';
    console_message(console, chosen.empty() && word ? unknown_command(first_word) : error.what());
    console_error(console, "see \"pdata {}--help\"",
                  chosen.empty() ? "" : chosen.front()->get_name() + " ");
    return EXIT_STATUS_USAGE;
}

exit_status_t run_program(int argc, char **argv, console_t &console)
{
    CLI::App program("Look into, check, try and ship the protocol data of a deep packet "
                     "inspection engine.");
    choice_t choice;
    declare_program(program, choice, console);
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return refuse(program, error, argc > 1 ? argv[1] : "", console);
    }
    return choice.run(console);
}

} // namespace

exit_status_t pdata_main(int argc, char **argv, console_t &console)
{
    exit_status_t status = EXIT_STATUS_INTERNAL;
    try {
        status = run_program(argc, argv, console);
    } catch (const std::bad_alloc &) {
        std::fputs("pdata: out of memory\n", console.err);
    } catch (const std::exception &error) {
        std::fprintf(console.err, "pdata: internal error: %s\n", error.what());
    }
    if (!console_close(console) && status <= EXIT_STATUS_FINDINGS)
        status = EXIT_STATUS_FILE;
    return status;
}
