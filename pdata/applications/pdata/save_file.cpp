#include "save_file.h"

#include "output_file.h"

bool save_file(console_t &console, const std::string &path, std::string_view text)
{
    if (path == "-") {
        console_write(console, text);
        return true;
    }
    const std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t *>(text.data()),
                                         text.size());
    output_t output;
    output_error_t error;
    if (output_add(output, path.c_str(), {&bytes, 1}, OUTPUT_TO_DISK, error) &&
        output_commit(output, error))
        return true;
    console_error(console, "{}: {}", path, error.reason);
    return false;
}
