// The library on pdbs that verify, and whose parts still do not fit together; and on trusted ones
// that opening itself finds damaged.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

#include "hand_made.h"
#include "view_described.h"

namespace
{

using ids_t = std::vector<uint32_t>;

/// Opens a pdb that is refused; returns why.
std::string refusal(const parts_t &parts, uint32_t flags = 0)
{
    const std::vector<uint8_t> bytes = pdb_of(parts);
    pdata_db *db = nullptr;
    pdata_failure failure;
    EXPECT_EQ(pdata_db_open_memory(bytes.data(), bytes.size(), flags, &db, &failure),
              PDATA_R_DAMAGED);
    EXPECT_EQ(db, nullptr);
    const std::string text = failure.text;
    return text.substr(text.find(": ") + 2); // behind the place
}

/// Item words of a state: an item, the entry of a private id, nothing.
constexpr uint32_t public_item(uint32_t item)
{
    return 0x8000 | item;
}
constexpr uint32_t private_entry(uint32_t index)
{
    return 0xC000 | index;
}
constexpr uint32_t NOTHING = 0xFFFF;

/// An automaton that finds single letters: a to d end at states 1 to 4, which have these words.
word_list letters(const std::array<uint32_t, 4> &words)
{
    word_list rows;
    for (const uint32_t word : {NOTHING, words[0], words[1], words[2], words[3]})
        rows = join({rows, {word, 0x00030005, 0x00070009}}); // a to 1, b to 2, c to 3, d to 4
    return join({blob(34, rows), blob(35, {}),
                 alphabet(37, 6, {{'a', 2}, {'b', 3}, {'c', 4}, {'d', 5}}), blob(36, {1, 1})});
}

/// The slot of an item of rule 1.
word_list slot(uint32_t full, uint32_t position)
{
    return {1, 7, PDATA_SCOPE_ALL, position << 16 | full};
}

/// A matcher of tcp:host, from server to client, that finds letters, and one rule.
parts_t letter_parts(const std::array<uint32_t, 4> &words, const word_list &slots)
{
    parts_t parts;
    parts.engines = join({blob(18, {14}), blob(19, letters(words)), blob(21, {}), blob(22, {})});
    parts.entries = {};
    parts.slots = join({{0, 0, 0, 0}, slots});
    return parts;
}

constexpr std::array<uint32_t, 4> first_items = {public_item(1), public_item(2), public_item(3),
                                                 NOTHING};

/// The items, or the rules, that a value finds.
struct found_t {
    ids_t items;
    ids_t rules;
    ids_t near; ///< the item that each near miss lacks
};

found_t find(const pdata::database &db, std::string_view value)
{
    pdata::flow flow(db, PDATA_FLOW_EXPLAIN);
    flow.add(db.attribute("tcp", "host", PDATA_STC), value);
    found_t found = {flow.items(), flow.rules(), {}};
    std::array<pdata_near, 4> near;
    const size_t nr = pdata_flow_near(flow.get(), near.data(), near.size());
    for (size_t i = 0; i < nr; ++i)
        found.near.push_back(near[i].item);
    return found;
}

TEST(unsound_match, two_items_may_claim_one_bit)
{
    const pdata::database db =
        opened(letter_parts(first_items, join({slot(3, 0), slot(3, 0), slot(3, 1)})));
    EXPECT_EQ(find(db, "ab").rules, ids_t{});
    EXPECT_EQ(find(db, "ab").near, ids_t{3});
    EXPECT_EQ(find(db, "ac").rules, ids_t{1});
    EXPECT_EQ(find(db, "acb").rules, ids_t{1}) << "once";
    EXPECT_EQ(find(db, "acb").items, (ids_t{1, 3, 2}));
}

TEST(unsound_match, a_rule_may_wait_for_a_bit_that_no_item_has)
{
    const pdata::database db =
        opened(letter_parts(first_items, join({slot(5, 0), slot(5, 0), slot(5, 1)})));
    EXPECT_EQ(find(db, "abc").rules, ids_t{});
    EXPECT_EQ(find(db, "abc").near, ids_t{0});
}

TEST(unsound_match, an_only_item_may_lie_elsewhere_or_be_one_of_several)
{
    const pdata::database elsewhere = opened(letter_parts(first_items, slot(1, 3)));
    EXPECT_EQ(find(elsewhere, "a").items, ids_t{1});
    EXPECT_EQ(find(elsewhere, "a").rules, ids_t{});
    const pdata::database several =
        opened(letter_parts(first_items, join({slot(1, 0), slot(1, 0)})));
    EXPECT_EQ(find(several, "b").rules, ids_t{1});
    EXPECT_EQ(find(several, "ab").rules, (ids_t{1, 1}));
}

TEST(unsound_match, slots_that_say_different_things_of_a_rule_are_refused)
{
    const word_list first = {1, 7, 1, 3};
    const word_list others[] = {
        {1, 8, 1, 0x00010003}, {1, 7, 2, 0x00010003}, {1, 7, 1, 0x00010007}, {0x80000001, 7, 1, 3}};
    for (const word_list &other : others)
        EXPECT_EQ(refusal(letter_parts(first_items, join({first, other}))),
                  "wrong value: rules: rule engine: item 2: rule 1 differs from slot to slot");
}

// Item 2 is of no rule, item 3 of no matcher, item 9 has no slot.
TEST(unsound_match, items_may_be_of_nothing)
{
    parts_t parts = letter_parts({public_item(1), public_item(2), public_item(9), NOTHING},
                                 join({slot(3, 0), {0, 0, 0, 0}, slot(3, 1)}));
    parts.map = {0, ~0U, ~0U, ~0U, 0, 6, 0, 6}; // on web and udp, of which it tests neither
    parts.rule_names = {0x00037765, 0x62000003, 0x75647000};
    const pdata::database db = opened(parts);
    EXPECT_EQ(find(db, "abc").items, ids_t{1});
    EXPECT_EQ(find(db, "abc").near, ids_t{3});
}

TEST(unsound_match, pieces_that_are_cut_find_nothing)
{
    const auto found = [](const word_list &first, const word_list &second) {
        parts_t parts = letter_parts({private_entry(0), private_entry(1), NOTHING, NOTHING},
                                     join({slot(1, 0), slot(1, 0)}));
        parts.entries = join({first, second});
        return find(opened(parts), "ab").items;
    };
    const word_list head = {1, 0, 0x02010100, 0}; // piece 1 of 2 of permutation 1 of item 1
    EXPECT_EQ(found(head, {1, 0, 0x02020100, 0}), ids_t{1});
    EXPECT_EQ(found(head, {2, 0, 0x02020100, 0}), ids_t{}) << "of another item";
    EXPECT_EQ(found(head, {1, 0, 0x02020200, 0}), ids_t{}) << "of another permutation";
    EXPECT_EQ(found(head, {1, 0, 0x03020100, 0}), ids_t{}) << "of three";
    EXPECT_EQ(found(head, {1, 0, 0x02030100, 0}), ids_t{}) << "at another place";
    EXPECT_EQ(found({1, 0, 0x02020100, 0}, head), ids_t{}) << "in the other order";
    EXPECT_EQ(found({0x40000000, 0, 4, 0}, {2, 0, 4, 0}), ids_t{2}) << "an item of no slot";
}

TEST(unsound_match, pieces_may_be_in_no_engine)
{
    parts_t parts = letter_parts(first_items, slot(1, 0));
    parts.engines = join({blob(18, {14}), blob(19, {}), blob(21, {}), blob(22, {})});
    parts.entries = {1, 0, 0x01010100, 0};
    EXPECT_EQ(find(opened(parts), "a").items, ids_t{});
}

// Entries of values "ab" and "cd" of one item, found by their last letters.
TEST(unsound_match, an_item_may_have_two_values)
{
    parts_t parts =
        letter_parts({NOTHING, private_entry(0), NOTHING, private_entry(1)}, slot(1, 0));
    parts.values = {0x00026162, 0x00026364};
    parts.entries = {1, 0, 0, 0, 1, 4, 0, 0};
    const pdata::database db = opened(parts);
    EXPECT_EQ(find(db, "ab").items, ids_t{1});
    EXPECT_EQ(find(db, "cd").items, ids_t{1});
    EXPECT_EQ(find(db, "ad").items, ids_t{});
}

TEST(unsound_match, a_value_that_is_no_expression_is_counted_and_never_found)
{
    parts_t parts = letter_parts({private_entry(0), NOTHING, NOTHING, NOTHING}, slot(1, 0));
    parts.values = {0x0002282A}; // (*
    parts.entries = {1, 0, 0, 0};
    const pdata::database db = opened(parts);
    pdata_db_info info;
    pdata_db_describe(db.get(), &info);
    EXPECT_EQ(info.nr_check, 1u);
    EXPECT_EQ(info.nr_check_refused, 1u);
    EXPECT_EQ(find(db, "a").items, ids_t{});
}

parts_t with_offsets(const word_list &states, const word_list &items)
{
    parts_t parts = offset_parts();
    const word_list automaton = join({blob(34, states), blob(35, items),
                                      alphabet(37, 4, {{'y', 2}, {'z', 3}}), blob(36, {1, 1})});
    parts.engines = join({blob(18, {16 | 32}), blob(20, automaton), blob(23, dot_prefix_of_two)});
    return parts;
}

// A pattern without bytes: the start state has item 2.
TEST(unsound_match, what_ends_at_the_start_state_has_no_bytes)
{
    const parts_t parts = with_offsets({0, 0x00020000, 0x0000FFFF, 0x00020000}, {1, 2, 0xFFFFFFFF});
    EXPECT_EQ(pieces_of(parts, "q"), "2 at 0-0; ");
    EXPECT_EQ(pieces_of(parts, "y"), "2 at 0-0; ");
}

// "yz" anywhere and "z" to end at 2, both item 2: where both end, the piece is the shorter one.
TEST(unsound_match, a_piece_at_an_offset_begins_where_the_shortest_pattern_does)
{
    const parts_t parts = with_offsets({0x0000FFFF, 0x00020007,  // start: y leads to 1, z to 3
                                        0x0000FFFF, 0x00020005,  // y: z leads to 2
                                        0x00000000, 0x00020007,  // yz: record 0
                                        0x00000003, 0x00020007}, // z: record 3
                                       {1, 2, 0xFFFFFFFF, 1, 2, 2});
    EXPECT_EQ(pieces_of(parts, "yz"), "2 at 1-2; ");
    EXPECT_EQ(pieces_of(parts, "qyz"), "2 at 1-3; ");
    EXPECT_EQ(pieces_of(parts, "qz"), "2 at 1-2; ");
}

// Node 2 is where x, the wildcard and the start lead on b.
TEST(unsound_match, nodes_may_be_reached_by_several_ways)
{
    parts_t parts = offset_parts();
    const word_list nodes = join({
        alphabet(41, 6, {{'x', 4}, {'b', 5}}),
        blob(39, {0x0000FFFF, 0xFFFF0001, 0x00030002,   // start
                  0x0000FFFF, 0xFFFF0000, 0x00000002,   // 1, the wildcard
                  0x0000FFFF, 0x00000000, 0x00000000,   // 2: record 0
                  0x00000001, 0xFFFF0000, 0x00000002}), // 3, x
        blob(40, {1, 1}),
    });
    parts.engines = join({blob(18, {2 | 32}), blob(19, {}), blob(23, nodes)});
    EXPECT_EQ(pieces_of(parts, "b"), "1 at 0-1; ");
    EXPECT_EQ(pieces_of(parts, "xb"), "1 at 0-2; ") << "once";
    EXPECT_EQ(pieces_of(parts, "qb"), "1 at 0-2; ");
    EXPECT_EQ(pieces_of(parts, "qqb"), "");
}

TEST(unsound_match, findings_end_where_their_room_ends)
{
    const pdata::database db = opened(letter_parts(first_items, slot(1, 0)));
    pdata::flow flow(db, PDATA_FLOW_EXPLAIN);
    const std::string many(2000, 'a');
    flow.add(db.attribute("tcp", "host", PDATA_STC), many);
    EXPECT_EQ(pdata_flow_nr_finding(flow.get()), 2u + 1024u) << "of two slots, and 1,024 more";
    EXPECT_EQ(flow.rules(), ids_t{1});
}

// Of two matchers of one attribute, the values go to those of the kind of the first.
TEST(unsound_match, a_matcher_of_another_kind_is_passed_over)
{
    word_list numbers(128);
    numbers[97 / 2] = 0x00000001; // 97, which is the letter a, has the record at word 1
    parts_t parts = letter_parts(first_items, join({slot(1, 0), slot(1, 0)}));
    const word_list data = join(
        {record(1, {3, 0}),
         record(2,
                join({blob(15, {3}), blob(16, join({blob(13, numbers), blob(14, {0, 1, 2})}))}))});
    parts.behind_matcher = record(1, join({record(1, {0, 6, 2}), record(2, data)}));
    const pdata::database db = opened(parts);
    EXPECT_EQ(find(db, "a").items, ids_t{1});
    pdata::flow flow(db);
    EXPECT_EQ(pdata_flow_add_number(flow.get(), db.attribute("tcp", "host", PDATA_STC), 97),
              PDATA_R_KIND);
}

/// A side of an alias: two texts and a direction.
word_list alias_of(uint32_t protocol, uint32_t name, uint32_t way, uint32_t to_protocol,
                   uint32_t to_name, uint32_t to_way)
{
    return {protocol, name, way << 24 | to_protocol >> 8, to_protocol << 24 | to_name >> 8,
            to_name << 24 | to_way << 16};
}

TEST(unsound_match, an_alias_of_no_texts_or_directions_ends_the_aliases)
{
    const auto known = [](const word_list &alias) {
        parts_t parts = letter_parts(first_items, slot(1, 0));
        parts.main_strings = {0x00037463, 0x70000004, 0x686F7374, 0x00026162}; // ab at 12
        parts.behind_pdb = record(10, alias);
        const pdata::database db = opened(parts, PDATA_OPEN_TRUSTED);
        EXPECT_NE(db.attribute("tcp", "host", PDATA_STC), 0u);
        return db.attribute("ab", "ab", PDATA_STC) != 0;
    };
    EXPECT_TRUE(known(alias_of(12, 12, 2, 0, 6, 2)));
    EXPECT_TRUE(known(alias_of(12, 12, 3, 0, 6, 3)));
    EXPECT_FALSE(known(alias_of(99, 12, 2, 0, 6, 2)));
    EXPECT_FALSE(known(alias_of(12, 99, 2, 0, 6, 2)));
    EXPECT_FALSE(known(alias_of(12, 12, 0, 0, 6, 2)));
    EXPECT_FALSE(known(alias_of(12, 12, 4, 0, 6, 2)));
    EXPECT_FALSE(known(alias_of(12, 12, 2, 99, 6, 2)));
}

// Rule 1 was written for web, whose attributes moved to tcp; item 2 is of no rule.
TEST(unsound_match, attributes_that_moved_are_told_by_the_rules_there_are)
{
    parts_t parts = letter_parts(first_items, join({slot(1, 0), {0, 0, 0, 0}}));
    parts.main_strings = {0x00037463, 0x70000003, 0x77656200}; // tcp at 0, web at 6
    parts.behind_pdb = record(10, alias_of(6, 6, 3, 0, 0, 3));
    parts.map = {0, ~0U, ~0U, ~0U, 0, ~0U, 0, ~0U};
    EXPECT_NE(opened(parts).attribute("web", "host", PDATA_STC), 0u);
    parts.map[6] = ~0U;
    EXPECT_EQ(opened(parts).attribute("web", "host", PDATA_STC), 0u);
}

/// The rule of `described`, which is a preempt there, and a matcher of its one attribute.
parts_t preempt_parts(const described_t &described)
{
    parts_t parts = letter_parts(first_items, slot(1, 0));
    parts.descriptions = root_of(described);
    parts.names = {0x00013700};
    parts.meta = {0, 0, 1};
    return parts;
}

bool is_preempt(const parts_t &parts)
{
    return (opened(parts, PDATA_OPEN_TRUSTED).rule(1).flags & PDATA_RULE_PREEMPT) != 0;
}

TEST(unsound_match, descriptions_that_do_not_fit_the_rules_make_no_preempt)
{
    described_t sound;
    sound.rule_meta = record(7, {0x05000006, 0, 0, 0, 1, 1, 0, 0});
    EXPECT_TRUE(is_preempt(preempt_parts(sound)));
    const std::pair<word_list described_t::*, word_list> damages[] = {
        {&described_t::attribute, record(6, {0x12})},
        {&described_t::attribute, record(6, {0x12, 0, 2, 5})}, // a value at 2, where none begins
        {&described_t::sub_rule_meta, record(4, {0})},
        {&described_t::protocol_meta, record(1, {0})},
        {&described_t::behind_protocols, join({record(1, record(1, {0}))})},
        {&described_t::strings, {}},
    };
    for (const auto &[part, words] : damages) {
        described_t damaged = sound;
        damaged.*part = words;
        EXPECT_FALSE(is_preempt(preempt_parts(damaged)));
    }
    described_t cut = sound;
    cut.rule_meta = record(7, {0});
    EXPECT_FALSE(is_preempt(preempt_parts(cut)));
    described_t more = sound;
    more.behind_protocols = record(9);
    EXPECT_TRUE(is_preempt(preempt_parts(more))) << "no protocol";
    parts_t parts = preempt_parts(sound);
    parts.meta = {0, 0, 2};
    EXPECT_FALSE(is_preempt(parts)) << "no matcher has the value";
    parts.descriptions = record(1, record(1, record(2, {0x00013700})));
    EXPECT_FALSE(is_preempt(parts)) << "a group without protocols";
}

// No item record begins at word 5 of a table without words: who has item 1 can still be asked.
TEST(unsound_match, a_trusted_record_that_is_not_there_has_no_items)
{
    const pdata::database db =
        opened(letter_parts({5, NOTHING, NOTHING, NOTHING}, slot(1, 0)), PDATA_OPEN_TRUSTED);
    pdata_item_info info;
    EXPECT_EQ(pdata_db_item(db.get(), 1, &info), PDATA_R_OK);
    EXPECT_EQ(info.matcher, 0u);
}

TEST(unsound_match, opening_finds_what_it_cannot_read_in_a_trusted_pdb)
{
    parts_t parts = letter_parts(first_items, slot(1, 0));
    parts.meta = {0, 6, 3};
    EXPECT_NE(refusal(parts, PDATA_OPEN_TRUSTED).find("matchers: matcher 0: meta: direction 3"),
              std::string::npos);
    parts.meta = {0, 6, 2};
    parts.behind_matcher = {0x01000005}; // a record that claims words
    EXPECT_NE(refusal(parts, PDATA_OPEN_TRUSTED).find("record of type 1 claims 5 words"),
              std::string::npos);
}

} // namespace
