#include <gtest/gtest.h>

#include <memory>

#include "failing_alloc.h"
#include "plu_action.h"

namespace
{

/// An action that is told from others by the protocol it carries.
action make_action(action_type_t type, uint32_t id, uint32_t mark = 0)
{
    action entry;
    entry.a_type = type;
    entry.a_protoid = id;
    entry.a_proto.proto_max_trans = mark;
    return entry;
}

std::vector<uint32_t> marks(std::span<const action *const> actions)
{
    std::vector<uint32_t> out;
    for (const action *entry : actions)
        out.push_back(entry->a_proto.proto_max_trans);
    return out;
}

class plu_action : public testing::Test
{
protected:
    void SetUp() override { plu_init_action_table(table.get()); }
    void put(action_type_t type, uint32_t id, uint32_t mark = 0)
    {
        plu_insert_action(table.get(), make_action(type, id, mark));
    }

    std::unique_ptr<plu_action_table_t> table = std::make_unique<plu_action_table_t>();
};

TEST_F(plu_action, the_low_seven_bits_choose_the_bucket)
{
    EXPECT_EQ(hashkey(0), 0U);
    EXPECT_EQ(hashkey(127), 127U);
    EXPECT_EQ(hashkey(128), 0U);
    EXPECT_EQ(hashkey(0x01000083), 3U);
}

TEST_F(plu_action, a_bucket_holds_its_actions_newest_first)
{
    put(ACTION_ADD, 3, 1);
    put(ACTION_UPDATE, 131, 2);
    put(ACTION_ADD, 4, 3);
    put(ACTION_DEL_RULES, 3, 4);
    std::vector<uint32_t> order;
    for (const action &entry : table->action_list[3].data)
        order.push_back(entry.a_proto.proto_max_trans);
    EXPECT_EQ(order, (std::vector<uint32_t>{4, 2, 1}));
}

TEST_F(plu_action, the_actions_of_an_id_come_oldest_first)
{
    put(ACTION_ADD, 3, 1);
    put(ACTION_UPDATE, 131, 2);
    put(ACTION_UPDATE, 3, 3);
    put(ACTION_UPDATE, 3, 4);
    EXPECT_EQ(marks(plu_lookup_action_list(*table, 3)), (std::vector<uint32_t>{1, 3, 4}));
    EXPECT_EQ(marks(plu_lookup_action_list(*table, 131)), (std::vector<uint32_t>{2}));
    EXPECT_TRUE(plu_lookup_action_list(*table, 4).empty());
}

TEST_F(plu_action, a_look_up_by_type_gives_the_newest)
{
    put(ACTION_ADD, 3, 1);
    put(ACTION_ADD, 3, 2);
    put(ACTION_UPDATE, 3, 3);
    put(ACTION_DEL_RULES, 131, 4);
    ASSERT_NE(plu_lookup_action_by_type(*table, 3, ACTION_ADD), nullptr);
    EXPECT_EQ(plu_lookup_action_by_type(*table, 3, ACTION_ADD)->a_proto.proto_max_trans, 2U);
    EXPECT_EQ(plu_lookup_action_by_type(*table, 3, ACTION_UPDATE)->a_proto.proto_max_trans, 3U);
    EXPECT_EQ(plu_lookup_action_by_type(*table, 3, ACTION_DEL_RULES), nullptr);
    EXPECT_EQ(plu_lookup_action_by_type(*table, 5, ACTION_ADD), nullptr);
}

TEST_F(plu_action, a_bucket_grows_around_its_middle)
{
    const taq_action_list_t &bucket = table->action_list[9];
    const auto positions = [&] {
        return std::vector<uint32_t>{bucket.len, bucket.idx_hf, bucket.idx_tf};
    };
    EXPECT_EQ(positions(), (std::vector<uint32_t>{5, 1, 2}));
    put(ACTION_ADD, 9);
    EXPECT_EQ(positions(), (std::vector<uint32_t>{5, 0, 2}));
    put(ACTION_ADD, 9); // one entry moves to 5
    EXPECT_EQ(positions(), (std::vector<uint32_t>{10, 3, 6}));
    for (int i = 0; i < 3; ++i)
        put(ACTION_ADD, 9);
    EXPECT_EQ(positions(), (std::vector<uint32_t>{10, 0, 6}));
    put(ACTION_ADD, 9); // five entries move to 8
    EXPECT_EQ(positions(), (std::vector<uint32_t>{20, 6, 13}));
    EXPECT_EQ(bucket.data.size(), 6U);
}

TEST_F(plu_action, a_full_bucket_drops_what_comes)
{
    constexpr uint32_t most = 109226;
    for (uint32_t i = 0; i < most; ++i)
        put(ACTION_UPDATE, 9 + i % 2 * 128, i);
    EXPECT_EQ(table->action_list[9].data.size(), most);
    EXPECT_EQ(table->action_list[9].len, 163840U);
    put(ACTION_ADD, 9, 7);
    EXPECT_EQ(table->action_list[9].data.size(), most);
    EXPECT_EQ(plu_lookup_action_by_type(*table, 9, ACTION_ADD), nullptr);
    put(ACTION_ADD, 10, 7);
    EXPECT_NE(plu_lookup_action_by_type(*table, 10, ACTION_ADD), nullptr);
    plu_delete_action_table(table.get());
    EXPECT_TRUE(plu_lookup_action_list(*table, 9).empty());
    EXPECT_EQ(table->action_list[9].len, 5U);
}

TEST_F(plu_action, an_action_that_memory_cannot_hold_is_not_lost)
{
    for (uint32_t i = 0; i < 40; ++i)
        put(ACTION_UPDATE, 9, i);
    for (size_t nth = 1; nth < 6; ++nth) {
        const uint32_t id = 9 + 128 * static_cast<uint32_t>(nth);
        size_t put_whole = 0;
        const size_t before = table->action_list[9].data.size();
        failing_alloc_arm(nth);
        bool failed = false;
        for (uint32_t i = 0; i < 40; ++i) {
            try {
                put(ACTION_UPDATE, id, i);
                ++put_whole;
            } catch (const std::bad_alloc &) {
                failed = true;
            }
        }
        EXPECT_EQ(failing_alloc_disarm(), failed) << nth;
        EXPECT_EQ(put_whole, failed ? 39U : 40U);
        EXPECT_EQ(table->action_list[9].data.size(), before + put_whole);
        EXPECT_EQ(plu_lookup_action_list(*table, id).size(), put_whole);
    }
}

} // namespace
