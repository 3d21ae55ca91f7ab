/// What "pdata list" says of a pdb by name: its protocols, rules and values.
#pragma once

#include <optional>

#include "console.h"
#include "exit_status.h"
#include "input_file.h"

/// What is listed. A name limits rules or values to those of one protocol; an empty one takes all.
struct list_names_t {
    bool protocols = false;
    std::optional<std::string> rules;
    std::optional<std::string> values;
};

/// Lists by name, in the order in which the pdb has it, and as it is read. An unsafe file is
/// refused after a message.
exit_status_t list_names(console_t &console, const input_file_t &file, const list_names_t &chosen);
