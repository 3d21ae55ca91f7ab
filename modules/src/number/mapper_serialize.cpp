#include <algorithm>

#include "csa_endian.h"
#include "mapper_build.h"
#include "number_tlv.h"

namespace
{

/// Tells whether nothing matches behind this endpoint: it holds only ends of intervals, or nothing.
bool closes_all(const number_record &record)
{
    return record.nr_covers == 0 &&
           std::all_of(record.items.begin(), record.items.end(),
                       [](const number_item &item) { return item.type == NUMBER_ITEM_END; });
}

void emit_items(const mapper_build &build, tlv_sink_t &sink)
{
    tlv_sink_put(sink, 0, 4); // index 0 stands for no match
    number_emit_records(build.mp_endpoints, &mp_endpoint::mp_record, build.mp_spans, false, sink);
}

} // namespace

void mapper_serialize_endpoints(const mapper_build &build, uint8_t *words)
{
    size_t cursor = 1;
    for (size_t i = 0; i < build.mp_endpoints.size(); ++i) {
        const mp_endpoint &endpoint = build.mp_endpoints[i];
        if (number_record_size(endpoint.mp_record) == 0)
            continue;
        const bool is_last = i + 1 == build.mp_endpoints.size();
        const uint32_t next = is_last ? build.mp_nr : build.mp_endpoints[i + 1].mp_data;
        const uint32_t end = closes_all(endpoint.mp_record) ? endpoint.mp_data + 1U : next;
        for (uint32_t value = endpoint.mp_data; value < end; ++value)
            csa_set_be16(words + 2 * size_t{value}, static_cast<uint16_t>(cursor));
        cursor += number_record_size(endpoint.mp_record) + 1;
    }
}

void mapper_emit(const mapper_build &build, tlv_sink_t &sink)
{
    const size_t endpoints = tlv_sink_open_blob(sink, MAPPER_TLV_ENDPOINTS);
    if (uint8_t *words = tlv_sink_take(sink, size_t{build.mp_nr} * 2))
        mapper_serialize_endpoints(build, words);
    tlv_sink_close_blob(sink, endpoints);
    const size_t items = tlv_sink_open_blob(sink, MAPPER_TLV_ITEMS);
    emit_items(build, sink);
    tlv_sink_close_blob(sink, items);
}

uint8_t *mapper_serialize(const mapper_build &build, std::span<uint8_t> buf)
{
    return tlv_sink_write(buf, [&](tlv_sink_t &sink) { mapper_emit(build, sink); });
}
