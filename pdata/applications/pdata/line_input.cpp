#include "line_input.h"

namespace
{

/// Bad lines of an input that are named; the rest are counted.
constexpr uint64_t NAMED_LINES = 10;

void name_line(console_t &console, const std::string &name, uint64_t number,
               const flow_error_t &error)
{
    const std::string column = error.column == 0 ? "" : fmt::format("{}:", error.column);
    console_error(console, "{}:{}:{} {}", name, number, column, error.text);
}

} // namespace

uint64_t line_input_read(console_t &console, const std::string &name, byte_source_t &source,
                         const line_take_t &take)
{
    uint64_t number = 0;
    uint64_t bad = 0;
    std::string_view line;
    for (line_result_t read; (read = byte_source_line(source, line)) != LINE_NONE;) {
        flow_error_t error = {0, "a line of more than 16 MiB"};
        ++number;
        if (read == LINE_READ && take(line, number, error))
            continue;
        if (++bad <= NAMED_LINES)
            name_line(console, name, number, error);
    }
    if (bad > NAMED_LINES)
        console_error(console, "{}: {} bad lines in all", name, bad);
    return bad;
}
