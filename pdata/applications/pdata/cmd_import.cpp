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
    std::vector<import_part_t> parts; ///< the protocols that were made
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

/// Prints what was taken over, and what was not, as one object.
void print_document(const import_run_t &run, bool written)
{
    json_document_t document = json_document("import");
    document["output"] = json_text(run.options.output);
    document["written"] = written;
    document["protocols"] = json_document_t::array();
    for (const import_part_t &part : run.parts)
        document["protocols"].push_back(
            {{"name", part.name}, {"id", part.id}, {"rules", part.nr_rule}});
    document["findings"] = json_document_t::array();
    for (const import_finding_t &finding : run.findings)
        document["findings"].push_back({{"id", finding.id},
                                        {"level", "error"},
                                        {"file", json_text(finding.place.file)},
                                        {"line", finding.place.line},
                                        {"text", json_text(finding.text)}});
    document["own_names"] = json_texts(run.names.own_names);
    console_document(run.console, document);
}

/// Reads the description to add to. Returns a status, fine where it can be added to.
exit_status_t read_into(import_run_t &run, input_file_t &file, description_text_t &description)
{
    if (run.options.into.empty())
        return EXIT_STATUS_FINE;
    if (!open_file(run.console, run.options.into, file))
        return EXIT_STATUS_FILE;
    text_fault_t fault;
    const std::string_view text = input_file_text(file);
    if (description_text_read(text, description, fault))
        return EXIT_STATUS_FINE;
    print_text_fault(run.console, file.name, text, fault, "syntax");
    return EXIT_STATUS_FINDINGS;
}

/// Makes the description, alone or added to another one; empty, with why, where it cannot be made.
std::string make_text(import_run_t &run, const description_text_t &into, std::string &why)
{
    import_protocol_t protocol = run.options.protocol;
    if (protocol.id == 0)
        protocol.id = import_free_id(into);
    std::string text;
    if (!run.rules.empty())
        text = import_description(protocol, run.rules, run.parts, run.findings);
    const std::string clash = import_clash(into, run.parts);
    description_text_t made;
    text_fault_t fault;
    if (!clash.empty()) {
        why = run.options.into + ": has " + clash + " already";
        return {};
    }
    if (text.empty())
        why = "nothing to import";
    if (text.empty() || run.options.into.empty())
        return text;
    (void)description_text_read(text, made, fault); // it was laid out just now
    return import_insert(into, made);
}

exit_status_t import_lists(import_run_t &run)
{
    input_file_t into_file;
    description_text_t into;
    if (!read_lists(run))
        return EXIT_STATUS_FILE;
    if (const exit_status_t status = read_into(run, into_file, into); status != EXIT_STATUS_FINE)
        return status;
    make_rules(run);
    std::string why;
    const std::string text = make_text(run, into, why);
    const exit_status_t found = print_findings(run);
    if (!why.empty())
        console_message(run.console, why);
    if (!text.empty() && !save_file(run.console, run.options.output, text))
        return EXIT_STATUS_FILE;
    if (run.console.format == OUTPUT_JSON)
        print_document(run, !text.empty());
    return text.empty() ? EXIT_STATUS_FINDINGS : found;
}

exit_status_t import_run(const import_options_t &options, console_t &console)
{
    if (report_mixes(console, {options.output}, "description"))
        return EXIT_STATUS_USAGE;
    import_run_t run = {options, console, {}, {}, {}, {}, {}, {}};
    return import_lists(run);
}

std::string name_fault(const std::string &name)
{
    constexpr const char *bytes = "abcdefghijklmnopqrstuvwxyz0123456789_-.";
    return name.empty() || name.find_first_not_of(bytes) != std::string::npos
               ? "a name is small letters, digits, \"_\", \"-\" and \".\""
               : "";
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
        ->check(name_fault);
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
