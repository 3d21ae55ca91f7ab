/// Opening the pdbs that subcommands are given, with their messages.
#pragma once

#include "console.h"
#include "input_file.h"
#include "pdb_view.h"

/// Verifies the pdb in an input and opens it. Returns false after a message.
[[nodiscard]] bool open_pdb(console_t &console, const input_file_t &file, pdb_view_t &pdb);
