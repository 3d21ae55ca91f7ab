/// A build on its way from descriptions to files, and its steps. Each says what is wrong, on
/// standard error and in the document, and returns the status that the build then ends with.
#pragma once

#include "json_document.h"
#include "open_cfg.h"
#include "pdata_build.h"
#include "pdata_memory_watch.h"
#include "test_run.h"

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
    std::vector<suite_t> suites = {}; ///< of --tests, in its order
    std::array<pdata_source_t, 5> sources = {};
    std::string depfile = {};
    std::vector<build_file_t> files = {};
    json_document_t document = json_document("build");
};

/// Says what the compiler said: its status, and each line of its message. `step` is what it could
/// not do with a file.
exit_status_t build_refuse(build_run_t &run, const std::string &file, const char *step,
                           pdata_status_t status);

/// Judges the descriptions. What is found is shown on standard error; errors end the build.
exit_status_t build_check(build_run_t &run);

/// Verifies the pdb that was built.
exit_status_t build_verify(build_run_t &run);

/// Runs the suites on the loadable pdb, which is made for them where it is not asked for.
exit_status_t build_test(build_run_t &run);

/// Adds the generated sources to the files, where they are asked for.
exit_status_t build_make_sources(build_run_t &run);

/// Adds the depfile to the files, where it is asked for: the pdb depends on the descriptions, the
/// configuration, the suites and the captures that these name.
void build_make_depfile(build_run_t &run);

/// Puts all files in place, or none, and prints the pdb where it goes to standard output.
exit_status_t build_put_in_place(build_run_t &run);
