#include "text_stream.h"

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
    const auto len = static_cast<size_t>(formatted);
    const size_t before = stream->text.size();
    if (formatted < 0 || len + before >= stream->size)
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

pdata_status_t text_stream_put_byte(text_stream_t *stream, std::string_view before, uint8_t byte,
                                    std::string_view after)
{
    char digits[3];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), byte).ptr;
    const std::string_view number(digits, static_cast<size_t>(end - digits));
    const size_t len = before.size() + number.size() + after.size();
    if (len + stream->text.size() >= stream->size)
        stream->full = true;
    if (stream->full)
        return PDATA_ERR_IO;
    stream->text.append(before).append(number).append(after);
    return PDATA_SUCCESS;
}
