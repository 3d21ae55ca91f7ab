/// Trees of many suffixes against plain comparison of texts: those that are entered by the last
/// bytes of the data.
#include <algorithm>
#include <set>

#include "match_database.h"
#include "match_jump_word.h"
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

/// Of the attributes of http, case matters to those that are decoded.
std::vector<uint8_t> make_suffix_pdb(const std::set<std::string> &suffixes,
                                     const std::string &attribute = "server")
{
    pdb_model model;
    model.protocols.push_back(protocol_of(16777300, "hosts", {}));
    for (const std::string &suffix : suffixes)
        model.protocols[0].rules.push_back(
            simple_rule("http", {stream_attr(attribute, {value_of(suffix)})}));
    const std::string room_for_the_table(2000, 'u'); // it may take a share of the file
    model.protocols[0].rules.push_back(
        simple_rule("http", {stream_attr("uri_post_decoded", {room_for_the_table})}));
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
                   const std::set<std::string> &suffixes, const std::string &data,
                   const std::string &attribute = "server")
{
    const flow_value_t value{
        .protocol = "http", .attribute = attribute, .bytes = data, .number = {}};
    const std::string folded = attribute == "server" ? lower(data) : data;
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

/// The matcher of many suffixes, whose table tests make again.
match_matcher_t &suffix_matcher(const pdata::database &db)
{
    for (match_matcher_t &matcher : db.get()->matchers)
        if (matcher.view.pattern.suffix_tree.rows.nr_row > 256)
            return matcher;
    ADD_FAILURE() << "no tree is large enough for a table";
    return db.get()->matchers.front();
}

void make_table(match_matcher_t &matcher, size_t room)
{
    match_jump_make(matcher.view.pattern.suffix_tree, true, matcher.roles, room,
                    matcher.suffix_jump);
    EXPECT_LE(match_jump_bytes(matcher.suffix_jump), room);
}

/// Less room makes shorter keys, until there is none for a table.
TEST(suffix_match, tables_of_all_lengths_agree_with_plain_comparison)
{
    random_match_t random{std::mt19937(27)};
    const std::set<std::string> suffixes = make_suffixes(random, 2);
    const std::vector<uint8_t> bytes = make_suffix_pdb(suffixes);
    const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
    match_matcher_t &matcher = suffix_matcher(db);
    pdata::flow flow(db);
    std::set<uint32_t> lengths;
    for (size_t room = 1 << 20; room >= 16; room = room * 4 / 5) {
        make_table(matcher, room);
        lengths.insert(matcher.suffix_jump.length);
        for (uint32_t i = 0; i < dear_rounds(40) && !::testing::Test::HasFailure(); ++i)
            (void)compare_one(db, flow, suffixes, make_host(random, suffixes));
        for (std::string end : suffixes) { // data of less bytes than a word
            if (!random.one_in(16))
                continue;
            end.erase(0, end.size() - std::min<size_t>(end.size(), 5 + random.below(3)));
            end.front() = static_cast<char>(end.front() ^ (random.one_in(2) ? 1 : 0));
            (void)compare_one(db, flow, suffixes, end);
        }
    }
    EXPECT_EQ(lengths, (std::set<uint32_t>{0, 4, 5, 6, 8})) << "there are no fewer of 7 than of 8";
}

/// Keys of `length` bytes of which each hash puts 60 into the first bucket of 256.
std::set<std::string> crowded_suffixes(random_match_t &random)
{
    std::set<std::string> suffixes;
    for (const uint64_t factor :
         {0x9E3779B97F4A7C15ULL, 0xBF58476D1CE4E5B9ULL, 0x94D049BB133111EBULL}) {
        match_jump_t jump;
        jump.shift = 24;
        jump.factor = factor;
        for (uint32_t left = 60; left != 0;) {
            const std::string suffix = word(random, 8, 8);
            uint64_t key = 0;
            for (size_t i = 0; i < suffix.size(); ++i) // the last byte most significant
                key |= uint64_t{static_cast<uint8_t>(suffix[i])} << 8 * i;
            if (match_jump_bucket(jump, match_jump_hash(jump, key, 8)) == 0)
                left -= suffixes.insert(suffix).second ? 1 : 0;
        }
    }
    while (suffixes.size() < 400)
        suffixes.insert(word(random, 8, 8));
    return suffixes;
}

TEST(suffix_match, keys_that_are_chosen_against_the_hash_are_given_up)
{
    random_match_t random{std::mt19937(28)};
    const std::set<std::string> suffixes = crowded_suffixes(random);
    const std::vector<uint8_t> bytes = make_suffix_pdb(suffixes);
    const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
    match_matcher_t &matcher = suffix_matcher(db);
    make_table(matcher, 1 << 20);
    EXPECT_EQ(matcher.suffix_jump.length, 7u) << "one byte less";
    pdata::flow flow(db);
    for (const std::string &suffix : suffixes)
        EXPECT_EQ(compare_one(db, flow, suffixes, "a" + suffix), 1u);
    EXPECT_EQ(compare_one(db, flow, suffixes, "a"), 0u);
}

TEST(suffix_match, keys_without_places_of_their_own_leave_no_table)
{
    match_jump_entry_t entry;
    entry.key = 7;
    entry.length = 8;
    for (const size_t times : {2U, 40U}) { // few, or too many for a bucket
        match_jump_t jump;
        EXPECT_FALSE(match_jump_place(std::vector(times, entry), jump)) << times;
        EXPECT_EQ(match_jump_bytes(jump), 0u);
    }
    EXPECT_EQ(match_jump_most(10), 0u);
}

// The key is the last four bytes of "xabcd", the rest the byte in front of them.
TEST(suffix_match, short_data_goes_on_with_the_rest_of_an_entry)
{
    match_jump_entry_t entry;
    for (uint32_t depth = 0; depth < 4; ++depth)
        entry.key |= match_jump_byte(static_cast<uint8_t>("dcba"[depth]), depth);
    entry.rest = match_jump_byte('x', 0);
    entry.nr_rest = 1;
    entry.length = 4;
    match_jump_t jump;
    ASSERT_TRUE(match_jump_place({&entry, 1}, jump));
    jump.length = 4;
    const auto found = [&](std::string_view data) {
        return match_jump_find(jump, {},
                               {reinterpret_cast<const uint8_t *>(data.data()), data.size()}) !=
               nullptr;
    };
    EXPECT_TRUE(found("xabcd"));
    EXPECT_TRUE(found("yyxabcd"));
    EXPECT_FALSE(found("yabcd"));
    EXPECT_FALSE(found("abcd")) << "too short for the rest";
    EXPECT_FALSE(found("xabc"));
}

/// The tree of a database, in memory of its own that tests write into.
struct edited_tree_t {
    view_radix_t tree;
    std::vector<uint8_t> rows;
    std::vector<uint8_t> codes;

    explicit edited_tree_t(const match_matcher_t &matcher)
        : tree(matcher.view.pattern.suffix_tree),
          rows(tree.rows.area.data, tree.rows.area.data + tree.rows.area.size),
          codes(tree.alphabet.code, tree.alphabet.code + 256)
    {
        tree.rows.area.data = rows.data();
        tree.alphabet.code = codes.data();
    }
    void put(uint32_t row, uint32_t column, uint16_t word)
    {
        const size_t at = (size_t{row} * tree.rows.width + column) * 2;
        rows[at] = static_cast<uint8_t>(word >> 8);
        rows[at + 1] = static_cast<uint8_t>(word);
    }
};

TEST(suffix_match, trees_that_no_compile_makes_have_no_table)
{
    random_match_t random{std::mt19937(29)};
    const std::vector<uint8_t> bytes = make_suffix_pdb(make_suffixes(random, 8));
    const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
    const match_matcher_t &matcher = suffix_matcher(db);
    const auto length = [&](const edited_tree_t &edited, bool icase) {
        match_jump_t jump;
        match_jump_make(edited.tree, icase, matcher.roles, 1 << 20, jump);
        return jump.length;
    };
    EXPECT_EQ(length(edited_tree_t(matcher), true), 8u);
    edited_tree_t other_codes(matcher);
    other_codes.codes['Q'] = static_cast<uint8_t>(other_codes.codes['q'] ^ 1);
    EXPECT_EQ(length(other_codes, true), 0u) << "the cases of a letter are two";
    edited_tree_t ends_at_root(matcher);
    ends_at_root.put(0, RADIX_ITEM_COLUMN, 0);
    EXPECT_EQ(length(ends_at_root, true), 0u);
    edited_tree_t no_edges(matcher);
    edited_tree_t endless(matcher);
    for (uint32_t column = RADIX_NR_META; column < no_edges.tree.rows.width; ++column) {
        no_edges.put(0, column, 0);
        for (uint32_t row = 0; row < 2; ++row)
            endless.put(row, column, 1); // each byte leads to row 1
    }
    EXPECT_EQ(length(no_edges, true), 0u);
    endless.tree.chains.last = 0; // no number is that of a compressed edge
    match_jump_paths_t paths;
    EXPECT_FALSE(match_jump_find_paths(endless.tree, true, 8, SIZE_MAX, paths));
}

/// A record of words that the compiler does not write for suffixes: its items count from 5 bytes
/// on.
TEST(suffix_match, a_table_leaves_records_with_a_minimum_to_the_walk)
{
    random_match_t random{std::mt19937(31)};
    const std::vector<uint8_t> bytes = make_suffix_pdb(make_suffixes(random, 8));
    const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
    const match_matcher_t &matcher = suffix_matcher(db);
    edited_tree_t edited(matcher);
    const view_area_t &area = edited.tree.items.area;
    std::vector<uint8_t> items(area.data, area.data + area.size);
    const auto record = static_cast<uint16_t>(items.size() / 4);
    const std::vector<uint8_t> minimum = stored({PATTERN_MINDATA_MARK | 5, 1, 7});
    items.insert(items.end(), minimum.begin(), minimum.end());
    edited.tree.items.area = {items.data(), items.size(), 0};
    const auto records = [&] {
        match_jump_t jump;
        match_jump_make(edited.tree, true, matcher.roles, 1 << 20, jump);
        return std::ranges::count(jump.entries, MATCH_END_RECORD, &match_jump_entry_t::end);
    };
    EXPECT_EQ(records(), 0);
    for (uint32_t row = 1; row < edited.tree.rows.nr_row; ++row)
        if (view_row_word(edited.tree.rows, row, RADIX_ITEM_COLUMN) != PATTERN_NO_ITEM_WORD)
            edited.put(row, RADIX_ITEM_COLUMN, record);
    EXPECT_GT(records(), 100);
}

/// The compiler has a private id for each suffix. Items that a tree names itself are found as well,
/// but for those that no table can hold.
TEST(suffix_match, trees_may_name_items_themselves)
{
    random_match_t random{std::mt19937(30)};
    const std::set<std::string> suffixes = make_suffixes(random, 8);
    std::vector<uint8_t> bytes = make_suffix_pdb(suffixes);
    const pdata::database before = pdata::database::open_memory(bytes.data(), bytes.size());
    const match_matcher_t &matcher = suffix_matcher(before);
    const view_items_t &items = matcher.view.pattern.suffix_tree.items;
    std::vector<uint8_t> named = bytes;
    const auto put = [&](size_t word, uint32_t id) {
        for (size_t byte = 0; byte < 4; ++byte)
            named[items.area.offset + word * 4 + byte] =
                static_cast<uint8_t>(id >> (24 - 8 * byte));
    };
    for (size_t word = 0; word < items.area.size / 4; ++word)
        if (const uint32_t id = view_word(items.area, word); id >= MATCHER_PRIVATE_ID)
            put(word, view_matcher_entry(matcher.view, id & MATCHER_PRIVATE_INDEX).pub_id);
    const pdata::database db = pdata::database::open_memory(named.data(), named.size());
    pdata::flow flow(db);
    for (const std::string &suffix : suffixes)
        (void)compare_one(db, flow, suffixes, suffix);
    for (size_t word = 0; word < items.area.size / 4; ++word)
        if (view_word(items.area, word) >= MATCHER_PRIVATE_ID)
            put(word, 0x7FFFFFFF); // of no slot
    const pdata::database lost = pdata::database::open_memory(named.data(), named.size());
    pdata::flow other(lost);
    const std::string any = "x" + *suffixes.begin();
    EXPECT_EQ(pdata_flow_add_bytes(other.get(), lost.attribute("http", "server", PDATA_CTS),
                                   any.data(), any.size(), 0),
              PDATA_R_OK);
    EXPECT_TRUE(other.items().empty());
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
