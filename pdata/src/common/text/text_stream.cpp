#include "text_stream.h"

#include <cstdarg>
#include <cstdio>

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
