/// The number matchers against models that follow their definitions step by step, byte for byte:
/// ids that repeat, and the order in which the items of a value are written.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "number_build.h"
#include "rounds.h"

namespace
{

/// A value of any width, most significant word first. Up to 64 bits stand in the last two words.
using model_value = std::array<uint32_t, 4>;

struct model_interval {
    model_value min, max;
    uint32_t id;
};

struct model_item {
    uint32_t id;
    int type; ///< 1 start, 2 end, 3 cover, 4 single
};

struct model_endpoint {
    model_value value;
    std::vector<model_item> items;
};

using endpoints = std::vector<model_endpoint>;

void put32(std::vector<uint8_t> &out, uint32_t word)
{
    for (const unsigned shift : {24U, 16U, 8U, 0U})
        out.push_back(static_cast<uint8_t>(word >> shift));
}

void put_record(std::vector<uint8_t> &out, uint32_t type, const std::vector<uint8_t> &value)
{
    put32(out, type);
    put32(out, static_cast<uint32_t>(value.size()));
    out.insert(out.end(), value.begin(), value.end());
}

void put_items(std::vector<uint8_t> &out, const model_endpoint &endpoint)
{
    put32(out, static_cast<uint32_t>(endpoint.items.size()));
    for (const model_item &item : endpoint.items)
        put32(out, item.id);
}

/// The value behind `value` in its last `words` words.
model_value next_value(model_value value, size_t words)
{
    for (size_t i = 4; i > 4 - words; --i)
        if (++value[i - 1] != 0)
            break;
    return value;
}

void model_propagate(endpoints &list)
{
    for (size_t from = 0; from < list.size(); ++from) {
        for (size_t i = 0; i < list[from].items.size(); ++i) {
            const model_item start = list[from].items[i];
            if (start.type != 1)
                continue;
            for (size_t to = from + 1; to < list.size(); ++to) {
                const auto &items = list[to].items;
                if (std::any_of(items.begin(), items.end(), [&](const model_item &item) {
                        return item.id == start.id && item.type == 2;
                    }))
                    break;
                list[to].items.push_back({start.id, 3});
            }
        }
    }
}

void sort_by_value(endpoints &list)
{
    std::stable_sort(list.begin(), list.end(),
                     [](const auto &a, const auto &b) { return a.value < b.value; });
}

std::vector<uint8_t> model_interval_blob(const std::vector<model_interval> &all, size_t words)
{
    endpoints list;
    std::vector<uint8_t> msb(256, 0);
    const auto add = [&](const model_value &value, const std::vector<model_item> &items) {
        list.insert(list.begin(), {value, items});
    };
    for (const model_interval &one : all) {
        for (uint32_t b = one.min[4 - words] >> 24; b <= one.max[4 - words] >> 24; ++b)
            msb[b] = 1;
        const bool single = one.min == one.max;
        add(one.min, {{one.id, single ? 4 : 1}});
        if (!single)
            add(one.max, {{one.id, 2}});
        const model_value behind = next_value(one.max, words);
        if (behind != model_value{})
            add(behind, {});
    }
    sort_by_value(list);
    endpoints merged;
    for (const model_endpoint &endpoint : list) {
        if (merged.empty() || merged.back().value != endpoint.value)
            merged.push_back({endpoint.value, {}});
        auto &items = merged.back().items;
        items.insert(items.end(), endpoint.items.begin(), endpoint.items.end());
    }
    model_propagate(merged);

    std::vector<uint8_t> meta, values, offsets, items, out;
    put32(meta, static_cast<uint32_t>(words * 4));
    put32(meta, static_cast<uint32_t>(merged.size()));
    for (const model_endpoint &endpoint : merged) {
        for (size_t i = 0; i < words; ++i)
            put32(values, endpoint.value[words == 2 ? 3 - i : 4 - words + i]);
        put32(offsets, static_cast<uint32_t>(items.size() / 4));
        put_items(items, endpoint);
    }
    put_record(out, 42, meta);
    put_record(out, 43, msb);
    put_record(out, 44, values);
    put_record(out, 45, offsets);
    put_record(out, 46, items);
    return out;
}

model_endpoint &endpoint_at(endpoints &list, uint32_t value)
{
    for (model_endpoint &endpoint : list)
        if (endpoint.value[3] == value)
            return endpoint;
    return list.emplace_back(model_endpoint{{0, 0, 0, value}, {}});
}

bool holds(const model_endpoint &endpoint, std::initializer_list<int> types)
{
    return std::any_of(endpoint.items.begin(), endpoint.items.end(), [&](const model_item &item) {
        return std::find(types.begin(), types.end(), item.type) != types.end();
    });
}

endpoints model_mapper(const std::vector<model_interval> &all, uint32_t space)
{
    endpoints list;
    for (const model_interval &one : all) {
        const bool single = one.min == one.max;
        endpoint_at(list, one.min[3]).items.push_back({one.id, single ? 4 : 1});
        if (!single)
            endpoint_at(list, one.max[3]).items.push_back({one.id, 2});
    }
    const size_t registered = list.size();
    for (size_t i = 0; i < registered; ++i)
        if (holds(list[i], {2, 4}) && list[i].value[3] + 1 != space)
            (void)endpoint_at(list, list[i].value[3] + 1);
    sort_by_value(list);
    model_propagate(list);
    return list;
}

std::vector<uint8_t> model_mapper_blob(const std::vector<model_interval> &all, uint32_t space)
{
    const endpoints list = model_mapper(all, space);
    std::vector<uint8_t> table, items, out;
    put32(items, 0);
    size_t cursor = 1;
    size_t current = 1;
    bool uncovered = true;
    size_t next = 0;
    for (uint32_t value = 0; value < space; ++value) {
        const bool here = next < list.size() && list[next].value[3] == value;
        if (here) {
            current = cursor;
            uncovered = false;
        }
        const bool matches = !uncovered && (!here || !list[next].items.empty());
        table.push_back(static_cast<uint8_t>(matches ? current >> 8 : 0));
        table.push_back(static_cast<uint8_t>(matches ? current : 0));
        if (!here)
            continue;
        const model_endpoint &endpoint = list[next++];
        if (endpoint.items.empty()) {
            uncovered = true;
            continue;
        }
        put_items(items, endpoint);
        cursor += endpoint.items.size() + 1;
        if (!holds(endpoint, {1, 3, 4}))
            uncovered = true;
    }
    put_record(out, 13, table);
    put_record(out, 14, items);
    return out;
}

struct number_width {
    uint32_t type;
    uint32_t bits;
};

class number_definition : public testing::TestWithParam<number_width>
{
};

INSTANTIATE_TEST_SUITE_P(types, number_definition,
                         testing::Values(number_width{MATCHER_TYPE_NUMBER_8, 8},
                                         number_width{MATCHER_TYPE_NUMBER_16, 16},
                                         number_width{MATCHER_TYPE_NUMBER_32, 32},
                                         number_width{MATCHER_TYPE_NUMBER_64, 64},
                                         number_width{MATCHER_TYPE_IP_4, 32},
                                         number_width{MATCHER_TYPE_IP_6, 128}),
                         [](const auto &row) { return "type" + std::to_string(row.param.type); });

/// A random value of `bits` bits: small, near the largest one, near a border of words, or any.
model_value random_value(std::mt19937 &random, uint32_t bits)
{
    const auto kind = random() % 4;
    model_value value{};
    for (size_t i = 4 - std::max(1U, bits / 32); i < 4; ++i) {
        const auto word = static_cast<uint32_t>(random());
        const uint32_t border = i < 3 ? word % 2 : 0U - word % 2;
        const std::array<uint32_t, 4> choice = {0, 0xFFFFFFFF, border, word};
        value[i] = choice[kind];
    }
    if (kind < 3)
        value[3] += static_cast<uint32_t>(random() % 6) * (kind == 1 ? 0xFFFFFFFF : 1);
    if (bits < 32)
        value[3] &= (1U << bits) - 1;
    return value;
}

transformer_value_t bound(const model_value &value)
{
    return {uint64_t{value[2]} << 32 | value[3], value};
}

TEST_P(number_definition, the_blob_is_that_of_the_definition)
{
    const auto [type, bits] = GetParam();
    std::mt19937 random(type);
    for (uint32_t round = 0; round < rounds(bits == 16 ? 60 : 2000); ++round) {
        number_build build;
        ASSERT_EQ(number_init(build, type), 0);
        std::vector<model_interval> all(random() % 12);
        for (model_interval &one : all) {
            const model_value a = random_value(random, bits);
            const model_value b = random() % 3 == 0 ? a : random_value(random, bits);
            one = {std::min(a, b), std::max(a, b), static_cast<uint32_t>(random() % 6)};
            ASSERT_EQ(number_register(build, {bound(one.min), bound(one.max), one.id}), 0);
        }
        ASSERT_EQ(number_finalize(build), 0);
        std::vector<uint8_t> expected;
        put_record(expected, 15, {0, 0, 0, static_cast<uint8_t>(type)});
        put_record(expected, bits < 32 ? 16 : 17,
                   bits < 32 ? model_mapper_blob(all, 1U << bits)
                             : model_interval_blob(all, bits / 32));
        std::vector<uint8_t> blob(number_get_size(build));
        ASSERT_EQ(number_serialize(build, blob), blob.data() + blob.size());
        ASSERT_EQ(blob, expected) << "round " << round;
    }
}

} // namespace
