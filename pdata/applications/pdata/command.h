/// A subcommand: one row of a table.
#pragma once

#include <functional>
#include <span>

#include <CLI/CLI.hpp>

#include "console.h"
#include "exit_status.h"

/// What a subcommand does once its options are known.
using command_run_t = std::function<exit_status_t(console_t &)>;

/// A row of the table of subcommands. Help, manual pages and completions are made from it.
struct command_t {
    const char *name;
    const char *audience;                     ///< heading of its group in the help
    const char *summary;                      ///< one line, without a full stop
    std::span<const output_format_t> formats; ///< forms of its output: text, JSON and more
    const char *example;                      ///< a command line that works, and what it says
    /// Adds the options to the parser of the subcommand and returns what to run; the values that
    /// the options fill live as long as that function.
    command_run_t (*declare)(CLI::App &);
};

/// Every subcommand, in the order of the help.
std::span<const command_t> command_table();
