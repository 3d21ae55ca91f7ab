/// The items of an endpoint, and the steps that both number matchers share: finding which intervals
/// cover which endpoints, and writing the ids of an endpoint, those of its covers behind its own.
///
/// Nested intervals give output that is quadratic in their number, so covers are counted, and
/// written as the endpoints are passed; nothing holds them in memory.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "csa_endian.h"
#include "module_error.h"
#include "tlv_sink.h"

/// Why an id stands at an endpoint. Only the id reaches the serialized form.
enum number_item_type_t : uint8_t {
    NUMBER_ITEM_START = 1,  ///< an interval starts here
    NUMBER_ITEM_END = 2,    ///< an interval ends here
    NUMBER_ITEM_SINGLE = 4, ///< a single value; 3 is the type of a cover
};

struct number_item {
    uint32_t id;
    number_item_type_t type;
};

/// The items that registration gives an endpoint, in the order in which they are written.
using list_number_item = std::vector<number_item>;

/// What every endpoint holds beside its value.
struct number_record {
    list_number_item items;
    uint32_t nr_covers = 0; ///< intervals that cover it, set by propagation
};

/// Returns the number of ids of a record.
inline size_t number_record_size(const number_record &record)
{
    return record.items.size() + record.nr_covers;
}

/// Covers in all, at most. What a record of the format can hold is less; it is the record that
/// refuses what is larger than that, and this bound keeps a hostile file from asking for more
/// memory first.
constexpr uint64_t NUMBER_MAX_COVERS = 1ULL << 27;

/// One interval of a propagation: `id` goes to the endpoints behind `first` and before `last`.
struct number_span {
    uint32_t id;
    uint32_t first; ///< position of the endpoint at which the interval starts
    uint32_t last;  ///< position of the first later endpoint at which `id` ends
};

/// Finds the intervals of `endpoints` (sorted by value, `record` naming each one's), in the
/// order of their START items, each of which has an END behind it. The nearest end of the same id
/// counts, whichever interval it belongs to: where two intervals of one id overlap, the outer one
/// is cut short. Oddity O172.
template <typename Endpoint>
std::vector<number_span> number_find_spans(const std::vector<Endpoint> &endpoints,
                                           number_record Endpoint::*record)
{
    const auto count = static_cast<uint32_t>(endpoints.size());
    std::vector<std::pair<uint32_t, uint32_t>> ends; // (id, position), sorted to be searched
    for (uint32_t at = 0; at < count; ++at)
        for (const number_item &item : (endpoints[at].*record).items)
            if (item.type == NUMBER_ITEM_END)
                ends.emplace_back(item.id, at);
    std::sort(ends.begin(), ends.end());
    std::vector<number_span> spans;
    for (uint32_t at = 0; at < count; ++at) {
        for (const number_item &item : (endpoints[at].*record).items) {
            if (item.type != NUMBER_ITEM_START)
                continue;
            // Its own end lies behind it, so that there is one.
            const auto end = std::upper_bound(ends.begin(), ends.end(), std::pair(item.id, at));
            spans.push_back({item.id, at, end->second});
        }
    }
    return spans;
}

/// Counts at every endpoint the intervals that cover it: those with a start before and an end
/// behind it. Returns 0 with the intervals in `spans`, or MODULE_ERR_NO_MEMORY beyond `max_covers`.
template <typename Endpoint>
int number_propagate(std::vector<Endpoint> &endpoints, number_record Endpoint::*record,
                     std::vector<number_span> &spans, uint64_t max_covers = NUMBER_MAX_COVERS)
{
    spans = number_find_spans(endpoints, record);
    uint64_t covers = 0;
    std::vector<int64_t> change(endpoints.size() + 1); // of the covers, from each endpoint on
    for (const number_span &span : spans) {
        covers += span.last - span.first - 1;
        ++change[size_t{span.first} + 1];
        --change[span.last];
    }
    if (covers > max_covers)
        return MODULE_ERR_NO_MEMORY;
    int64_t covering = 0;
    for (size_t at = 0; at < endpoints.size(); ++at) {
        covering += change[at];
        (endpoints[at].*record).nr_covers = static_cast<uint32_t>(covering);
    }
    return MODULE_SUCCESS;
}

/// Writes the number of ids of a record and the ids to `at`: `covering` are the intervals that
/// cover it.
inline void number_write_record(const number_record &record,
                                const std::vector<number_span> &covering, uint8_t *at)
{
    csa_set_be32(at, static_cast<uint32_t>(number_record_size(record)));
    for (const number_item &item : record.items)
        csa_set_be32(at += 4, item.id);
    for (const number_span &span : covering)
        csa_set_be32(at += 4, span.id);
}

/// Emits the records of all endpoints, those without ids only `with_empty`. The cost is that of
/// the ids where they are written, and of the endpoints where they are counted.
template <typename Endpoint>
void number_emit_records(const std::vector<Endpoint> &endpoints, number_record Endpoint::*record,
                         const std::vector<number_span> &spans, bool with_empty, tlv_sink_t &sink)
{
    std::vector<number_span> covering;
    auto next = spans.begin();
    for (uint32_t at = 0; at < endpoints.size(); ++at) {
        const number_record &ids = endpoints[at].*record;
        const size_t size = number_record_size(ids);
        uint8_t *to = size != 0 || with_empty ? tlv_sink_take(sink, 4 * (size + 1)) : nullptr;
        if (sink.buf == nullptr)
            continue;
        std::erase_if(covering, [at](const number_span &span) { return span.last <= at; });
        if (to != nullptr)
            number_write_record(ids, covering, to);
        for (; next != spans.end() && next->first == at; ++next)
            covering.push_back(*next);
    }
}
