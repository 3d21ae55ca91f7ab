/// Manual pages, each as the text of its file.
#pragma once

#include <getopt.h>

#include <string>

#include "manual_model.h"

/// The page of pdata itself, which names every subcommand.
std::string manual_page_pdata();

/// The page of a subcommand. `commands` are all of them.
std::string manual_page_command(const manual_command_t &command,
                                const std::vector<manual_command_t> &commands);

/// The page of pdata_compiler with these options, ended by a row without a name. Throws
/// std::logic_error for an option that has no text.
std::string manual_page_compiler(const option *options);

/// The page of the format, from its tables.
std::string manual_page_format();

/// What a subcommand is for and how it behaves, in sentences; empty for one without a row.
std::string_view manual_about(std::string_view command);
