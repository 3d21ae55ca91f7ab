/// Where pieces stood: flows worked out by hand, and random ones against the readers of the
/// engines.
#include <algorithm>

#include "match_database.h"
#include "match_roles.h"
#include "match_run.h"
#include "random_pdb.h"
#include "rounds.h"

namespace
{

std::vector<pdata_finding> findings_of(const pdata::flow &flow)
{
    std::vector<pdata_finding> findings(pdata_flow_nr_finding(flow.get()));
    for (size_t i = 0; i < findings.size(); ++i)
        pdata::check(pdata_flow_finding_at(flow.get(), i, &findings[i]));
    return findings;
}

/// The pieces of the findings of one value, as in "1 to 3, 5 to 8; 2 to 4".
std::string pieces_of(const attr_model &attr, const std::string &protocol, const std::string &data,
                      uint32_t mindata = PATTERN_MINDATA_NONE)
{
    pdb_model model;
    rule_model rule = rule_of({sub_rule_of(protocol, {attr}, mindata)});
    model.protocols.push_back(protocol_of(1, "one", {rule}));
    const std::vector<uint8_t> bytes = compile(model).bytes;
    const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
    pdata::flow flow(db, PDATA_FLOW_EXPLAIN);
    flow.add(db.attribute(protocol.c_str(), attr.name.c_str(), PDATA_CTS), data);
    std::string text;
    for (const pdata_finding &finding : findings_of(flow)) {
        text += text.empty() ? "" : "; ";
        for (uint32_t i = 0; i < finding.nr_piece; ++i)
            text += (i == 0 ? "" : ", ") + std::to_string(finding.piece[i].begin) + " to " +
                    std::to_string(finding.piece[i].end);
    }
    return text;
}

std::string pieces_of_uri(const std::string &value, const std::string &data)
{
    return pieces_of(stream_attr("uri_decoded", {value}), "http", data);
}

TEST(piece_match, a_piece_begins_where_its_text_begins)
{
    EXPECT_EQ(pieces_of_uri(".*abc.*", "xxabcyy"), "2 to 5");
    EXPECT_EQ(pieces_of_uri(".*ab.*cde.*", "zabqqcdez"), "1 to 3, 5 to 8");
    EXPECT_EQ(pieces_of_uri("ab.*cde.*fg", "abcdefg"), "0 to 2, 2 to 5, 5 to 7");
    EXPECT_EQ(pieces_of_uri(".*aaa.*", "baaab"), "1 to 4");
}

TEST(piece_match, pieces_of_one_text_within_another_have_their_own_lengths)
{
    EXPECT_EQ(pieces_of_uri(".*abcd.*bcd.*", "abcdbcd"), "0 to 4, 4 to 7");
    EXPECT_EQ(pieces_of_uri(".*bcd.*abcd.*", "bcdabcd"), "0 to 3, 3 to 7");
}

TEST(piece_match, of_texts_of_one_value_that_end_together_the_shortest_is_told)
{
    EXPECT_EQ(pieces_of_uri(".*(b|ab|zz)c.*", "--abc"), "3 to 5");
    EXPECT_EQ(pieces_of_uri(".*(abc|bd).*", "--abc"), "2 to 5");
    EXPECT_EQ(pieces_of_uri(".*(abc|bd).*", "--abd"), "3 to 5");
}

TEST(piece_match, a_whole_value_is_found_by_its_longest_piece)
{
    EXPECT_EQ(pieces_of_uri("a\\d.bcd", "a1-bcd"), "3 to 6");
}

TEST(piece_match, a_value_at_an_offset_begins_there)
{
    for (const uint32_t mindata : {PATTERN_MINDATA_NONE, 64U})
        for (const uint32_t offset : {1U, 5U, 20U}) {
            const std::string data = std::string(offset, '-') + "abc" + std::string(64, '-');
            EXPECT_EQ(pieces_of(offset_attr("stream", "abc", offset), "tcp", data, mindata),
                      std::to_string(offset) + " to " + std::to_string(offset + 3))
                << "minimum data " << mindata;
        }
}

/// A role has 22 bits for the group that its piece belongs to. A value behind as many groups is not
/// taken for another one: it is not found.
TEST(piece_match, more_groups_than_a_role_tells_apart_are_not_found)
{
    pdb_model model;
    const attr_model uri = stream_attr("uri_decoded", {".*ab.*cde.*"});
    model.protocols.push_back(protocol_of(1, "one", {rule_of({sub_rule_of("http", {uri})})}));
    const std::vector<uint8_t> bytes = compile(model).bytes;
    const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
    std::vector<match_matcher_t> &matchers = db.get()->matchers;
    const auto matcher = std::ranges::find_if(
        matchers, [](const match_matcher_t &one) { return !one.groups.empty(); });
    ASSERT_NE(matcher, matchers.end());
    const auto roles_behind = [&](size_t nr_group) {
        matcher->groups.assign(nr_group, {});
        match_index_second_level(*matcher);
        EXPECT_EQ(matcher->groups.size(), std::min<size_t>(nr_group + 1, MATCH_GROUP_MASK + 1));
        return matcher->roles;
    };
    constexpr uint32_t FIRST = MATCH_ROLE_PIECE | 1 << MATCH_PIECE_SHIFT;
    constexpr uint32_t SECOND = MATCH_ROLE_PIECE | 2 << MATCH_PIECE_SHIFT;
    EXPECT_EQ(roles_behind(MATCH_GROUP_MASK),
              (std::vector<uint32_t>{FIRST | MATCH_GROUP_MASK, SECOND | MATCH_GROUP_MASK}));
    EXPECT_EQ(roles_behind(MATCH_GROUP_MASK + 1),
              (std::vector<uint32_t>{MATCH_ROLE_NONE, MATCH_ROLE_NONE}));
}

/// What the engines that go from the front find at the end of some data, and the trees anywhere.
struct hits_t {
    std::vector<pattern_hit_t> forwards;
    std::vector<pattern_hit_t> prefixes;
    std::vector<pattern_hit_t> suffixes;
};

bool run(const pattern_reader_t &pattern, blob_span_t data, hits_t &hits)
{
    std::string error;
    return aho_corasick_reader_match(pattern.aho_corasick, data, hits.forwards, error) &&
           aho_corasick_reader_match(pattern.ahoff_corasick, data, hits.forwards, error) &&
           (pattern.dot_prefix.rows.nr_row == 0 ||
            dot_prefix_reader_match(pattern.dot_prefix, data, hits.forwards, error)) &&
           radix_tree_reader_match(pattern.prefix_tree, data, false, hits.prefixes, error) &&
           radix_tree_reader_match(pattern.suffix_tree, data, true, hits.suffixes, error);
}

/// The ids of an item that are found to end at `end` when all in front of `begin` is a byte that
/// stands in no description.
std::vector<uint32_t> ids_at(const loadable_matcher_t &matcher, const std::string &data,
                             uint32_t begin, uint32_t end, pdata_item item)
{
    const std::string blank = std::string(begin, '\x01') + data.substr(begin, end - begin);
    hits_t hits;
    std::vector<uint32_t> ids;
    if (!run(matcher.pattern, {reinterpret_cast<const uint8_t *>(blank.data()), blank.size()},
             hits))
        return ids;
    for (const pattern_hit_t &hit : hits.forwards) {
        const uint32_t index = hit.item_id & file_format::MATCHER_PRIVATE_INDEX;
        const bool is_private = hit.item_id >= file_format::MATCHER_PRIVATE_ID;
        if (hit.at == end &&
            (is_private ? matcher.second_level[index].pub_id : hit.item_id) == item)
            ids.push_back(hit.item_id);
    }
    return ids;
}

/// Tells whether a piece is as short as one of an engine that goes from the front can be: with one
/// byte less it is not found. Those of trees begin or end with the data.
bool is_exact(const loadable_matcher_t &matcher, const std::string &data, const pdata_piece &piece,
              pdata_item item)
{
    if (piece.begin == 0 || piece.end == data.size()) {
        hits_t hits;
        if (run(matcher.pattern, {reinterpret_cast<const uint8_t *>(data.data()), data.size()},
                hits) &&
            !(hits.prefixes.empty() && hits.suffixes.empty()))
            return true;
    }
    if (piece.begin == piece.end)
        return false;
    const auto there = ids_at(matcher, data, piece.begin, piece.end, item);
    const auto shorter = ids_at(matcher, data, piece.begin + 1, piece.end, item);
    return std::ranges::any_of(there,
                               [&](uint32_t id) { return std::ranges::count(shorter, id) == 0; });
}

/// Checks the pieces of a flow's findings; returns how many those were.
uint32_t check_pieces(const pdata::database &db, const loadable_pdb_t &pdb, const pdata::flow &flow,
                      const std::vector<flow_value_t> &added)
{
    uint32_t nr = 0;
    for (const pdata_finding &finding : findings_of(flow)) {
        pdata_attribute_info info;
        pdata::check(pdata_db_attribute_info(db.get(), finding.attribute, &info));
        const std::string &data = added[finding.value - 1].bytes;
        for (uint32_t i = 0; i < std::min<uint32_t>(finding.nr_piece, PDATA_PIECE_MAX); ++i) {
            bool exact = false;
            for (uint32_t m = 0; m < info.nr_matcher && !exact; ++m)
                exact = is_exact(pdb.matchers[info.matcher[m] - 1], data, finding.piece[i],
                                 finding.item);
            EXPECT_TRUE(exact) << data << ", " << finding.piece[i].begin << " to "
                               << finding.piece[i].end;
            ++nr;
        }
    }
    return nr;
}

TEST(piece_match, random_pieces_are_found_from_where_they_begin_and_from_no_byte_later)
{
    random_match_t random{std::mt19937(31)};
    uint32_t nr_piece = 0;
    while (nr_piece < rounds(20000) && !::testing::Test::HasFailure()) {
        const std::vector<uint8_t> bytes = make_random_pdb(random);
        loadable_pdb_t pdb;
        std::string error;
        if (bytes.empty() || !loadable_open(bytes, pdb, error))
            continue;
        const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
        pdata::flow flow(db, PDATA_FLOW_EXPLAIN);
        for (uint32_t i = 0; i < 100; ++i) {
            std::vector<flow_value_t> values = make_random_flow(random);
            std::erase_if(values, [&](const flow_value_t &value) {
                return value.attribute.empty() || !runtime_has_attribute(pdb, value);
            });
            flow.reset();
            match_feed(db, flow, values);
            nr_piece += check_pieces(db, pdb, flow, values);
        }
    }
}

} // namespace
