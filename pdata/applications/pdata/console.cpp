#include "console.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

#include "escape.h"

namespace
{

/// Escape sequences by colour_t.
constexpr std::array<std::string_view, 6> colour_codes = {"\x1b[1;31m", "\x1b[1;33m", "\x1b[1;36m",
                                                          "\x1b[32m",   "\x1b[1m",    "\x1b[2m"};

bool wants_colour(std::FILE *stream)
{
    const char *no_colour = std::getenv("NO_COLOR");
    return (no_colour == nullptr || *no_colour == '\0') && isatty(fileno(stream)) != 0;
}

/// Keeps why the first write failed: a later one may fail for another reason, or for none.
void note_failure(console_t &console, bool written)
{
    if (!written && console.failure == 0)
        console.failure = errno;
}

} // namespace

console_t console_open()
{
    console_t console;
    console.out_terminal = isatty(fileno(console.out)) != 0;
    console.out_colour = wants_colour(console.out);
    console.err_colour = wants_colour(console.err);
    console.progress = isatty(fileno(console.err)) != 0;
    return console;
}

std::string colour_text(bool on, colour_t colour, std::string_view text)
{
    if (!on)
        return std::string(text);
    return fmt::format("{}{}\x1b[0m", colour_codes[colour], text);
}

void console_write(console_t &console, std::string_view text)
{
    note_failure(console, std::fwrite(text.data(), 1, text.size(), console.out) == text.size());
}

void console_text(console_t &console, std::string_view text)
{
    if (!console.out_terminal)
        return console_write(console, text);
    while (!text.empty()) {
        const size_t end = std::min(text.find_first_of("\n\t"), text.size());
        console_write(console, escape_line(text.substr(0, end)));
        console_write(console, text.substr(end, 1));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

void console_message(console_t &console, std::string_view text)
{
    const std::string line = "pdata: " + escape_terminal(text) + '\n';
    (void)std::fwrite(line.data(), 1, line.size(), console.err); // nowhere left to complain
}

void console_document(console_t &console, const json_document_t &document)
{
    console_write(console, json_indented(document));
    console_write(console, "\n");
}

void console_record(console_t &console, const json_document_t &document)
{
    console_write(console, json_line(document));
    console_write(console, "\n");
    console_flush(console);
}

void console_flush(console_t &console)
{
    note_failure(console, std::fflush(console.out) == 0);
}

bool console_close(console_t &console)
{
    console_flush(console);
    if (console.failure != 0 && console.failure != EPIPE)
        console_error(console, "standard output: {}", std::strerror(console.failure));
    return console.failure == 0;
}
