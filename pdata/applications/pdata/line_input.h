/// Inputs that are read line by line as they come, and what is said of their bad lines.
#pragma once

#include <functional>

#include "byte_source.h"
#include "console.h"
#include "flow.h"

/// Takes a line. Returns false with what is wrong with it; a column of 0 stands for none.
using line_take_t =
    std::function<bool(std::string_view line, uint64_t number, flow_error_t &error)>;

/// Hands the lines of an input called `name` to `take`, to its end. The first bad lines are named
/// on standard error, the rest counted there. Returns how many there were.
[[nodiscard]] uint64_t line_input_read(console_t &console, const std::string &name,
                                       byte_source_t &source, const line_take_t &take);
