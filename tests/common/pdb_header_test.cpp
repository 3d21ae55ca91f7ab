#include <gtest/gtest.h>

#include "bytes.h"
#include "failing_alloc.h"
#include "pdb_header.h"

namespace
{

pdb_t part(pdb_type_t type, const char *value)
{
    pdb_t pdb;
    EXPECT_TRUE(pdb_header_set(&pdb, type, bytes(value)));
    return pdb;
}

TEST(pdb_header, the_kinds_of_part_have_their_numbers)
{
    EXPECT_EQ(PDB_TYPE_PROTOCOL_DESCRIPTION, 0U);
    EXPECT_EQ(PDB_TYPE_MAIN_HSTRING, 1U);
    EXPECT_EQ(PDB_TYPE_GRAPH, 2U);
    EXPECT_EQ(PDB_TYPE_ENGINE, 3U);
    EXPECT_EQ(PDB_TYPE_VERSION, 4U);
    EXPECT_EQ(PDB_TYPE_DEFAULT_LOADED, 5U);
    EXPECT_EQ(PDB_TYPE_TMP, 6U);
    EXPECT_EQ(PDB_TYPE_TAGS, 7U);
    EXPECT_EQ(PDB_TYPE_MATCHER_ALIAS, 8U);
    EXPECT_EQ(PDB_TYPE_CFG, 9U);
    EXPECT_EQ(PDB_TYPE_LOAD, 10U);
    EXPECT_EQ(PDB_TYPE_END, 11U);
}

TEST(pdb_header, the_load_states_but_two_read_the_same_in_both_byte_orders)
{
    EXPECT_EQ(TLV_TYPE_LOAD_UNLOADABLE, 0x01000001U);
    EXPECT_EQ(TLV_TYPE_LOAD_LOADABLE, 0x02000002U);
    EXPECT_EQ(TLV_TYPE_LOAD_LOADED_LE, 0x03000003U);
    EXPECT_EQ(TLV_TYPE_LOAD_LOADED_BE, 0x04000004U);
}

TEST(pdb_header, a_list_holds_ten_parts_and_an_end_mark)
{
    const pdb_list_t list;
    EXPECT_EQ(list.size(), 11U);
    EXPECT_EQ(list[0].pdb_type, PDB_TYPE_END) << "a new list is empty";
    EXPECT_EQ(list[0].pdb_tlv_len, 0U);
    EXPECT_TRUE(pdb_header_bytes(list[0]).empty());
}

TEST(pdb_header, a_header_takes_over_a_record)
{
    const pdb_t pdb = part(PDB_TYPE_TAGS, "09000000");
    EXPECT_EQ(pdb.pdb_type, PDB_TYPE_TAGS);
    EXPECT_EQ(pdb.pdb_tlv_len, 4U);
    EXPECT_EQ(*pdb.pdb_tlv, bytes("09000000"));
    EXPECT_EQ(pdb_header_bytes(pdb).size(), 4U);
}

TEST(pdb_header, a_copy_shares_the_bytes)
{
    const pdb_t pdb = part(PDB_TYPE_TAGS, "09000000");
    pdb_t copy;
    pdb_header_memcpy(&copy, pdb);
    EXPECT_EQ(copy.pdb_tlv, pdb.pdb_tlv);
    EXPECT_EQ(copy.pdb_tlv_len, 4U);
    EXPECT_EQ(copy.pdb_type, PDB_TYPE_TAGS);
    pdb_header_end(&copy);
    EXPECT_EQ(copy.pdb_type, PDB_TYPE_END);
    EXPECT_EQ(copy.pdb_tlv_len, 0U);
    EXPECT_EQ(copy.pdb_tlv, nullptr);
    EXPECT_EQ(pdb_header_bytes(pdb).size(), 4U) << "the other header keeps them";
}

TEST(pdb_header, a_part_is_found_in_front_of_the_end_mark)
{
    const pdb_list_t list = {part(PDB_TYPE_TAGS, "00"), part(PDB_TYPE_LOAD, "01"),
                             part(PDB_TYPE_TAGS, "02"), pdb_t{}, part(PDB_TYPE_CFG, "03")};
    EXPECT_EQ(pdata_pdb_type_find(list, PDB_TYPE_TAGS), &list[0]) << "the first of two";
    EXPECT_EQ(pdata_pdb_type_find(list, PDB_TYPE_LOAD), &list[1]);
    EXPECT_EQ(pdata_pdb_type_find(list, PDB_TYPE_CFG), nullptr) << "behind the end mark";
    EXPECT_EQ(pdata_pdb_type_find(list, PDB_TYPE_PROTOCOL_DESCRIPTION), nullptr);
    EXPECT_EQ(pdata_pdb_type_find(list, PDB_TYPE_END), nullptr);
    EXPECT_EQ(pdata_pdb_type_find({}, PDB_TYPE_TAGS), nullptr);
}

TEST(pdb_header, a_list_without_an_end_mark_is_searched_to_its_end)
{
    pdb_list_t list;
    list.fill(part(PDB_TYPE_TAGS, "00"));
    list[10] = part(PDB_TYPE_LOAD, "01");
    EXPECT_EQ(pdata_pdb_type_find(list, PDB_TYPE_LOAD), &list[10]);
    EXPECT_EQ(pdata_pdb_type_find(list, PDB_TYPE_CFG), nullptr);
}

TEST(pdb_header, a_header_stays_as_it_was_when_memory_runs_out)
{
    pdb_t pdb = part(PDB_TYPE_TAGS, "09000000");
    csa_buf_t other = bytes("0C000000");
    failing_alloc_arm(1);
    const bool set = pdb_header_set(&pdb, PDB_TYPE_LOAD, std::move(other));
    ASSERT_TRUE(failing_alloc_disarm());
    EXPECT_FALSE(set);
    EXPECT_EQ(pdb.pdb_type, PDB_TYPE_TAGS);
    EXPECT_EQ(*pdb.pdb_tlv, bytes("09000000"));
}

} // namespace
