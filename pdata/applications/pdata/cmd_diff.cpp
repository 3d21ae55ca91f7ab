#include <memory>

#include "commands.h"
#include "escape.h"
#include "open_file.h"
#include "pdb_difference.h"

namespace
{

struct diff_options_t {
    std::string before;
    std::string after;
    bool stat = false;
};

constexpr const char *kind_names[] = {"added", "removed", "changed"};
constexpr const char *kind_marks[] = {"+", "-", "~"};

bool open_model(console_t &console, const std::string &path, input_file_t &file,
                description_model_t &model)
{
    pdb_view_t pdb;
    view_error_t error;
    if (!open_file(console, path, file))
        return false;
    if (pdb_view_open(input_file_bytes(file), pdb, error) &&
        description_model_read(pdb, model, error))
        return true;
    print_fault(console, file.name, error);
    return false;
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

void print_text(console_t &console, const pdb_difference_t &difference, bool stat)
{
    if (stat) {
        print_totals(console, "protocols", difference.totals.protocols);
        print_totals(console, "rules", difference.totals.rules);
        print_totals(console, "values", difference.totals.values);
        return;
    }
    for (const protocol_difference_t &protocol : difference.protocols) {
        console_print(console, "{} protocol {} (id {})\n", kind_marks[protocol.kind],
                      escape_terminal(protocol.name), protocol.id);
        print_fields(console, "    ", protocol.fields);
        for (const rule_difference_t &rule : protocol.rules)
            print_rule(console, rule);
    }
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

json_document_t diff_document(const input_file_t &before, const input_file_t &after,
                              const pdb_difference_t &difference, bool stat)
{
    json_document_t document = json_document("diff");
    document["before"] = json_text(before.name);
    document["after"] = json_text(after.name);
    document["equal"] = difference.protocols.empty();
    document["totals"] = {{"protocols", totals_document(difference.totals.protocols)},
                          {"rules", totals_document(difference.totals.rules)},
                          {"values", totals_document(difference.totals.values)}};
    if (stat)
        return document;
    document["protocols"] = json_document_t::array();
    for (const protocol_difference_t &protocol : difference.protocols)
        document["protocols"].push_back(protocol_document(protocol));
    return document;
}

exit_status_t diff_run(const diff_options_t &options, console_t &console)
{
    input_file_t before_file;
    input_file_t after_file;
    description_model_t before;
    description_model_t after;
    if (!open_model(console, options.before, before_file, before) ||
        !open_model(console, options.after, after_file, after))
        return EXIT_STATUS_FILE;
    const pdb_difference_t difference = pdb_difference(before, after);
    if (console.format == OUTPUT_JSON)
        console_document(console, diff_document(before_file, after_file, difference, options.stat));
    else
        print_text(console, difference, options.stat);
    return difference.protocols.empty() ? EXIT_STATUS_FINE : EXIT_STATUS_FINDINGS;
}

} // namespace

command_run_t diff_declare(CLI::App &app)
{
    auto options = std::make_shared<diff_options_t>();
    app.add_option("BEFORE", options->before, "A pdb, - for standard input")->required();
    app.add_option("AFTER", options->after, "A pdb to hold against it")->required();
    app.add_flag("--stat", options->stat, "Print totals only");
    return [options](console_t &console) { return diff_run(*options, console); };
}
