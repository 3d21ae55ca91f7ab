#include <algorithm>
#include <memory>

#include "build_run.h"
#include "commands.h"
#include "csa_cut.h"
#include "escape.h"
#include "open_file.h"

namespace
{

bool read_descriptions(build_run_t &run)
{
    run.document["inputs"] = json_document_t::array();
    for (const std::string &path : run.options.files) {
        input_file_t file;
        if (!open_file(run.console, path, file))
            return false;
        const std::span<const uint8_t> bytes = input_file_bytes(file);
        run.descriptions.push_back({{bytes.begin(), bytes.end()}});
        run.names.push_back(file.name);
        run.document["inputs"].push_back(json_text(path));
    }
    return true;
}

exit_status_t compile(build_run_t &run)
{
    const build_options_t &options = run.options;
    const pdata_status_t status =
        pdata_build(run.descriptions, *run.cfg.cfg, options.loadable, run.built);
    if (status == PDATA_SUCCESS)
        return EXIT_STATUS_FINE;
    const size_t at = std::min(run.built.nr_input, run.names.size() - 1);
    return build_refuse(run, run.names[at], run.built.step, status);
}

exit_status_t build(build_run_t &run)
{
    if (!read_descriptions(run) || !open_cfg(run.console, run.options.cfg, run.cfg))
        return EXIT_STATUS_FILE;
    for (const auto step : {build_check, compile, build_verify, build_test, build_make_sources})
        if (const exit_status_t status = step(run); status != EXIT_STATUS_FINE)
            return status;
    pdata_memory_watch_expect(run.memory);
    build_make_depfile(run);
    return build_put_in_place(run);
}

exit_status_t build_run(const build_options_t &options, console_t &console)
{
    const char *fault = nullptr;
    if (options.files.size() > 1 && !options.loadable)
        fault = "several descriptions become one pdb with --loadable";
    else if (std::ranges::count(options.files, "-") > 1)
        fault = "standard input can be one description";
    else if (options.output == "-" && console.format == OUTPUT_JSON)
        fault = "standard output can be the pdb or its report";
    if (fault != nullptr) {
        console_message(console, fault);
        return EXIT_STATUS_USAGE;
    }
    build_run_t run = {options, console};
    run.document["output"] = json_text(options.output);
    run.document["loadable"] = options.loadable;
    run.document["outputs"] = json_document_t::array();
    const exit_status_t status = build(run);
    if (console.format == OUTPUT_JSON && status <= EXIT_STATUS_FINDINGS)
        console_document(console, run.document);
    return status;
}

} // namespace

exit_status_t build_refuse(build_run_t &run, const std::string &file, const char *step,
                           pdata_status_t status)
{
    const std::string_view message = pdata_status_msg_get();
    pdata_memory_watch_expect(run.memory);
    console_error(run.console, "{}: cannot {}: ({}:{})", file, step, static_cast<uint32_t>(status),
                  pdata_status_code2str(status));
    std::string shown(message);
    std::ranges::replace(shown, '\t', ' ');
    for (std::string_view rest = shown; !rest.empty();)
        console_error(run.console, "  {}", csa_cut(rest, '\n'));
    run.document["error"] = {{"file", json_text(file)},
                             {"step", step},
                             {"status", static_cast<uint32_t>(status)},
                             {"name", pdata_status_code2str(status)},
                             {"text", json_text(message)}};
    return EXIT_STATUS_FINDINGS;
}

command_run_t build_declare(CLI::App &app)
{
    auto options = std::make_shared<build_options_t>();
    app.add_option("FILE", options->files, "Descriptions, - for standard input")->required();
    app.add_option("-o,--output", options->output, "Where the pdb goes, - for standard output")
        ->type_name("FILE")
        ->required();
    app.add_flag("--loadable", options->loadable,
                 "Make it loadable; several descriptions are merged");
    app.add_option("--cfg", options->cfg, "Configuration directory; without it the built-in one")
        ->type_name("DIR");
    app.add_option("--sources", options->sources, "Write the generated sources into this folder")
        ->type_name("DIR");
    app.add_option("--depfile", options->depfile, "Write what the pdb was made from, for make")
        ->type_name("FILE");
    app.add_option("--tests", options->tests, "Cases of \"pdata test\" that must hold")
        ->type_name("FILE")
        ->expected(1)
        ->allow_extra_args(false)
        ->take_all();
    return [options](console_t &console) { return build_run(*options, console); };
}
