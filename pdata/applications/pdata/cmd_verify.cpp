#include <algorithm>
#include <memory>

#include "commands.h"
#include "escape.h"
#include "open_file.h"
#include "pdb_verify.h"

namespace
{

struct verify_options_t {
    std::vector<std::string> files;
};

/// One file on its way through the verification.
struct verify_run_t {
    console_t &console;
    const std::string &name;
    json_document_t faults = json_document_t::array();
};

const char *grade_name(const view_error_t &fault)
{
    return fault.grade == VIEW_UNSAFE ? "unsafe" : "unsound";
}

/// Takes a fault from the verification.
void put_fault(void *context, const view_error_t &fault)
{
    verify_run_t &run = *static_cast<verify_run_t *>(context);
    expect_memory(fault);
    if (run.console.format == OUTPUT_JSON) {
        json_document_t document = fault_document(fault);
        document["grade"] = grade_name(fault);
        run.faults.push_back(std::move(document));
        return;
    }
    const colour_t colour = fault.grade == VIEW_UNSAFE ? COLOUR_ERROR : COLOUR_WARNING;
    console_print(run.console, "{}: byte {}: {}: {}: {}\n", escape_terminal(run.name), fault.offset,
                  colour_text(run.console.out_colour, colour, grade_name(fault)),
                  view_fault_name(fault.fault), escape_terminal(fault.text));
}

exit_status_t verify_file(const std::string &path, console_t &console)
{
    input_file_t file;
    if (!open_file(console, path, file))
        return EXIT_STATUS_FILE;
    verify_run_t run = {console, file.name};
    const pdb_verdict_t verdict = pdb_verify(input_file_bytes(file), {put_fault, &run});
    if (console.format == OUTPUT_JSON) {
        json_document_t document = json_document("verify");
        document["file"] = json_text(file.name);
        document["unsafe"] = verdict.nr_unsafe;
        document["unsound"] = verdict.nr_unsound;
        document["faults"] = std::move(run.faults);
        console_record(console, document);
    }
    return verdict.nr_unsafe + verdict.nr_unsound == 0 ? EXIT_STATUS_FINE : EXIT_STATUS_FINDINGS;
}

exit_status_t verify_run(const verify_options_t &options, console_t &console)
{
    if (std::ranges::count(options.files, "-") > 1) {
        console_error(console, "standard input can be read once");
        return EXIT_STATUS_USAGE;
    }
    exit_status_t status = EXIT_STATUS_FINE;
    for (const std::string &path : options.files)
        status = std::max(status, verify_file(path, console));
    return status;
}

} // namespace

command_run_t verify_declare(CLI::App &app)
{
    auto options = std::make_shared<verify_options_t>();
    app.add_option("FILE", options->files, "Pdbs, - for standard input")->required();
    return [options](console_t &console) { return verify_run(*options, console); };
}
