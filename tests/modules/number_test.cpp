#include <gtest/gtest.h>

#include "bytes.h"
#include "failing_alloc.h"
#include "number_built.h"

namespace
{

std::string repeat(std::string_view text, size_t times)
{
    std::string out;
    while (times-- > 0)
        out += text;
    return out;
}

TEST(mapper, an_8_bit_interval)
{
    EXPECT_EQ(blob_of(MATCHER_TYPE_NUMBER_8, {{10, 20, 7}}),
              bytes("0000000F 00000004 00000003" // a matcher of 8 bits
                    "00000010 00000224"          // the mapper: 548 bytes
                    "0000000D 00000200" +        // the table: 512 bytes
                    repeat("0000", 10) +
                    repeat("0001", 10) + "0003" + repeat("0000", 235) +
                    "0000000E 00000014" // the items: 20 bytes
                    "00000000 00000001 00000007 00000001 00000007"));
}

TEST(mapper, a_single_value_does_not_reach_the_next_one)
{
    const auto blob = blob_of(MATCHER_TYPE_NUMBER_8, {{5, 5, 9}});
    const auto reader = open(blob);
    EXPECT_EQ(find(reader, 4), ids{});
    EXPECT_EQ(find(reader, 5), ids{9});
    EXPECT_EQ(find(reader, 6), ids{});
}

TEST(mapper, an_empty_one_matches_nothing)
{
    const auto blob = blob_of(MATCHER_TYPE_NUMBER_16, {});
    EXPECT_EQ(blob.size(), 20U + 131072 + 4 + 16);
    const auto reader = open(blob);
    EXPECT_EQ(find(reader, 0), ids{});
    EXPECT_EQ(find(reader, 65535), ids{});
}

TEST(mapper, the_last_value_has_no_endpoint_behind_it)
{
    const auto build = finalized(MATCHER_TYPE_NUMBER_8, {{250, 255, 1}, {255, 255, 2}});
    const auto blob = blob_of(build);
    const auto reader = open(blob);
    // No record but that of no item, that of 1, and that of both.
    EXPECT_EQ(reader.items.size(), 4U * (1 + 2 + 3));
    EXPECT_EQ(find(reader, 254), ids{1});
    EXPECT_EQ(find(reader, 255), (ids{1, 2}));
}

TEST(mapper, takes_the_low_bits_of_the_bounds)
{
    const auto blob = blob_of(MATCHER_TYPE_NUMBER_8, {{0x1230A, 0xFF14, 7}});
    EXPECT_EQ(blob, blob_of(MATCHER_TYPE_NUMBER_8, {{10, 20, 7}}));
    const auto wide = blob_of(MATCHER_TYPE_NUMBER_16, {{0x70001, 0x10002, 7}});
    EXPECT_EQ(wide, blob_of(MATCHER_TYPE_NUMBER_16, {{1, 2, 7}}));
}

TEST(mapper, ids_of_a_value_come_in_the_order_of_registration)
{
    const auto blob = blob_of(MATCHER_TYPE_NUMBER_8, {{1, 9, 4}, {5, 5, 3}, {5, 7, 2}, {2, 5, 1}});
    // At 5 itself: the single 3, the start of 2, the end of 1, and 4 which covers it.
    EXPECT_EQ(find(open(blob), 5), (ids{3, 2, 1, 4}));
    EXPECT_EQ(find(open(blob), 6), (ids{4, 2}));
}

// Oddity O171: an index of the item table has 16 bits, larger ones keep their low bits.
// Value v has the record at word 1 + 2v, which for 32768 is 65537.
TEST(mapper, an_index_beyond_16_bits_wraps)
{
    number_build build;
    ASSERT_EQ(number_init(build, MATCHER_TYPE_NUMBER_16), 0);
    for (uint32_t value = 0; value < 65536; ++value)
        ASSERT_EQ(number_register(build, {value_of(value), value_of(value), value + 1000}), 0);
    ASSERT_EQ(number_finalize(build), 0);
    const auto blob = blob_of(build);
    const auto reader = open(blob);
    EXPECT_EQ(find(reader, 32767), ids{33767});
    EXPECT_EQ(find(reader, 32768), ids{1000});
    EXPECT_EQ(find(reader, 65535), ids{33767});
}

TEST(interval, two_32_bit_intervals)
{
    const auto build = finalized(MATCHER_TYPE_NUMBER_32, {{100, 200, 1}, {150, 300, 2}});
    EXPECT_EQ(number_get_size(build), 424U);
    EXPECT_EQ(blob_of(build),
              bytes("0000000F 00000004 00000005" // a matcher of 32 bits
                    "00000011 00000194"          // the intervals: 404 bytes
                    "0000002A 00000008 00000004 00000006"
                    "0000002B 00000100 01" +
                    repeat("00", 255) +
                    // 100, 150, 200, 201, 300, 301
                    "0000002C 00000018 00000064 00000096 000000C8 000000C9 0000012C 0000012D"
                    "0000002D 00000018 00000000 00000002 00000005 00000008 0000000A 0000000C"
                    "0000002E 00000034"
                    "00000001 00000001"
                    "00000002 00000002 00000001" // 2 starts, 1 covers
                    "00000002 00000001 00000002" // 1 ends, 2 covers
                    "00000001 00000002"
                    "00000001 00000002"
                    "00000000"));
}

TEST(interval, values_of_64_bits_are_written_low_half_first)
{
    const uint64_t value = 0x1122334455667788;
    EXPECT_EQ(blob_of(MATCHER_TYPE_NUMBER_64, {{value, value, 9}}),
              bytes("0000000F 00000004 00000006"
                    "00000011 00000154" // 16 + 296 + 8 + 8 + 12
                    "0000002A 00000008 00000008 00000002"
                    "0000002B 00000100" +
                    repeat("00", 0x11) + "01" + repeat("00", 256 - 0x12) +
                    "0000002C 00000010 55667788 11223344 55667789 11223344"
                    "0000002D 00000008 00000000 00000002"
                    "0000002E 0000000C 00000001 00000009 00000000"));
}

TEST(interval, values_of_16_bytes_are_written_most_significant_word_first)
{
    number_build build;
    ASSERT_EQ(number_init(build, MATCHER_TYPE_IP_6), 0);
    const auto address = ipv6(0x20010DB8, 1, 2, 0xFFFFFFFF);
    ASSERT_EQ(number_register(build, {address, address, 9}), 0);
    ASSERT_EQ(number_finalize(build), 0);
    EXPECT_EQ(blob_of(build),
              bytes("0000000F 00000004 00000008"
                    "00000011 00000164" // 32 + 296 + 8 + 8 + 12
                    "0000002A 00000008 00000010 00000002"
                    "0000002B 00000100" +
                    repeat("00", 0x20) + "01" + repeat("00", 256 - 0x21) +
                    "0000002C 00000020 20010DB8 00000001 00000002 FFFFFFFF"
                    "                  20010DB8 00000001 00000003 00000000"
                    "0000002D 00000008 00000000 00000002"
                    "0000002E 0000000C 00000001 00000009 00000000"));
}

TEST(interval, the_largest_value_has_no_endpoint_behind_it)
{
    const auto nr_endpoint = [](uint32_t type, const registration &one) {
        return open(blob_of(type, {one})).nr;
    };
    EXPECT_EQ(nr_endpoint(MATCHER_TYPE_NUMBER_32, {5, 0xFFFFFFFF, 1}), 2U);
    EXPECT_EQ(nr_endpoint(MATCHER_TYPE_IP_4, {0xFFFFFFFF, 0xFFFFFFFF, 1}), 1U);
    EXPECT_EQ(nr_endpoint(MATCHER_TYPE_NUMBER_64, {5, UINT64_MAX, 1}), 2U);
    EXPECT_EQ(nr_endpoint(MATCHER_TYPE_NUMBER_64, {5, 0xFFFFFFFF, 1}), 3U);
    number_build build;
    ASSERT_EQ(number_init(build, MATCHER_TYPE_IP_6), 0);
    const uint32_t all = 0xFFFFFFFF;
    ASSERT_EQ(number_register(build, {ipv6(0, 0, 0, 0), ipv6(all, all, all, all), 1}), 0);
    ASSERT_EQ(number_register(build, {ipv6(0, 0, 0, 7), ipv6(0, all, all, all), 2}), 0);
    ASSERT_EQ(number_finalize(build), 0);
    const auto blob = blob_of(build);
    const auto reader = open(blob);
    ASSERT_EQ(reader.nr, 5U);
    EXPECT_EQ(number_reader_endpoint(reader, 3).address, ipv6(1, 0, 0, 0).address);
}

TEST(interval, the_same_single_value_twice_is_one_endpoint_newest_first)
{
    const auto build = finalized(MATCHER_TYPE_NUMBER_32, {{5, 5, 1}, {5, 5, 2}});
    const auto blob = blob_of(build);
    EXPECT_EQ(open(blob).nr, 2U);
    EXPECT_EQ(find(open(blob), 5), (ids{2, 1}));
    EXPECT_EQ(find(open(blob), 6), ids{});
}

TEST(interval, equal_endpoints_are_ordered_newest_first_and_covers_come_last)
{
    const auto blob = blob_of(MATCHER_TYPE_IP_4,
                              {{1, 9, 8}, {5, 7, 1}, {3, 5, 2}, {0, 9, 7}, {5, 5, 3}, {5, 6, 4}});
    EXPECT_EQ(find(open(blob), 5), (ids{4, 3, 2, 1, 7, 8}));
    // The endpoint at 6 is both the end of 4 and the value behind 3 and 2.
    EXPECT_EQ(find(open(blob), 6), (ids{4, 7, 8, 1}));
}

TEST(interval, marks_every_most_significant_byte_it_crosses)
{
    const auto build = finalized(MATCHER_TYPE_NUMBER_32,
                                 {{0x10FFFFFF, 0x12000000, 1}, {0xFF000000, 0xFF000000, 2}});
    for (size_t b = 0; b < 256; ++b)
        EXPECT_EQ(build.interval.it_msb_endpoint[b], (b >= 0x10 && b <= 0x12) || b == 0xFF) << b;
}

TEST(interval, cuts_values_to_four_bytes)
{
    EXPECT_EQ(blob_of(MATCHER_TYPE_NUMBER_32, {{0x100000064, 0x2000000C8, 1}}),
              blob_of(MATCHER_TYPE_NUMBER_32, {{100, 200, 1}}));
}

TEST(interval, an_empty_one_matches_nothing)
{
    const auto blob = blob_of(MATCHER_TYPE_NUMBER_64, {});
    EXPECT_EQ(blob.size(), 20U + 296 + 8);
    EXPECT_EQ(find(open(blob), 0), ids{});
}

TEST(number, refuses_reversed_bounds)
{
    for (uint32_t type = MATCHER_TYPE_NUMBER_8; type <= MATCHER_TYPE_IP_6; ++type) {
        number_build build;
        ASSERT_EQ(number_init(build, type), 0);
        EXPECT_EQ(number_register(build, {value_of(6), value_of(5), 1}), MODULE_ERR_INVALID);
        ASSERT_EQ(number_finalize(build), 0);
        EXPECT_EQ(blob_of(build), blob_of(type, {})) << "what was refused is not kept";
    }
}

TEST(number, refuses_types_that_are_not_numbers)
{
    for (uint32_t type : {0U, 1U, 2U, 9U, 0xFFFFFFFFU}) {
        number_build build;
        EXPECT_EQ(number_init(build, type), MODULE_ERR_INVALID);
        EXPECT_EQ(number_register(build, {value_of(1), value_of(2), 1}), MODULE_ERR_INVALID);
        EXPECT_EQ(number_finalize(build), MODULE_ERR_INVALID);
        EXPECT_EQ(number_get_size(build), 20U);
        std::vector<uint8_t> buf(20);
        EXPECT_EQ(number_serialize(build, buf), nullptr);
        EXPECT_EQ(std::vector<uint8_t>(buf.begin(), buf.begin() + 8), bytes("0000000F 00000004"));
        EXPECT_EQ(buf[11], static_cast<uint8_t>(type));
        EXPECT_EQ(std::vector<uint8_t>(buf.begin() + 12, buf.end()), std::vector<uint8_t>(8));
        number_clean(build);
    }
}

TEST(number, needs_the_whole_size)
{
    const auto build = finalized(MATCHER_TYPE_NUMBER_32, {{100, 200, 1}});
    const size_t size = number_get_size(build);
    for (size_t cut = 0; cut < size; ++cut) {
        std::vector<uint8_t> buf(cut);
        EXPECT_EQ(number_serialize(build, buf), nullptr) << cut;
    }
}

TEST(number, is_empty_after_clean)
{
    auto build = finalized(MATCHER_TYPE_NUMBER_8, {{100, 200, 1}});
    number_clean(build);
    ASSERT_EQ(number_init(build, MATCHER_TYPE_NUMBER_8), 0);
    ASSERT_EQ(number_finalize(build), 0);
    EXPECT_EQ(blob_of(build), blob_of(MATCHER_TYPE_NUMBER_8, {}));
}

struct endpoint {
    number_record record;
};

// Three nested intervals: their six endpoints take 4, 2 and 0 covers.
TEST(number, takes_covers_up_to_a_bound)
{
    const std::vector<endpoint> nested = {
        {{{{1, NUMBER_ITEM_START}}}}, {{{{2, NUMBER_ITEM_START}}}}, {{{{3, NUMBER_ITEM_START}}}},
        {{{{3, NUMBER_ITEM_END}}}},   {{{{2, NUMBER_ITEM_END}}}},   {{{{1, NUMBER_ITEM_END}}}}};
    std::vector<endpoint> taken = nested;
    std::vector<number_span> spans;
    EXPECT_EQ(number_propagate(taken, &endpoint::record, spans, 6), 0);
    EXPECT_EQ(taken[2].record.nr_covers, 2U);
    std::vector<endpoint> refused = nested;
    EXPECT_EQ(number_propagate(refused, &endpoint::record, spans, 5), MODULE_ERR_NO_MEMORY);
    EXPECT_EQ(refused[2].record.nr_covers, 0U);
}

// 12,000 nested intervals would add 12,000 * 11,999 / 2 * 3 covers.
TEST(number, refuses_more_covers_than_memory_is_given_for)
{
    number_build build;
    ASSERT_EQ(number_init(build, MATCHER_TYPE_NUMBER_32), 0);
    for (uint32_t i = 0; i < 12000; ++i)
        ASSERT_EQ(number_register(build, {value_of(i * 2), value_of(1000000 - i * 2), i}), 0);
    EXPECT_EQ(number_finalize(build), MODULE_ERR_NO_MEMORY);
}

TEST(number, reports_missing_memory)
{
    for (uint32_t type : {MATCHER_TYPE_NUMBER_8, MATCHER_TYPE_NUMBER_32}) {
        failing_alloc_sweep(
            [&] {
                number_build build;
                int code = number_init(build, type);
                if (code == 0)
                    code = number_register(build, {value_of(10), value_of(20), 1});
                if (code == 0)
                    code = number_register(build, {value_of(15), value_of(15), 2});
                return code == 0 ? number_finalize(build) : code;
            },
            // The endpoint behind a value is the one thing that an interval matcher does without.
            [&](int code) {
                EXPECT_TRUE(code == MODULE_ERR_NO_MEMORY || (code == 0 && type > 4));
            });
    }
}

} // namespace
