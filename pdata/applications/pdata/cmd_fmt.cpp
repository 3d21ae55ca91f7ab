#include <algorithm>
#include <memory>

#include "commands.h"
#include "description_layout.h"
#include "diagnostic.h"
#include "open_file.h"
#include "save_file.h"

namespace
{

struct fmt_options_t {
    std::vector<std::string> files;
    bool check = false;
    bool write = false;
};

/// Files that were looked at.
struct fmt_count_t {
    size_t files = 0;
    size_t canonical = 0; ///< were in canonical layout already
    size_t faulty = 0;    ///< are no descriptions
};

json_document_t file_document(const std::string &name)
{
    json_document_t document = json_document("fmt");
    document["file"] = json_text(name);
    return document;
}

exit_status_t refuse_text(console_t &console, const std::string &name, std::string_view text,
                          const text_fault_t &fault)
{
    print_text_fault(console, name, text, fault, "syntax");
    if (console.format != OUTPUT_JSON)
        return EXIT_STATUS_FINDINGS;
    const text_place_t place = text_place(text, fault.offset);
    json_document_t document = file_document(name);
    document["error"] = {
        {"id", "syntax"},
        {"start", {{"line", place.line}, {"column", place.column}, {"byte", fault.offset}}},
        {"text", json_text(fault.text)}};
    console_record(console, document);
    return EXIT_STATUS_FINDINGS;
}

/// Says what became of a file that is a description.
void print_layout_record(console_t &console, const std::string &name, bool canonical, bool written)
{
    json_document_t document = file_document(name);
    document["canonical"] = canonical;
    document["written"] = written;
    console_record(console, document);
}

exit_status_t fmt_file(const fmt_options_t &options, const std::string &path, console_t &console,
                       fmt_count_t &count)
{
    input_file_t file;
    if (!open_file(console, path, file))
        return EXIT_STATUS_FILE;
    ++count.files;
    const std::string_view text = input_file_text(file);
    description_text_t description;
    text_fault_t fault;
    if (!description_text_read(text, description, fault)) {
        ++count.faulty;
        return refuse_text(console, file.name, text, fault);
    }
    const std::string laid_out = description_layout(description);
    const bool canonical = laid_out == text;
    count.canonical += canonical ? 1 : 0;
    if (options.check && !canonical)
        console_error(console, "{}: not in canonical layout", file.name);
    const bool written = !options.check && !(options.write && path != "-" && canonical);
    const std::string printed = "-";
    if (written && !save_file(console, options.write ? path : printed, laid_out))
        return EXIT_STATUS_FILE;
    if (console.format == OUTPUT_JSON)
        print_layout_record(console, file.name, canonical, written);
    return options.check && !canonical ? EXIT_STATUS_FINDINGS : EXIT_STATUS_FINE;
}

/// Says why the options do not go together; null where they do.
const char *fmt_misuse(const fmt_options_t &options, const console_t &console)
{
    if (console.format != OUTPUT_JSON)
        return nullptr;
    if (!options.check && !options.write)
        return "a report goes with --check or --write: standard output is the text else";
    const bool printed = options.write && std::ranges::count(options.files, "-") != 0;
    return printed ? "standard output can be the text or its report" : nullptr;
}

exit_status_t fmt_run(const fmt_options_t &options, console_t &console)
{
    if (const char *misuse = fmt_misuse(options, console); misuse != nullptr) {
        console_message(console, misuse);
        return EXIT_STATUS_USAGE;
    }
    fmt_count_t count;
    exit_status_t status = EXIT_STATUS_FINE;
    for (const std::string &path : options.files)
        status = std::max(status, fmt_file(options, path, console, count));
    if (console.format == OUTPUT_JSON) {
        json_document_t document = json_document("fmt");
        document["summary"] = {
            {"files", count.files}, {"canonical", count.canonical}, {"faulty", count.faulty}};
        console_record(console, document);
    }
    return status;
}

} // namespace

command_run_t fmt_declare(CLI::App &app)
{
    auto options = std::make_shared<fmt_options_t>();
    app.add_option("FILE", options->files, "Descriptions, - for standard input")->required();
    CLI::Option *check = app.add_flag("--check", options->check,
                                      "Print nothing, name what is not in canonical layout");
    app.add_flag("--write", options->write, "Write the files anew, and print nothing")
        ->excludes(check);
    return [options](console_t &console) { return fmt_run(*options, console); };
}
