/// Writing HTML: nothing that comes from outside goes into a page but through here.
#pragma once

#include <string>
#include <string_view>

#include <fmt/format.h>

#include "report.h"

/// Returns text for the page, between tags or within a quoted value.
std::string html_text(std::string_view text);

/// Returns a number with a thin gap between groups of three digits.
std::string html_number(uint64_t number);

/// Returns a size in bytes, KiB or MiB.
std::string html_size(uint64_t bytes);

/// Adds formatted text to a page. Texts among `args` went through html_text.
template <typename... Args>
void html_put(std::string &page, fmt::format_string<Args...> format, Args &&...args)
{
    fmt::format_to(std::back_inserter(page), format, std::forward<Args>(args)...);
}

/// A page on its way out.
struct html_page_t {
    const report_sink_t &sink;
    std::string text = {}; ///< what was not handed out yet
    size_t handed = 0;     ///< bytes that were

    size_t size() const { return handed + text.size(); }
};

/// Hands out what there is.
void html_hand_out(html_page_t &page);

// The sections of a page, in the order in which they stand.
void report_actions(const report_file_t &file, std::string &page);
void report_difference(const report_difference_t &difference, html_page_t &page);
void report_totals(const report_file_t &file, std::string &page);
void report_matchers(const report_file_t &file, std::string &page);
void report_limits(const report_file_t &file, std::string &page);
void report_protocols(const report_file_t &file, html_page_t &page);
