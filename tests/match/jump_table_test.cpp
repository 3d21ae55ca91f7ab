/// The tables that suffix trees are entered by: of every length, of keys chosen against them, of
/// trees that no compile makes.
#include "match_database.h"
#include "match_jump_word.h"
#include "rounds.h"
#include "suffix_pdb.h"

namespace
{

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

/// All rules are for http, from which all values come: a flow need not ask for the rule of an end.
TEST(jump_table, ends_of_rules_that_admit_every_value_are_marked)
{
    random_match_t random{std::mt19937(28)};
    const std::vector<uint8_t> bytes = make_suffix_pdb(make_suffixes(random, 2));
    const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
    size_t nr_marked = 0;
    for (const match_jump_entry_t &entry : suffix_matcher(db).suffix_jump.entries) {
        if (!match_end_is_item(entry.end))
            continue;
        const uint32_t item = entry.end & MATCH_END_ITEM;
        const bool has_rule = view_rules_slot(db.get()->view.rules, item).rule_id != 0;
        const bool is_marked = (entry.end & MATCH_END_ADMITTED) != 0;
        EXPECT_EQ(is_marked, has_rule) << item;
        nr_marked += is_marked ? 1 : 0;
    }
    EXPECT_GT(nr_marked, 300U);
}

/// Less room makes shorter keys, until there is none for a table.
TEST(jump_table, tables_of_all_lengths_agree_with_plain_comparison)
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

TEST(jump_table, keys_that_are_chosen_against_the_hash_are_given_up)
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

TEST(jump_table, keys_without_places_of_their_own_leave_no_table)
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
TEST(jump_table, short_data_goes_on_with_the_rest_of_an_entry)
{
    match_jump_entry_t entry;
    for (uint32_t depth = 0; depth < 4; ++depth)
        entry.key |= match_jump_byte(static_cast<uint8_t>("dcba"[depth]), depth);
    entry.nr_rest = 1;
    entry.length = 4;
    const uint8_t edges[] = {'-', 'x'};
    view_radix_t tree;
    tree.c_edges.data = edges;
    entry.front = 1; // where the rest begins in the edges
    match_jump_t jump;
    ASSERT_TRUE(match_jump_place({&entry, 1}, jump));
    jump.length = 4;
    const auto found = [&](std::string_view data) {
        return match_jump_find(jump, tree,
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

TEST(jump_table, trees_that_no_compile_makes_have_no_table)
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
TEST(jump_table, a_table_leaves_records_with_a_minimum_to_the_walk)
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
TEST(jump_table, trees_may_name_items_themselves)
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

} // namespace
