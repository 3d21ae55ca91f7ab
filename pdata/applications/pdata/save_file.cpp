#include "save_file.h"

#include <algorithm>
#include <cerrno>

#include "output_file.h"
#include "output_write.h"

namespace
{

/// Bytes that are written at once.
constexpr size_t WRITTEN_AT_ONCE = size_t{64} << 10;

bool is_saved(console_t &console, const std::string &path, bool added, output_t &output,
              output_error_t &error)
{
    if (added && output_commit(output, error))
        return true;
    console_error(console, "{}: {}", path, error.reason);
    return false;
}

/// A text on its way into a file.
struct save_writing_t {
    void (*make)(void *context, const save_sink_t &sink);
    void *context;
    int fd = -1;
    int failure = 0; ///< errno
    std::string waiting = {};
};

void write_waiting(save_writing_t &writing)
{
    if (writing.failure == 0 && !output_write_all(writing.fd, output_text(writing.waiting)))
        writing.failure = errno;
    writing.waiting.clear();
}

void put_piece(void *context, std::string_view piece)
{
    save_writing_t &writing = *static_cast<save_writing_t *>(context);
    writing.waiting += piece;
    if (writing.waiting.size() >= WRITTEN_AT_ONCE)
        write_waiting(writing);
}

bool write_made(void *context, int fd)
{
    save_writing_t &writing = *static_cast<save_writing_t *>(context);
    writing.fd = fd;
    writing.make(writing.context, {put_piece, &writing});
    write_waiting(writing);
    errno = writing.failure;
    return writing.failure == 0;
}

} // namespace

bool save_file(console_t &console, const std::string &path, std::string_view text)
{
    if (path == "-") {
        console_text(console, text);
        return true;
    }
    const std::span<const uint8_t> bytes = output_text(text);
    output_t output;
    output_error_t error;
    const bool added = output_add(output, path.c_str(), {&bytes, 1}, OUTPUT_TO_DISK, error);
    return is_saved(console, path, added, output, error);
}

bool report_mixes(console_t &console, std::initializer_list<std::string_view> paths,
                  std::string_view what)
{
    const bool mixed = console.format == OUTPUT_JSON && std::ranges::count(paths, "-") != 0;
    if (mixed)
        console_error(console, "standard output can be the {} or its report", what);
    return mixed;
}

bool save_made(console_t &console, const std::string &path,
               void (*make)(void *context, const save_sink_t &sink), void *context)
{
    const auto print = [](void *to, std::string_view piece) {
        console_text(*static_cast<console_t *>(to), piece);
    };
    if (path == "-") {
        make(context, {print, &console});
        return true;
    }
    save_writing_t writing = {make, context};
    output_t output;
    output_error_t error;
    const bool added =
        output_add_written(output, path.c_str(), {write_made, &writing}, OUTPUT_TO_DISK, error);
    return is_saved(console, path, added, output, error);
}
