#include "list_names.h"

#include "escape.h"
#include "format_scope.h"
#include "format_types.h"
#include "format_values.h"
#include "open_pdb.h"
#include "view_catalog.h"
#include "view_values.h"

namespace
{

/// A listing under way.
struct listing_t {
    console_t &console;
    const pdb_view_t &view;
    list_names_t chosen;
    bool any = false; ///< something stands in the list that is printed

    bool json() const { return console.format == OUTPUT_JSON; }
};

/// Adds a document to the list that is printed.
void add(listing_t &listing, const json_document_t &document)
{
    console_write(listing.console, listing.any ? ",\n    {" : "\n    {");
    console_write(listing.console, json_members(document, 4));
    console_write(listing.console, "\n    }");
    listing.any = true;
}

bool is_of(const std::string &name, std::string_view protocol)
{
    return name.empty() || name == protocol;
}

void put_protocol(void *context, const view_catalog_protocol_t &protocol)
{
    listing_t &listing = *static_cast<listing_t *>(context);
    const view_protocol_t &fields = protocol.fields;
    if (!listing.chosen.protocols)
        return;
    const uint32_t nr_rule = view_list_count(fields.rules);
    const std::string version = fmt::format("{}.{}.{}", fields.version_major, fields.version_minor,
                                            fields.version_revision);
    if (listing.json())
        add(listing, {{"id", fields.id},
                      {"name", json_text(protocol.name)},
                      {"version", version},
                      {"rules", nr_rule}});
    else
        console_print(listing.console, "{:10}  {}  version {}, {} rules\n", fields.id,
                      escape_terminal(protocol.name), version, nr_rule);
}

json_document_t rule_document(const view_catalog_rule_t &rule)
{
    return {{"protocol", json_text(rule.protocol)},
            {"rule", rule.number},
            {"path", json_texts(rule.path)},
            {"priority", rule.fields.priority},
            {"scope", format_scope_words(rule.fields.scope)},
            {"preempt", rule.fields.preempt != 0},
            {"values", rule.values}};
}

void put_rule(void *context, const view_catalog_rule_t &rule)
{
    listing_t &listing = *static_cast<listing_t *>(context);
    if (!listing.chosen.rules || !is_of(*listing.chosen.rules, rule.protocol))
        return;
    if (listing.json())
        return add(listing, rule_document(rule));
    console_print(listing.console, "rule {} of {}, ", rule.number, escape_terminal(rule.protocol));
    for (const std::string_view name : rule.path)
        console_print(listing.console, "/{}", escape_terminal(name));
    console_print(listing.console, "{}priority {}:{}, scope {}{}, {} values\n",
                  rule.path.empty() ? "" : ", ", format_priority_range(rule.fields.priority),
                  format_priority_order(rule.fields.priority),
                  fmt::join(format_scope_words(rule.fields.scope), " "),
                  rule.fields.preempt != 0 ? ", preempt" : "", rule.values);
}

void put_value(listing_t &listing, const view_stored_value_t &value)
{
    if (listing.json())
        return add(listing, {{"protocol", json_text(value.protocol)},
                             {"rule", value.rule + 1},
                             {"attribute_protocol", json_text(value.bottom)},
                             {"attribute", json_text(value.attribute)},
                             {"direction", attr_way2str(value.way)},
                             {"value", json_text(value.text)}});
    console_print(listing.console, "{}:{} {} \"{}\"  rule {} of {}\n",
                  escape_terminal(value.bottom), escape_terminal(value.attribute),
                  attr_way2str(value.way), escape_terminal(value.text), value.rule + 1,
                  escape_terminal(value.protocol));
}

/// Goes through a verified pdb, which reads to its end.
void walk(listing_t &listing)
{
    view_error_t ignored;
    const pdb_view_t &view = listing.view;
    if (listing.chosen.protocols || listing.chosen.rules)
        (void)view_catalog_walk(pdb_view_root(view, TLV_TYPE_ROOT_PROTODESCS),
                                {put_protocol, put_rule, &listing}, ignored);
    const auto put = [](void *context, const view_stored_value_t &value) {
        listing_t &to = *static_cast<listing_t *>(context);
        if (is_of(*to.chosen.values, value.protocol))
            put_value(to, value);
    };
    if (listing.chosen.values)
        (void)view_values_walk(view, {put, &listing}, ignored);
}

/// Prints one list of the document, in a walk of its own, so that none is kept.
void print_list(console_t &console, const pdb_view_t &view, const char *name,
                const list_names_t &chosen)
{
    listing_t listing = {console, view, chosen};
    console_print(console, ",\n  \"{}\": [", name);
    walk(listing);
    console_write(console, listing.any ? "\n  ]" : "]");
}

void print_document(console_t &console, const pdb_view_t &view, const std::string &name,
                    const list_names_t &chosen)
{
    json_document_t head = json_document("list");
    head["file"] = json_text(name);
    console_write(console, "{");
    console_write(console, json_members(head, 0));
    if (chosen.protocols)
        print_list(console, view, "protocols", {true, {}, {}});
    if (chosen.rules)
        print_list(console, view, "rules_by_name", {false, chosen.rules, {}});
    if (chosen.values)
        print_list(console, view, "values", {false, {}, chosen.values});
    console_write(console, "\n}\n");
}

} // namespace

exit_status_t list_names(console_t &console, const input_file_t &file, const list_names_t &chosen)
{
    pdb_view_t view;
    if (!open_pdb(console, file, view))
        return EXIT_STATUS_FILE;
    listing_t listing = {console, view, chosen};
    if (listing.json())
        print_document(console, view, file.name, chosen);
    else
        walk(listing);
    return EXIT_STATUS_FINE;
}
