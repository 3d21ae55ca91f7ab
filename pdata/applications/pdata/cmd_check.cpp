#include <deque>
#include <memory>

#include "check_print.h"
#include "commands.h"
#include "open_cfg.h"
#include "open_file.h"

namespace
{

struct check_options_t {
    std::vector<std::string> files;
    std::vector<std::string> changes; ///< of the levels
    std::string cfg;
    bool strict = false;
};

/// Opens every file. They stay where they are while they are checked.
bool open_files(const check_options_t &options, console_t &console,
                std::deque<input_file_t> &inputs, std::vector<lint_file_t> &files)
{
    for (const std::string &path : options.files) {
        if (!open_file(console, path, inputs.emplace_back()))
            return false;
        files.push_back({inputs.back().name, input_file_text(inputs.back())});
    }
    return true;
}

exit_status_t check_run(const check_options_t &options, console_t &console)
{
    finding_policy_t policy = finding_policy();
    for (const std::string &change : options.changes)
        if (const std::string wrong = finding_policy_change(policy, change); !wrong.empty()) {
            console_error(console, "-W {}: {}", change, wrong);
            return EXIT_STATUS_USAGE;
        }
    open_cfg_t cfg;
    if (!open_cfg(console, options.cfg, cfg))
        return EXIT_STATUS_FILE;
    lint_config_t config;
    if (const std::string wrong = lint_config_read(*cfg.cfg, config); !wrong.empty()) {
        console_message(console, wrong);
        return EXIT_STATUS_FILE;
    }
    std::deque<input_file_t> inputs;
    std::vector<lint_file_t> files;
    if (!open_files(options, console, inputs, files))
        return EXIT_STATUS_FILE;
    const lint_result_t result = lint_check(std::move(files), config, {});
    const check_count_t count = check_print(console, result, policy);
    const bool failed = count.errors != 0 || (options.strict && count.warnings != 0);
    return failed ? EXIT_STATUS_FINDINGS : EXIT_STATUS_FINE;
}

} // namespace

command_run_t check_declare(CLI::App &app)
{
    auto options = std::make_shared<check_options_t>();
    app.add_option("FILE", options->files, "Descriptions, - for standard input")->required();
    app.add_option("--cfg", options->cfg, "Configuration directory; without it the built-in one");
    app.add_flag("--strict", options->strict, "Warnings end with status 1 as well");
    app.add_option("-W", options->changes, "Show an id as error, warning or note, or not at all")
        ->type_name("ID=LEVEL")
        ->allow_extra_args(false);
    return [options](console_t &console) { return check_run(*options, console); };
}
