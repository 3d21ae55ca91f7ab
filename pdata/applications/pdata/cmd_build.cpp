#include <algorithm>
#include <memory>
#include <utility>

#include "check_print.h"
#include "commands.h"
#include "depfile.h"
#include "escape.h"
#include "open_cfg.h"
#include "output_file.h"
#include "pdata_build.h"
#include "pdata_memory_watch.h"
#include "pdb_verify.h"
#include "test_run.h"

namespace
{

struct build_options_t {
    std::vector<std::string> files;
    std::string output;
    bool loadable = false;
    std::string cfg;
    std::string sources;
    std::string depfile;
    std::vector<std::string> tests;
};

/// A file to be put in place.
struct build_file_t {
    std::string path;
    std::vector<std::span<const uint8_t>> parts;
};

/// A build on its way from descriptions to files.
struct build_run_t {
    const build_options_t &options;
    console_t &console;
    pdata_memory_watch_t memory = {};
    std::vector<pdd_t> descriptions = {};
    std::vector<std::string> names = {}; ///< of the descriptions, as messages show them
    open_cfg_t cfg = {};
    pdata_built_t built = {};
    std::array<pdata_source_t, 5> sources = {};
    std::string depfile = {};
    std::vector<build_file_t> files = {};
    json_document_t document = json_document("build");
};

std::span<const uint8_t> bytes_of(std::string_view text)
{
    return {reinterpret_cast<const uint8_t *>(text.data()), text.size()};
}

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

/// Returns a console whose data are messages, for people.
console_t messages_of(const console_t &console)
{
    console_t messages = console;
    messages.out = console.err;
    messages.out_colour = console.err_colour;
    messages.format = OUTPUT_TEXT;
    return messages;
}

/// Says what the compiler said: its status, and each line of its message.
exit_status_t refuse_build(build_run_t &run, const std::string &file, const char *step,
                           pdata_status_t status)
{
    const std::string_view message = pdata_status_msg_get();
    pdata_memory_watch_expect(run.memory);
    console_error(run.console, "{}: cannot {}: ({}:{})", file, step, static_cast<uint32_t>(status),
                  pdata_status_code2str(status));
    std::string shown(message);
    std::ranges::replace(shown, '\t', ' ');
    for (std::string_view rest = shown; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        console_error(run.console, "  {}", line);
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    run.document["error"] = {{"file", json_text(file)},
                             {"step", step},
                             {"status", static_cast<uint32_t>(status)},
                             {"name", pdata_status_code2str(status)},
                             {"text", json_text(message)}};
    return EXIT_STATUS_FINDINGS;
}

/// Judges the descriptions. What is found is shown on standard error; errors end the build.
exit_status_t check(build_run_t &run)
{
    lint_config_t config;
    if (const std::string wrong = lint_config_read(*run.cfg.cfg, config); !wrong.empty()) {
        console_message(run.console, wrong);
        return EXIT_STATUS_FILE;
    }
    std::vector<lint_file_t> files;
    for (size_t i = 0; i < run.descriptions.size(); ++i) {
        const csa_buf_t &text = run.descriptions[i].pdd_json;
        files.push_back(
            {run.options.files[i], {reinterpret_cast<const char *>(text.data()), text.size()}});
    }
    console_t shown = messages_of(run.console);
    const lint_result_t result = lint_check(std::move(files), config, {});
    const finding_policy_t policy = finding_policy();
    const check_count_t count = check_print(shown, {result, policy});
    run.document["check"] = {{"errors", count.errors}, {"warnings", count.warnings}};
    return count.errors == 0 ? EXIT_STATUS_FINE : EXIT_STATUS_FINDINGS;
}

exit_status_t compile(build_run_t &run)
{
    const build_options_t &options = run.options;
    const pdata_status_t status =
        pdata_build(run.descriptions, *run.cfg.cfg, options.loadable, run.built);
    if (status == PDATA_SUCCESS)
        return EXIT_STATUS_FINE;
    const size_t at = std::min(run.built.nr_input, run.names.size() - 1);
    return refuse_build(run, run.names[at], run.built.step, status);
}

std::vector<uint8_t> joined(const std::vector<std::span<const uint8_t>> &parts)
{
    std::vector<uint8_t> bytes;
    for (const std::span<const uint8_t> part : parts)
        bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}

exit_status_t verify(build_run_t &run)
{
    const std::vector<uint8_t> bytes = joined(pdata_build_bytes(run.built, run.options.loadable));
    pdb_view_t view;
    view_error_t error;
    if (pdb_verify_open(bytes, view, error))
        return EXIT_STATUS_FINE;
    pdata_memory_watch_expect(run.memory);
    print_fault(run.console, run.options.output, error);
    run.document["fault"] = fault_document(error);
    return EXIT_STATUS_FINDINGS;
}

/// Runs the cases of all suites. What fails is shown on standard error.
exit_status_t run_cases(build_run_t &run, test_runner_t &runner, const std::vector<suite_t> &suites)
{
    console_t shown = messages_of(run.console);
    test_report_t report = {shown};
    exit_status_t status = EXIT_STATUS_FINE;
    for (size_t i = 0; i < suites.size(); ++i)
        for (const suite_case_t &one : suites[i].cases) {
            const test_done_t done =
                test_case_run(runner, suites[i], one, run.options.tests[i], run.console);
            test_report_case(report, done.outcome);
            status = std::max(status, done.status);
        }
    run.document["tests"] = {{"passed", report.passed}, {"failed", report.failed}};
    if (report.failed == 0)
        return EXIT_STATUS_FINE;
    test_report_end(report, nullptr);
    return std::max(status, EXIT_STATUS_FINDINGS);
}

/// Runs the suites on the loadable pdb, which is made for them where it is not asked for.
exit_status_t test(build_run_t &run)
{
    if (run.options.tests.empty())
        return EXIT_STATUS_FINE;
    std::vector<suite_t> suites;
    for (const std::string &path : run.options.tests)
        if (!test_suite_open(run.console, path, suites.emplace_back()))
            return EXIT_STATUS_FILE;
    const pdata_status_t status = pdata_build_loadable(run.built);
    if (status != PDATA_SUCCESS)
        return refuse_build(run, run.names.front(), run.built.step, status);
    test_runner_t runner;
    runner.loadable.file.name = run.options.output;
    runner.loadable.file.buffer = joined(pdata_build_bytes(run.built, true));
    if (!loadable_start(run.console, runner.loadable))
        return EXIT_STATUS_FINDINGS;
    test_runner_start(runner);
    return run_cases(run, runner, suites);
}

exit_status_t make_sources(build_run_t &run)
{
    const std::string &folder = run.options.sources;
    if (folder.empty())
        return EXIT_STATUS_FINE;
    const pdata_status_t status = pdata_build_sources(*run.cfg.cfg, run.sources);
    if (status != PDATA_SUCCESS)
        return refuse_build(run, run.options.cfg.empty() ? "configuration" : run.options.cfg,
                            "generate sources", status);
    for (const pdata_source_t &source : run.sources)
        run.files.push_back({folder + '/' + source.name, {bytes_of(source.text.c_str())}});
    return EXIT_STATUS_FINE;
}

void make_depfile(build_run_t &run)
{
    const build_options_t &options = run.options;
    if (options.depfile.empty())
        return;
    std::vector<std::string> inputs;
    for (const std::vector<std::string> *files :
         {&options.files, &std::as_const(run.cfg.files), &options.tests})
        std::ranges::copy_if(*files, std::back_inserter(inputs),
                             [](const std::string &file) { return file != "-"; });
    run.depfile = depfile_text(options.output, inputs);
    run.files.push_back({options.depfile, {bytes_of(run.depfile)}});
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

exit_status_t put_in_place(build_run_t &run)
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

exit_status_t build(build_run_t &run)
{
    if (!read_descriptions(run) || !open_cfg(run.console, run.options.cfg, run.cfg))
        return EXIT_STATUS_FILE;
    for (const auto step : {check, compile, verify, test, make_sources})
        if (const exit_status_t status = step(run); status != EXIT_STATUS_FINE)
            return status;
    pdata_memory_watch_expect(run.memory);
    make_depfile(run);
    return put_in_place(run);
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

command_run_t build_declare(CLI::App &app)
{
    auto options = std::make_shared<build_options_t>();
    app.add_option("FILE", options->files, "Descriptions, - for standard input")->required();
    app.add_option("-o,--output", options->output, "Where the pdb goes, - for standard output")
        ->required();
    app.add_flag("--loadable", options->loadable,
                 "Make it loadable; several descriptions are merged");
    app.add_option("--cfg", options->cfg, "Configuration directory; without it the built-in one")
        ->type_name("DIR");
    app.add_option("--sources", options->sources, "Write the generated sources into this folder")
        ->type_name("DIR");
    app.add_option("--depfile", options->depfile, "Write what the pdb was made from, for make");
    app.add_option("--tests", options->tests, "Cases of \"pdata test\" that must hold")
        ->type_name("FILE")
        ->expected(1)
        ->take_all();
    return [options](console_t &console) { return build_run(*options, console); };
}
