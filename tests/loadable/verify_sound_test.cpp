/// Pdbs that are safe to read and whose parts do not fit together: each is a sound one in which a
/// few words were changed, at places that the format gives.
#include <algorithm>

#include "loadable_fixture.h"
#include "pdb_view.h"

namespace
{

/// A pdb, whole, and the places in it where tests change words.
struct sound_pdb_t {
    std::vector<uint8_t> bytes;
    pdb_view_t view;
    view_matcher_t matcher; ///< the first

    explicit sound_pdb_t(const pdb_model &model)
    {
        const compiled_t compiled = compile(model);
        view_error_t error;
        view_record_t record;
        EXPECT_EQ(compiled.unsound, "");
        bytes = compiled.bytes;
        EXPECT_TRUE(pdb_view_open(bytes, view, error)) << error.text;
        view_cursor_t cursor = view_walk(view.matchers.list);
        EXPECT_TRUE(view_next(cursor, record));
        EXPECT_TRUE(view_matcher_open(record, view.matchers.names, matcher, error)) << error.text;
    }
    sound_pdb_t(const sound_pdb_t &) = delete;
    sound_pdb_t &operator=(const sound_pdb_t &) = delete;

    uint32_t word(size_t offset) const { return csa_get_be32(bytes.data() + offset); }
    void put(size_t offset, uint32_t word) { csa_set_be32(bytes.data() + offset, word); }
    size_t slot(uint32_t item) const { return view.rules.slots.offset + size_t{item} * 16; }

    /// The faults, without their offsets; all are of the second grade.
    std::string faults() const
    {
        std::string text;
        for (const found_fault_t &found : verify_faults(bytes)) {
            EXPECT_EQ(found.grade, VIEW_UNSOUND) << found.text;
            text += std::string(view_fault_name(found.fault)) + ": " + found.text + '\n';
        }
        return text;
    }
};

/// Rules 1 and 2 of one port each.
pdb_model two_ports()
{
    return {{protocol_of(7, "web",
                         {simple_rule("tcp", {number_attr("port", {"80"})}),
                          simple_rule("tcp", {number_attr("port", {"25"})})})},
            {}};
}

pdb_model two_addresses()
{
    return {{protocol_of(7, "web",
                         {simple_rule("ip", {number_attr("address", {"10.0.0.1", "10.0.0.9"},
                                                         MATCHER_TYPE_IP_4)})})},
            {}};
}

pdb_model two_pieces()
{
    return {{protocol_of(7, "web", {simple_rule("http", {stream_attr("server", {".*ab.*cd.*"})})})},
            {}};
}

TEST(verify_sound, a_rule_without_an_item)
{
    sound_pdb_t pdb(two_ports());
    for (size_t word = 0; word < 4; ++word)
        pdb.put(pdb.slot(2) + word * 4, 0);
    EXPECT_EQ(pdb.faults(), "wrong count: rules: rule engine: rule 1 of 2 has no item\n");
}

TEST(verify_sound, items_of_one_rule_that_share_a_bit)
{
    sound_pdb_t pdb(two_ports());
    pdb.put(pdb.slot(2), 2);
    EXPECT_EQ(pdb.faults(), "wrong count: rules: rule engine: item 2 of rule 2: its bit is not its "
                            "own\n");
}

TEST(verify_sound, a_bitset_of_more_items_than_there_are)
{
    sound_pdb_t pdb(two_ports());
    pdb.put(pdb.slot(2) + 12, 3);
    EXPECT_EQ(pdb.faults(),
              "wrong count: rules: rule engine: item 2 of rule 1: the rule has other items\n");
}

TEST(verify_sound, items_of_one_rule_that_disagree)
{
    sound_pdb_t pdb({{protocol_of(7, "web",
                                  {simple_rule("tcp", {number_attr("port", {"80"}),
                                                       number_attr("port", {"25"})})})},
                     {}});
    pdb.put(pdb.slot(2) + 4, pdb.word(pdb.slot(2) + 4) + 1);
    EXPECT_EQ(
        pdb.faults(),
        "wrong value: rules: rule engine: item 2 of rule 1: not the rule of its other items\n");
}

TEST(verify_sound, items_of_one_rule_of_which_one_asks_for_a_referer)
{
    sound_pdb_t pdb({{protocol_of(7, "web",
                                  {simple_rule("tcp", {number_attr("port", {"80"}),
                                                       number_attr("port", {"25"})})})},
                     {}});
    pdb.put(pdb.slot(2) + 12, pdb.word(pdb.slot(2) + 12) ^ 0x80000000);
    EXPECT_EQ(
        pdb.faults(),
        "wrong value: rules: rule engine: item 2 of rule 1: not the rule of its other items\n");
}

// Item 2 stands in the records of port 80 twice then; the slot of item 1 waits for ever.
TEST(verify_sound, an_item_that_no_matcher_gives)
{
    sound_pdb_t pdb(two_ports());
    const view_area_t &items = pdb.matcher.number.items.area;
    ASSERT_EQ(view_words(items), 5u) << "a word of zeros, two records of one item";
    ASSERT_EQ(view_word(items, 2), 1u);
    pdb.put(items.offset + 8, 2);
    EXPECT_EQ(pdb.faults(), "lost part: rules: rule engine: item 1 of rule 2: no matcher gives it, "
                            "nor 0 others\n");
}

// The values of 25 lead to the record of 80, that of 25 to none.
TEST(verify_sound, records_of_a_mapper_that_no_value_has)
{
    sound_pdb_t pdb(two_ports());
    csa_set_be16(pdb.bytes.data() + pdb.matcher.number.table.offset + 80 * 2, 1);
    EXPECT_EQ(
        pdb.faults(),
        "lost part: matchers: matcher 0: data: numbers: mapper: items: records of values take "
        "3 of 5 words\n"
        "lost part: rules: rule engine: item 2 of rule 1: no matcher gives it, nor 0 others\n");
}

TEST(verify_sound, endpoints_out_of_order)
{
    sound_pdb_t pdb(two_addresses());
    const size_t first = pdb.matcher.number.endpoints.offset;
    ASSERT_EQ(pdb.word(first), 0x0A000001u);
    pdb.put(first + 4, 0x0A000001);
    EXPECT_EQ(pdb.faults(), "wrong order: matchers: matcher 0: data: numbers: intervals: endpoint "
                            "1: not above the one before it\n");
}

TEST(verify_sound, endpoints_whose_first_byte_has_no_flag)
{
    sound_pdb_t pdb(two_addresses());
    pdb.bytes[static_cast<size_t>(pdb.matcher.number.msb - pdb.bytes.data()) + 10] = 0;
    EXPECT_EQ(pdb.faults(), "lost part: matchers: matcher 0: data: numbers: intervals: endpoint 0: "
                            "no flag for values that begin with 10\n");
}

// Two entries, for "ab" and for "cd": states 2 and 4 of the automaton hold them inline.
TEST(verify_sound, an_entry_that_no_engine_gives)
{
    sound_pdb_t pdb(two_pieces());
    const view_rows_t &rows = pdb.matcher.pattern.aho_corasick.rows;
    const size_t at = view_row_offset(rows, 4, AHO_CORASICK_ITEM_COLUMN);
    ASSERT_EQ(csa_get_be16(pdb.bytes.data() + at), 0xC001) << "private id 1, inline";
    csa_set_be16(pdb.bytes.data() + at, 0xC000);
    EXPECT_EQ(pdb.faults(), "lost part: matchers: matcher 0: second level: entry 1 of 2: no engine "
                            "gives it, nor 0 others\n");
}

TEST(verify_sound, a_piece_behind_the_last)
{
    sound_pdb_t pdb(two_pieces());
    ASSERT_EQ(pdb.word(pdb.matcher.second_level.offset + 8), 0x02010100u);
    pdb.put(pdb.matcher.second_level.offset + 8, 0x01020100);
    EXPECT_EQ(pdb.faults(),
              "lost part: matchers: matcher 0: second level: entry 0: piece 2 of 1\n");
}

// State 1, "a", is left out of the row of the start and of those of the others.
TEST(verify_sound, a_state_that_nothing_leads_to)
{
    sound_pdb_t pdb(two_pieces());
    const view_rows_t &rows = pdb.matcher.pattern.aho_corasick.rows;
    ASSERT_EQ(rows.nr_row, 5u);
    for (uint32_t row = 0; row < rows.nr_row; ++row)
        csa_set_be16(pdb.bytes.data() + view_row_offset(rows, row, AHO_CORASICK_NR_META), 0);
    EXPECT_EQ(
        pdb.faults(),
        "lost part: matchers: matcher 0: patterns: aho_corasick: row 1 of 5: nothing leads to "
        "it, nor to 1 others\n"
        "lost part: matchers: matcher 0: second level: entry 0 of 2: no engine gives it, nor 0 "
        "others\n");
}

TEST(verify_sound, more_rules_than_the_descriptions_have)
{
    sound_pdb_t pdb(two_ports());
    constexpr std::string_view port{"\0\2"
                                    "25",
                                    4};
    const auto at = std::search(pdb.bytes.begin(), pdb.bytes.end(), port.begin(), port.end());
    ASSERT_NE(at, pdb.bytes.end());
    at[2] = at[3] = ','; // a text of commas is no value
    EXPECT_EQ(pdb.faults(), "wrong count: rules: 2 rules, where the descriptions have 1 with "
                            "values\n");
}

} // namespace
