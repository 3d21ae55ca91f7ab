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

/// Bytes of findings that are handed to standard output at once.
constexpr size_t PRINTED_AT_ONCE = 65536;

/// A finding while it is printed. Its text is put together piece by piece: there may be very many
/// findings, and a format string is read anew for each.
struct check_line_t {
    const console_t &console;
    const lint_result_t &result;
    const lint_places_t &places;
    std::string &text;
};

void put_number(std::string &text, size_t number)
{
    const fmt::format_int digits(number);
    text.append(digits.data(), digits.size());
}

void put_place(const check_line_t &line, const finding_place_t &at)
{
    const text_place_t place = lint_place_of(line.places, at.file, at.begin);
    escape_terminal_to(line.text, line.result.model.files[at.file].name);
    line.text += ':';
    put_number(line.text, place.line);
    line.text += ':';
    put_number(line.text, place.column);
    line.text += ": ";
}

/// Puts what is said of a place: "FILE:LINE:COLUMN: LEVEL: TEXT".
void put_message(const check_line_t &line, const finding_place_t &at, finding_level_t level,
                 std::string_view text)
{
    put_place(line, at);
    line.text += colour_text(line.console.out_colour, colour_of(level), finding_level_name(level));
    line.text += ": ";
    escape_line_to(line.text, text);
}

void put_excerpt(const check_line_t &line, const finding_place_t &at)
{
    line.text += '\n';
    diagnostic_excerpt(line.text, line.result.model.files[at.file].text, at.begin);
}

void put_owner(const check_line_t &line, const finding_t &finding)
{
    if (finding.protocol.empty())
        return;
    line.text += "    protocol ";
    escape_terminal_to(line.text, finding.protocol);
    if (finding.rule != 0) {
        line.text += ", rule ";
        put_number(line.text, finding.rule);
    }
    line.text += '\n';
}

void put_finding(const check_line_t &line, const finding_t &finding, finding_level_t level)
{
    put_message(line, finding.place, level, finding.message);
    line.text.append(" [").append(finding_kind(finding.id).id).append("]");
    put_excerpt(line, finding.place);
    put_owner(line, finding);
    if (!finding.hint.empty()) {
        line.text += "    hint: ";
        escape_line_to(line.text, finding.hint);
        line.text += '\n';
    }
    if (finding.related) {
        put_message(line, finding.related->place, FINDING_LEVEL_NOTE, finding.related->text);
        put_excerpt(line, finding.related->place);
    }
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
    std::string text;
    const check_count_t counts = check_each(shown, [&](size_t i, finding_level_t level) {
        put_finding({console, result, places, text}, result.findings[i], level);
        if (text.size() >= PRINTED_AT_ONCE) {
            console_write(console, text);
            text.clear();
        }
    });
    console_write(console, text);
    for (const std::string &stale : shown.stale)
        console_error(console, "the baseline has what is not found any more: {}", stale);
    print_counts(console, counts);
    return counts;
}
