#include "report_html.h"

#include "escape.h"

std::string html_text(std::string_view text)
{
    std::string made;
    for (const char c : escape_line(text)) {
        switch (c) {
        case '&':
            made += "&amp;";
            break;
        case '<':
            made += "&lt;";
            break;
        case '>':
            made += "&gt;";
            break;
        case '"':
            made += "&quot;";
            break;
        case '\'':
            made += "&#39;";
            break;
        default:
            made += c;
        }
    }
    return made;
}

std::string html_number(uint64_t number)
{
    std::string digits = fmt::format("{}", number);
    for (size_t end = digits.size(); end > 3; end -= 3)
        digits.insert(end - 3, "\u202f");
    return digits;
}

std::string html_size(uint64_t bytes)
{
    constexpr uint64_t kib = 1024;
    if (bytes < 10 * kib)
        return html_number(bytes) + " bytes";
    if (bytes < 10 * kib * kib)
        return html_number(bytes / kib) + " KiB";
    return html_number(bytes / kib / kib) + " MiB";
}

void html_hand_out(html_page_t &page)
{
    page.sink.put(page.sink.context, page.text);
    page.handed += page.text.size();
    page.text.clear();
}
