/// The command line of the program, made from the table of subcommands.
#pragma once

#include "command.h"

/// The subcommand that a command line chose.
struct command_choice_t {
    const command_t *command = nullptr;
    command_run_t run;
};

/// Declares every subcommand with its options on a parser. Parsing fills `choice` and the form of
/// the output in `console`; both, and nothing else, must live as long as `program`.
void command_line_declare(CLI::App &program, command_choice_t &choice, console_t &console);
