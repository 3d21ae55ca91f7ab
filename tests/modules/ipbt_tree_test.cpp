#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "bytes.h"
#include "failing_alloc.h"
#include "ipbt.h"
#include "ipbt_reader.h"

namespace
{

constexpr uint32_t ip(uint32_t a, uint32_t b, uint32_t c, uint32_t d)
{
    return a << 24 | b << 16 | c << 8 | d;
}

std::vector<uint8_t> blob_of(const ipbt_ip4_tree &tree)
{
    std::vector<uint8_t> blob(ipbt_ip4_serialize_get_size(tree));
    EXPECT_EQ(ipbt_ip4_serialize(blob, tree), blob.data() + blob.size());
    return blob;
}

std::vector<uint32_t> find(const std::vector<uint8_t> &blob, uint32_t address)
{
    ipbt_reader reader;
    EXPECT_EQ(ipbt_reader_open(&reader, blob), 0);
    return ipbt_reader_find(reader, address);
}

using ids = std::vector<uint32_t>;

TEST(ipbt_ip4_tree, without_protocols_is_a_bare_root)
{
    auto tree = ipbt_ip4_tree_create();
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(blob_of(*tree), bytes("0000004A 0000000C 00000000 00000000 00000000"
                                    "0000004B 00000004 00000000"));
    ipbt_ip4_tree_destroy(tree);
    EXPECT_EQ(tree, nullptr);
}

TEST(ipbt_ip4_tree, a_mask_of_length_0_puts_the_list_on_the_root)
{
    auto tree = ipbt_ip4_tree_create();
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, 0, 0, 7), 0);
    EXPECT_EQ(ipbt_ip4_serialize_get_size(*tree), 40U);
    EXPECT_EQ(blob_of(*tree), bytes("0000004A 0000000C 00000000 00000000 00000004"
                                    "0000004B 0000000C 00000000 00000001 00000007"));
}

// 192.0.0.0/2 is the path 1 1, 64.0.0.0/2 the path 0 1 and 128.0.0.0/1 the path 1.
TEST(ipbt_ip4_tree, nodes_are_numbered_layer_by_layer_from_the_0_side)
{
    auto tree = ipbt_ip4_tree_create();
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, ip(192, 0, 0, 0), 2, 0x10), 0);
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, ip(64, 0, 0, 0), 2, 0x20), 0);
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, ip(128, 0, 0, 0), 1, 0x30), 0);
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, ip(64, 0, 0, 0), 2, 0x21), 0);
    EXPECT_EQ(blob_of(*tree), bytes("0000004A 0000003C"
                                    "00000001 00000002 00000000" // root
                                    "00000000 00000003 00000000" // 0
                                    "00000000 00000004 00000004" // 1: the list of 30
                                    "00000000 00000000 0000000C" // 01: that of 20 and 21
                                    "00000000 00000000 00000018" // 11: that of 10
                                    "0000004B 00000020 00000000"
                                    "00000001 00000030"
                                    "00000002 00000020 00000021"
                                    "00000001 00000010"));
}

TEST(ipbt_ip4_tree, a_shorter_prefix_covers_a_longer_one)
{
    auto tree = ipbt_ip4_tree_create();
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, ip(10, 0, 0, 0), 8, 5), 0);
    const auto before = blob_of(*tree);
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, ip(10, 1, 0, 0), 16, 5), 0);
    EXPECT_EQ(blob_of(*tree), before);
    // One list of two words behind the leading 0; nine nodes.
    EXPECT_EQ(before.size(), 16U + 12 * 9 + 12);
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, ip(10, 1, 0, 0), 16, 6), 0);
    EXPECT_EQ(find(blob_of(*tree), ip(10, 1, 9, 9)), (ids{5, 6}));
    EXPECT_EQ(find(blob_of(*tree), ip(10, 2, 9, 9)), (ids{5}));
}

TEST(ipbt_ip4_tree, a_longer_prefix_that_came_first_stays)
{
    auto tree = ipbt_ip4_tree_create();
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, ip(10, 1, 0, 0), 16, 5), 0);
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, ip(10, 0, 0, 0), 8, 5), 0);
    EXPECT_EQ(find(blob_of(*tree), ip(10, 1, 9, 9)), (ids{5, 5}));
}

TEST(ipbt_ip4_tree, an_id_stands_at_a_node_once)
{
    auto tree = ipbt_ip4_tree_create();
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(ipbt_ip4_register_proto(*tree, ip(1, 2, 3, 4), 32, 9), 0);
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, ip(1, 2, 3, 4), 32, 0), 0);
    EXPECT_EQ(find(blob_of(*tree), ip(1, 2, 3, 4)), (ids{9, 0}));
    EXPECT_EQ(find(blob_of(*tree), ip(1, 2, 3, 5)), ids{});
}

TEST(ipbt_ip4_tree, bits_behind_the_length_are_not_read)
{
    auto tree = ipbt_ip4_tree_create();
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, ip(10, 255, 255, 255), 8, 5), 0);
    EXPECT_EQ(find(blob_of(*tree), ip(10, 0, 0, 1)), (ids{5}));
}

TEST(ipbt_ip4_tree, refuses_a_length_beyond_32)
{
    auto tree = ipbt_ip4_tree_create();
    EXPECT_EQ(ipbt_ip4_register_proto(*tree, 0, 33, 5), MODULE_ERR_INVALID);
    EXPECT_EQ(tree->nodes.size(), 1U);
}

TEST(ipbt_ip4_serialize, needs_the_whole_size)
{
    auto tree = ipbt_ip4_tree_create();
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, 0, 2, 7), 0);
    const size_t size = ipbt_ip4_serialize_get_size(*tree);
    for (size_t cut = 0; cut < size; ++cut) {
        std::vector<uint8_t> buf(cut);
        EXPECT_EQ(ipbt_ip4_serialize(buf, *tree), nullptr) << cut;
    }
    std::vector<uint8_t> larger(size + 4, 0xEE);
    EXPECT_EQ(ipbt_ip4_serialize(larger, *tree), larger.data() + size);
}

struct registration {
    uint32_t mask, length, id;

    bool holds(uint32_t address) const
    {
        return length == 0 || (address ^ mask) >> (32 - length) == 0;
    }
};

// Small addresses near each other make for many common prefixes.
TEST(ipbt_ip4_tree, finds_what_naive_matching_finds)
{
    std::mt19937 random(3);
    for (int round = 0; round < 300; ++round) {
        auto tree = ipbt_ip4_tree_create();
        std::vector<registration> all;
        const uint32_t spread = round % 2 == 0 ? 0xF000000F : 0xFFFFFFFF;
        for (size_t i = random() % 40; i > 0; --i) {
            const auto word = static_cast<uint32_t>(random());
            const registration next{word & spread, static_cast<uint32_t>(random() % 33),
                                    static_cast<uint32_t>(random() % 5)};
            ASSERT_EQ(ipbt_ip4_register_proto(*tree, next.mask, next.length, next.id), 0);
            all.push_back(next);
        }
        const auto blob = blob_of(*tree);
        for (int probe = 0; probe < 100; ++probe) {
            auto address = static_cast<uint32_t>(random()) & spread;
            if (!all.empty() && probe % 2 == 0)
                address = all[random() % all.size()].mask ^ (1U << random() % 32);
            ids naive;
            for (const registration &one : all)
                if (one.holds(address))
                    naive.push_back(one.id);
            std::sort(naive.begin(), naive.end());
            naive.erase(std::unique(naive.begin(), naive.end()), naive.end());
            ids found = find(blob, address);
            std::sort(found.begin(), found.end());
            found.erase(std::unique(found.begin(), found.end()), found.end());
            ASSERT_EQ(found, naive);
        }
    }
}

TEST(ipbt_ip4_tree, many_protocols_at_one_node_cost_no_search)
{
    auto tree = ipbt_ip4_tree_create();
    for (uint32_t id = 0; id < 200000; ++id)
        ASSERT_EQ(ipbt_ip4_register_proto(*tree, ip(10, 0, 0, 0), 8, id), 0);
    EXPECT_EQ(find(blob_of(*tree), ip(10, 0, 0, 1)).size(), 200000U);
}

TEST(ipbt_ip4_tree, reports_missing_memory)
{
    failing_alloc_sweep([] { return ipbt_ip4_tree_create() == nullptr ? MODULE_ERR_NO_MEMORY : 0; },
                        [](int code) { EXPECT_EQ(code, MODULE_ERR_NO_MEMORY); });
    failing_alloc_sweep(
        [] {
            const auto tree = ipbt_ip4_tree_create();
            return tree == nullptr ? MODULE_ERR_NO_MEMORY
                                   : ipbt_ip4_register_proto(*tree, 0xA0000000, 8, 5);
        },
        [](int code) { EXPECT_EQ(code, MODULE_ERR_NO_MEMORY); });
    const auto tree = ipbt_ip4_tree_create();
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, 0xA0000000, 8, 5), 0);
    std::vector<uint8_t> blob(ipbt_ip4_serialize_get_size(*tree));
    failing_alloc_sweep(
        [&] { return ipbt_ip4_serialize_get_size(*tree) == 0 ? MODULE_ERR_NO_MEMORY : 0; },
        [](int code) { EXPECT_EQ(code, MODULE_ERR_NO_MEMORY); });
    failing_alloc_sweep(
        [&] { return ipbt_ip4_serialize(blob, *tree) == nullptr ? MODULE_ERR_NO_MEMORY : 0; },
        [](int code) { EXPECT_EQ(code, MODULE_ERR_NO_MEMORY); });
}

// Whatever the bytes, the reader refuses or answers; the sanitizers watch the bounds.
TEST(ipbt_reader, survives_damaged_blobs)
{
    auto tree = ipbt_ip4_tree_create();
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, ip(10, 1, 0, 0), 16, 5), 0);
    ASSERT_EQ(ipbt_ip4_register_proto(*tree, ip(192, 168, 0, 0), 12, 6), 0);
    const auto blob = blob_of(*tree);
    ipbt_reader reader;
    for (size_t cut = 0; cut < blob.size(); ++cut) {
        const std::vector<uint8_t> shorter(blob.begin(), blob.begin() + static_cast<long>(cut));
        EXPECT_EQ(ipbt_reader_open(&reader, shorter), -1) << cut;
    }
    std::mt19937 random(11);
    for (int round = 0; round < 20000; ++round) {
        auto damaged = blob;
        damaged[random() % damaged.size()] = static_cast<uint8_t>(random());
        if (ipbt_reader_open(&reader, damaged) == 0)
            (void)ipbt_reader_find(reader, static_cast<uint32_t>(random()));
    }
}

} // namespace
