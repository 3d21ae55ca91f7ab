// What a build writes: the pdb, the generated sources, the depfile.
#include <algorithm>

#include "build_run.h"
#include "depfile.h"
#include "output_file.h"

namespace
{

/// Returns the captures that the suites name, each once.
std::vector<std::string> captures_of(const build_run_t &run)
{
    std::vector<std::string> captures;
    for (size_t i = 0; i < run.suites.size(); ++i)
        for (const suite_case_t &one : run.suites[i].cases)
            if (!one.capture.empty())
                captures.push_back(suite_capture_path(run.options.tests[i], one));
    std::ranges::sort(captures);
    captures.erase(std::unique(captures.begin(), captures.end()), captures.end());
    return captures;
}

/// Returns what the pdb was made from, and what it was tried with.
std::vector<std::string> inputs_of(const build_run_t &run)
{
    const std::vector<std::string> captures = captures_of(run);
    std::vector<std::string> inputs;
    for (const std::vector<std::string> *files :
         {&run.options.files, &run.cfg.files, &run.options.tests, &captures})
        std::ranges::copy_if(*files, std::back_inserter(inputs),
                             [](const std::string &file) { return file != "-"; });
    return inputs;
}

/// Puts all files in place, or none.
bool write_files(build_run_t &run)
{
    output_t output;
    output_error_t error;
    const auto add = [&](const build_file_t &file) {
        return output_add(output, file.path.c_str(), file.parts, OUTPUT_TO_DISK, error);
    };
    if (std::ranges::all_of(run.files, add) && output_commit(output, error))
        return true;
    console_error(run.console, "{}: {}", error.filename, error.reason);
    return false;
}

} // namespace

exit_status_t build_make_sources(build_run_t &run)
{
    const std::string &folder = run.options.sources;
    if (folder.empty())
        return EXIT_STATUS_FINE;
    const pdata_status_t status = pdata_build_sources(*run.cfg.cfg, run.sources);
    if (status != PDATA_SUCCESS) // of a folder: the built-in configuration has sources
        return build_refuse(run, run.options.cfg, "generate sources", status);
    for (const pdata_source_t &source : run.sources)
        run.files.push_back({folder + '/' + source.name, {output_text(source.text.c_str())}});
    return EXIT_STATUS_FINE;
}

void build_make_depfile(build_run_t &run)
{
    const build_options_t &options = run.options;
    if (options.depfile.empty())
        return;
    run.depfile = depfile_text(options.output, inputs_of(run));
    run.files.push_back({options.depfile, {output_text(run.depfile)}});
}

exit_status_t build_put_in_place(build_run_t &run)
{
    const std::vector<std::span<const uint8_t>> parts =
        pdata_build_bytes(run.built, run.options.loadable);
    const bool printed = run.options.output == "-";
    if (!printed)
        run.files.push_back({run.options.output, parts});
    if (!write_files(run))
        return EXIT_STATUS_FILE;
    for (const std::span<const uint8_t> part : parts)
        if (printed)
            console_write(run.console, {reinterpret_cast<const char *>(part.data()), part.size()});
    for (const build_file_t &file : run.files)
        run.document["outputs"].push_back(json_text(file.path));
    return EXIT_STATUS_FINE;
}
