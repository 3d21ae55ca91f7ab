/// The items of an endpoint, and the step that both number matchers share: carrying an interval's
/// id to every endpoint that the interval covers.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "module_error.h"
#include "tlv_sink.h"

/// Why an id stands at an endpoint. Only the id reaches the serialized form.
enum number_item_type_t : uint8_t {
    NUMBER_ITEM_START = 1,  ///< an interval starts here
    NUMBER_ITEM_END = 2,    ///< an interval ends here
    NUMBER_ITEM_COVER = 3,  ///< an interval covers this endpoint; added by propagation
    NUMBER_ITEM_SINGLE = 4, ///< a single value
};

struct number_item {
    uint32_t id;
    number_item_type_t type;
};

/// The items of one endpoint, in the order in which they are written.
using list_number_item = std::vector<number_item>;

/// Emits the record of an endpoint: the number of its items and their ids.
inline void number_emit_items(const list_number_item &items, tlv_sink_t &sink)
{
    tlv_sink_put(sink, static_cast<uint32_t>(items.size()), 4);
    for (const number_item &item : items)
        tlv_sink_put(sink, item.id, 4);
}

/// Items that propagation may add in all: 1 GiB of them. What a record can hold is less; it is the
/// record that refuses what is larger than that, and this bound keeps a hostile file from asking
/// for more memory first.
constexpr uint64_t NUMBER_MAX_COVERS = (1ULL << 30) / sizeof(number_item);

/// One interval of a propagation: `id` goes to the endpoints behind `first` and before `last`.
struct number_span {
    uint32_t id;
    uint32_t first; ///< position of the endpoint at which the interval starts
    uint32_t last;  ///< position of the first later endpoint at which `id` ends
};

/// Finds the intervals of `endpoints` (sorted by value, `items` naming each one's list), in the
/// order of their START items. An interval whose id ends nowhere behind it reaches the last
/// endpoint. The nearest end of the same id counts, whichever interval it belongs to: where two
/// intervals of one id overlap, the outer one is cut short. Oddity O172.
template <typename Endpoint>
std::vector<number_span> number_find_spans(const std::vector<Endpoint> &endpoints,
                                           list_number_item Endpoint::*items)
{
    const auto count = static_cast<uint32_t>(endpoints.size());
    std::vector<std::pair<uint32_t, uint32_t>> ends; // (id, position), sorted to be searched
    for (uint32_t at = 0; at < count; ++at)
        for (const number_item &item : endpoints[at].*items)
            if (item.type == NUMBER_ITEM_END)
                ends.emplace_back(item.id, at);
    std::sort(ends.begin(), ends.end());
    std::vector<number_span> spans;
    for (uint32_t at = 0; at < count; ++at) {
        for (const number_item &item : endpoints[at].*items) {
            if (item.type != NUMBER_ITEM_START)
                continue;
            const auto end = std::upper_bound(ends.begin(), ends.end(), std::pair(item.id, at));
            const bool found = end != ends.end() && end->first == item.id;
            spans.push_back({item.id, at, found ? end->second : count});
        }
    }
    return spans;
}

/// Adds (id, COVER) for every interval to the end of the list of every endpoint that lies between
/// its start and its end. Returns 0, or MODULE_ERR_NO_MEMORY beyond `max_covers`; the cost
/// is that of the items added.
template <typename Endpoint>
int number_propagate(std::vector<Endpoint> &endpoints, list_number_item Endpoint::*items,
                     uint64_t max_covers = NUMBER_MAX_COVERS)
{
    const std::vector<number_span> spans = number_find_spans(endpoints, items);
    uint64_t covers = 0;
    for (const number_span &span : spans)
        covers += span.last - span.first - 1;
    if (covers > max_covers)
        return MODULE_ERR_NO_MEMORY;
    // Endpoint by endpoint, so that what is added to one lies side by side.
    std::vector<number_span> covering;
    auto next = spans.begin();
    for (uint32_t at = 0; at < endpoints.size(); ++at) {
        std::erase_if(covering, [at](const number_span &span) { return span.last <= at; });
        list_number_item &list = endpoints[at].*items;
        list.reserve(list.size() + covering.size());
        for (const number_span &span : covering)
            list.push_back({span.id, NUMBER_ITEM_COVER});
        for (; next != spans.end() && next->first == at; ++next)
            covering.push_back(*next);
    }
    return MODULE_SUCCESS;
}
