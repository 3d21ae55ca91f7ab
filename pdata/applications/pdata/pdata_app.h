/// The frame of the program: the table of subcommands becomes a command line.
#pragma once

#include "console.h"
#include "exit_status.h"

/// Runs the program on a command line. What it does not understand is said on standard error and
/// ends with EXIT_STATUS_USAGE; memory that runs out with EXIT_STATUS_INTERNAL.
exit_status_t pdata_main(int argc, char **argv, console_t &console);
