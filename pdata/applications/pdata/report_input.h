/// What a report is made from: a pdb read in every way, and its tests run.
#pragma once

#include "console.h"
#include "exit_status.h"
#include "input_file.h"
#include "report.h"

/// A pdb as a report shows it. Everything points into `file`.
struct report_input_t {
    input_file_t file;
    pdb_view_t pdb;
    view_inventory_t inventory;
    description_source_t source;
    report_file_t shown;
};

/// Reads the pdb at `path` and everything that a report says of it. Returns false after a message
/// for one that cannot be read or is unsafe.
[[nodiscard]] bool report_input_open(console_t &console, const std::string &path,
                                     report_input_t &input);

/// Runs suites through the pdb of `input`, which is open, and adds what they come to as actions:
/// cases that fail, and rules that no case fires. Returns EXIT_STATUS_FILE, after a message, for
/// suites that cannot be read and a pdb that is not loadable.
[[nodiscard]] exit_status_t report_input_test(console_t &console,
                                              const std::vector<std::string> &suites,
                                              report_input_t &input);
