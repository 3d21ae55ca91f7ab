/// The form of "pdata dump" that draws an engine of a matcher.
#pragma once

#include <optional>
#include <string>

#include "console.h"
#include "exit_status.h"
#include "input_file.h"

struct dump_graph_options_t {
    std::string matcher; ///< "protocol:attribute", or that with a blank and a direction
    std::string engine;  ///< empty for the first that the matcher has
    std::optional<std::string> around;
};

/// Prints an engine as a graph in DOT.
exit_status_t dump_graph(console_t &console, const input_file_t &file,
                         const dump_graph_options_t &options);
