#include "text_stream.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <iterator>

pdata_status_t text_stream_print(text_stream_t *stream, const char *format, ...)
{
    char piece[256]; // most pieces are short and need to be formatted only once
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    const int formatted = std::vsnprintf(piece, sizeof(piece), format, args);
    va_end(args);
    const auto len = static_cast<size_t>(formatted); // a failure is the largest of all
    const size_t before = stream->text.size();
    if (len >= stream->size - std::min(stream->size, before))
        stream->full = true;
    if (!stream->full && len < sizeof(piece)) {
        stream->text.append(piece, len);
    } else if (!stream->full) {
        // The terminator of the piece goes where the string keeps its own.
        stream->text.resize(before + len);
        std::vsnprintf(stream->text.data() + before, len + 1, format, again);
    }
    va_end(again);
    return stream->full ? PDATA_ERR_IO : PDATA_SUCCESS;
}

void text_stream_expect(text_stream_t *stream, size_t len)
{
    const size_t left = stream->size - std::min(stream->size, stream->text.size());
    stream->text.reserve(stream->text.size() + std::min(len, left));
}

pdata_status_t text_stream_put_byte(text_stream_t *stream, std::string_view before, uint8_t byte,
                                    std::string_view after)
{
    char piece[32];
    if (before.size() + after.size() + 3 > sizeof(piece))
        return PDATA_ERR_IO;
    char *at = std::copy(before.begin(), before.end(), piece);
    at = std::to_chars(at, std::end(piece), byte).ptr;
    at = std::copy(after.begin(), after.end(), at);
    const auto len = static_cast<size_t>(at - piece);
    if (len + stream->text.size() >= stream->size)
        stream->full = true;
    if (stream->full)
        return PDATA_ERR_IO;
    stream->text.append(piece, len);
    return PDATA_SUCCESS;
}
