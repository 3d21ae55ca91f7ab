#include "byte_source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace
{

constexpr size_t step = size_t{1} << 18;

/// Reads some more. Returns false at the end.
bool read_more(byte_source_t &source)
{
    if (!source.ended && source.before_read != nullptr)
        source.before_read(source.context);
    if (source.ended)
        return false;
    source.buffer.erase(0, source.at);
    source.at = 0;
    const size_t filled = source.buffer.size();
    source.buffer.resize(filled + step);
    ssize_t count;
    do
        count = read(source.fd, source.buffer.data() + filled, step);
    while (count < 0 && errno == EINTR);
    source.buffer.resize(filled + static_cast<size_t>(std::max<ssize_t>(count, 0)));
    if (count < 0)
        source.system_error = errno;
    source.ended = count <= 0;
    return !source.ended;
}

std::string_view left(const byte_source_t &source)
{
    return std::string_view(source.buffer).substr(source.at);
}

/// Lets go of everything up to the end of a line that is too long.
void skip_line(byte_source_t &source)
{
    for (;;) {
        const size_t end = left(source).find('\n');
        if (end != std::string_view::npos) {
            source.at += end + 1;
            return;
        }
        source.at = source.buffer.size();
        if (!read_more(source))
            return;
    }
}

} // namespace

std::string_view byte_source_peek(byte_source_t &source, size_t count)
{
    while (left(source).size() < count && read_more(source))
        ;
    return left(source).substr(0, count);
}

void byte_source_skip(byte_source_t &source, size_t count)
{
    source.at += std::min(count, source.buffer.size() - source.at);
}

line_result_t byte_source_line(byte_source_t &source, std::string_view &line)
{
    size_t searched = 0;
    for (;;) {
        const size_t end = left(source).find('\n', searched);
        if (end != std::string_view::npos) {
            line = left(source).substr(0, end);
            source.at += end + 1;
            break;
        }
        searched = left(source).size();
        if (searched > BYTE_SOURCE_LINE_MAX) {
            skip_line(source);
            return LINE_TOO_LONG;
        }
        if (read_more(source))
            continue;
        line = left(source);
        source.at = source.buffer.size();
        if (line.empty())
            return LINE_NONE;
        break;
    }
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return LINE_READ;
}
