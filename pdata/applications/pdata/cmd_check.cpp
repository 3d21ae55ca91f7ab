#include <algorithm>
#include <deque>
#include <memory>

#include "check_baseline.h"
#include "check_json.h"
#include "check_paper.h"
#include "commands.h"
#include "decompile.h"
#include "lint_edit.h"
#include "open_cfg.h"
#include "open_file.h"
#include "progress.h"
#include "save_file.h"

namespace
{

struct check_options_t {
    std::vector<std::string> files;
    std::vector<std::string> changes; ///< of the levels
    std::string cfg;
    std::string base;
    std::string baseline;
    std::string explain;
    bool strict = false;
    bool fix = false;
    bool diff = false;
};

/// A check on its way from options to what is printed.
struct check_run_t {
    const check_options_t &options;
    console_t &console;
    finding_policy_t policy = finding_policy();
    open_cfg_t cfg = {};
    std::deque<input_file_t> inputs = {};
    decompiled_t base = {};
    std::vector<lint_file_t> files = {};
    std::deque<std::string> fixed = {}; ///< texts after their edits
};

exit_status_t explain(const check_options_t &options, console_t &console)
{
    const std::string_view section = check_paper_section(options.explain);
    if (section.empty()) {
        console_error(console, "there is no id {}", options.explain);
        return EXIT_STATUS_USAGE;
    }
    console_write(console, section);
    console_write(console, "\n");
    return EXIT_STATUS_FINE;
}

/// Says what is wrong with the command line.
bool is_usable(check_run_t &run)
{
    const check_options_t &options = run.options;
    if (options.files.empty())
        console_message(run.console, "FILE is required");
    if (options.fix && std::ranges::count(options.files, "-") != 0) {
        console_message(run.console, "--fix writes files, and standard input is none");
        return false;
    }
    for (const std::string &change : options.changes)
        if (const std::string wrong = finding_policy_change(run.policy, change); !wrong.empty()) {
            console_error(run.console, "-W {}: {}", change, wrong);
            return false;
        }
    return !options.files.empty();
}

/// Opens every description. They stay where they are while they are checked.
bool open_descriptions(check_run_t &run)
{
    for (const std::string &path : run.options.files) {
        if (!open_file(run.console, path, run.inputs.emplace_back()))
            return false;
        run.files.push_back({run.inputs.back().name, input_file_text(run.inputs.back())});
    }
    return true;
}

/// Opens the pdb of --with as the description that it is.
bool open_base(check_run_t &run)
{
    if (run.options.base.empty())
        return true;
    input_file_t &file = run.inputs.emplace_back();
    if (!open_file(run.console, run.options.base, file))
        return false;
    pdb_view_t pdb;
    view_error_t error;
    if (!pdb_view_open(input_file_bytes(file), pdb, error) ||
        !decompile_pdb(pdb, run.base, error)) {
        print_fault(run.console, file.name, error);
        return false;
    }
    run.files.push_back({file.name, run.base.text, true});
    return true;
}

/// What a check shows of its steps, by lint_step_t.
constexpr progress_step_t STEPS[] = {
    {"read", "KiB", 10}, {"proved", "values", 0}, {"proved", "rules", 0}};

lint_result_t check_input(check_run_t &run, lint_config_t &config)
{
    progress_t progress = progress_begin(run.console, progress_clock_t::now());
    const auto show = [&](lint_step_t step, size_t done, size_t all) {
        progress_show(progress, STEPS[step], done, all, progress_clock_t::now());
    };
    lint_result_t result = lint_check(run.files, config, show);
    progress_end(progress);
    return result;
}

std::vector<finding_edit_t> edits_of(const check_run_t &run, const lint_result_t &result,
                                     uint32_t file)
{
    return lint_edits(result.findings, file, [&](const finding_t &finding) {
        return run.policy.levels[finding.id] != FINDING_LEVEL_OFF;
    });
}

void show_diff(check_run_t &run, const lint_result_t &result)
{
    for (uint32_t i = 0; i < run.options.files.size(); ++i)
        console_write(run.console, lint_edit_diff(run.files[i].name, run.files[i].text,
                                                  edits_of(run, result, i)));
}

/// Applies the edits of a result to the texts. Returns whether there were any.
bool apply_edits(check_run_t &run, const lint_result_t &result)
{
    bool any = false;
    for (uint32_t i = 0; i < run.options.files.size(); ++i) {
        const std::vector<finding_edit_t> edits = edits_of(run, result, i);
        if (edits.empty())
            continue;
        run.files[i].text = run.fixed.emplace_back(lint_edited(run.files[i].text, edits));
        any = true;
    }
    return any;
}

/// Mends the texts until nothing more can be mended, at most so often: what one change brings to
/// light the next one may mend.
constexpr int FIX_ROUNDS = 4;

bool fix_files(check_run_t &run, lint_config_t &config, lint_result_t &result)
{
    for (int round = 0; round < FIX_ROUNDS && apply_edits(run, result); ++round)
        result = check_input(run, config);
    for (size_t i = 0; i < run.options.files.size(); ++i)
        if (run.files[i].text != input_file_text(run.inputs[i]) &&
            !save_file(run.console, run.options.files[i], run.files[i].text))
            return false;
    return true;
}

check_count_t print(console_t &console, const check_shown_t &shown)
{
    if (console.format == OUTPUT_JSON)
        return check_print_json(console, shown);
    return console.format == OUTPUT_SARIF ? check_print_sarif(console, shown)
                                          : check_print(console, shown);
}

exit_status_t report(check_run_t &run, const lint_result_t &result)
{
    check_shown_t shown = {result, run.policy};
    if (!run.options.baseline.empty() && !check_baseline(run.console, run.options.baseline, shown))
        return EXIT_STATUS_FILE;
    const check_count_t count = run.options.diff ? check_each(shown, [](size_t, finding_level_t) {})
                                                 : print(run.console, shown);
    if (run.options.diff)
        show_diff(run, result);
    const bool failed = count.errors != 0 || (run.options.strict && count.warnings != 0);
    return failed ? EXIT_STATUS_FINDINGS : EXIT_STATUS_FINE;
}

/// What a check found lives until the program ends: to take a large model apart would cost time,
/// and give back nothing that the end does not.
lint_result_t &lasting_result()
{
    static lint_result_t &result = *std::make_unique<lint_result_t>().release();
    return result;
}

exit_status_t check_run(const check_options_t &options, console_t &console)
{
    if (!options.explain.empty())
        return explain(options, console);
    check_run_t run = {options, console};
    if (!is_usable(run))
        return EXIT_STATUS_USAGE;
    lint_config_t config;
    if (!open_cfg(console, options.cfg, run.cfg) || !open_descriptions(run) || !open_base(run) ||
        !open_lint_config(console, run.cfg, config))
        return EXIT_STATUS_FILE;
    lint_result_t &result = lasting_result();
    result = check_input(run, config);
    if (options.fix && !fix_files(run, config, result))
        return EXIT_STATUS_FILE;
    return report(run, result);
}

} // namespace

command_run_t check_declare(CLI::App &app)
{
    auto options = std::make_shared<check_options_t>();
    app.add_option("FILE", options->files, "Descriptions, - for standard input");
    app.add_option("--cfg", options->cfg, "Configuration directory; without it the built-in one")
        ->type_name("DIR");
    app.add_option("--with", options->base, "A pdb that the descriptions are merged with")
        ->type_name("BASE.pdb");
    app.add_flag("--strict", options->strict, "Warnings end with status 1 as well");
    app.add_option("-W", options->changes, "Show an id as error, warning or note, or not at all")
        ->type_name("ID=LEVEL")
        ->allow_extra_args(false);
    app.add_option("--baseline", options->baseline,
                   "Hide what an output of --json has, and name what is not found any more")
        ->type_name("FILE");
    CLI::Option *fix = app.add_flag("--fix", options->fix, "Mend what can be mended safely");
    app.add_flag("--diff", options->diff, "Show what --fix would do, and nothing else")
        ->excludes(fix);
    app.add_option("--explain", options->explain, "Print what the manual says of an id")
        ->type_name("ID");
    return [options](console_t &console) { return check_run(*options, console); };
}
