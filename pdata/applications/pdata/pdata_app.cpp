#include "pdata_app.h"

#include <algorithm>
#include <new>

#include "command.h"
#include "command_line.h"
#include "lint_words.h"

namespace
{

/// Says that there is no such subcommand, and which one may be meant.
std::string unknown_command(std::string_view word)
{
    const auto distance = [word](const command_t &row) { return lint_distance(word, row.name); };
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
    command_choice_t choice;
    command_line_declare(program, choice, console);
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
