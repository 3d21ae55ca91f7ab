#include <gtest/gtest.h>

#include "plu_fixtures.h"
#include "plu_group.h"

namespace
{

/// A description of nothing but its meta.
word_list bare_protocol(uint32_t id, uint32_t max_trans = 0)
{
    return record(1, {id, 0, 0, max_trans, 1});
}

word_list proto(uint32_t id, uint32_t max_trans = 0)
{
    return record(1, bare_protocol(id, max_trans));
}

word_list group(const word_list &protos)
{
    return record(1, join({record(1, protos), record(2, {0x00017800})}));
}

class plu_group : public testing::Test
{
protected:
    void SetUp() override { clear_status_slot(); }

    void open(const word_list &groups)
    {
        bytes = stored(groups);
        base = {};
        base.groups = view_walk(view_file(bytes));
    }

    /// Looks an id up: "found" with the protocol's max_trans, "none", or the outcome.
    std::string look_up(uint32_t id)
    {
        bool found = true;
        protodesc_t view;
        const pdata_status_t status = plu_base_has_id(&base, id, &found, &view);
        if (status != PDATA_SUCCESS)
            return outcome(status);
        return found ? "found " + std::to_string(protodesc_get_max_trans(view)) : "none";
    }

    std::vector<uint8_t> bytes;
    plu_base_t base;
};

TEST_F(plu_group, a_look_up_finds_the_first_protocol_with_the_id)
{
    open(join({group(join({proto(7, 1), proto(8, 2)})), group(join({proto(8, 3), proto(9, 4)}))}));
    EXPECT_EQ(look_up(8), "found 2");
    EXPECT_EQ(look_up(9), "found 4");
    EXPECT_EQ(look_up(7), "found 1");
    EXPECT_EQ(look_up(8), "found 2");
    EXPECT_EQ(look_up(10), "none");
    EXPECT_EQ(look_up(9), "found 4");
}

TEST_F(plu_group, an_empty_base_has_no_protocol)
{
    open({});
    EXPECT_EQ(look_up(0), "none");
    open(join({group({}), group({})}));
    EXPECT_EQ(look_up(0), "none");
}

TEST_F(plu_group, a_record_of_another_type_is_named)
{
    open(join({group(proto(7)), record(9), group(proto(8))}));
    EXPECT_EQ(look_up(7), "found 0");
    EXPECT_EQ(look_up(8), OUTCOME_TLV_NOT_FOUND ": Unknown type 0x9");
    EXPECT_EQ(look_up(7), "found 0");
    EXPECT_EQ(look_up(8), OUTCOME_TLV_NOT_FOUND ": Unknown type 0x9");
    open(group(join({proto(7), record(0xAB), proto(8)})));
    EXPECT_EQ(look_up(8), OUTCOME_TLV_NOT_FOUND ": Unknown type 0xab");
}

TEST_F(plu_group, damage_is_met_where_it_stands)
{
    open(group(join({proto(7), record(1, record(9)), proto(8)})));
    EXPECT_EQ(look_up(7), "found 0");
    EXPECT_EQ(look_up(8), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(look_up(7), "found 0");
    open(group(join({proto(7), record(1, record(1, {7})), proto(8)})));
    EXPECT_EQ(look_up(8), OUTCOME_INVALID_ARGUMENT ": invalid Tlv len 1, cannot deserialize meta");
}

TEST_F(plu_group, a_record_that_runs_over_is_not_found)
{
    open(group(join({proto(7), {0x01000005}})));
    EXPECT_EQ(look_up(7), "found 0");
    EXPECT_EQ(look_up(8), OUTCOME_TLV_NOT_FOUND);
    open(join({group(proto(7)), {0x01000001}}));
    EXPECT_EQ(look_up(8), OUTCOME_TLV_NOT_FOUND);
    open(join({group(proto(7)), {0x02000001}}));
    EXPECT_EQ(look_up(8), OUTCOME_TLV_NOT_FOUND ": Unknown type 0x2");
}

TEST_F(plu_group, a_group_needs_a_list_and_a_string_table)
{
    open(record(1, record(1, proto(7))));
    EXPECT_EQ(look_up(7), OUTCOME_TLV_NOT_FOUND);
    open(record(1, record(2, {0})));
    EXPECT_EQ(look_up(7), OUTCOME_TLV_NOT_FOUND);
    open(record(1, join({record(2), record(1, proto(7))})));
    EXPECT_EQ(look_up(7), "found 0");
}

TEST_F(plu_group, groups_stand_in_the_root_record_of_descriptions)
{
    std::span<const uint8_t> groups;
    const std::vector<uint8_t> root = stored(join({record(9, {5}), record(1, {7, 8})}));
    ASSERT_EQ(outcome(plu_get_groups(root, &groups)), "0");
    EXPECT_EQ(groups.size(), 8U);
    EXPECT_EQ(outcome(plu_get_groups(stored(record(9, {5})), &groups)), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(outcome(plu_get_groups(stored({0x01000002, 7}), &groups)), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(outcome(plu_get_groups({}, &groups)), OUTCOME_TLV_NOT_FOUND);
}

TEST_F(plu_group, the_root_strings_must_be_there)
{
    hstring_t root;
    const std::vector<uint8_t> strings = stored(record(3, {0x00017800}));
    ASSERT_EQ(outcome(plu_get_root_hstring(strings, &root)), "0");
    EXPECT_EQ(root.hs_len, 4U);
    const std::vector<uint8_t> empty = stored(record(3));
    ASSERT_EQ(outcome(plu_get_root_hstring(empty, &root)), "0");
    EXPECT_EQ(root.hs_len, 0U);
    EXPECT_NE(root.hs_str, nullptr);
    constexpr const char *missing =
        OUTCOME_INVALID_ARGUMENT ": Cannot retrieve root hstring in tlv data\n";
    EXPECT_EQ(outcome(plu_get_root_hstring({}, &root)), missing);
    EXPECT_EQ(outcome(plu_get_root_hstring(stored(record(4)), &root)), missing);
    EXPECT_EQ(outcome(plu_get_root_hstring(stored({0x03000001}), &root)), missing);
}

} // namespace
