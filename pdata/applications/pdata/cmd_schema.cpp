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

exit_status_t schema_run(const schema_options_t &options, console_t &console)
{
    const schema_kind_t &kind = *schema_kind(options.kind);
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
        return EXIT_STATUS_FINDINGS;
    }
    return save_file(console, options.output, text) ? EXIT_STATUS_FINE : EXIT_STATUS_FILE;
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
