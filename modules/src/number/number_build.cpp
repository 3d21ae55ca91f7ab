#include "number_build.h"

#include <array>

namespace
{

/// What a matcher type is made of.
struct number_kind {
    uint32_t type;
    uint32_t mapper_values; ///< size of the value space, 0 when the type uses intervals
    uint32_t data_size;     ///< bytes of a value
};

constexpr std::array<number_kind, 6> KINDS = {{
    // type                values  size
    {MATCHER_TYPE_NUMBER_8, 256, 1},
    {MATCHER_TYPE_NUMBER_16, 65536, 2},
    {MATCHER_TYPE_NUMBER_32, 0, 4},
    {MATCHER_TYPE_NUMBER_64, 0, 8},
    {MATCHER_TYPE_IP_4, 0, 4},
    {MATCHER_TYPE_IP_6, 0, 16},
}};

const number_kind *find_kind(uint32_t type)
{
    for (const number_kind &kind : KINDS)
        if (kind.type == type)
            return &kind;
    return nullptr;
}

/// Takes the low bits of a bound that a mapper of `values` (a power of two) can hold.
uint16_t mapper_value(const transformer_value_t &bound, uint32_t values)
{
    return static_cast<uint16_t>(bound.number & (values - 1));
}

it_value interval_value(const transformer_value_t &bound, uint32_t data_size)
{
    if (data_size != 16)
        return {0, bound.number};
    const auto &words = bound.address;
    return {uint64_t{words[0]} << 32 | words[1], uint64_t{words[2]} << 32 | words[3]};
}

} // namespace

int number_init(number_build &build, uint32_t type)
{
    build = {};
    build.type = type;
    const number_kind *kind = find_kind(type);
    if (kind == nullptr)
        return MODULE_ERR_INVALID;
    return module_guard([&] {
        if (kind->mapper_values != 0)
            mapper_init(build.mapper, kind->mapper_values);
        else
            interval_init(build.interval, kind->data_size);
        return MODULE_SUCCESS;
    });
}

int number_register(number_build &build, const number_info &info)
{
    const number_kind *kind = find_kind(build.type);
    if (kind == nullptr)
        return MODULE_ERR_INVALID;
    return module_guard([&] {
        if (kind->mapper_values != 0)
            return mapper_register(build.mapper, mapper_value(info.min, kind->mapper_values),
                                   mapper_value(info.max, kind->mapper_values), info.item_id);
        return interval_register(build.interval, interval_value(info.min, kind->data_size),
                                 interval_value(info.max, kind->data_size), info.item_id);
    });
}

int number_finalize(number_build &build)
{
    const number_kind *kind = find_kind(build.type);
    if (kind == nullptr)
        return MODULE_ERR_INVALID;
    return module_guard([&] {
        return kind->mapper_values != 0 ? mapper_finalize(build.mapper)
                                        : interval_finalize(build.interval);
    });
}

void number_clean(number_build &build)
{
    build = {};
}
