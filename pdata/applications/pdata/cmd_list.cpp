#include <memory>

#include "commands.h"
#include "escape.h"
#include "list_limits.h"
#include "list_names.h"
#include "open_file.h"
#include "pdb_verify.h"
#include "view_inventory.h"

namespace
{

struct list_options_t {
    std::string file;
    bool protocols = false;
    bool limits = false;
    std::string rules_of;
    std::string values_of;
    CLI::Option *rules = nullptr;
    CLI::Option *values = nullptr;
};

/// What is to be listed by name.
list_names_t names_of(const list_options_t &options)
{
    list_names_t chosen = {options.protocols, {}, {}};
    if (options.rules->count() != 0)
        chosen.rules = options.rules_of;
    if (options.values->count() != 0)
        chosen.values = options.values_of;
    return chosen;
}

void print_matcher(console_t &console, const view_inventory_matcher_t &matcher)
{
    const std::string name =
        escape_terminal(matcher.protocol) + ':' + escape_terminal(matcher.attribute);
    console_print(console, "  {:<24} {} {:5} values, {:7} bytes", name, attr_way2str(matcher.way),
                  matcher.values, matcher.size);
    const char *before = ": ";
    for (const view_inventory_piece_t &piece : matcher.pieces) {
        console_print(console, "{}{} {}", before, piece.name, piece.size);
        before = ", ";
    }
    console_print(console, "\n");
}

void print_text(console_t &console, const view_inventory_t &inventory)
{
    console_print(console, "parts:\n");
    for (const view_inventory_part_t &part : inventory.parts)
        console_print(console, "  {:2} {:<22} {:10} bytes\n", part.type, part.name, part.size);
    const view_totals_t &totals = inventory.totals;
    std::string strings = fmt::format("{}", totals.strings);
    if (inventory.has_main_strings)
        strings += fmt::format(" + {}", inventory.main_strings);
    if (inventory.has_descriptions)
        console_print(console, "descriptions: {} protocols, {} rules, {} values, {} strings\n",
                      totals.protocols, totals.rules, totals.values, strings);
    if (inventory.has_matchers)
        console_print(console, "matchers:\n");
    for (const view_inventory_matcher_t &matcher : inventory.matchers)
        print_matcher(console, matcher);
    if (inventory.has_rules)
        console_print(console, "rules: {} rules, {} item slots\n", inventory.rules,
                      inventory.slots);
}

json_document_t matcher_document(const view_inventory_matcher_t &matcher)
{
    json_document_t document = {{"protocol", json_text(matcher.protocol)},
                                {"attribute", json_text(matcher.attribute)},
                                {"direction", attr_way2str(matcher.way)},
                                {"values", matcher.values},
                                {"offset", matcher.offset},
                                {"bytes", matcher.size},
                                {"pieces", json_document_t::array()}};
    for (const view_inventory_piece_t &piece : matcher.pieces)
        document["pieces"].push_back({{"name", piece.name}, {"bytes", piece.size}});
    return document;
}

json_document_t list_document(const std::string &name, const view_inventory_t &inventory)
{
    json_document_t document = json_document("list");
    document["file"] = json_text(name);
    document["parts"] = json_document_t::array();
    for (const view_inventory_part_t &part : inventory.parts)
        document["parts"].push_back({{"type", part.type},
                                     {"name", part.name},
                                     {"offset", part.offset},
                                     {"bytes", part.size}});
    const view_totals_t &totals = inventory.totals;
    if (inventory.has_descriptions)
        document["descriptions"] = {{"protocols", totals.protocols},
                                    {"rules", totals.rules},
                                    {"values", totals.values},
                                    {"strings", totals.strings},
                                    {"main_strings", inventory.main_strings}};
    if (inventory.has_matchers)
        document["matchers"] = json_document_t::array();
    for (const view_inventory_matcher_t &matcher : inventory.matchers)
        document["matchers"].push_back(matcher_document(matcher));
    if (inventory.has_rules)
        document["rules"] = {{"rules", inventory.rules}, {"slots", inventory.slots}};
    return document;
}

/// Lists the parts, of an unsafe file those that can be read.
exit_status_t list_parts(console_t &console, const input_file_t &file)
{
    pdb_view_t pdb;
    view_inventory_t inventory;
    view_error_t error;
    const bool safe = view_inventory_take(input_file_bytes(file), inventory, error) &&
                      pdb_verify_open(input_file_bytes(file), pdb, error);
    if (!safe)
        print_fault(console, file.name, error);
    if (console.format == OUTPUT_JSON)
        console_document(console, list_document(file.name, inventory));
    else
        print_text(console, inventory);
    return safe ? EXIT_STATUS_FINE : EXIT_STATUS_FILE;
}

exit_status_t list_run(const list_options_t &options, console_t &console)
{
    input_file_t file;
    if (!open_file(console, options.file, file))
        return EXIT_STATUS_FILE;
    if (options.limits)
        return list_limits(console, file);
    const list_names_t chosen = names_of(options);
    if (chosen.protocols || chosen.rules || chosen.values)
        return list_names(console, file, chosen);
    return list_parts(console, file);
}

} // namespace

command_run_t list_declare(CLI::App &app)
{
    auto options = std::make_shared<list_options_t>();
    app.add_option("FILE", options->file, "A pdb, - for standard input")->required();
    app.add_flag("--protocols", options->protocols, "List its protocols");
    CLI::Option *const limits =
        app.add_flag("--limits", options->limits, "List how full the limits of the format are")
            ->excludes("--protocols");
    options->rules = app.add_option("--rules", options->rules_of, "List its rules, of one protocol")
                         ->expected(0, 1)
                         ->type_name("PROTOCOL");
    options->values =
        app.add_option("--values", options->values_of, "List its values, those of one protocol")
            ->expected(0, 1)
            ->type_name("PROTOCOL");
    limits->excludes(options->rules)->excludes(options->values);
    return [options](console_t &console) { return list_run(*options, console); };
}
