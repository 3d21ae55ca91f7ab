#include "format_scope.h"
#include "format_values.h"
#include "report_html.h"

namespace
{

void put_attribute(const model_sub_rule_t &sub_rule, const model_attribute_t &attribute,
                   std::string &page)
{
    for (const model_value_t &value : attribute.values) {
        html_put(page, "<li><i>{}:{}{}</i> <code>{}</code>", html_text(sub_rule.bottom),
                 attr_way2prefix(attribute.way), html_text(attribute.name), html_text(value.text));
        if (value.offset != 0)
            html_put(page, " at byte {}", value.offset);
        page += '\n';
    }
}

void put_rule(const model_rule_t &rule, std::string &page)
{
    html_put(page, "<li><b>{}:{}</b>", format_priority_range(rule.priority),
             format_priority_order(rule.priority));
    for (const std::string_view &name : rule.path)
        html_put(page, "{}{}", &name == &rule.path.front() ? " /" : "/", html_text(name));
    for (const std::string_view word : format_scope_words(rule.scope & ~FORMAT_SCOPE_ALWAYS))
        html_put(page, " <small>{}</small>", word);
    if (rule.preempt)
        page += " <small>preempt</small>";
    if (rule.fastpass)
        page += " <small>fastpass</small>";
    page += "<ul>\n";
    for (const model_sub_rule_t &sub_rule : rule.sub_rules) {
        if (sub_rule.attributes.empty())
            html_put(page, "<li><i>{}</i>\n", html_text(sub_rule.bottom));
        for (const model_attribute_t &attribute : sub_rule.attributes)
            put_attribute(sub_rule, attribute, page);
    }
    page += "</ul>\n";
}

/// Bytes that wait before they are handed out.
constexpr size_t waiting_max = 32 << 10;

/// Most bytes of a page with names of protocols: their rules leave some room.
constexpr size_t names_max = REPORT_PAGE_MAX + (512 << 10);

/// How many protocols have no room for their rules, and how many for themselves.
struct left_out_t {
    size_t rules = 0;
    size_t protocols = 0;
};

/// Adds the rules of a protocol. Returns false when some are left out for want of room.
bool put_rules(const model_strings_t &strings, const view_protocol_t &view, html_page_t &page)
{
    model_rule_t rule;
    view_error_t ignored; // a verified pdb reads to its end
    const uint32_t count = view_list_count(view.rules);
    for (uint32_t i = 0; i < count; ++i) {
        const size_t begin = page.text.size();
        (void)model_rule_read(strings, view, i, rule, ignored);
        put_rule(rule, page.text);
        if (page.size() > REPORT_PAGE_MAX) {
            page.text.resize(begin);
            html_put(page.text, "<li>and {} more\n", html_number(count - i));
            return false;
        }
        if (page.text.size() > waiting_max)
            html_hand_out(page);
    }
    return true;
}

/// Adds a protocol, folded.
void put_protocol(const model_strings_t &strings, const view_protocol_t &view, html_page_t &page,
                  left_out_t &left_out)
{
    model_protocol_t protocol;
    view_error_t ignored;
    if (page.size() > names_max || !model_protocol_read(strings, view, protocol, ignored)) {
        ++left_out.protocols;
        return;
    }
    html_put(page.text, "<details class=\"p\"><summary><b>{}</b> <small>{}",
             html_text(protocol.name), protocol.id);
    for (const auto &[category, value] : protocol.tags)
        html_put(page.text, " \u00b7 {}", html_text(value));
    const uint32_t rules = view_list_count(view.rules);
    html_put(page.text, " \u00b7 {} {}</small></summary><ol>\n", rules,
             rules == 1 ? "rule" : "rules");
    left_out.rules += put_rules(strings, view, page) ? 0 : 1;
    page.text += "</ol></details>\n";
}

/// Says what there is no room for.
void put_left_out(const left_out_t &left_out, std::string &page)
{
    constexpr const char *format = "<p>{} {} protocols are left out, to keep this page small; "
                                   "<code>pdata list --rules --values</code> shows them.</p>\n";
    if (left_out.rules != 0)
        html_put(page, format, "Rules of", html_number(left_out.rules));
    if (left_out.protocols != 0)
        html_put(page, format, "Another", html_number(left_out.protocols));
}

} // namespace

void report_protocols(const report_file_t &file, html_page_t &page)
{
    left_out_t left_out;
    page.text += "<section id=\"protocols\"><h2>Protocols</h2>\n"
                 "<p id=\"search\" hidden><input type=\"search\" placeholder=\"Search names, ids, "
                 "values\" aria-label=\"Search protocols\"> <span></span></p>\n";
    if (file.source == nullptr)
        page.text += "<p>The descriptions do not read.</p>\n";
    else
        for (const source_protocol_t &place : file.source->protocols)
            put_protocol(source_strings(*file.source, place), source_protocol(*file.source, place),
                         page, left_out);
    put_left_out(left_out, page.text);
    page.text += "</section>\n";
}
