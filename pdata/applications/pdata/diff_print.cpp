#include "diff_print.h"

#include "escape.h"

namespace
{

constexpr const char *kind_names[] = {"added", "removed", "changed"};
constexpr const char *kind_marks[] = {"+", "-", "~"};

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
    console_print(console, "  {} rule {}\n", kind_marks[rule.kind], rule.order);
    print_fields(console, "      ", rule.fields);
    for (const std::string &value : rule.removed)
        console_print(console, "    - {}\n", escape_terminal(value));
    for (const std::string &value : rule.added)
        console_print(console, "    + {}\n", escape_terminal(value));
}

void print_totals(console_t &console, const char *what, const size_t (&totals)[3])
{
    console_print(console, "{}: {} added, {} removed, {} changed\n", what, totals[0], totals[1],
                  totals[2]);
}

void print_protocol(console_t &console, const protocol_difference_t &protocol)
{
    console_print(console, "{} protocol {} (id {})\n", kind_marks[protocol.kind],
                  escape_terminal(protocol.name), protocol.id);
    print_fields(console, "    ", protocol.fields);
    for (const rule_difference_t &rule : protocol.rules)
        print_rule(console, rule);
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

json_document_t texts_document(const std::vector<std::string> &texts)
{
    json_document_t list = json_document_t::array();
    for (const std::string &text : texts)
        list.push_back(json_text(text));
    return list;
}

json_document_t protocol_document(const protocol_difference_t &protocol)
{
    json_document_t document = {{"change", kind_names[protocol.kind]},
                                {"id", protocol.id},
                                {"name", json_text(protocol.name)},
                                {"fields", fields_document(protocol.fields)},
                                {"rules", json_document_t::array()}};
    for (const rule_difference_t &rule : protocol.rules)
        document["rules"].push_back({{"change", kind_names[rule.kind]},
                                     {"order", rule.order},
                                     {"fields", fields_document(rule.fields)},
                                     {"removed", texts_document(rule.removed)},
                                     {"added", texts_document(rule.added)}});
    return document;
}

} // namespace

void diff_print(console_t &console, const pdb_difference_t &difference, bool stat)
{
    if (stat) {
        print_totals(console, "protocols", difference.totals.protocols);
        print_totals(console, "rules", difference.totals.rules);
        print_totals(console, "values", difference.totals.values);
    }
    for (const std::string &alias : difference.aliases.removed)
        console_print(console, "- alias {}\n", escape_terminal(alias));
    for (const std::string &alias : difference.aliases.added)
        console_print(console, "+ alias {}\n", escape_terminal(alias));
    if (stat)
        return;
    for (const protocol_difference_t &protocol : difference.protocols)
        print_protocol(console, protocol);
    if (difference.nr_unlisted != 0)
        console_error(console, "{} more values that differ are not listed", difference.nr_unlisted);
}

void diff_fill(json_document_t &document, const pdb_difference_t &difference, bool stat)
{
    document["equal"] = difference.is_empty();
    document["totals"] = {{"protocols", totals_document(difference.totals.protocols)},
                          {"rules", totals_document(difference.totals.rules)},
                          {"values", totals_document(difference.totals.values)}};
    document["aliases"] = {{"removed", texts_document(difference.aliases.removed)},
                           {"added", texts_document(difference.aliases.added)}};
    if (stat)
        return;
    document["protocols"] = json_document_t::array();
    for (const protocol_difference_t &protocol : difference.protocols)
        document["protocols"].push_back(protocol_document(protocol));
    document["unlisted"] = difference.nr_unlisted;
}
