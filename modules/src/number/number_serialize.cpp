#include "number_build.h"
#include "number_tlv.h"

namespace
{

bool uses_mapper(uint32_t type)
{
    return type == MATCHER_TYPE_NUMBER_8 || type == MATCHER_TYPE_NUMBER_16;
}

bool is_number_type(uint32_t type)
{
    return type >= MATCHER_TYPE_NUMBER_8 && type <= MATCHER_TYPE_IP_6;
}

/// Emits the blob; one of a bad type ends behind an inner header whose blob never comes, which
/// gives it its size of 20.
void emit(const number_build &build, tlv_sink_t &sink)
{
    const size_t type = tlv_sink_open_blob(sink, NUMBER_TLV_TYPE);
    tlv_sink_put(sink, build.type, 4);
    tlv_sink_close_blob(sink, type);
    if (!is_number_type(build.type)) {
        (void)tlv_sink_take(sink, 8); // the place of the inner header stays as the buffer holds it
        return;
    }
    const bool mapper = uses_mapper(build.type);
    const size_t inner = tlv_sink_open_blob(sink, mapper ? NUMBER_TLV_MAPPER : NUMBER_TLV_INTERVAL);
    if (mapper)
        mapper_serialize(build.mapper, sink);
    else
        interval_serialize(build.interval, sink);
    tlv_sink_close_blob(sink, inner);
}

} // namespace

size_t number_get_size(const number_build &build)
{
    tlv_sink_t sink = tlv_sink_counting();
    emit(build, sink);
    return sink.offset;
}

uint8_t *number_serialize(const number_build &build, std::span<uint8_t> buf)
{
    tlv_sink_t sink = tlv_sink_writing(buf);
    emit(build, sink);
    if (sink.failed || !is_number_type(build.type))
        return nullptr;
    return buf.data() + sink.offset;
}
