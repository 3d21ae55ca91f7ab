#include "commands.h"
#include "input_file.h"

#include <memory>

namespace
{

struct list_options_t {
    std::string file;
};

exit_status_t list_run(const list_options_t &options, console_t &console)
{
    input_file_t file;
    const std::string reason = input_file_open(options.file, file);
    if (!reason.empty()) {
        console_error(console, "{}: {}", file.name, reason);
        return EXIT_STATUS_FILE;
    }
    console_print(console, "{} {}\n", file.name, input_file_bytes(file).size());
    return EXIT_STATUS_FINE;
}

} // namespace

command_run_t list_declare(CLI::App &app)
{
    auto options = std::make_shared<list_options_t>();
    app.add_option("FILE", options->file, "A pdb")->required();
    return [options](console_t &console) { return list_run(*options, console); };
}
