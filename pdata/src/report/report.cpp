#include "report.h"

#include <algorithm>
#include <iterator>

#include "report_html.h"

namespace
{

struct report_asset_t {
    std::string_view name;
    std::string_view text;
};

constexpr report_asset_t assets[] = {
#include "report_files.inc"
};

std::string_view asset(std::string_view name)
{
    return std::ranges::find(assets, name, &report_asset_t::name)->text;
}

/// A section that the page's line of links leads to.
struct section_t {
    const char *anchor;
    const char *title;
    bool shown;
};

void put_head(const report_t &report, std::string &page)
{
    std::string title = html_text(report.files.back().name);
    if (report.files.size() > 1)
        title = fmt::format("{} \u2192 {}", html_text(report.files.front().name), title);
    html_put(page,
             "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
             "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
             "<meta name=\"color-scheme\" content=\"light dark\">\n<title>{}</title>\n"
             "<style>\n{}</style></head>\n<body>\n<header><h1>{}</h1>\n",
             title, asset("report.css"), title);
}

void put_links(const report_t &report, std::string &page)
{
    const section_t sections[] = {{"action", "Needs action", true},
                                  {"difference", "Difference", report.difference != nullptr},
                                  {"matchers", "Matchers", true},
                                  {"limits", "Limits", !report.files.back().limits.empty()},
                                  {"protocols", "Protocols", true}};
    page += "<nav>";
    for (const section_t &section : sections)
        if (section.shown)
            html_put(page, "<a href=\"#{}\">{}</a>", section.anchor, section.title);
    page += "</nav></header>\n<main>\n";
}

} // namespace

void report_page(const report_t &report, const report_sink_t &sink)
{
    html_page_t page = {sink};
    const report_file_t &file = report.files.back();
    put_head(report, page.text);
    put_links(report, page.text);
    report_actions(file, page.text);
    if (report.difference != nullptr)
        report_difference(*report.difference, page);
    report_totals(file, page.text);
    report_matchers(file, page.text);
    report_limits(file, page.text);
    report_protocols(file, page);
    html_put(page.text, "</main>\n<script>\n{}</script>\n</body></html>\n", asset("report.js"));
    html_hand_out(page);
}
