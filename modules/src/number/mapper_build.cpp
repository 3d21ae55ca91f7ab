#include "mapper_build.h"

#include <algorithm>

namespace
{

/// Returns the items of the endpoint at `value`, which is created when missing.
list_number_item &items_at(mapper_build &build, uint32_t value)
{
    uint32_t &place = build.mp_index[value];
    if (place == 0) {
        build.mp_endpoints.push_back({static_cast<uint16_t>(value), {}});
        place = static_cast<uint32_t>(build.mp_endpoints.size());
    }
    return build.mp_endpoints[place - 1].mp_record.items;
}

bool ends_something(const list_number_item &items)
{
    return std::any_of(items.begin(), items.end(), [](const number_item &item) {
        return item.type == NUMBER_ITEM_END || item.type == NUMBER_ITEM_SINGLE;
    });
}

/// Makes sure that a value at which something ends is followed by an endpoint of its own. The
/// covering ids come there with the propagation.
void add_endpoints_behind(mapper_build &build)
{
    const size_t registered = build.mp_endpoints.size();
    for (size_t i = 0; i < registered; ++i) {
        const uint32_t behind = build.mp_endpoints[i].mp_data + 1U;
        if (behind != build.mp_nr && ends_something(build.mp_endpoints[i].mp_record.items))
            (void)items_at(build, behind); // stays empty
    }
}

} // namespace

void mapper_init(mapper_build &build, uint32_t mp_nr)
{
    build = {};
    build.mp_index.assign(mp_nr, 0);
    build.mp_nr = mp_nr;
}

int mapper_register(mapper_build &build, uint16_t lower, uint16_t upper, uint32_t item_id)
{
    if (lower > upper)
        return MODULE_ERR_INVALID;
    if (lower == upper) {
        items_at(build, lower).push_back({item_id, NUMBER_ITEM_SINGLE});
    } else {
        items_at(build, lower).push_back({item_id, NUMBER_ITEM_START});
        items_at(build, upper).push_back({item_id, NUMBER_ITEM_END});
    }
    return MODULE_SUCCESS;
}

int mapper_finalize(mapper_build &build)
{
    add_endpoints_behind(build);
    std::sort(build.mp_endpoints.begin(), build.mp_endpoints.end(),
              [](const mp_endpoint &a, const mp_endpoint &b) { return a.mp_data < b.mp_data; });
    for (size_t i = 0; i < build.mp_endpoints.size(); ++i)
        build.mp_index[build.mp_endpoints[i].mp_data] = static_cast<uint32_t>(i + 1);
    return mapper_propagate(build);
}

int mapper_propagate(mapper_build &build)
{
    return number_propagate(build.mp_endpoints, &mp_endpoint::mp_record, build.mp_spans);
}
