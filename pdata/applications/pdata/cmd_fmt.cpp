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

exit_status_t fmt_file(const fmt_options_t &options, const std::string &path, console_t &console)
{
    input_file_t file;
    if (!open_file(console, path, file))
        return EXIT_STATUS_FILE;
    const std::string_view text = input_file_text(file);
    description_text_t description;
    text_fault_t fault;
    if (!description_text_read(text, description, fault)) {
        print_text_fault(console, file.name, text, fault, "syntax");
        return EXIT_STATUS_FINDINGS;
    }
    const std::string laid_out = description_layout(description);
    if (options.check) {
        if (laid_out != text)
            console_error(console, "{}: not in canonical layout", file.name);
        return laid_out == text ? EXIT_STATUS_FINE : EXIT_STATUS_FINDINGS;
    }
    if (options.write && path != "-" && laid_out == text)
        return EXIT_STATUS_FINE;
    return save_file(console, options.write ? path : "-", laid_out) ? EXIT_STATUS_FINE
                                                                    : EXIT_STATUS_FILE;
}

exit_status_t fmt_run(const fmt_options_t &options, console_t &console)
{
    exit_status_t status = EXIT_STATUS_FINE;
    for (const std::string &path : options.files)
        status = std::max(status, fmt_file(options, path, console));
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
