/// Trees of many suffixes against plain comparison of texts: those that are entered by the last
/// bytes of the data.
#include "rounds.h"
#include "suffix_pdb.h"

namespace
{

void compare(uint32_t seed, uint32_t shortest)
{
    random_match_t random{std::mt19937(seed)};
    const std::set<std::string> suffixes = make_suffixes(random, shortest);
    const std::vector<uint8_t> bytes = make_suffix_pdb(suffixes);
    const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
    pdata::flow flow(db);
    size_t found = 0;
    for (uint32_t i = 0; i < dear_rounds(4000) && !::testing::Test::HasFailure(); ++i)
        found += compare_one(db, flow, suffixes, make_host(random, suffixes));
    EXPECT_GT(found, dear_rounds(1000));
}

TEST(suffix_match, long_suffixes_agree_with_plain_comparison)
{
    compare(21, 8);
}

TEST(suffix_match, short_suffixes_agree_with_plain_comparison)
{
    compare(22, 1);
}

TEST(suffix_match, case_matters_to_what_is_decoded)
{
    random_match_t random{std::mt19937(26)};
    std::set<std::string> suffixes = make_suffixes(random, 8);
    suffixes.insert("UPPER.CASE.long.rest.of.a.name.net");
    const std::vector<uint8_t> bytes = make_suffix_pdb(suffixes, "uri_decoded");
    const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
    pdata::flow flow(db);
    size_t found = 0;
    for (uint32_t i = 0; i < dear_rounds(2000) && !::testing::Test::HasFailure(); ++i)
        found += compare_one(db, flow, suffixes, make_host(random, suffixes), "uri_decoded");
    for (const char *data :
         {"UPPER.CASE.long.rest.of.a.name.net", "UPPER.cASE.long.rest.of.a.name.net"})
        found += compare_one(db, flow, suffixes, data, "uri_decoded");
    EXPECT_GT(found, dear_rounds(300));
}

/// A key is filled up with zeros: those of longer suffixes are told from shorter data by the length
/// that stands beside them. Suffixes of all shorter lengths have every length looked for.
TEST(suffix_match, zero_bytes_in_front_of_a_suffix_are_bytes_and_no_end_of_data)
{
    random_match_t random{std::mt19937(24)};
    std::set<std::string> ends;
    while (ends.size() < NR_SUFFIX)
        ends.insert("x" + word(random, 4, 4));
    std::set<std::string> suffixes;
    for (const std::string &end : ends)
        suffixes.insert(std::string(3, '\0') + end);
    for (uint32_t size = 5; size < 8; ++size)
        suffixes.insert(std::string(size, 'z'));
    const std::vector<uint8_t> bytes = make_suffix_pdb(suffixes);
    const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
    pdata::flow flow(db);
    size_t found = 0;
    for (const std::string &end : ends)
        for (uint32_t zeros = 0; zeros < 5; ++zeros)
            found += compare_one(db, flow, suffixes, std::string(zeros, '\0') + end);
    EXPECT_EQ(found, 2 * NR_SUFFIX);
}

/// What a flow that explains says of a host name: for every suffix, the place where it stands.
TEST(suffix_match, explained_pieces_are_the_suffixes_that_end_the_data)
{
    random_match_t random{std::mt19937(25)};
    const std::set<std::string> suffixes = make_suffixes(random, 3);
    const std::vector<uint8_t> bytes = make_suffix_pdb(suffixes);
    const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
    const pdata_attribute attribute = db.attribute("http", "server", PDATA_CTS);
    pdata::flow flow(db, PDATA_FLOW_EXPLAIN);
    size_t found = 0;
    for (uint32_t i = 0; i < dear_rounds(1000) && !::testing::Test::HasFailure(); ++i) {
        const std::string host = lower(make_host(random, suffixes));
        flow.reset();
        (void)pdata_flow_add_bytes(flow.get(), attribute, host.data(), host.size(), 0);
        std::set<std::string> pieces;
        for (size_t at = 0; at < pdata_flow_nr_finding(flow.get()); ++at) {
            pdata_finding finding;
            ASSERT_EQ(pdata_flow_finding_at(flow.get(), at, &finding), PDATA_R_OK);
            ASSERT_EQ(finding.nr_piece, 1U);
            EXPECT_EQ(finding.piece[0].end, host.size()) << host;
            pieces.insert(host.substr(finding.piece[0].begin));
        }
        std::set<std::string> expected;
        for (const std::string &suffix : suffixes)
            if (host.ends_with(suffix))
                expected.insert(suffix);
        EXPECT_EQ(pieces, expected) << host;
        found += pieces.size();
    }
    EXPECT_GT(found, dear_rounds(250));
}

/// A rule of a suffix, with any scope, of a protocol of two that share the tree.
rule_model scoped_rule(random_match_t &random, const std::string &suffix)
{
    sub_rule_model sub_rule = sub_rule_of("http", {stream_attr("server", {value_of(suffix)})});
    sub_rule.bottom_protocol = random.one_in(2) ? "http" : "http2";
    rule_model rule = rule_of({sub_rule});
    rule.scope = random.one_in(2) ? 0 : random.below(0x2000);
    return rule;
}

/// "authority" of http2 is an alias of "server": an item may count under one name, and not under
/// the other, or under both. The tree is entered by its table under either.
TEST(suffix_match, an_item_counts_under_the_names_that_its_rule_admits)
{
    random_match_t random{std::mt19937(33)};
    const std::set<std::string> suffixes = make_suffixes(random, 8);
    protocol_model hosts = protocol_of(1, "hosts", {});
    for (const std::string &suffix : suffixes)
        hosts.rules.push_back(scoped_rule(random, suffix));
    const std::vector<uint8_t> bytes = make_pdb({hosts});
    const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
    loadable_pdb_t pdb;
    std::string error;
    ASSERT_TRUE(loadable_open(bytes, pdb, error)) << error;
    pdata::flow flow(db);
    size_t nr[2] = {};
    for (const std::string &suffix : suffixes)
        for (const bool alias : {false, true}) {
            const flow_value_t value{.protocol = alias ? "http2" : "http",
                                     .attribute = alias ? "authority" : "server",
                                     .bytes = "www." + suffix,
                                     .number = {}};
            match_answer_t expected;
            ASSERT_TRUE(model_answer(pdb, {&value, 1}, expected, error)) << error;
            ASSERT_EQ(match_answer(db, flow, {&value, 1}), expected) << suffix;
            nr[alias ? 1 : 0] += expected.items.size();
        }
    for (const size_t counted : nr) {
        EXPECT_GT(counted, NR_SUFFIX / 4);
        EXPECT_LT(counted, NR_SUFFIX + NR_SUFFIX / 4);
    }
    EXPECT_NE(nr[0], nr[1]);
}

} // namespace
