#include "diagnostic.h"

#include <algorithm>
#include <array>

#include "escape.h"

namespace
{

/// Most columns of an excerpt, and those of them in front of the place.
constexpr size_t EXCERPT_COLUMNS = 100;
constexpr size_t EXCERPT_BEFORE = 60;

/// In front of an excerpt.
constexpr std::string_view INDENT = "    ";

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

void diagnostic_excerpt(std::string &out, std::string_view content, size_t offset)
{
    const size_t least = offset - std::min(offset, EXCERPT_BEFORE);
    const size_t feed = content.substr(least, offset - least).rfind('\n');
    const size_t begin = feed == std::string_view::npos ? least : least + feed + 1;
    const std::string_view around = content.substr(begin, EXCERPT_COLUMNS);
    const size_t size = std::min(around.find('\n', offset - begin), around.size());
    std::array<char, EXCERPT_COLUMNS> line;
    std::ranges::replace_copy(around.substr(0, size), line.begin(), '\t', ' ');
    const std::string_view text(line.data(), size);
    out += INDENT;
    const size_t shown = out.size();
    escape_line_to(out, text.substr(0, offset - begin));
    const size_t column = text_characters(std::string_view(out).substr(shown));
    escape_line_to(out, text.substr(offset - begin));
    out.append("\n").append(INDENT).append(column, ' ').append("^\n");
}

void print_text_fault(console_t &console, const std::string &file, std::string_view content,
                      const text_fault_t &fault, std::string_view id)
{
    std::string excerpt;
    diagnostic_excerpt(excerpt, content, fault.offset);
    print_error(console, file, text_place(content, fault.offset), fault.text, id, excerpt);
}

void print_line_fault(console_t &console, const std::string &file, size_t line,
                      std::string_view text, std::string_view id)
{
    print_error(console, file, {line, 1}, text, id, "");
}
