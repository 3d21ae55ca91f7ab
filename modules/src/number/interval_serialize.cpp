#include <string_view>

#include "interval_build.h"

namespace
{

void put_words(tlv_sink_t &sink, uint64_t value, bool low_first)
{
    const auto low = static_cast<uint32_t>(value);
    const auto high = static_cast<uint32_t>(value >> 32);
    tlv_sink_put(sink, low_first ? low : high, 4);
    tlv_sink_put(sink, low_first ? high : low, 4);
}

void put_value(tlv_sink_t &sink, const it_value &value, uint32_t data_size)
{
    switch (data_size) {
    case 16:
        put_words(sink, value.high, false);
        put_words(sink, value.low, false);
        break;
    case 8:
        put_words(sink, value.low, true); // the two words of a 64-bit value are stored low first
        break;
    default:
        tlv_sink_put(sink, static_cast<uint32_t>(value.low), 4);
        break;
    }
}

void emit_meta(const interval_build &build, tlv_sink_t &sink)
{
    const size_t meta = tlv_sink_open_blob(sink, INTERVAL_TLV_META);
    tlv_sink_put(sink, build.it_data_size, 4);
    tlv_sink_put(sink, build.it_nr, 4);
    tlv_sink_close_blob(sink, meta);
    const size_t msb = tlv_sink_open_blob(sink, INTERVAL_TLV_MSB);
    const auto *flags = reinterpret_cast<const char *>(build.it_msb_endpoint.data());
    tlv_sink_put_bytes(sink, {flags, build.it_msb_endpoint.size()});
    tlv_sink_close_blob(sink, msb);
}

void emit_endpoints(const interval_build &build, tlv_sink_t &sink)
{
    const size_t values = tlv_sink_open_blob(sink, INTERVAL_TLV_ENDPOINTS);
    for (const it_endpoint &endpoint : build.it_endpoints)
        put_value(sink, endpoint.it_data, build.it_data_size);
    tlv_sink_close_blob(sink, values);
    const size_t offsets = tlv_sink_open_blob(sink, INTERVAL_TLV_OFFSETS);
    uint32_t index = 0;
    for (const it_endpoint &endpoint : build.it_endpoints) {
        tlv_sink_put(sink, index, 4);
        index += static_cast<uint32_t>(number_record_size(endpoint.it_record)) + 1;
    }
    tlv_sink_close_blob(sink, offsets);
}

void emit_items(const interval_build &build, tlv_sink_t &sink)
{
    const size_t items = tlv_sink_open_blob(sink, INTERVAL_TLV_ITEMS);
    number_emit_records(build.it_endpoints, &it_endpoint::it_record, build.it_spans, true, sink);
    tlv_sink_close_blob(sink, items);
}

} // namespace

void interval_emit(const interval_build &build, tlv_sink_t &sink)
{
    emit_meta(build, sink);
    emit_endpoints(build, sink);
    emit_items(build, sink);
}

size_t interval_get_size(const interval_build &build)
{
    return tlv_sink_count([&](tlv_sink_t &sink) { interval_emit(build, sink); });
}

uint8_t *interval_serialize(const interval_build &build, std::span<uint8_t> buf)
{
    return tlv_sink_write(buf, [&](tlv_sink_t &sink) { interval_emit(build, sink); });
}
