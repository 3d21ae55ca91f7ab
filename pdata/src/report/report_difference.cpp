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

/// The protocols of a difference on their way into the page.
struct changes_t {
    html_page_t &page;
    size_t shown = 0;
    size_t left_out = 0;       ///< protocols
    size_t rules_left_out = 0; ///< of the last protocol
    bool open = false;         ///< the last protocol is in the page
};

bool has_room(const changes_t &changes)
{
    return changes.page.size() < REPORT_PAGE_MAX / 2;
}

void close_protocol(changes_t &changes)
{
    std::string &page = changes.page.text;
    if (!changes.open)
        return;
    if (changes.rules_left_out != 0)
        html_put(page, "<li>and {} more rules\n", html_number(changes.rules_left_out));
    page += "</ul></details>\n";
    changes.rules_left_out = 0;
    changes.open = false;
    html_hand_out(changes.page);
}

void take_aliases(void *context, const alias_difference_t &aliases)
{
    put_changed_aliases(aliases, static_cast<changes_t *>(context)->page.text);
}

void take_protocol(void *context, const protocol_difference_t &protocol)
{
    changes_t &changes = *static_cast<changes_t *>(context);
    close_protocol(changes);
    if (changes.shown == protocols_shown || !has_room(changes)) {
        ++changes.left_out;
        return;
    }
    ++changes.shown;
    changes.open = true;
    std::string &page = changes.page.text;
    html_put(page,
             "<details class=\"{0}\"><summary><b>{1}</b> <small>{2} \u00b7 {0}</small></summary>"
             "<ul>\n",
             change_names[protocol.kind], html_text(protocol.name), protocol.id);
    put_changed_fields(protocol.fields, page);
}

void take_rule(void *context, const rule_difference_t &rule)
{
    changes_t &changes = *static_cast<changes_t *>(context);
    if (!changes.open)
        return;
    if (has_room(changes))
        put_changed_rule(rule, changes.page.text);
    else
        ++changes.rules_left_out;
}

/// Adds what a number of things, which the page has no room for, is shown by.
void put_left_out(std::string &page, size_t number, const char *what)
{
    if (number != 0)
        html_put(page, "<p>and {} more{}; <code>pdata diff</code> shows them.</p>\n",
                 html_number(number), what);
}

} // namespace

void report_difference(const report_difference_t &difference, html_page_t &page)
{
    page.text += "<section id=\"difference\"><h2>Difference</h2>\n";
    if (difference.counted.is_empty()) {
        page.text += "<p class=\"fine\">None: both say the same.</p></section>\n";
        return;
    }
    const difference_totals_t &totals = difference.counted.totals;
    page.text += "<table><tr><td></td><th>added</th><th>removed</th><th>changed</th></tr>\n";
    put_changed_totals("protocols", totals.protocols, page.text);
    put_changed_totals("rules", totals.rules, page.text);
    put_changed_totals("values", totals.values, page.text);
    page.text += "</table>\n";
    changes_t changes = {page};
    const size_t unlisted = difference.walk({take_aliases, take_protocol, take_rule, &changes});
    close_protocol(changes);
    put_left_out(page.text, changes.left_out, "");
    put_left_out(page.text, unlisted, " values");
    page.text += "</section>\n";
}
