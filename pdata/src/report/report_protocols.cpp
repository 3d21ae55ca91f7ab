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

/// Adds a protocol, folded. Returns false when its rules are left out for want of room.
bool put_protocol(const model_protocol_t &protocol, std::string &page)
{
    html_put(page, "<details class=\"p\"><summary><b>{}</b> <small>{}", html_text(protocol.name),
             protocol.id);
    for (const auto &[category, value] : protocol.tags)
        html_put(page, " \u00b7 {}", html_text(value));
    html_put(page, " \u00b7 {} {}</small></summary>", protocol.rules.size(),
             protocol.rules.size() == 1 ? "rule" : "rules");
    const size_t begin = page.size();
    page += "<ol>\n";
    for (const model_rule_t &rule : protocol.rules)
        put_rule(rule, page);
    page += "</ol></details>\n";
    if (page.size() <= REPORT_PAGE_MAX)
        return true;
    page.resize(begin);
    page += "</details>\n";
    return false;
}

} // namespace

void report_protocols(const report_file_t &file, std::string &page)
{
    size_t left_out = 0;
    page += "<section id=\"protocols\"><h2>Protocols</h2>\n"
            "<p id=\"search\" hidden><input type=\"search\" placeholder=\"Search names, ids, "
            "values\" aria-label=\"Search protocols\"> <span></span></p>\n";
    if (file.model == nullptr)
        page += "<p>The descriptions do not read.</p>\n";
    else
        for (const model_protocol_t &protocol : file.model->protocols)
            left_out += put_protocol(protocol, page) ? 0 : 1;
    if (left_out != 0)
        html_put(page,
                 "<p>The rules of {} protocols are left out, to keep this page small; "
                 "<code>pdata list --rules --values</code> shows them.</p>\n",
                 html_number(left_out));
    page += "</section>\n";
}
