#include <algorithm>

#include "format_limits.h"
#include "report_html.h"

namespace
{

/// Matchers that are shown before the rest is folded away.
constexpr size_t matchers_shown = 25;

const char *matcher_way(uint32_t way)
{
    return way == ATTR_WAY_CTS ? "\u2192 server" : way == ATTR_WAY_STC ? "\u2190 server" : "";
}

/// A bar of the pieces of a matcher: its width is the matcher's share of the largest one.
void put_bar(const view_inventory_matcher_t &matcher, size_t largest, std::string &page)
{
    page += "<td class=\"bar\"><span>";
    for (const view_inventory_piece_t &piece : matcher.pieces) {
        std::string kind = piece.name;
        std::ranges::replace(kind, ' ', '-');
        html_put(page, "<i class=\"{}\" style=\"width:{:.2f}%\" title=\"{}, {}\"></i>", kind,
                 100.0 * static_cast<double>(piece.size) / static_cast<double>(largest), piece.name,
                 html_size(piece.size));
    }
    page += "</span></td>";
}

void put_row(const view_inventory_matcher_t &matcher, size_t largest, std::string &page)
{
    html_put(page, "<tr><th scope=\"row\">{}:{} <small>{}</small></th>",
             html_text(matcher.protocol), html_text(matcher.attribute), matcher_way(matcher.way));
    put_bar(matcher, largest, page);
    html_put(page, "<td class=\"number\">{}</td><td class=\"number\">{} {}</td></tr>\n",
             html_size(matcher.size), html_number(matcher.values),
             matcher.values == 1 ? "value" : "values");
}

void put_rows(const std::vector<const view_inventory_matcher_t *> &matchers, size_t begin,
              size_t end, std::string &page)
{
    page += "<table class=\"bars\">\n";
    for (size_t i = begin; i < end; ++i)
        put_row(*matchers[i], std::max<size_t>(matchers.front()->size, 1), page);
    page += "</table>\n";
}

void put_legend(std::string &page)
{
    constexpr const char *kinds[] = {"suffix tree", "prefix tree",  "automaton", "offset automaton",
                                     "dot prefix",  "second level", "numbers"};
    page += "<p class=\"legend\">";
    for (std::string kind : kinds) {
        const std::string text = kind;
        std::ranges::replace(kind, ' ', '-');
        html_put(page, "<span><i class=\"{}\"></i>{}</span> ", kind, text);
    }
    page += "</p>\n";
}

/// Adds the row of a limit; one of 0 is for what is lost whenever there is any.
void put_limit(const view_limit_t &limit, std::string &page)
{
    const double share = limit.limit == 0 ? 100
                                          : 100.0 * static_cast<double>(limit.used) /
                                                static_cast<double>(limit.limit);
    html_put(page,
             "<tr><th scope=\"row\">{} <small>{}</small></th><td class=\"bar\"><span>"
             "<i class=\"{}\" style=\"width:{:.2f}%\"></i></span></td>",
             html_text(limit.subject), html_text(limit.name),
             view_limit_passed(limit)                      ? "passed"
             : format_nearly_full(limit.used, limit.limit) ? "full"
                                                           : "free",
             std::min(share, 100.0));
    if (limit.limit == 0)
        html_put(page, "<td class=\"number\">lost</td><td class=\"number\">{}</td></tr>\n",
                 html_number(limit.used));
    else
        html_put(page,
                 "<td class=\"number\">{:.1f} %</td><td class=\"number\">{} of {}</td></tr>\n",
                 share, html_number(limit.used), html_number(limit.limit));
}

} // namespace

void report_matchers(const report_file_t &file, std::string &page)
{
    std::vector<const view_inventory_matcher_t *> matchers;
    for (const view_inventory_matcher_t &matcher : file.inventory->matchers)
        matchers.push_back(&matcher);
    std::ranges::stable_sort(matchers, std::ranges::greater(), &view_inventory_matcher_t::size);
    page += "<section id=\"matchers\"><h2>Matchers by size</h2>\n";
    if (matchers.empty()) {
        page += "<p>A pdb of descriptions has none; a loadable one has them.</p></section>\n";
        return;
    }
    put_legend(page);
    const size_t shown = std::min(matchers.size(), matchers_shown);
    put_rows(matchers, 0, shown, page);
    if (shown < matchers.size()) {
        html_put(page, "<details><summary>{} smaller ones</summary>\n", matchers.size() - shown);
        put_rows(matchers, shown, matchers.size(), page);
        page += "</details>\n";
    }
    page += "</section>\n";
}

void report_limits(const report_file_t &file, std::string &page)
{
    constexpr size_t limits_shown = 15;
    constexpr size_t limits_most = 500;
    if (file.limits.empty())
        return;
    page += "<section id=\"limits\"><h2>Limits</h2>\n<p>How full each limit of the format is, the "
            "fullest first.</p>\n<table class=\"bars\">\n";
    const size_t rows = std::min(file.limits.size(), limits_most);
    for (size_t i = 0; i < rows; ++i) {
        if (i == limits_shown)
            html_put(page,
                     "</table>\n<details><summary>{} emptier ones</summary>\n"
                     "<table class=\"bars\">\n",
                     file.limits.size() - i);
        put_limit(file.limits[i], page);
    }
    page += "</table>\n";
    if (rows < file.limits.size())
        html_put(page, "<p>{} others are no fuller.</p>\n", file.limits.size() - rows);
    page += file.limits.size() > limits_shown ? "</details></section>\n" : "</section>\n";
}
