/// What declares each subcommand; the table in command_table.cpp says what they are for.
#pragma once

#include "command.h"

command_run_t check_declare(CLI::App &app);
command_run_t list_declare(CLI::App &app);
command_run_t dump_declare(CLI::App &app);
command_run_t verify_declare(CLI::App &app);
command_run_t match_declare(CLI::App &app);
command_run_t test_declare(CLI::App &app);
command_run_t fmt_declare(CLI::App &app);
command_run_t flows_declare(CLI::App &app);
command_run_t classify_declare(CLI::App &app);
command_run_t import_declare(CLI::App &app);
command_run_t decompile_declare(CLI::App &app);
command_run_t diff_declare(CLI::App &app);
command_run_t build_declare(CLI::App &app);
command_run_t schema_declare(CLI::App &app);
command_run_t report_declare(CLI::App &app);
