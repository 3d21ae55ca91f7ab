#include <gtest/gtest.h>

#include "description_writer.h"
#include "pdata_merge.h"
#include "pdata_remove.h"
#include "pdb_fixtures.h"
#include "rounds.h"

namespace
{

constexpr uint32_t USER = 0x01000000;
constexpr const char *TWO =
    R"({"name":"acme","id":16777217,"rules":[)"
    R"({"order":"1:2","rule":[{"protocol":"tcp","port":"80"}]}]},)"
    R"({"name":"other","id":77,"rules":[)"
    R"({"order":"1:2","rule-tags":["audio"],"rule":[{"protocol":"tcp","port":"81"}]}]})";

class pdata_remove_test : public testing::Test
{
protected:
    void SetUp() override { clear_status_slot(); }
};

TEST_F(pdata_remove_test, the_rules_go_and_the_protocol_stays)
{
    const pdb_list_t pdb = make_pdb(TWO);
    pdb_t out;
    ASSERT_EQ(outcome(pdata_remove(pdb, 16777217, &out)), "0");
    EXPECT_EQ(out.pdb_type, PDB_TYPE_PROTOCOL_DESCRIPTION);
    EXPECT_EQ(out.pdb_tlv_len, pdb_header_bytes(out).size());
    std::vector<protocol_model> expected = protocols_of(pdb);
    std::reverse(expected.begin(), expected.end());
    expected[1].rules.clear();
    EXPECT_EQ(protocols_of(out, pdb), expected);
}

TEST_F(pdata_remove_test, an_unknown_id_writes_nothing)
{
    const pdb_list_t pdb = make_pdb(TWO);
    pdb_t out;
    EXPECT_EQ(outcome(pdata_remove(pdb, 512, &out)), OUTCOME_PLU ": proto id 512 not found\n");
    EXPECT_EQ(out.pdb_tlv, nullptr);
    EXPECT_EQ(out.pdb_type, PDB_TYPE_END);
}

TEST_F(pdata_remove_test, a_pdb_needs_main_strings)
{
    const pdb_list_t pdb = make_pdb(TWO);
    pdb_t out;
    constexpr const char *missing =
        OUTCOME_INVALID_ARGUMENT ": Cannot retrieve root hstring in tlv data\n";
    EXPECT_EQ(outcome(pdata_remove(without(pdb, PDB_TYPE_MAIN_HSTRING), 77, &out)), missing);
    EXPECT_EQ(outcome(pdata_remove(pdb_list_t{}, 77, &out)), missing);
    EXPECT_EQ(
        outcome(pdata_remove(with(pdb, make_part(PDB_TYPE_MAIN_HSTRING, {9, 0, 0, 0})), 77, &out)),
        missing);
}

TEST_F(pdata_remove_test, the_first_part_is_taken_whatever_its_kind)
{
    const pdb_list_t pdb = make_pdb(TWO);
    pdb_t out;
    EXPECT_EQ(outcome(pdata_remove(without(pdb, PDB_TYPE_PROTOCOL_DESCRIPTION), 77, &out)),
              OUTCOME_TLV_NOT_FOUND);
    pdb_list_t other = pdb;
    other[0].pdb_type = PDB_TYPE_TMP;
    EXPECT_EQ(outcome(pdata_remove(other, 77, &out)), "0");
    EXPECT_NE(out.pdb_tlv, nullptr);
}

TEST_F(pdata_remove_test, a_result_that_cannot_be_serialized_is_a_success_without_a_part)
{
    string_pool tags;
    protocol_model protocol;
    protocol.id = 7;
    protocol.name = "acme";
    protocol.default_port = "80";
    rule_model rule;
    rule.meta_version = 5;
    rule.sub_rules = {
        {"tcp",
         "tcp",
         0,
         0,
         {{"port", MATCHER_TYPE_UNKNOWN, ATTR_WAY_BOTH, ATTR_PROTO_UNKNOWN, {{"80", 0}}}}}};
    protocol.rules = {rule};
    protocol_model sound = protocol;
    sound.id = 8;
    sound.rules.clear();
    pdb_list_t pdb = make_pdb(TWO);
    pdb[0] = make_part(PDB_TYPE_PROTOCOL_DESCRIPTION,
                       description_writer::descriptions(tags, {protocol, sound}));
    pdb_t out = make_part(PDB_TYPE_TMP, {1, 2, 3, 4});
    // The message is that of the serialization.
    EXPECT_EQ(pdata_remove(pdb, 8, &out), PDATA_SUCCESS);
    EXPECT_STREQ(pdata_status_msg_get(), "Unknown matcher type for tcp:port");
    EXPECT_EQ(out.pdb_tlv, nullptr);
    EXPECT_EQ(out.pdb_tlv_len, 0U);
    clear_status_slot();
    // Without its rules the protocol can be serialized.
    EXPECT_EQ(outcome(pdata_remove(pdb, 7, &out)), "0");
    EXPECT_NE(out.pdb_tlv, nullptr);
}

TEST_F(pdata_remove_test, every_other_protocol_stays_as_it_was)
{
    for (uint32_t seed = 0; seed < dear_rounds(60); ++seed) {
        SCOPED_TRACE(seed);
        const pdb_list_t pdb = make_random_pdb(seed, 6, USER + 1);
        std::vector<protocol_model> expected = protocols_of(pdb);
        protocol_model &victim = expected[seed % 6];
        pdb_t out;
        ASSERT_EQ(outcome(pdata_remove(pdb, victim.id, &out)), "0");
        victim.rules.clear();
        std::reverse(expected.begin(), expected.end());
        ASSERT_EQ(protocols_of(out, pdb), expected);
    }
}

/// Tells whether `rules` are `all`, in their order, without some behind the first.
bool is_thinned(const std::vector<rule_model> &rules, const std::vector<rule_model> &all)
{
    auto at = all.begin();
    for (const rule_model &rule : rules) {
        at = std::find(at, all.end(), rule);
        if (at == all.end())
            return false;
        ++at;
    }
    return rules.empty() == all.empty() && (rules.empty() || rules.front() == all.front());
}

// A rule that the protocol has already when it comes back is left out.
TEST_F(pdata_remove_test, what_was_removed_can_be_merged_in_again)
{
    size_t nr_rules = 0;
    for (uint32_t seed = 0; seed < 30; ++seed) {
        SCOPED_TRACE(seed);
        const pdb_list_t pdb = make_random_pdb(seed, 4, USER + 1);
        pdb_t out;
        ASSERT_EQ(outcome(pdata_remove(pdb, USER + 1, &out)), "0");
        const pdb_list_t removed = with(pdb, out);
        const pdb_list_t *pdbs[] = {&removed, &pdb};
        ASSERT_EQ(outcome(pdata_merge(pdbs, &out)), "0");
        std::vector<protocol_model> before = sorted(protocols_of(pdb));
        std::vector<protocol_model> after = sorted(protocols_of(out, pdb));
        ASSERT_TRUE(is_thinned(after.at(0).rules, before.at(0).rules));
        nr_rules += after[0].rules.size();
        after[0].rules.clear();
        before[0].rules.clear();
        ASSERT_EQ(after, before);
    }
    EXPECT_GT(nr_rules, 30U);
}

TEST_F(pdata_remove_test, damaged_pdbs)
{
    const pdb_list_t pdb = make_random_pdb(3, 3, USER + 1);
    size_t nr_removed = 0;
    size_t nr_refused = 0;
    size_t nr_read = 0;
    for_each_damaged(pdb, 9, [&](const pdb_list_t &damaged) {
        pdb_t out;
        pdata_status_t status = PDATA_SUCCESS;
        (void)stderr_of([&] { status = pdata_remove(damaged, USER + 1, &out); });
        if (out.pdb_tlv == nullptr) {
            ++nr_refused;
            return;
        }
        ++nr_removed;
        EXPECT_EQ(status, PDATA_SUCCESS);
        const pdb_t *strings = pdata_pdb_type_find(damaged, PDB_TYPE_MAIN_HSTRING);
        const std::span<const uint8_t> tags = pdb_header_bytes(*strings).subspan(4);
        std::vector<protocol_model> protocols;
        if (read_protocols(pdb_header_bytes(out), {tags.data(), static_cast<uint32_t>(tags.size())},
                           &protocols) != PDATA_SUCCESS)
            return; // its rule tags lead nowhere
        ++nr_read;
        for (const protocol_model &protocol : protocols)
            EXPECT_TRUE(protocol.id != USER + 1 || protocol.rules.empty());
    });
    EXPECT_GT(nr_removed, 100U);
    EXPECT_GT(nr_refused, 100U);
    EXPECT_GT(nr_read, 100U);
}

} // namespace
