/// Opening the files that subcommands are given, with their messages.
#pragma once

#include "console.h"
#include "input_file.h"
#include "view_error.h"

/// Reads an input. Returns false after a message when it cannot be read.
[[nodiscard]] bool open_file(console_t &console, const std::string &path, input_file_t &file);

/// Throws std::bad_alloc for a fault that says nothing about a file: memory ran out.
void expect_memory(const view_error_t &fault);

/// Says what is wrong with a file and at which byte.
void print_fault(console_t &console, const std::string &name, const view_error_t &error);

/// Returns a fault as it stands in JSON: "fault", "offset", "text".
json_document_t fault_document(const view_error_t &error);
