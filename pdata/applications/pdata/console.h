/// Where a subcommand prints: data on standard output, messages on standard error.
///
/// A subcommand never looks at a terminal or at an environment variable itself, and never checks a
/// single write: what went wrong with standard output is found once, when the program ends.
#pragma once

#include <cstdio>
#include <string_view>

#include <fmt/format.h>

#include "json_document.h"

/// The forms that data is printed in. Which ones a subcommand has stands in its row of the table.
enum output_format_t {
    OUTPUT_TEXT,
    OUTPUT_JSON,
    OUTPUT_SARIF,
    OUTPUT_TAP,
    OUTPUT_JUNIT,
    OUTPUT_DOT,
};

/// The two outputs of a run. The streams are not owned.
struct console_t {
    std::FILE *out = stdout;
    std::FILE *err = stderr;
    output_format_t format = OUTPUT_TEXT;
    bool out_terminal = false; ///< standard output is a terminal
    bool out_colour = false;   ///< it is one that wants colour
    bool err_colour = false;   ///< the same for standard error
    bool progress = false;     ///< standard error is a terminal
    int failure = 0;           ///< errno of the first write to standard output that failed
};

/// Colours, by what they are used for.
enum colour_t {
    COLOUR_ERROR,
    COLOUR_WARNING,
    COLOUR_NOTE,
    COLOUR_GOOD,
    COLOUR_NAME,
    COLOUR_FAINT,
};

/// Opens a console on the process's streams: colour where the stream is a terminal and the
/// environment has no NO_COLOR.
console_t console_open();

/// Returns `text` in a colour, or as it is where `on` is false.
std::string colour_text(bool on, colour_t colour, std::string_view text);

/// Prints data as it is.
void console_write(console_t &console, std::string_view text);

/// Prints a text of several lines that is data, and is what strangers wrote: as it is, but on a
/// terminal each line as escape_line shows it.
void console_text(console_t &console, std::string_view text);

/// Prints formatted data. Untrusted text goes through escape_terminal first.
template <typename... Args>
void console_print(console_t &console, fmt::format_string<Args...> format, Args &&...args)
{
    console_write(console, fmt::format(format, std::forward<Args>(args)...));
}

/// Prints "pdata: " and a message, in which control characters are escaped, as a line on standard
/// error.
void console_message(console_t &console, std::string_view text);

/// The same for a formatted message.
template <typename... Args>
void console_error(console_t &console, fmt::format_string<Args...> format, Args &&...args)
{
    console_message(console, fmt::format(format, std::forward<Args>(args)...));
}

/// Prints a document that is the only one of a run, indented.
void console_document(console_t &console, const json_document_t &document);

/// Prints one of a stream of documents on a line of its own, and flushes, so that a reader at the
/// other end of a pipe has it at once.
void console_record(console_t &console, const json_document_t &document);

/// Sees to it that what was printed so far goes out.
void console_flush(console_t &console);

/// Flushes standard output. Returns false, after a message but for a reader that went away, when
/// anything printed so far did not get through.
[[nodiscard]] bool console_close(console_t &console);
