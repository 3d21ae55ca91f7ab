#include "mdoc.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "manual_date.h"

namespace
{

/// Returns a byte as text that means itself.
std::string escaped(char byte)
{
    switch (byte) {
    case '\\':
        return "\\e";
    case '-':
        return "\\-";
    case '^':
        return "\\(ha";
    case '~':
        return "\\(ti";
    case '`':
        return "\\(ga";
    default:
        return std::string(1, byte);
    }
}

/// Returns text that means itself at the beginning of a line.
std::string escaped_line(std::string_view text)
{
    std::string made;
    if (text.starts_with('.') || text.starts_with('\''))
        made = "\\&";
    for (const char byte : text)
        made += escaped(byte);
    return made;
}

/// Returns whether a sentence ends with `text`: a dot that is not one of several.
bool ends_sentence(std::string_view text)
{
    return text.size() > 1 && text.ends_with('.') && !text.ends_with("..");
}

std::vector<std::string_view> words_of(std::string_view text)
{
    std::vector<std::string_view> words;
    constexpr const char *blanks = " \n";
    for (size_t begin = 0; (begin = text.find_first_not_of(blanks, begin)) != text.npos;) {
        const size_t end = std::min(text.find_first_of(blanks, begin), text.size());
        words.push_back(text.substr(begin, end - begin));
        begin = end;
    }
    return words;
}

/// Bytes of a line.
constexpr size_t text_width = 74;

} // namespace

std::string mdoc_text(std::string_view text)
{
    std::string made;
    size_t width = 0; // of the line that is being made
    for (const std::string_view word : words_of(text)) {
        const std::string shown = escaped_line(word);
        const bool fits = width != 0 && width + 1 + word.size() <= text_width;
        if (width != 0)
            made += fits && !ends_sentence(made) ? ' ' : '\n';
        width = made.empty() || made.back() == '\n' ? word.size() : width + 1 + word.size();
        made += shown;
    }
    return made.empty() ? made : made + '\n';
}

std::string mdoc_lines(std::string_view text)
{
    std::string made;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        made += escaped_line(line.substr(std::min(line.find_first_not_of(' '), line.size())));
        made += '\n';
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return made;
}

std::string mdoc_word(std::string_view text)
{
    std::string made;
    for (const char byte : text)
        made += byte == '"' ? "\\(dq" : escaped(byte);
    // Words that are punctuation to a macro, or names of macros, mean themselves behind "\&".
    if (made.size() <= 3)
        made.insert(0, "\\&");
    return made.find(' ') == std::string::npos ? made : '"' + made + '"';
}

std::string mdoc_head(std::string_view title, std::string_view section, std::string_view name,
                      std::string_view summary)
{
    return fmt::format(".Dd {}\n.Dt {} {}\n.Os\n.Sh NAME\n.Nm {}\n.Nd {}\n", MANUAL_DATE, title,
                       section, name, mdoc_word(summary));
}
