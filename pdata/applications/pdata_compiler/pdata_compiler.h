/// The program: one command line, one job, one output file, one status.
#pragma once

/// Runs the program and returns its exit code: the status, printed with its name and message on
/// standard output unless it is 0. Three ends print a line of their own on standard error and
/// nothing else. May end the process itself, as pdata_compiler_parse_opt does.
int pdata_compiler_main(int argc, char **argv);
