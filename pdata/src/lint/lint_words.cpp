#include "lint_words.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

#include "csa_char.h"
#include "csa_escape.h"

namespace
{

/// Most bytes of a text in a message, and edits between a word and the one that is meant.
constexpr size_t SHOWN_MAX = 60;
constexpr size_t MEANT_MAX = 2;
constexpr size_t WORD_MIN = 2;
constexpr size_t WORD_MAX = 64;

/// Most words that a hint lists.
constexpr size_t LISTED_MAX = 16;

} // namespace

size_t lint_distance(std::string_view a, std::string_view b)
{
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i);
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = std::exchange(row[j], std::min({replaced, row[j] + 1, row[j - 1] + 1}));
        }
    }
    return row.back();
}

std::string lint_joined(std::initializer_list<std::string_view> texts)
{
    std::string joined;
    for (const std::string_view text : texts)
        joined += text;
    return joined;
}

bool lint_is_digits(std::string_view text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

std::string lint_without_blanks(std::string_view text)
{
    std::string without(text);
    std::erase_if(without, char_is_blank);
    return without;
}

std::string lint_quoted(std::string_view text)
{
    std::string shown = "\"";
    shown += text.substr(0, SHOWN_MAX);
    return shown + (text.size() > SHOWN_MAX ? "...\"" : "\"");
}

std::string_view lint_nearest(std::string_view word, std::span<const std::string_view> words)
{
    std::string_view nearest;
    size_t least = MEANT_MAX + 1;
    for (const std::string_view candidate : words) {
        if (word.size() < WORD_MIN || candidate.size() > WORD_MAX ||
            candidate.size() > word.size() + MEANT_MAX ||
            word.size() > candidate.size() + MEANT_MAX ||
            (word.front() != candidate.front() && word.back() != candidate.back()))
            continue; // nobody mistakes both ends of a word
        const size_t edits = lint_distance(word, candidate);
        if (edits < least && edits < candidate.size()) {
            least = edits;
            nearest = candidate;
        }
    }
    return nearest;
}

std::string lint_meant(std::string_view word, std::span<const std::string_view> words)
{
    const std::string_view nearest = lint_nearest(word, words);
    if (!nearest.empty())
        return "write " + lint_quoted(nearest);
    std::string text;
    for (const std::string_view known : words.first(std::min(words.size(), LISTED_MAX)))
        text += (text.empty() ? "write one of " : ", ") + lint_quoted(known);
    return text + (words.size() > LISTED_MAX ? ", ..." : "");
}

std::string lint_json(std::string_view text)
{
    constexpr std::string_view letters = "bfnrt";
    std::string written;
    written.reserve(text.size() + 2);
    written = '"';
    for (const char c : text) {
        const auto letter =
            c < 0 || c >= ' '
                ? letters.end() // which no letter behind a backslash stands for
                : std::ranges::find_if(letters, [c](char l) { return char_escaped(l) == c; });
        if (letter != letters.end())
            written += {'\\', *letter};
        else if (c == '"' || c == '\\')
            written += {'\\', c};
        else
            written += c;
    }
    return written + '"';
}

std::string lint_decoded(std::string_view raw)
{
    std::string text;
    // A backslash at the end guards nothing; without any, npos is none of the places in front.
    for (size_t escape = 0; (escape = raw.find('\\')) < raw.size() - 1;) {
        text += raw.substr(0, escape);
        text += char_escaped(raw[escape + 1]);
        raw.remove_prefix(escape + 2);
    }
    return text.append(raw);
}

bool lint_is_beyond(std::string_view digits, uint64_t max)
{
    uint64_t number = 0;
    for (const char c : digits) {
        number = number * 10 + static_cast<uint64_t>(c - '0');
        if (number > max)
            return true;
    }
    return false;
}
