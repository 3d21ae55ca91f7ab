#include "lint_edit.h"

#include <algorithm>
#include <map>

#include "lint_words.h"

namespace
{

constexpr size_t CONTEXT = 3;

/// Edits that were taken, by their first byte.
using taken_t = std::map<uint32_t, const finding_edit_t *>;

bool meets(const taken_t &taken, const finding_edit_t &edit)
{
    const auto behind = taken.upper_bound(edit.place.begin);
    if (behind != taken.end() && behind->second->place.begin < edit.place.end)
        return true;
    return behind != taken.begin() && (std::prev(behind)->second->place.end > edit.place.begin ||
                                       std::prev(behind)->first == edit.place.begin);
}

/// The lines of a text, each with its line feed.
std::vector<std::string_view> lines_of(std::string_view text)
{
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.push_back(text.substr(0, size));
        text.remove_prefix(size);
    }
    return lines;
}

/// Lines that edits change: `first` to `end` (exclusive) of the old text, and what they become.
struct changed_t {
    size_t first;
    size_t end;
    std::vector<std::string_view> lines;
};

/// A diff while it is made.
struct diff_t {
    std::vector<std::string_view> old;
    std::vector<changed_t> changes;
    std::vector<std::string> texts; ///< the new lines point into these
};

void put_line(std::string &text, char mark, std::string_view line)
{
    text += mark;
    text += line;
    if (!line.ends_with('\n'))
        text += "\n\\ No newline at end of file\n";
}

/// Groups the edits into runs of lines, and works out what each run becomes.
diff_t changes_of(std::string_view text, std::span<const finding_edit_t> edits)
{
    diff_t diff = {lines_of(text), {}, {}};
    diff.texts.reserve(edits.size());
    size_t line = 0;
    size_t begin = 0; // of the line
    for (size_t i = 0; i < edits.size();) {
        for (; line + 1 < diff.old.size() && begin + diff.old[line].size() <= edits[i].place.begin;
             ++line)
            begin += diff.old[line].size();
        const size_t from = begin;
        const size_t first = line;
        size_t end = begin + diff.old[line].size();
        const size_t first_edit = i;
        for (; i < edits.size() && edits[i].place.begin < end; ++i)
            // An edit up to the end of a line may join it with the next one.
            while (end <= edits[i].place.end && line + 1 < diff.old.size()) {
                begin = end;
                end += diff.old[++line].size();
            }
        std::vector<finding_edit_t> own(edits.begin() + static_cast<ptrdiff_t>(first_edit),
                                        edits.begin() + static_cast<ptrdiff_t>(i));
        for (finding_edit_t &edit : own) {
            edit.place.begin -= static_cast<uint32_t>(from);
            edit.place.end -= static_cast<uint32_t>(from);
        }
        diff.texts.push_back(lint_edited(text.substr(from, end - from), own));
        diff.changes.push_back({first, line + 1, lines_of(diff.texts.back())});
    }
    return diff;
}

/// Puts the changes `from` to `to` (exclusive), which share their context, as one hunk. `moved`: by
/// how many lines the new text is ahead.
void put_hunk(std::string &text, const diff_t &diff, size_t from, size_t to, ptrdiff_t &moved)
{
    const size_t first = diff.changes[from].first - std::min(diff.changes[from].first, CONTEXT);
    const size_t end = std::min(diff.changes[to - 1].end + CONTEXT, diff.old.size());
    std::string body;
    size_t added = 0;
    size_t line = first;
    for (size_t i = from; i < to; ++i) {
        const changed_t &change = diff.changes[i];
        for (; line < change.first; ++line)
            put_line(body, ' ', diff.old[line]);
        for (; line < change.end; ++line)
            put_line(body, '-', diff.old[line]);
        for (const std::string_view now : change.lines)
            put_line(body, '+', now);
        added += change.lines.size() - (change.end - change.first);
    }
    for (; line < end; ++line)
        put_line(body, ' ', diff.old[line]);
    const size_t now = end - first + added;
    text += lint_joined({"@@ -", std::to_string(first + 1), ",", std::to_string(end - first), " +",
                         std::to_string(static_cast<ptrdiff_t>(first) + moved + (now == 0 ? 0 : 1)),
                         ",", std::to_string(now), " @@\n", body});
    moved += static_cast<ptrdiff_t>(added);
}

} // namespace

std::vector<finding_edit_t> lint_edits(std::span<const finding_t> findings, uint32_t file,
                                       const std::function<bool(const finding_t &)> &wanted)
{
    taken_t taken;
    const auto file_of = [](const finding_t &finding) { return finding.place.file; };
    const auto first = std::ranges::lower_bound(findings, file, {}, file_of);
    const auto last = std::ranges::upper_bound(findings, file, {}, file_of);
    for (const finding_t &finding : std::span(first, last)) {
        const auto blocked = [&](const finding_edit_t &edit) { return meets(taken, edit); };
        if (!wanted(finding) || std::ranges::any_of(finding.edits, blocked))
            continue;
        for (const finding_edit_t &edit : finding.edits)
            taken.emplace(edit.place.begin, &edit);
    }
    std::vector<finding_edit_t> edits;
    for (const auto &[begin, edit] : taken)
        edits.push_back(*edit);
    return edits;
}

std::string lint_edited(std::string_view text, std::span<const finding_edit_t> edits)
{
    std::string now;
    size_t at = 0;
    for (const finding_edit_t &edit : edits) {
        now += text.substr(at, edit.place.begin - at);
        now += edit.text;
        at = edit.place.end;
    }
    return now += text.substr(at);
}

std::string lint_edit_diff(std::string_view name, std::string_view text,
                           std::span<const finding_edit_t> edits)
{
    if (edits.empty() || text.empty())
        return "";
    const diff_t diff = changes_of(text, edits);
    std::string shown = lint_joined({"--- ", name, "\n+++ ", name, "\n"});
    ptrdiff_t moved = 0;
    for (size_t from = 0; from < diff.changes.size();) {
        size_t to = from + 1;
        while (to < diff.changes.size() &&
               diff.changes[to].first <= diff.changes[to - 1].end + 2 * CONTEXT)
            ++to;
        put_hunk(shown, diff, from, to, moved);
        from = to;
    }
    return shown;
}
