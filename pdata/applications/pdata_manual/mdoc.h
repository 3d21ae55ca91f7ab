/// Text for manual pages in the mdoc language.
#pragma once

#include <string>
#include <string_view>

/// Returns `text` as lines that mean themselves: escaped, filled, and each sentence on a line of
/// its own. Ends with a line end unless it is empty.
std::string mdoc_text(std::string_view text);

/// Returns the lines of `text`, escaped, each without the blanks in front of it.
std::string mdoc_lines(std::string_view text);

/// Returns one word, or several, as an argument of a macro: quoted where it must be.
std::string mdoc_word(std::string_view text);

/// Returns the lines that a page begins with. `title` is in capitals.
std::string mdoc_head(std::string_view title, std::string_view section, std::string_view name,
                      std::string_view summary);
