#include "format_values.h"

#include <gtest/gtest.h>

#include <set>
#include <utility>

namespace
{

TEST(FormatValues, EnumeratorsAreTheNumbersOfTheTable)
{
    EXPECT_EQ(TLV_TYPE_LOAD_LOADABLE, 0x02000002u);
    EXPECT_EQ(TLV_TYPE_PROTO_ATTR_WAY_STC, 1u);
    EXPECT_EQ(TLV_TYPE_PROTO_ATTR_PROTO_UDP, 32u);
    EXPECT_EQ(RULE_SCOPE_SPDY, 0x1000u);
    EXPECT_EQ(MATCHER_TYPE_IP_6, 8u);
}

/// The directions of the basic types stand in both places.
TEST(FormatValues, DirectionsAreThoseOfTheBasicTypes)
{
    const csa_attr_way_t ways[] = {ATTR_WAY_CTS, ATTR_WAY_STC, ATTR_WAY_BOTH};
    size_t next = 0;
    for (const format_value_t &value : format_values) {
        if (value.unit != FORMAT_UNIT_WAY)
            continue;
        ASSERT_LT(next, std::size(ways));
        EXPECT_EQ(value.number, ways[next++]) << value.name;
    }
    EXPECT_EQ(next, std::size(ways));
}

TEST(FormatValues, NumbersLieWithinTheirMaskAndAreUnique)
{
    std::set<std::pair<uint32_t, uint32_t>> seen;
    for (const format_value_t &value : format_values) {
        EXPECT_EQ(value.number & ~value.mask, 0u) << value.name;
        EXPECT_TRUE(seen.insert({value.unit, value.number}).second) << value.name;
    }
}

TEST(FormatValues, RunsOfBitsDoNotOverlap)
{
    std::set<std::pair<uint32_t, uint32_t>> seen;
    for (const format_bits_t &bits : format_bits)
        for (uint32_t bit = bits.lowest; bit < uint32_t{bits.lowest} + bits.width; ++bit)
            EXPECT_TRUE(bit < 32 && seen.insert({bits.unit, bit}).second) << bits.name;
}

} // namespace
