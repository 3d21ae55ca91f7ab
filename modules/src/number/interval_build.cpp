#include "interval_build.h"

#include <algorithm>
#include <iterator>

namespace
{

/// Cuts `value` to `data_size` bytes.
it_value cut(it_value value, uint32_t data_size)
{
    if (data_size < 16)
        value.high = 0;
    if (data_size < 8)
        value.low &= 0xFFFFFFFFU;
    return value;
}

/// Returns the value behind `value`, or 0 behind the largest.
it_value successor(it_value value, uint32_t data_size)
{
    ++value.low;
    if (value.low == 0)
        ++value.high;
    return cut(value, data_size);
}

uint8_t most_significant_byte(const it_value &value, uint32_t data_size)
{
    if (data_size == 16)
        return static_cast<uint8_t>(value.high >> 56);
    return static_cast<uint8_t>(value.low >> (data_size == 8 ? 56 : 24));
}

void add_endpoint(interval_build &build, const it_value &value, list_number_item items)
{
    build.it_endpoints.push_back({value, {std::move(items)}});
    ++build.it_nr;
}

/// Adds the empty endpoint behind `value`, where something ends.
void add_endpoint_behind(interval_build &build, const it_value &value)
{
    const it_value behind = successor(value, build.it_data_size);
    if (behind != it_value{})
        add_endpoint(build, behind, {});
}

void mark_most_significant_bytes(interval_build &build, const it_value &lower,
                                 const it_value &upper)
{
    const uint32_t last = most_significant_byte(upper, build.it_data_size);
    for (uint32_t b = most_significant_byte(lower, build.it_data_size); b <= last; ++b)
        build.it_msb_endpoint[b] = 1;
}

/// Joins neighbours of equal value: the items of the later ones go behind those of the first.
void merge_equal_endpoints(interval_build &build)
{
    std::vector<it_endpoint> &endpoints = build.it_endpoints;
    size_t kept = 0;
    for (size_t i = 1; i < endpoints.size(); ++i) {
        it_endpoint &last = endpoints[kept];
        if (last.it_data == endpoints[i].it_data) {
            const list_number_item &later = endpoints[i].it_record.items;
            list_number_item &items = last.it_record.items;
            items.insert(items.end(), later.begin(), later.end());
        } else if (++kept != i) {
            endpoints[kept] = std::move(endpoints[i]);
        }
    }
    if (!endpoints.empty())
        endpoints.resize(kept + 1);
    build.it_nr = static_cast<uint32_t>(endpoints.size());
}

} // namespace

void interval_init(interval_build &build, uint32_t data_size)
{
    build = {};
    build.it_data_size = data_size;
}

int interval_register(interval_build &build, it_value lower, it_value upper, uint32_t item_id)
{
    lower = cut(lower, build.it_data_size);
    upper = cut(upper, build.it_data_size);
    if (lower > upper)
        return MODULE_ERR_INVALID;
    if (lower == upper) {
        add_endpoint(build, lower, {{item_id, NUMBER_ITEM_SINGLE}});
    } else {
        add_endpoint(build, lower, {{item_id, NUMBER_ITEM_START}});
        add_endpoint(build, upper, {{item_id, NUMBER_ITEM_END}});
    }
    add_endpoint_behind(build, upper);
    mark_most_significant_bytes(build, lower, upper);
    return MODULE_SUCCESS;
}

int interval_finalize(interval_build &build)
{
    std::vector<it_endpoint> &endpoints = build.it_endpoints;
    std::reverse(endpoints.begin(), endpoints.end());
    std::stable_sort(
        endpoints.begin(), endpoints.end(),
        [](const it_endpoint &a, const it_endpoint &b) { return a.it_data < b.it_data; });
    merge_equal_endpoints(build);
    return interval_propagate(build);
}

int interval_propagate(interval_build &build)
{
    return number_propagate(build.it_endpoints, &it_endpoint::it_record, build.it_spans);
}
