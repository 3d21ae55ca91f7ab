#include <memory>

#include "commands.h"
#include "open_file.h"
#include "pdata_cfg_builtin.h"
#include "pdata_memory_watch.h"
#include "save_file.h"
#include "schema.h"

namespace
{

struct schema_options_t {
    std::string kind;
    std::string cfg;
    std::string output = "-";
};

/// Prints what was written, or why nothing was, as one object. A schema that goes to standard
/// output stands in it.
void print_document(console_t &console, const schema_options_t &options, std::string_view rules,
                    const std::string &text, bool made)
{
    json_document_t document = json_document("schema");
    document["kind"] = options.kind;
    document["rules"] = rules.empty() ? json_document_t() : json_text(rules);
    document["output"] = json_text(options.output);
    document["written"] = made;
    document["findings"] = json_document_t::array();
    if (!made)
        document["findings"].push_back(
            {{"level", "error"}, {"file", json_text(rules)}, {"text", json_text(text)}});
    else if (options.output == "-")
        document["document"] = json_document_t::parse(text);
    console_document(console, document);
}

exit_status_t schema_run(const schema_options_t &options, console_t &console)
{
    const schema_kind_t &kind = *schema_kind(options.kind);
    const bool json = console.format == OUTPUT_JSON;
    input_file_t file;
    std::string_view rules;
    if (kind.rule_file != nullptr && options.cfg.empty()) {
        rules = pdata_cfg_builtin(kind.rule_file);
    } else if (kind.rule_file != nullptr) {
        if (!open_file(console, options.cfg + '/' + kind.rule_file, file))
            return EXIT_STATUS_FILE;
        rules = input_file_text(file);
    }
    const pdata_memory_watch_t memory;
    std::string text;
    if (!schema_text(kind, rules, text)) {
        pdata_memory_watch_expect(memory);
        console_error(console, "{}: {}", file.name, text);
        if (json)
            print_document(console, options, file.name, text, false);
        return EXIT_STATUS_FINDINGS;
    }
    if (!(json && options.output == "-") && !save_file(console, options.output, text))
        return EXIT_STATUS_FILE;
    if (json)
        print_document(console, options, file.name, text, true);
    return EXIT_STATUS_FINE;
}

} // namespace

command_run_t schema_declare(CLI::App &app)
{
    auto options = std::make_shared<schema_options_t>();
    std::vector<std::string> names;
    std::string shown;
    for (const schema_kind_t &kind : schema_kinds()) {
        names.emplace_back(kind.name);
        shown += (shown.empty() ? "" : "|") + names.back();
    }
    app.add_option("KIND", options->kind, "What the documents are")
        ->required()
        ->check(CLI::IsMember(names))
        ->type_name(shown);
    app.add_option("--cfg", options->cfg,
                   "Configuration directory with the rule files; without it the built-in one")
        ->type_name("DIR");
    app.add_option("-o,--output", options->output, "Where the schema goes")->type_name("FILE");
    return [options](console_t &console) { return schema_run(*options, console); };
}
