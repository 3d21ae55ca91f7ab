#include <memory>

#include "commands.h"
#include "description_layout.h"
#include "diagnostic.h"
#include "import_protocol.h"
#include "open_file.h"
#include "save_file.h"

namespace
{

struct import_options_t {
    std::string kind;
    std::vector<std::string> files;
    import_protocol_t protocol;
    bool compact = false;
    std::string into;
    std::string output = "-";
};

/// What is read and made on the way from lists to rules.
struct import_run_t {
    const import_options_t &options;
    console_t &console;
    name_import_t names;
    number_import_t numbers;
    std::array<std::vector<import_value_t>, NUMBER_KINDS> values; ///< of names: the first
    std::vector<import_rule_t> rules;
    std::vector<import_finding_t> findings;
};

bool open_included(const std::string &path, std::string &text)
{
    input_file_t file;
    if (!input_file_open(path, file).empty())
        return false;
    text = input_file_text(file);
    return true;
}

bool read_lists(import_run_t &run)
{
    const std::string &kind = run.options.kind;
    const bool numbers = kind == "addresses" || kind == "ports";
    for (const std::string &path : run.options.files) {
        input_file_t file;
        if (!open_file(run.console, path, file))
            return false;
        const name_list_t list = kind == "domains" ? NAME_LIST_DOMAINS
                                 : kind == "hosts" ? NAME_LIST_HOSTS
                                                   : NAME_LIST_V2RAY;
        if (numbers)
            import_numbers_read(kind == "ports", file.name, input_file_text(file), run.numbers);
        else
            import_names_read(list, file.name, input_file_text(file), open_included, run.names);
    }
    return true;
}

void add_findings(import_run_t &run, const std::vector<import_finding_t> &findings)
{
    run.findings.insert(run.findings.end(), findings.begin(), findings.end());
}

void make_rules(import_run_t &run)
{
    const bool compact = run.options.compact;
    add_findings(run, run.names.findings);
    add_findings(run, run.numbers.findings);
    import_names_reduce(run.names.entries);
    if (!run.names.entries.empty()) {
        run.values[0] = import_name_values(run.names.entries, compact, run.findings);
        return import_name_rules(run.values[0], run.rules, run.findings);
    }
    for (uint32_t kind = 0; kind < NUMBER_KINDS; ++kind) {
        const auto number_kind = static_cast<number_kind_t>(kind);
        import_numbers_merge(run.numbers.ranges[kind]);
        run.values[kind] = import_number_values(number_kind, run.numbers.ranges[kind], compact);
        import_number_rules(number_kind, run.values[kind], run.rules);
    }
}

/// Prints what was not taken over. Returns the status that it makes.
exit_status_t print_findings(const import_run_t &run)
{
    for (const import_finding_t &finding : run.findings)
        print_line_fault(run.console, finding.place.file, finding.place.line, finding.text,
                         finding.id);
    if (!run.names.own_names.empty())
        console_error(run.console, "{} names of the machine itself left out, the first is {}",
                      run.names.own_names.size(), run.names.own_names.front());
    return run.findings.empty() ? EXIT_STATUS_FINE : EXIT_STATUS_FINDINGS;
}

/// Reads the description to add to. Returns a status, fine where it can be added to.
exit_status_t read_into(import_run_t &run, input_file_t &file, description_text_t &description)
{
    if (!open_file(run.console, run.options.into, file))
        return EXIT_STATUS_FILE;
    text_fault_t fault;
    const std::string_view text = input_file_text(file);
    if (!description_text_read(text, description, fault)) {
        print_text_fault(run.console, file.name, text, fault, "syntax");
        return EXIT_STATUS_FINDINGS;
    }
    if (!import_has_name(description, run.options.protocol.name))
        return EXIT_STATUS_FINE;
    console_error(run.console, "{}: has a protocol \"{}\" already", file.name,
                  run.options.protocol.name);
    return EXIT_STATUS_FINDINGS;
}

exit_status_t import_run(const import_options_t &options, console_t &console)
{
    import_run_t run = {options, console, {}, {}, {}, {}, {}};
    input_file_t into_file;
    description_text_t into;
    if (!read_lists(run))
        return EXIT_STATUS_FILE;
    if (!options.into.empty())
        if (const exit_status_t status = read_into(run, into_file, into); status != 0)
            return status;
    make_rules(run);
    import_protocol_t protocol = options.protocol;
    if (protocol.id == 0)
        protocol.id = import_free_id(into);
    std::string text;
    if (!run.rules.empty())
        text = import_description(protocol, run.rules, run.findings);
    const exit_status_t status = print_findings(run);
    if (text.empty()) {
        console_error(console, "nothing to import");
        return EXIT_STATUS_FINDINGS;
    }
    description_text_t made;
    text_fault_t fault;
    if (!options.into.empty() && description_text_read(text, made, fault))
        text = import_insert(into, made);
    return save_file(console, options.output, text) ? status : EXIT_STATUS_FILE;
}

} // namespace

command_run_t import_declare(CLI::App &app)
{
    auto options = std::make_shared<import_options_t>();
    app.add_option("KIND", options->kind, "What the lists are")
        ->required()
        ->check(CLI::IsMember({"domains", "hosts", "v2ray", "addresses", "ports"}))
        ->type_name("domains|hosts|v2ray|addresses|ports");
    app.add_option("FILE", options->files, "Lists, - for standard input")->required();
    app.add_option("--name", options->protocol.name, "Name of the protocol")
        ->required()
        ->check([](const std::string &name) {
            constexpr const char *bytes = "abcdefghijklmnopqrstuvwxyz0123456789_-.";
            return name.empty() || name.find_first_not_of(bytes) != std::string::npos
                       ? std::string("a name is small letters, digits, \"_\", \"-\" and \".\"")
                       : std::string();
        });
    app.add_option("--id", options->protocol.id, "Its id; without it the first free one of users")
        ->check(CLI::Range(uint32_t{1}, uint32_t{0xffffffff}));
    app.add_option("--category", options->protocol.categories, "Its categories, up to 9")
        ->expected(1, 9)
        ->allow_extra_args(false);
    app.add_flag("--compact", options->compact, "As few rules as hold the entries");
    app.add_flag("--split", options->protocol.split, "As many protocols as hold the rules");
    app.add_option("--into", options->into, "A description whose text is kept, and added to")
        ->type_name("FILE");
    app.add_option("-o,--output", options->output, "Where the description goes")->type_name("FILE");
    return [options](console_t &console) { return import_run(*options, console); };
}
