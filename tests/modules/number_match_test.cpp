/// What the readers of number matchers find, against naive matching.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "number_built.h"

namespace
{

// Oddity O172: the id of the outer interval goes no further than the first end of its id.
class number_same_id : public testing::TestWithParam<uint32_t>
{
};

INSTANTIATE_TEST_SUITE_P(types, number_same_id,
                         testing::Range(uint32_t{MATCHER_TYPE_NUMBER_8}, MATCHER_TYPE_IP_6 + 1U));

TEST_P(number_same_id, an_inner_interval_of_the_same_id_cuts_the_outer_one)
{
    const auto blob = blob_of(GetParam(), {{10, 20, 7}, {12, 15, 7}});
    const auto reader = open(blob);
    for (uint64_t value = 0; value < 30; ++value) {
        const bool found = (value >= 10 && value <= 15) || value == 20;
        EXPECT_EQ(!find(reader, value).empty(), found) << value;
    }
}

TEST_P(number_same_id, a_later_interval_of_the_same_id_is_cut_by_the_first_end)
{
    const auto blob = blob_of(GetParam(), {{10, 20, 7}, {15, 30, 7}});
    const auto reader = open(blob);
    for (uint64_t value = 0; value < 40; ++value) {
        const bool found = (value >= 10 && value <= 20) || value == 30;
        EXPECT_EQ(!find(reader, value).empty(), found) << value;
    }
}

TEST_P(number_same_id, separate_and_equal_intervals_of_one_id_are_whole)
{
    const auto blob =
        blob_of(GetParam(), {{10, 20, 7}, {20, 25, 7}, {30, 40, 7}, {30, 40, 7}, {35, 35, 7}});
    const auto reader = open(blob);
    for (uint64_t value = 0; value < 50; ++value) {
        const bool found = (value >= 10 && value <= 25) || (value >= 30 && value <= 40);
        EXPECT_EQ(!find(reader, value).empty(), found) << value;
    }
}

ids naive(const std::vector<registration> &all, uint64_t value)
{
    ids found;
    for (const registration &one : all)
        if (one.min <= value && value <= one.max)
            found.push_back(one.id);
    std::sort(found.begin(), found.end());
    return found;
}

ids sorted(ids found)
{
    std::sort(found.begin(), found.end());
    return found;
}

// All sets of up to three intervals between a few bounds, on every value, both ends included.
TEST(mapper, finds_what_naive_matching_finds_in_all_small_sets)
{
    const std::vector<uint64_t> bounds = {0, 1, 2, 128, 254, 255};
    std::vector<registration> single;
    for (uint64_t min : bounds)
        for (uint64_t max : bounds)
            if (min <= max)
                single.push_back({min, max, 0});
    const auto check = [](std::vector<registration> all) {
        for (uint32_t i = 0; i < all.size(); ++i)
            all[i].id = i + 1;
        const auto blob = blob_of(MATCHER_TYPE_NUMBER_8, all);
        number_reader reader;
        ASSERT_EQ(number_reader_open(&reader, blob), 0);
        for (uint32_t value : {0U, 1U, 2U, 3U, 77U, 127U, 128U, 129U, 253U, 254U, 255U})
            ASSERT_EQ(sorted(find(reader, value)), naive(all, value)) << value;
    };
    for (const registration &a : single) {
        check({a});
        for (const registration &b : single) {
            check({a, b});
            for (const registration &c : single)
                check({a, b, c});
        }
    }
}

uint64_t width_max(uint32_t type)
{
    switch (type) {
    case MATCHER_TYPE_NUMBER_8:
        return 0xFF;
    case MATCHER_TYPE_NUMBER_16:
        return 0xFFFF;
    case MATCHER_TYPE_NUMBER_32:
    case MATCHER_TYPE_IP_4:
        return 0xFFFFFFFF;
    default:
        return UINT64_MAX;
    }
}

class number_matching : public testing::TestWithParam<uint32_t>
{
};

INSTANTIATE_TEST_SUITE_P(types, number_matching,
                         testing::Range(uint32_t{MATCHER_TYPE_NUMBER_8}, MATCHER_TYPE_IP_6 + 1U));

// Random sets, dense near both ends of the space and wide over it, probed at and around bounds.
TEST_P(number_matching, finds_what_naive_matching_finds)
{
    std::mt19937_64 random(GetParam());
    const uint64_t max = width_max(GetParam());
    const auto pick = [&]() -> uint64_t {
        switch (random() % 3) {
        case 0:
            return random() % 12;
        case 1:
            return max - random() % 12;
        default:
            return random() & max;
        }
    };
    for (int round = 0; round < 60; ++round) {
        std::vector<registration> all;
        for (uint32_t id = 1; id <= 1 + random() % 40; ++id) {
            const uint64_t a = pick();
            const uint64_t b = random() % 3 == 0 ? a : pick();
            all.push_back({std::min(a, b), std::max(a, b), id});
        }
        const auto blob = blob_of(GetParam(), all);
        const auto reader = open(blob);
        std::vector<uint64_t> probes = {0, max};
        for (const registration &one : all)
            for (uint64_t bound : {one.min, one.max})
                for (uint64_t step : {uint64_t{0}, uint64_t{1}, UINT64_MAX})
                    probes.push_back((bound + step) & max);
        for (int i = 0; i < 50; ++i)
            probes.push_back(pick());
        for (uint64_t probe : probes)
            ASSERT_EQ(sorted(find(reader, probe)), naive(all, probe)) << probe;
    }
}

TEST(interval, compares_16_byte_values_by_all_their_words)
{
    number_build build;
    ASSERT_EQ(number_init(build, MATCHER_TYPE_IP_6), 0);
    ASSERT_EQ(number_register(build, {ipv6(1, 0, 0, 0), ipv6(2, 5, 0, 0), 1}), 0);
    ASSERT_EQ(number_register(build, {ipv6(2, 0, 9, 0), ipv6(2, 0, 9, 9), 2}), 0);
    ASSERT_EQ(number_finalize(build), 0);
    const auto blob = blob_of(build);
    const auto reader = open(blob);
    EXPECT_EQ(number_reader_find(reader, ipv6(0, 9, 9, 9)), ids{});
    EXPECT_EQ(number_reader_find(reader, ipv6(1, 9, 9, 9)), ids{1});
    EXPECT_EQ(number_reader_find(reader, ipv6(2, 0, 9, 4)), (ids{2, 1}));
    EXPECT_EQ(number_reader_find(reader, ipv6(2, 0, 9, 10)), ids{1});
    EXPECT_EQ(number_reader_find(reader, ipv6(2, 5, 0, 1)), ids{});
}

TEST(number, many_values_cost_no_search)
{
    for (uint32_t type : {MATCHER_TYPE_NUMBER_16, MATCHER_TYPE_IP_4}) {
        number_build build;
        ASSERT_EQ(number_init(build, type), 0);
        for (uint32_t i = 0; i < 200000; ++i) {
            const uint64_t start = i * 7919 % 65000;
            ASSERT_EQ(number_register(build, {value_of(start), value_of(start + i % 3), i}), 0);
        }
        ASSERT_EQ(number_finalize(build), 0);
        const auto blob = blob_of(build);
        const number_reader reader = open(blob);
        size_t found = 0;
        for (uint64_t value = 64990; value < 65005; ++value)
            found += find(reader, value).size();
        size_t expected = 0; // of registration i, those of its 1 to 3 values that are asked for
        for (uint32_t i = 0; i < 200000; ++i)
            for (uint64_t value = i * 7919 % 65000; value <= i * 7919 % 65000 + i % 3; ++value)
                expected += value >= 64990 && value < 65005 ? 1 : 0;
        EXPECT_GT(blob.size(), size_t{200000} * 4); // every id stands there
        if (type == MATCHER_TYPE_IP_4) {            // where no place of a record is cut to 16 bits
            EXPECT_EQ(found, expected);
        }
    }
}

// Whatever the bytes, the reader refuses or answers; the sanitizers watch the bounds.
TEST(number_reader, survives_damaged_blobs)
{
    std::mt19937_64 random(5);
    for (uint32_t type = MATCHER_TYPE_NUMBER_8; type <= MATCHER_TYPE_IP_6; ++type) {
        if (type == MATCHER_TYPE_NUMBER_16)
            continue; // 128 KiB of table would only dilute the damage
        const auto blob = blob_of(type, {{1, 5, 1}, {3, 9, 2}, {7, 7, 3}});
        number_reader reader;
        for (size_t cut = 0; cut < blob.size(); ++cut) {
            const std::vector<uint8_t> shorter(blob.begin(), blob.begin() + static_cast<long>(cut));
            EXPECT_EQ(number_reader_open(&reader, shorter), -1) << cut;
        }
        for (int round = 0; round < 5000; ++round) {
            auto damaged = blob;
            damaged[random() % damaged.size()] = static_cast<uint8_t>(random());
            if (number_reader_open(&reader, damaged) == 0)
                for (uint64_t value = 0; value < 12; ++value)
                    (void)find(reader, value);
        }
    }
}

/// What `serialize` writes into a buffer with room for it; nothing into one that is a byte short.
template <typename Serialize>
std::vector<uint8_t> alone(Serialize &&serialize)
{
    std::vector<uint8_t> bytes(4096);
    const uint8_t *end = serialize(std::span(bytes));
    EXPECT_NE(end, nullptr);
    bytes.resize(static_cast<size_t>(end - bytes.data()));
    std::vector<uint8_t> cut(bytes.size() - 1);
    EXPECT_EQ(serialize(std::span(cut)), nullptr);
    return bytes;
}

// The matcher behind a type stands in the blob as it is written alone.
TEST(number, a_matcher_alone_is_written_as_in_a_build)
{
    const auto expect_end = [](const number_build &build, const std::vector<uint8_t> &part) {
        const std::vector<uint8_t> whole = blob_of(build);
        ASSERT_LT(part.size(), whole.size());
        EXPECT_TRUE(
            std::equal(part.begin(), part.end(), whole.end() - static_cast<long>(part.size())));
    };
    const number_build mapped = finalized(MATCHER_TYPE_NUMBER_8, {{3, 5, 1}});
    expect_end(mapped,
               alone([&](std::span<uint8_t> buf) { return mapper_serialize(mapped.mapper, buf); }));
    const number_build sorted = finalized(MATCHER_TYPE_IP_4, {{3, 5, 1}});
    const std::vector<uint8_t> intervals =
        alone([&](std::span<uint8_t> buf) { return interval_serialize(sorted.interval, buf); });
    EXPECT_EQ(interval_get_size(sorted.interval), intervals.size());
    expect_end(sorted, intervals);
}

TEST(number, a_used_matcher_is_emptied)
{
    number_build used = finalized(MATCHER_TYPE_IP_4, {{3, 5, 1}, {9, 10, 2}});
    interval_init(used.interval, 4);
    EXPECT_EQ(interval_finalize(used.interval), 0);
    interval_build fresh;
    interval_init(fresh, 4);
    EXPECT_EQ(interval_finalize(fresh), 0);
    const auto bytes_of = [](const interval_build &build) {
        return alone([&](std::span<uint8_t> buf) { return interval_serialize(build, buf); });
    };
    EXPECT_EQ(bytes_of(used.interval), bytes_of(fresh));
}

} // namespace
