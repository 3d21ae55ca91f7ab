/// Writing the files that subcommands make.
#pragma once

#include "console.h"

/// Writes a file whole or not at all (output_file.h), or prints it for "-". Returns false after a
/// message when it cannot be written.
[[nodiscard]] bool save_file(console_t &console, const std::string &path, std::string_view text);
