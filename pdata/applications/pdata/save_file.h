/// Writing the files that subcommands make.
#pragma once

#include <initializer_list>

#include "console.h"

/// Writes a file whole or not at all (output_file.h), or prints it for "-" (console_text). Returns
/// false after a message when it cannot be written.
[[nodiscard]] bool save_file(console_t &console, const std::string &path, std::string_view text);

/// Tells, after a message, whether standard output would be both the report of a run, in JSON, and
/// `what`, which goes to one of `paths`.
[[nodiscard]] bool report_mixes(console_t &console, std::initializer_list<std::string_view> paths,
                                std::string_view what);

/// Takes the pieces of a text, one behind the other.
struct save_sink_t {
    void (*put)(void *context, std::string_view piece);
    void *context;
};

/// The same for a text that `make` makes, piece by piece and once.
[[nodiscard]] bool save_made(console_t &console, const std::string &path,
                             void (*make)(void *context, const save_sink_t &sink), void *context);
