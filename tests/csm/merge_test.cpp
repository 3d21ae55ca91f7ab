#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "description_writer.h"
#include "pdata_merge.h"
#include "pdata_parts.h"
#include "pdb_fixtures.h"
#include "plu.h"
#include "rounds.h"

namespace
{

constexpr uint32_t USER = 0x01000000;
constexpr const char *ACME =
    R"({"name":"acme","id":16777217,"rules":[)"
    R"({"order":"1:2","rule-tags":["video"],"rule":[{"protocol":"tcp","port":"80"}]}]})";
constexpr const char *ACME_MORE =
    R"({"name":"acme","id":16777217,"rules":[)"
    R"({"order":"1:2","rule":[{"protocol":"tcp","port":"80"}]},)"
    R"({"order":"1:2","rule-tags":["audio"],"rule":[{"protocol":"tcp","port":"81"}]}]})";

std::string merge(const pdb_list_t &first, const pdb_list_t &second, pdb_t *merged)
{
    const pdb_list_t *pdbs[] = {&first, &second};
    std::string text;
    (void)stderr_of([&] { text = outcome(pdata_merge(pdbs, merged)); });
    return text;
}

/// The protocols of a merge that succeeds, in the order of the first pdb and then of the new ones.
std::vector<protocol_model> merged_of(const pdb_list_t &first, const pdb_list_t &second)
{
    pdb_t merged;
    EXPECT_EQ(merge(first, second, &merged), "0");
    std::vector<protocol_model> out = protocols_of(merged, first);
    std::reverse(out.begin(), out.end());
    return out;
}

class pdata_merge_test : public testing::Test
{
protected:
    void SetUp() override { clear_status_slot(); }
};

TEST_F(pdata_merge_test, the_second_pdb_goes_into_the_first)
{
    const pdb_list_t first = make_pdb(ACME);
    const pdb_list_t second =
        make_pdb(std::string(ACME_MORE) + R"(,{"name":"mine","id":16777218,"rules":[]})");
    pdb_t merged;
    ASSERT_EQ(merge(first, second, &merged), "0");
    EXPECT_EQ(merged.pdb_type, PDB_TYPE_PROTOCOL_DESCRIPTION);
    EXPECT_EQ(merged.pdb_tlv_len, pdb_header_bytes(merged).size());
    const std::vector<protocol_model> out = protocols_of(merged, first);
    ASSERT_EQ(out.size(), 2U);
    EXPECT_EQ(out[0].name, "mine");
    ASSERT_EQ(out[1].rules.size(), 2U);
    EXPECT_EQ(out[1].rules[0].tags, std::vector<std::string>{"video"});
    EXPECT_EQ(out[1].rules[1].tags, std::vector<std::string>{"audio"});
    EXPECT_EQ(out[1].rules[1].sub_rules[0].attrs[0].values[0].first, "81");
}

TEST_F(pdata_merge_test, the_inputs_stay_as_they_were)
{
    const pdb_list_t first = make_pdb(ACME);
    const pdb_list_t second = make_pdb(ACME_MORE);
    const std::vector<uint8_t> before[] = {bytes_of(first[0]), bytes_of(second[0])};
    pdb_t merged;
    ASSERT_EQ(merge(first, second, &merged), "0");
    EXPECT_EQ(bytes_of(first[0]), before[0]);
    EXPECT_EQ(bytes_of(second[0]), before[1]);
}

TEST_F(pdata_merge_test, the_first_strings_serve_both_descriptions)
{
    const pdb_list_t first = make_pdb(ACME);
    // In its own pdb the tag of the second rule is the first string.
    const pdb_list_t second = make_pdb(ACME_MORE, "\"audio\":2,\"video\":1,\"zz\":3");
    const std::vector<protocol_model> out = merged_of(first, second);
    EXPECT_EQ(out.at(0).rules.at(1).tags, std::vector<std::string>{"video"});
}

TEST_F(pdata_merge_test, the_strings_of_the_second_pdb_do_when_the_first_has_none)
{
    const pdb_list_t whole = make_pdb(ACME);
    const pdb_list_t first = without(whole, PDB_TYPE_MAIN_HSTRING);
    const pdb_list_t second = make_pdb(ACME_MORE, "\"audio\":2,\"video\":1,\"zz\":3");
    pdb_t merged;
    ASSERT_EQ(merge(first, second, &merged), "0");
    const std::vector<protocol_model> out = protocols_of(merged, second);
    EXPECT_EQ(out.at(0).rules.at(0).tags, std::vector<std::string>{"audio"});
    EXPECT_EQ(out.at(0).rules.at(1).tags, std::vector<std::string>{"audio"});
    // The second pdb needs none of its own.
    EXPECT_EQ(merge(whole, without(second, PDB_TYPE_MAIN_HSTRING), &merged), "0");
}

TEST_F(pdata_merge_test, parts_that_are_missing)
{
    const pdb_list_t pdb = make_pdb(ACME);
    const pdb_list_t no_description = without(pdb, PDB_TYPE_PROTOCOL_DESCRIPTION);
    const pdb_list_t no_strings = without(pdb, PDB_TYPE_MAIN_HSTRING);
    constexpr const char *description =
        OUTCOME_INVALID_ARGUMENT ": Pdb description missing during merge";
    pdb_t merged;
    EXPECT_EQ(merge(no_description, pdb, &merged), description);
    EXPECT_EQ(merge(pdb, no_description, &merged), description);
    EXPECT_EQ(merge(pdb_list_t{}, pdb_list_t{}, &merged), description);
    EXPECT_EQ(merge(no_strings, no_strings, &merged),
              OUTCOME_INVALID_ARGUMENT ": Main hstring missing during merge");
    EXPECT_EQ(merged.pdb_tlv, nullptr);
    EXPECT_EQ(merged.pdb_type, PDB_TYPE_END);
}

TEST_F(pdata_merge_test, a_part_without_bytes_is_refused)
{
    const pdb_list_t pdb = make_pdb(ACME);
    const pdb_t &strings = pdb[2];
    pdb_t no_buffer = pdb[0];
    no_buffer.pdb_tlv = nullptr;
    pdb_t empty = pdb[0];
    empty.pdb_tlv_len = 0;
    pdata_commit commit;
    for (const pdb_t *part :
         {static_cast<const pdb_t *>(nullptr), static_cast<const pdb_t *>(&no_buffer),
          static_cast<const pdb_t *>(&empty)})
        EXPECT_EQ(outcome(pdata_merge_init(&commit, part, &strings)), OUTCOME_INVALID_ARGUMENT);
    ASSERT_EQ(outcome(pdata_merge_init(&commit, &pdb[0], &strings)), "0");
    for (const pdb_t *part :
         {static_cast<const pdb_t *>(nullptr), static_cast<const pdb_t *>(&no_buffer),
          static_cast<const pdb_t *>(&empty)})
        EXPECT_EQ(outcome(pdata_merge_prepare(&commit, part, &strings)), OUTCOME_INVALID_ARGUMENT);
    pdb_t merged;
    EXPECT_EQ(merge(with(pdb, no_buffer), pdb, &merged), OUTCOME_INVALID_ARGUMENT);
    EXPECT_EQ(merge(pdb, with(pdb, empty), &merged), OUTCOME_INVALID_ARGUMENT);
    pdb_t no_strings = strings;
    no_strings.pdb_tlv = nullptr;
    EXPECT_EQ(merge(with(pdb, no_strings), pdb, &merged),
              OUTCOME_INVALID_ARGUMENT ": Cannot retrieve root hstring in tlv data\n");
}

TEST_F(pdata_merge_test, a_failure_leaves_the_output_as_it_was)
{
    const pdb_list_t first = make_pdb(ACME);
    const pdb_list_t foreign = make_pdb(R"({"name":"other","id":77,"rules":[]})");
    pdb_t merged = make_part(PDB_TYPE_TMP, {1, 2, 3, 4});
    EXPECT_EQ(merge(first, foreign, &merged), OUTCOME_PROTODESC_ID_OR_NAME_OR_NS
              ": You try and add a protocol not in user namespace");
    EXPECT_EQ(merged.pdb_type, PDB_TYPE_TMP);
    EXPECT_EQ(bytes_of(merged), (std::vector<uint8_t>{1, 2, 3, 4}));
}

TEST_F(pdata_merge_test, an_update_that_cannot_be_committed_gives_no_part)
{
    const pdb_list_t pdb = make_pdb(ACME);
    pdata_commit commit;
    ASSERT_EQ(outcome(pdata_merge_init(&commit, &pdb[0], &pdb[2])), "0");
    ASSERT_EQ(outcome(pdata_update_commit(&commit)), "0");
    pdb_t part = make_part(PDB_TYPE_TMP, {1, 2, 3, 4});
    EXPECT_EQ(outcome(pdata_merge_serialize(&commit, &part)),
              OUTCOME_INVALID_OPERATION ": Cannot serialize, commit is finalized\n");
    EXPECT_EQ(part.pdb_tlv, nullptr);
    EXPECT_EQ(part.pdb_tlv_len, 0U);
}

TEST_F(pdata_merge_test, the_strings_must_be_given)
{
    const pdb_list_t pdb = make_pdb(ACME);
    pdata_commit commit;
    EXPECT_EQ(outcome(pdata_merge_init(&commit, &pdb[0], nullptr)),
              OUTCOME_INVALID_ARGUMENT ": Cannot retrieve root hstring in tlv data\n");
}

TEST_F(pdata_merge_test, a_list_that_is_full_has_no_room_for_a_load_state)
{
    for (const size_t nr_part : {PDB_LIST_DIM - 2, PDB_LIST_DIM - 1}) {
        pdb_list_t source;
        for (size_t i = 0; i < nr_part; ++i)
            source[i] = make_part(PDB_TYPE_TAGS, {static_cast<uint8_t>(i), 0, 0, 0});
        pdb_header_end(&source[nr_part]);
        pdb_list_t pdb;
        EXPECT_EQ(outcome(pdata_parts_complete(source, pdb)), "0");
        for (size_t i = 1; i < nr_part; ++i)
            EXPECT_EQ(bytes_of(pdb[i]), bytes_of(source[i])) << i;
        EXPECT_EQ(pdb[nr_part].pdb_type,
                  nr_part == PDB_LIST_DIM - 1 ? pdb_t().pdb_type : PDB_TYPE_LOAD);
    }
}

TEST_F(pdata_merge_test, pdbs_without_protocols_make_a_zero_filled_record)
{
    const pdb_list_t pdb = make_pdb(ACME);
    const pdb_list_t none = with(pdb, make_part(PDB_TYPE_PROTOCOL_DESCRIPTION, {1, 0, 0, 0}));
    pdb_t merged;
    ASSERT_EQ(merge(none, none, &merged), "0");
    EXPECT_EQ(bytes_of(merged),
              (std::vector<uint8_t>{1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    // What is zero-filled can be merged again.
    EXPECT_EQ(merge(with(pdb, merged), with(pdb, merged), &merged), "0");
}

TEST_F(pdata_merge_test, a_pdb_merged_with_itself_has_no_more_rules)
{
    for (uint32_t seed = 0; seed < dear_rounds(60); ++seed) {
        SCOPED_TRACE(seed);
        const pdb_list_t pdb = make_random_pdb(seed, 6, USER + 1);
        ASSERT_EQ(merged_of(pdb, pdb), protocols_of(pdb));
    }
}

TEST_F(pdata_merge_test, a_merge_holds_every_protocol_of_both)
{
    for (uint32_t seed = 0; seed < dear_rounds(60); ++seed) {
        SCOPED_TRACE(seed);
        const pdb_list_t first = make_random_pdb(2 * seed, 5, USER + 1);
        const pdb_list_t second = make_random_pdb(2 * seed + 1, 5, USER + 2);
        std::vector<protocol_model> expected = protocols_of(first);
        for (const protocol_model &protocol : protocols_of(second))
            expected.push_back(protocol);
        ASSERT_EQ(sorted(merged_of(first, second)), sorted(expected));
    }
}

/// A part of as many protocols, each with a name of 61,680 bytes and more: the string table is any
/// bytes, of which each pair is a length.
pdb_t make_long_named(uint32_t nr_protocol)
{
    string_pool pool;
    string_pool tags;
    word_list list;
    for (uint32_t i = 0; i < nr_protocol; ++i) {
        protocol_model protocol;
        protocol.id = USER + 1 + i;
        protocol.name = std::to_string(10000 + i);
        protocol.default_port = "0";
        const word_list words = description_writer::protocol_words(pool, tags, protocol);
        list = join({std::move(list), record(TLV_TYPE_PROTO, words)});
    }
    std::mt19937 random(1);
    word_list strings((hstring_get_size(pool.table) + 0xFFFF) / 4);
    std::ranges::generate(strings, [&] { return random() | 0xF0F0F0F0; });
    return make_part(
        PDB_TYPE_PROTOCOL_DESCRIPTION,
        stored(record(
            1, record(TLV_TYPE_PROTOGROUP, join({record(TLV_TYPE_PROTOGROUP_PROTOS, list),
                                                 record(TLV_TYPE_PROTOGROUP_STRING, strings)})))));
}

TEST_F(pdata_merge_test, strings_that_no_record_can_hold_are_refused)
{
    const pdb_list_t second = make_pdb(ACME);
    const auto merge_into = [&](uint32_t nr_protocol) {
        pdb_t merged;
        return merge(with(second, make_long_named(nr_protocol)), second, &merged);
    };
    EXPECT_EQ(merge_into(900), "0");
    EXPECT_EQ(merge_into(1100),
              OUTCOME_OVERFLOW ": tlv len 2 is superior to internal limit 16777215");
}

size_t nr_rules(const pdb_list_t &pdb)
{
    size_t nr = 0;
    for (const protocol_model &protocol : protocols_of(pdb))
        nr += protocol.rules.size();
    return nr;
}

TEST_F(pdata_merge_test, merged_again_nothing_changes)
{
    size_t nr_equal = 0;
    for (uint32_t seed = 0; seed < dear_rounds(60); ++seed) {
        SCOPED_TRACE(seed);
        const pdb_list_t first = make_random_pdb(2 * seed, 5, USER + 1);
        const pdb_list_t second = make_random_pdb(2 * seed + 1, 5, USER + 1);
        pdb_t merged;
        ASSERT_EQ(merge(first, second, &merged), "0");
        const pdb_list_t both = with(first, merged);
        nr_equal += nr_rules(first) + nr_rules(second) - nr_rules(both);
        pdb_t again;
        ASSERT_EQ(merge(both, second, &again), "0");
        ASSERT_EQ(sorted(protocols_of(again, first)), sorted(protocols_of(both)));
        pdb_t same;
        ASSERT_EQ(merge(first, second, &same), "0");
        ASSERT_EQ(bytes_of(same), bytes_of(merged));
    }
    EXPECT_GT(nr_equal, dear_rounds(50)) << "rules of both pdbs that stand once in their merge";
}

/// Merges a damaged pdb into a sound one and the other way round.
void merge_damaged(const pdb_list_t &sound, const pdb_list_t &damaged)
{
    static const std::set<std::string> known = {"0",
                                                OUTCOME_INVALID_ARGUMENT,
                                                OUTCOME_PROTODESC_ATTR,
                                                OUTCOME_PROTODESC_ID_OR_NAME_OR_NS,
                                                OUTCOME_OVERFLOW,
                                                OUTCOME_TLV_NOT_FOUND,
                                                OUTCOME_ENGINE};
    for (const bool first : {true, false}) {
        pdb_t merged;
        const std::string text =
            first ? merge(damaged, sound, &merged) : merge(sound, damaged, &merged);
        EXPECT_TRUE(known.contains(text.substr(0, text.find_first_of(": ")))) << text;
        EXPECT_EQ(merged.pdb_tlv != nullptr, text == "0");
    }
}

TEST_F(pdata_merge_test, damaged_pdbs)
{
    const pdb_list_t sound = make_random_pdb(1, 3, USER + 1);
    const pdb_list_t other = make_random_pdb(2, 3, USER + 1);
    for_each_damaged(other, 7, [&](const pdb_list_t &damaged) { merge_damaged(sound, damaged); });
}

} // namespace
