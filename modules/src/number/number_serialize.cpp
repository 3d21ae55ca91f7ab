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

} // namespace

void number_emit(const number_build &build, tlv_sink_t &sink)
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
        mapper_emit(build.mapper, sink);
    else
        interval_emit(build.interval, sink);
    tlv_sink_close_blob(sink, inner);
}

size_t number_get_size(const number_build &build)
{
    return tlv_sink_count([&](tlv_sink_t &sink) { number_emit(build, sink); });
}

uint8_t *number_serialize(const number_build &build, std::span<uint8_t> buf)
{
    uint8_t *end = tlv_sink_write(buf, [&](tlv_sink_t &sink) { number_emit(build, sink); });
    return is_number_type(build.type) ? end : nullptr;
}
