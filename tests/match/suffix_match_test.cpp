/// Trees of many suffixes against plain comparison of texts: those that are entered by the last
/// bytes of the data.
#include <algorithm>
#include <set>

#include "match_run.h"
#include "random_pdb.h"
#include "rounds.h"

namespace
{

constexpr uint32_t NR_SUFFIX = 600;

std::string word(random_match_t &random, uint32_t shortest, uint32_t longest)
{
    std::string text;
    for (uint32_t left = shortest + random.below(longest - shortest + 1); left != 0; --left)
        text += static_cast<char>('a' + random.below(12));
    return text;
}

std::set<std::string> make_suffixes(random_match_t &random, uint32_t shortest)
{
    constexpr const char *domains[] = {"com", "net", "io"};
    std::set<std::string> suffixes;
    while (suffixes.size() < NR_SUFFIX) {
        const bool below = !suffixes.empty() && random.one_in(5);
        const std::string end = below ? *suffixes.begin() : domains[random.below(3)];
        suffixes.insert(word(random, shortest, random.one_in(5) ? 30 : 9) + "." + end);
    }
    return suffixes;
}

/// Writes a suffix as a value: points and zero bytes escaped; no digit may follow a zero byte.
std::string value_of(const std::string &suffix)
{
    std::string value = ".*";
    for (const char c : suffix)
        value += c == '.' ? "\\." : c == '\0' ? "\\x00" : std::string(1, c);
    return value;
}

std::vector<uint8_t> make_suffix_pdb(const std::set<std::string> &suffixes)
{
    pdb_model model;
    model.protocols.push_back(protocol_of(16777300, "hosts", {}));
    for (const std::string &suffix : suffixes)
        model.protocols[0].rules.push_back(
            simple_rule("http", {stream_attr("server", {value_of(suffix)})}));
    const std::string room_for_the_table(2000, 'u'); // it may take a share of the file
    model.protocols[0].rules.push_back(
        simple_rule("http", {stream_attr("uri_decoded", {room_for_the_table})}));
    return compile(model).bytes;
}

/// A host name below a suffix or near one, some of it in capitals or behind zeros, down to no byte
/// at all.
std::string make_host(random_match_t &random, const std::set<std::string> &suffixes)
{
    std::string host = word(random, 0, 9) + *std::next(suffixes.begin(), random.below(NR_SUFFIX));
    if (random.one_in(3))
        host.erase(0, random.below(static_cast<uint32_t>(host.size()) + 1));
    if (random.one_in(4))
        host.insert(0, 1 + random.below(4), '\0');
    if (!host.empty() && random.one_in(2)) {
        char &c = host[random.below(static_cast<uint32_t>(host.size()))];
        c = static_cast<char>(c ^ (random.one_in(3) ? 1 : 0x20));
    }
    return host;
}

std::string lower(std::string text)
{
    for (char &c : text)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
    return text;
}

/// Compares what is found in some data with the suffixes that it has; returns how many.
size_t compare_one(const pdata::database &db, pdata::flow &flow,
                   const std::set<std::string> &suffixes, const std::string &data)
{
    const flow_value_t value{
        .protocol = "http", .attribute = "server", .bytes = data, .number = {}};
    const std::string folded = lower(data);
    const auto expected = static_cast<size_t>(std::ranges::count_if(
        suffixes, [&](const std::string &suffix) { return folded.ends_with(suffix); }));
    EXPECT_EQ(match_answer(db, flow, {&value, 1}).items.size(), expected) << data;
    return expected;
}

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

} // namespace
