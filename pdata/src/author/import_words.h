/// Lines of lists, cut into words.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "csa_cut.h"

constexpr const char *IMPORT_BLANKS = " \t\r\v\f";

/// Cuts the next line off a text: what is in front of its "#", as words between blanks.
inline std::vector<std::string_view> import_words(std::string_view &text)
{
    std::string_view line = csa_cut(text, '\n');
    line = line.substr(0, line.find('#'));
    std::vector<std::string_view> words;
    for (size_t at = line.find_first_not_of(IMPORT_BLANKS); at != std::string_view::npos;
         at = line.find_first_not_of(IMPORT_BLANKS, at)) {
        const size_t end = std::min(line.find_first_of(IMPORT_BLANKS, at), line.size());
        words.push_back(line.substr(at, end - at));
        at = end;
    }
    return words;
}
