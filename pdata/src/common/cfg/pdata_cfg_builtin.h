/// The configuration directory that the program carries: the files of examples/cfg as they were
/// when it was built.
#pragma once

#include <string_view>

/// Returns the text of a file by its name, "tag_table.json"; null data for none of that name. It
/// lives as long as the process.
std::string_view pdata_cfg_builtin(std::string_view name);
