#include "tlv_sink.h"

#include <algorithm>

namespace
{

/// The buffer is as large as the sink says, and all of it is zero.
bool resize(tlv_sink_t &sink, size_t size)
{
    try {
        sink.grown->reserve(size); // no more than that
        sink.grown->resize(size);
    } catch (const std::exception &) {
        return false;
    }
    sink.buf = sink.grown->data();
    sink.size = size;
    return true;
}

/// Frees the buffer: from here on every piece fails, and only the offset advances.
void fail(tlv_sink_t &sink)
{
    static uint8_t nothing;
    csa_buf_t().swap(*sink.grown);
    sink = {&nothing, 0, sink.offset, true, nullptr};
}

} // namespace

tlv_sink_t tlv_sink_growing(csa_buf_t &buf, size_t expected)
{
    buf.clear();
    tlv_sink_t sink;
    sink.grown = &buf;
    if (!resize(sink, std::max<size_t>(expected, 64)))
        fail(sink);
    return sink;
}

bool tlv_sink_grow(tlv_sink_t &sink, size_t size)
{
    if (resize(sink, std::max(size, sink.size + sink.size / 2)))
        return true;
    fail(sink);
    return false;
}

void tlv_sink_finish(tlv_sink_t &sink)
{
    sink.grown->resize(sink.offset);
    sink.size = sink.offset;
}
