#include "diff_print.h"

#include "escape.h"

namespace
{

constexpr const char *kind_names[] = {"added", "removed", "changed"};
constexpr const char *kind_marks[] = {"+", "-", "~"};
constexpr colour_t kind_colours[] = {COLOUR_GOOD, COLOUR_ERROR, COLOUR_WARNING};

/// Prints a line of a kind, behind its mark.
void print_marked(console_t &console, const char *indent, difference_kind_t kind,
                  std::string_view text)
{
    const std::string line = fmt::format("{} {}", kind_marks[kind], text);
    console_print(console, "{}{}\n", indent,
                  colour_text(console.out_colour, kind_colours[kind], line));
}

/// Prints texts that only one side has. They are untrusted.
void print_texts(console_t &console, const char *indent, difference_kind_t kind, const char *what,
                 const std::vector<std::string> &texts)
{
    for (const std::string &text : texts)
        print_marked(console, indent, kind, what + escape_terminal(text));
}

void print_fields(console_t &console, const char *indent,
                  const std::vector<field_difference_t> &fields)
{
    for (const field_difference_t &field : fields)
        console_print(console, "{}{}: {} -> {}\n", indent, field.name,
                      field.before.empty() ? "none" : escape_terminal(field.before),
                      field.after.empty() ? "none" : escape_terminal(field.after));
}

void print_rule(console_t &console, const rule_difference_t &rule)
{
    print_marked(console, "  ", rule.kind, "rule " + rule.order);
    print_fields(console, "      ", rule.fields);
    print_texts(console, "    ", DIFFERENCE_REMOVED, "", rule.removed);
    print_texts(console, "    ", DIFFERENCE_ADDED, "", rule.added);
}

void print_totals(console_t &console, const char *what, const size_t (&totals)[3])
{
    console_print(console, "{}: {} added, {} removed, {} changed\n", what, totals[0], totals[1],
                  totals[2]);
}

void print_protocol(console_t &console, const protocol_difference_t &protocol)
{
    print_marked(console, "", protocol.kind,
                 fmt::format("protocol {} (id {})", escape_terminal(protocol.name), protocol.id));
    print_fields(console, "    ", protocol.fields);
}

void print_aliases(console_t &console, const alias_difference_t &aliases)
{
    print_texts(console, "", DIFFERENCE_REMOVED, "alias ", aliases.removed);
    print_texts(console, "", DIFFERENCE_ADDED, "alias ", aliases.added);
}

json_document_t totals_document(const size_t (&totals)[3])
{
    return {{"added", totals[0]}, {"removed", totals[1]}, {"changed", totals[2]}};
}

json_document_t fields_document(const std::vector<field_difference_t> &fields)
{
    json_document_t list = json_document_t::array();
    for (const field_difference_t &field : fields)
        list.push_back({{"name", field.name},
                        {"before", json_text(field.before)},
                        {"after", json_text(field.after)}});
    return list;
}

json_document_t protocol_document(const protocol_difference_t &protocol)
{
    return {{"change", kind_names[protocol.kind]},
            {"id", protocol.id},
            {"name", json_text(protocol.name)},
            {"fields", fields_document(protocol.fields)}};
}

json_document_t rule_document(const rule_difference_t &rule)
{
    return {{"change", kind_names[rule.kind]},
            {"order", rule.order},
            {"fields", fields_document(rule.fields)},
            {"removed", json_texts(rule.removed)},
            {"added", json_texts(rule.added)}};
}

/// Ends the list of rules of the protocol that was begun, if there is one.
void end_protocol(diff_json_t &json)
{
    if (json.any_protocol)
        console_write(json.console, json.any_rule ? "\n      ]\n    }" : "]\n    }");
    json.any_rule = false;
}

void add_protocol(diff_json_t &json, const protocol_difference_t &protocol)
{
    end_protocol(json);
    console_write(json.console, json.any_protocol ? ",\n    {" : "\n    {");
    console_write(json.console, json_members(protocol_document(protocol), 4));
    console_write(json.console, ",\n      \"rules\": [");
    json.any_protocol = true;
}

void add_rule(diff_json_t &json, const rule_difference_t &rule)
{
    console_write(json.console, json.any_rule ? ",\n        {" : "\n        {");
    console_write(json.console, json_members(rule_document(rule), 8));
    console_write(json.console, "\n        }");
    json.any_rule = true;
}

console_t &console_of(void *context)
{
    return *static_cast<console_t *>(context);
}

diff_json_t &json_of(void *context)
{
    return *static_cast<diff_json_t *>(context);
}

} // namespace

void diff_print_totals(console_t &console, const pdb_difference_t &difference)
{
    print_totals(console, "protocols", difference.totals.protocols);
    print_totals(console, "rules", difference.totals.rules);
    print_totals(console, "values", difference.totals.values);
    print_aliases(console, difference.aliases);
}

difference_sink_t diff_text_sink(console_t &console)
{
    return {
        [](void *context, const alias_difference_t &aliases) {
            print_aliases(console_of(context), aliases);
        },
        [](void *context, const protocol_difference_t &protocol) {
            print_protocol(console_of(context), protocol);
        },
        [](void *context, const rule_difference_t &rule) { print_rule(console_of(context), rule); },
        &console};
}

void diff_print_unlisted(console_t &console, const pdb_difference_t &difference)
{
    if (difference.nr_unlisted != 0)
        console_error(console, "{} more values that differ are not listed", difference.nr_unlisted);
}

void diff_fill(json_document_t &document, const pdb_difference_t &difference)
{
    document["equal"] = difference.is_empty();
    document["totals"] = {{"protocols", totals_document(difference.totals.protocols)},
                          {"rules", totals_document(difference.totals.rules)},
                          {"values", totals_document(difference.totals.values)}};
    document["aliases"] = {{"removed", json_texts(difference.aliases.removed)},
                           {"added", json_texts(difference.aliases.added)}};
}

void diff_json_begin(diff_json_t &json, const json_document_t &head)
{
    console_write(json.console, "{");
    console_write(json.console, json_members(head, 0));
    console_write(json.console, ",\n  \"protocols\": [");
}

difference_sink_t diff_json_sink(diff_json_t &json)
{
    return {[](void *, const alias_difference_t &) {}, // they stand in the head
            [](void *context, const protocol_difference_t &protocol) {
                add_protocol(json_of(context), protocol);
            },
            [](void *context, const rule_difference_t &rule) { add_rule(json_of(context), rule); },
            &json};
}

void diff_json_end(diff_json_t &json, const json_document_t &tail)
{
    end_protocol(json);
    console_write(json.console, json.any_protocol ? "\n  ]," : "],");
    console_write(json.console, json_members(tail, 0));
    console_write(json.console, "\n}\n");
}
