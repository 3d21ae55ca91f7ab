#include "diagnostic.h"

#include <algorithm>

#include "escape.h"

namespace
{

/// Most columns of an excerpt, and those of them in front of the place.
constexpr size_t EXCERPT_COLUMNS = 100;
constexpr size_t EXCERPT_BEFORE = 60;

/// Blanks for tabs, and the part of a long line around a place. Moves the place along.
std::string excerpt(std::string_view line, size_t &at)
{
    const size_t cut = at > EXCERPT_BEFORE ? at - EXCERPT_BEFORE : 0;
    std::string text(line.substr(cut, EXCERPT_COLUMNS));
    std::ranges::replace(text, '\t', ' ');
    const std::string before = escape_terminal(std::string_view(text).substr(0, at - cut));
    const std::string behind = escape_terminal(std::string_view(text).substr(at - cut));
    at = text_characters(before);
    return before + behind;
}

} // namespace

void print_text_fault(console_t &console, const std::string &file, std::string_view content,
                      const text_fault_t &fault, std::string_view id)
{
    const text_place_t place = text_place(content, fault.offset);
    const size_t feed = content.substr(0, fault.offset).rfind('\n');
    size_t at = feed == std::string_view::npos ? fault.offset : fault.offset - feed - 1;
    const std::string line = excerpt(text_line(content, place.line), at);
    const std::string level = colour_text(console.err_colour, COLOUR_ERROR, "error");
    const std::string text = fmt::format("{}:{}:{}: {}: {} [{}]\n    {}\n    {:>{}}\n",
                                         escape_terminal(file), place.line, place.column, level,
                                         escape_terminal(fault.text), id, line, '^', at + 1);
    (void)std::fwrite(text.data(), 1, text.size(), console.err); // nowhere left to complain
}

void print_line_fault(console_t &console, const std::string &file, size_t line,
                      std::string_view text, std::string_view id)
{
    const std::string level = colour_text(console.err_colour, COLOUR_ERROR, "error");
    const std::string shown = fmt::format("{}:{}:1: {}: {} [{}]\n", escape_terminal(file), line,
                                          level, escape_terminal(text), id);
    (void)std::fwrite(shown.data(), 1, shown.size(), console.err); // nowhere left to complain
}
