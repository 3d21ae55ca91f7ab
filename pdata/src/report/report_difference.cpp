#include "report_html.h"

namespace
{

constexpr const char *change_names[] = {"added", "removed", "changed"};

/// Protocols that are written out.
constexpr size_t protocols_shown = 1000;

void put_changed_totals(const char *what, const size_t (&totals)[3], std::string &page)
{
    html_put(page, "<tr><th scope=\"row\">{}</th>", what);
    for (size_t kind = 0; kind < 3; ++kind)
        html_put(page, "<td class=\"number {}\">{}</td>",
                 totals[kind] == 0 ? "" : change_names[kind], html_number(totals[kind]));
    page += "</tr>\n";
}

void put_changed_fields(const std::vector<field_difference_t> &fields, std::string &page)
{
    for (const field_difference_t &field : fields)
        html_put(page, "<li>{}: <del>{}</del> <ins>{}</ins>\n", field.name, html_text(field.before),
                 html_text(field.after));
}

void put_changed_rule(const rule_difference_t &rule, std::string &page)
{
    html_put(page, "<li class=\"{}\">rule {} {}<ul>\n", change_names[rule.kind],
             html_text(rule.order), change_names[rule.kind]);
    put_changed_fields(rule.fields, page);
    for (const std::string &value : rule.removed)
        html_put(page, "<li><del>{}</del>\n", html_text(value));
    for (const std::string &value : rule.added)
        html_put(page, "<li><ins>{}</ins>\n", html_text(value));
    page += "</ul>\n";
}

void put_changed_protocol(const protocol_difference_t &protocol, std::string &page)
{
    html_put(page,
             "<details class=\"{0}\"><summary><b>{1}</b> <small>{2} \u00b7 {0}</small></summary>"
             "<ul>\n",
             change_names[protocol.kind], html_text(protocol.name), protocol.id);
    put_changed_fields(protocol.fields, page);
    for (const rule_difference_t &rule : protocol.rules)
        put_changed_rule(rule, page);
    page += "</ul></details>\n";
}

void put_changed_aliases(const alias_difference_t &aliases, std::string &page)
{
    if (aliases.removed.empty() && aliases.added.empty())
        return;
    page += "<details class=\"changed\"><summary><b>Matcher aliases</b></summary><ul>\n";
    for (const std::string &alias : aliases.removed)
        html_put(page, "<li><del>{}</del>\n", html_text(alias));
    for (const std::string &alias : aliases.added)
        html_put(page, "<li><ins>{}</ins>\n", html_text(alias));
    page += "</ul></details>\n";
}

} // namespace

void report_difference(const pdb_difference_t &difference, std::string &page)
{
    page += "<section id=\"difference\"><h2>Difference</h2>\n";
    if (difference.is_empty()) {
        page += "<p class=\"fine\">None: both say the same.</p></section>\n";
        return;
    }
    page += "<table><tr><td></td><th>added</th><th>removed</th><th>changed</th></tr>\n";
    put_changed_totals("protocols", difference.totals.protocols, page);
    put_changed_totals("rules", difference.totals.rules, page);
    put_changed_totals("values", difference.totals.values, page);
    page += "</table>\n";
    put_changed_aliases(difference.aliases, page);
    size_t shown = 0;
    for (; shown < difference.protocols.size() && shown < protocols_shown &&
           page.size() < REPORT_PAGE_MAX / 2;
         ++shown)
        put_changed_protocol(difference.protocols[shown], page);
    if (shown < difference.protocols.size())
        html_put(page, "<p>and {} more; <code>pdata diff</code> shows them.</p>\n",
                 html_number(difference.protocols.size() - shown));
    page += "</section>\n";
}
