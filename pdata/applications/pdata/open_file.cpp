#include "open_file.h"

#include <new>

bool open_file(console_t &console, const std::string &path, input_file_t &file)
{
    const std::string reason = input_file_open(path, file);
    if (!reason.empty())
        console_error(console, "{}: {}", file.name, reason);
    return reason.empty();
}

void expect_memory(const view_error_t &fault)
{
    if (fault.fault == VIEW_MEMORY)
        throw std::bad_alloc();
}

void print_fault(console_t &console, const std::string &name, const view_error_t &error)
{
    console_error(console, "{}: byte {}: {}: {}", name, error.offset, view_fault_name(error.fault),
                  error.text);
}

json_document_t fault_document(const view_error_t &error)
{
    return {{"fault", view_fault_name(error.fault)},
            {"offset", error.offset},
            {"text", json_text(error.text)}};
}
