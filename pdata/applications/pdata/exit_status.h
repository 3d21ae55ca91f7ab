/// How the program ends.
#pragma once

/// The exit statuses of every subcommand; there is no other.
enum exit_status_t : int {
    EXIT_STATUS_FINE = 0,
    EXIT_STATUS_FINDINGS = 1, ///< what was looked for was found, or differs, or fails
    EXIT_STATUS_USAGE = 2,    ///< the command line is wrong
    EXIT_STATUS_FILE = 3,     ///< a file could not be read or written, or is none of ours
    EXIT_STATUS_INTERNAL = 4, ///< memory ran out, or a fault of the program
};
