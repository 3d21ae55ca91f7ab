#include <algorithm>

#include "report_html.h"

namespace
{

constexpr const char *grade_classes[] = {"bad", "warning", "note"};

/// Actions of one kind that are shown before they are folded, and that are written out at most.
constexpr size_t actions_open = 6;
constexpr size_t actions_shown = 500;

using report_group_t = std::vector<const report_action_t *>;

/// The actions of a grade, those of one kind together, in the order in which the kinds come up.
std::vector<report_group_t> groups_of(const std::vector<report_action_t> &actions, uint32_t grade)
{
    std::vector<report_group_t> groups;
    for (const report_action_t &action : actions) {
        if (action.grade != grade)
            continue;
        const auto same = [&action](const report_group_t &group) {
            return group.front()->what == action.what;
        };
        auto group = std::ranges::find_if(groups, same);
        if (group == groups.end())
            group = groups.insert(groups.end(), report_group_t());
        group->push_back(&action);
    }
    return groups;
}

/// Adds actions of one kind: each a line, or one line that unfolds.
void put_group(const report_group_t &group, std::string &page)
{
    const report_action_t &first = *group.front();
    if (group.size() <= actions_open) {
        for (const report_action_t *action : group)
            html_put(page, "<li class=\"{}\"><b>{}</b> {}</li>\n", grade_classes[first.grade],
                     html_text(action->what), html_text(action->text));
        return;
    }
    html_put(page, "<li class=\"{}\"><details><summary><b>{}</b> \u00d7 {}</summary><ul>\n",
             grade_classes[first.grade], html_text(first.what), html_number(group.size()));
    for (size_t i = 0; i < group.size() && i < actions_shown; ++i)
        html_put(page, "<li>{}\n", html_text(group[i]->text));
    if (group.size() > actions_shown)
        html_put(page, "<li>and {} more\n", html_number(group.size() - actions_shown));
    page += "</ul></details></li>\n";
}

void put_tile(std::string &page, const std::string &number, const char *what)
{
    html_put(page, "<li><b>{}</b> {}</li>\n", number, what);
}

/// What the load word says, in words.
const char *kind_of(const view_inventory_t &inventory)
{
    return inventory.has_matchers ? "loadable" : "descriptions";
}

} // namespace

void report_actions(const report_file_t &file, std::string &page)
{
    page += "<section id=\"action\"><h2>Needs action</h2>\n";
    if (file.actions.empty())
        page += "<p class=\"fine\">Nothing: the file is sound, and no limit is nearly full.</p>\n";
    page += "<ul class=\"actions\">\n";
    for (uint32_t grade = REPORT_BAD; grade <= REPORT_NOTE; ++grade)
        for (const std::vector<const report_action_t *> &group : groups_of(file.actions, grade))
            put_group(group, page);
    page += "</ul></section>\n";
}

void report_totals(const report_file_t &file, std::string &page)
{
    const view_totals_t &totals = file.inventory->totals;
    page += "<section><h2>What is in it</h2>\n<ul class=\"tiles\">\n";
    put_tile(page, html_size(file.size), kind_of(*file.inventory));
    put_tile(page, html_number(totals.protocols), "protocols");
    put_tile(page, html_number(totals.rules), "rules");
    put_tile(page, html_number(totals.values), "values");
    put_tile(page, html_number(totals.strings), "strings");
    if (file.inventory->has_matchers)
        put_tile(page, html_number(file.inventory->matchers.size()), "matchers");
    page += "</ul>\n<details><summary>Parts of the file</summary><table>\n";
    for (const view_inventory_part_t &part : file.inventory->parts)
        html_put(page, "<tr><td>{}</td><td class=\"number\">{}</td></tr>\n", part.name,
                 html_size(part.size));
    page += "</table></details></section>\n";
}
