/// Number matchers built from a few intervals, and asked for a value.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "number_build.h"
#include "number_reader.h"

using ids = std::vector<uint32_t>;

/// A value of any type: 16-byte values carry `number` in their last words.
inline transformer_value_t value_of(uint64_t number)
{
    return {number, {0, 0, static_cast<uint32_t>(number >> 32), static_cast<uint32_t>(number)}};
}

inline transformer_value_t ipv6(uint32_t a, uint32_t b, uint32_t c, uint32_t d)
{
    return {0, {a, b, c, d}};
}

struct registration {
    uint64_t min, max;
    uint32_t id;
};

inline number_build finalized(uint32_t type, const std::vector<registration> &all)
{
    number_build build;
    EXPECT_EQ(number_init(build, type), 0);
    for (const registration &one : all)
        EXPECT_EQ(number_register(build, {value_of(one.min), value_of(one.max), one.id}), 0);
    EXPECT_EQ(number_finalize(build), 0);
    return build;
}

inline std::vector<uint8_t> blob_of(const number_build &build)
{
    std::vector<uint8_t> blob(number_get_size(build));
    EXPECT_EQ(number_serialize(build, blob), blob.data() + blob.size());
    return blob;
}

inline std::vector<uint8_t> blob_of(uint32_t type, const std::vector<registration> &all)
{
    return blob_of(finalized(type, all));
}

inline number_reader open(const std::vector<uint8_t> &blob)
{
    number_reader reader;
    EXPECT_EQ(number_reader_open(&reader, blob), 0);
    return reader;
}

inline ids find(const number_reader &reader, uint64_t number)
{
    return number_reader_find(reader, value_of(number));
}
