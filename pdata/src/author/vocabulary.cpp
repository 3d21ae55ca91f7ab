#include "vocabulary.h"

#include <utility>

#include "csa_cut.h"

namespace
{

struct paper_t {
    std::string_view name;
    std::string_view text;
};

constexpr paper_t papers[] = {
#include "vocabulary_papers.inc"
};

std::string_view trimmed(std::string_view text)
{
    const size_t begin = text.find_first_not_of(' ');
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

/// Cuts a row of a table into its cells.
std::vector<std::string_view> cells_of(std::string_view line)
{
    std::vector<std::string_view> cells;
    for (size_t at = line.find('|'); at != std::string_view::npos;) {
        const size_t end = line.find('|', at + 1);
        if (end != std::string_view::npos)
            cells.push_back(trimmed(line.substr(at + 1, end - at - 1)));
        at = end;
    }
    return cells;
}

/// Returns what stands between backticks.
std::vector<std::string> quoted_words(std::string_view cell)
{
    std::vector<std::string> words;
    for (size_t at = cell.find('`'); at != std::string_view::npos; at = cell.find('`', at)) {
        const size_t end = cell.find('`', at + 1);
        if (end == std::string_view::npos)
            break;
        words.emplace_back(cell.substr(at + 1, end - at - 1));
        at = end + 1;
    }
    return words;
}

/// Returns a cell as plain text.
std::string plain(std::string_view cell)
{
    std::string text;
    for (size_t i = 0; i < cell.size(); ++i)
        if (cell[i] != '`' && !(cell[i] == '\\' && i + 1 < cell.size()))
            text += cell[i];
    return text;
}

/// A table that is being read.
struct table_t {
    std::string section;
    bool of_keys = false;
    std::vector<std::string> holders;
};

void begin_table(table_t &table, std::string_view first_cell)
{
    table.of_keys = first_cell == "key" || first_cell.starts_with("key of `");
    table.holders = quoted_words(first_cell);
    if (table.holders.empty())
        table.holders.emplace_back();
}

void take_row(const table_t &table, const std::vector<std::string_view> &cells,
              std::vector<vocabulary_row_t> &rows)
{
    std::vector<std::string> keys = quoted_words(cells[0]);
    if (keys.empty() && cells[0].starts_with("any"))
        keys.emplace_back("*");
    std::string meaning = plain(cells[2]);
    if (cells.size() > 3 && !cells[3].empty())
        meaning += (meaning.empty() ? "" : "; limit: ") + plain(cells[3]);
    for (const std::string &holder : table.holders)
        for (const std::string &key : keys)
            rows.push_back({table.section, holder, key, plain(cells[1]), meaning});
}

} // namespace

std::vector<vocabulary_row_t> vocabulary_read(std::string_view paper)
{
    std::vector<vocabulary_row_t> rows;
    table_t table;
    bool inside = false;
    while (!paper.empty()) {
        const std::string_view line = csa_cut(paper, '\n');
        const std::vector<std::string_view> cells = cells_of(line);
        if (line.starts_with("## "))
            table.section = plain(line.substr(3));
        if (!line.starts_with('|') || cells.size() < 3)
            inside = false;
        else if (!std::exchange(inside, true))
            begin_table(table, cells[0]);
        else if (table.of_keys && !cells[0].starts_with("--"))
            take_row(table, cells, rows);
    }
    return rows;
}

std::string_view vocabulary_paper(std::string_view name)
{
    for (const paper_t &paper : papers)
        if (paper.name == name)
            return paper.text;
    return {};
}
