#include <algorithm>

#include "mapper_build.h"
#include "number_tlv.h"

namespace
{

/// Tells whether nothing matches behind this endpoint: it holds only ends of intervals, or nothing.
bool closes_all(const list_number_item &items)
{
    return std::all_of(items.begin(), items.end(),
                       [](const number_item &item) { return item.type == NUMBER_ITEM_END; });
}

void serialize_items(const mapper_build &build, tlv_sink_t &sink)
{
    tlv_sink_put(sink, 0, 4); // index 0 stands for no match
    for (const mp_endpoint &endpoint : build.mp_endpoints) {
        if (endpoint.mp_l_item.empty())
            continue;
        tlv_sink_put(sink, static_cast<uint32_t>(endpoint.mp_l_item.size()), 4);
        for (const number_item &item : endpoint.mp_l_item)
            tlv_sink_put(sink, item.id, 4);
    }
}

} // namespace

void mapper_serialize_endpoints(const mapper_build &build, tlv_sink_t &sink)
{
    uint32_t cursor = 1;
    uint32_t current = 1;
    bool uncovered = true;
    auto next = build.mp_endpoints.begin();
    for (uint32_t value = 0; value < build.mp_nr; ++value) {
        const list_number_item *items = nullptr;
        if (next != build.mp_endpoints.end() && next->mp_data == value)
            items = &(next++)->mp_l_item;
        if (items != nullptr) {
            current = cursor;
            uncovered = false;
        }
        const bool matches = !uncovered && (items == nullptr || !items->empty());
        tlv_sink_put(sink, matches ? current : 0, 2);
        if (items == nullptr)
            continue;
        if (!items->empty())
            cursor += static_cast<uint32_t>(items->size()) + 1;
        uncovered = closes_all(*items);
    }
}

void mapper_serialize(const mapper_build &build, tlv_sink_t &sink)
{
    const size_t endpoints = tlv_sink_open_blob(sink, MAPPER_TLV_ENDPOINTS);
    mapper_serialize_endpoints(build, sink);
    tlv_sink_close_blob(sink, endpoints);
    const size_t items = tlv_sink_open_blob(sink, MAPPER_TLV_ITEMS);
    serialize_items(build, sink);
    tlv_sink_close_blob(sink, items);
}

size_t mapper_get_size(const mapper_build &build)
{
    tlv_sink_t sink = tlv_sink_counting();
    mapper_serialize(build, sink);
    return sink.offset;
}
