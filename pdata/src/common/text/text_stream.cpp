#include "text_stream.h"

#include <cstdarg>
#include <cstdio>

pdata_status_t text_stream_print(text_stream_t *stream, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    const int len = std::vsnprintf(nullptr, 0, format, args);
    va_end(args);
    const size_t before = stream->text.size();
    if (len < 0 || static_cast<size_t>(len) + before >= stream->size)
        stream->full = true;
    if (!stream->full) {
        // The terminator of the piece goes where the string keeps its own.
        stream->text.resize(before + static_cast<size_t>(len));
        std::vsnprintf(stream->text.data() + before, static_cast<size_t>(len) + 1, format, again);
    }
    va_end(again);
    return stream->full ? PDATA_ERR_IO : PDATA_SUCCESS;
}
