#include "diagnostic.h"

#include <algorithm>

#include "escape.h"

namespace
{

/// Most columns of an excerpt, and those of them in front of the place.
constexpr size_t EXCERPT_COLUMNS = 100;
constexpr size_t EXCERPT_BEFORE = 60;

/// Prints "file:line:column: error: text [id]" and what stands there on standard error.
void print_error(console_t &console, std::string_view file, const text_place_t &place,
                 std::string_view text, std::string_view id, std::string_view excerpt)
{
    const std::string level = colour_text(console.err_colour, COLOUR_ERROR, "error");
    const std::string shown =
        fmt::format("{}:{}:{}: {}: {} [{}]\n{}", escape_terminal(file), place.line, place.column,
                    level, escape_terminal(text), id, excerpt);
    (void)std::fwrite(shown.data(), 1, shown.size(), console.err); // nowhere left to complain
}

} // namespace

std::string diagnostic_excerpt(std::string_view content, size_t offset)
{
    const size_t least = offset - std::min(offset, EXCERPT_BEFORE);
    const size_t feed = content.substr(least, offset - least).rfind('\n');
    const size_t begin = feed == std::string_view::npos ? least : least + feed + 1;
    std::string text(content.substr(begin, EXCERPT_COLUMNS));
    text.resize(std::min(text.find('\n', offset - begin), text.size()));
    std::ranges::replace(text, '\t', ' ');
    const std::string before = escape_line(std::string_view(text).substr(0, offset - begin));
    const std::string behind = escape_line(std::string_view(text).substr(offset - begin));
    return fmt::format("    {}{}\n    {:>{}}\n", before, behind, '^', text_characters(before) + 1);
}

void print_text_fault(console_t &console, const std::string &file, std::string_view content,
                      const text_fault_t &fault, std::string_view id)
{
    print_error(console, file, text_place(content, fault.offset), fault.text, id,
                diagnostic_excerpt(content, fault.offset));
}

void print_line_fault(console_t &console, const std::string &file, size_t line,
                      std::string_view text, std::string_view id)
{
    print_error(console, file, {line, 1}, text, id, "");
}
