#include "check_print.h"

#include "diagnostic.h"
#include "escape.h"
#include "lint_places.h"

namespace
{

colour_t colour_of(finding_level_t level)
{
    if (level == FINDING_LEVEL_ERROR)
        return COLOUR_ERROR;
    return level == FINDING_LEVEL_WARNING ? COLOUR_WARNING : COLOUR_NOTE;
}

/// One finding while it is printed.
struct check_line_t {
    console_t &console;
    const lint_result_t &result;
    const lint_places_t &places;
};

void print_place(const check_line_t &line, const finding_place_t &at, finding_level_t level,
                 std::string_view text, std::string_view id)
{
    const lint_file_t &file = line.result.model.files[at.file];
    const text_place_t place = lint_place_of(line.places, at.file, at.begin);
    const std::string word =
        colour_text(line.console.out_colour, colour_of(level), finding_level_name(level));
    console_print(line.console, "{}:{}:{}: {}: {}{}\n{}", escape_terminal(file.name), place.line,
                  place.column, word, escape_line(text), id,
                  diagnostic_excerpt(file.text, at.begin));
}

void print_owner(const check_line_t &line, const finding_t &finding)
{
    if (finding.protocol.empty())
        return;
    console_print(line.console, "    protocol {}", escape_terminal(finding.protocol));
    if (finding.rule != 0)
        console_print(line.console, ", rule {}", finding.rule);
    console_write(line.console, "\n");
}

void print_finding(const check_line_t &line, const finding_t &finding, finding_level_t level)
{
    print_place(line, finding.place, level, finding.message,
                fmt::format(" [{}]", finding_kind(finding.id).id));
    print_owner(line, finding);
    if (!finding.hint.empty())
        console_print(line.console, "    hint: {}\n", escape_line(finding.hint));
    if (finding.related)
        print_place(line, finding.related->place, FINDING_LEVEL_NOTE, finding.related->text, "");
}

std::string counted(size_t nr, std::string_view what)
{
    return fmt::format("{} {}{}", nr, what, nr == 1 ? "" : "s");
}

void print_counts(console_t &console, const check_count_t &counts)
{
    std::string text;
    for (const auto &[nr, what] :
         {std::pair(counts.errors, "error"), std::pair(counts.warnings, "warning"),
          std::pair(counts.notes, "note")})
        if (nr != 0)
            text += (text.empty() ? "" : ", ") + counted(nr, what);
    if (!text.empty())
        console_print(console, "{}\n", text);
}

} // namespace

void check_count(check_count_t &counts, finding_level_t level)
{
    if (level == FINDING_LEVEL_ERROR)
        ++counts.errors;
    else if (level == FINDING_LEVEL_WARNING)
        ++counts.warnings;
    else
        ++counts.notes;
}

check_count_t check_print(console_t &console, const check_shown_t &shown)
{
    const lint_result_t &result = shown.result;
    const lint_places_t places = lint_places(result.model.files, result.findings);
    const check_count_t counts = check_each(shown, [&](size_t i, finding_level_t level) {
        print_finding({console, result, places}, result.findings[i], level);
    });
    for (const std::string &stale : shown.stale)
        console_error(console, "the baseline has what is not found any more: {}", stale);
    print_counts(console, counts);
    return counts;
}
