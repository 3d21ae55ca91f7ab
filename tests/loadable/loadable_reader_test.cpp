/// The reader of loadable pdbs: what it reads, and what it refuses.
#include "loadable_fixture.h"
#include "matcher_fixture.h"

namespace
{

using bytes_t = std::vector<uint8_t>;

/// A pdb with a matcher of every engine and second-level entries of every kind, without the long
/// tables of 16-bit numbers.
pdb_model sample_model()
{
    rule_model code = simple_rule("icmp", {number_attr("code", {"3"}, MATCHER_TYPE_NUMBER_8)});
    code.tags = {"video"};
    return {
        {protocol_of(
            7, "web",
            {code,
             rule_of({sub_rule_of("http", {stream_attr("server", {"ab.*cd", "x.yz", "..*",
                                                                  ".*mid.*", "word"}),
                                           stream_attr("referer", {"r"})}),
                      sub_rule_of("tcp",
                                  {stream_attr("stream", {"go.*"}), offset_attr("stream", "at", 3)},
                                  65536)}),
             simple_rule("ip", {number_attr("address", {"10.0.0.0/8,11.0.0.1"}, MATCHER_TYPE_IP_4,
                                            ATTR_WAY_BOTH)})})},
        {{"video", 0x11}}};
}

const bytes_t &sample()
{
    static const bytes_t pdb = compile(sample_model()).bytes;
    return pdb;
}

/// The two rules alone, whose words are known one by one (section_bytes_test.cpp).
const bytes_t &two_rules()
{
    static const bytes_t pdb = compile(two_rules_model()).bytes;
    return pdb;
}

/// Returns a pdb with a word of a root record, counted from its header, set to another value.
bytes_t damaged(bytes_t pdb, uint32_t root_type, size_t word, uint32_t value)
{
    std::span<const uint8_t> found;
    EXPECT_EQ(tlv_record_search(root_type, pdb, &found), PDATA_SUCCESS);
    tlv_set(pdb.data() + (found.data() - pdb.data()) + word * 4, value);
    return pdb;
}

std::string rules_error(size_t word, uint32_t value)
{
    return loadable_verify(damaged(two_rules(), TLV_TYPE_ROOT_RULES, word, value));
}

std::string matchers_error(size_t word, uint32_t value)
{
    return loadable_verify(damaged(two_rules(), TLV_TYPE_ROOT_MATCHERS, word, value));
}

TEST(loadable_reader, a_whole_pdb_is_read)
{
    loadable_pdb_t pdb;
    std::string error;
    ASSERT_TRUE(loadable_open(sample(), pdb, error)) << error;
    EXPECT_EQ(pdb.load_state, TLV_TYPE_LOAD_LOADABLE);
    EXPECT_FALSE(pdb.empty);
    EXPECT_EQ(pdb.version_major, 1U);
    EXPECT_EQ(pdb.version_minor, 540U);
    EXPECT_EQ(pdb.version_text, "1.540.1-24");
    EXPECT_TRUE(pdb.configuration.empty());
    EXPECT_EQ(pdb.descriptions[0], TLV_TYPE_ROOT_PROTODESCS);
    ASSERT_EQ(pdb.tag_table.size(), 1U);
    EXPECT_EQ(pdb.tag_table[0].value, 0x11U);
    EXPECT_EQ(pdb.matchers.size(), 6U);
    EXPECT_EQ(pdb.rules.size(), 3U);
    EXPECT_EQ(pdb.slots.size(), 11U);
    EXPECT_TRUE(loadable_check(pdb, LOADABLE_OWN, error)) << error;
}

TEST(loadable_reader, second_level_entries_are_taken_apart)
{
    loadable_pdb_t pdb;
    std::string error;
    ASSERT_TRUE(loadable_open(sample(), pdb, error)) << error;
    const loadable_matcher_t *server = loadable_find_matcher(pdb, "http", "server", ATTR_WAY_CTS);
    ASSERT_NE(server, nullptr);
    EXPECT_EQ(loadable_find_matcher(pdb, "http", "server", ATTR_WAY_STC), nullptr);
    std::string text;
    for (const loadable_entry_t &entry : server->second_level) {
        for (const uint32_t field :
             {entry.kind, entry.permutation, entry.position, entry.nb_pieces})
            text += std::to_string(field) + ".";
        text += entry.has_value ? std::string(entry.value) + " " : "- ";
    }
    // Newest first: "word", "..*", "x.yz", "ab.*cd"; ".*mid.*" needs no entry.
    EXPECT_EQ(text, "12.0.0.0.- 2.0.0.0...* 0.0.0.0.x.yz 4.1.1.2.- 8.1.2.2.- ");
}

TEST(loadable_reader, an_empty_pdb_is_read)
{
    const bytes_t bytes = stored({0x0C000001, 0x02000002, 0x07000000, 0, 0});
    loadable_pdb_t pdb;
    std::string error;
    EXPECT_TRUE(loadable_open(bytes, pdb, error)) << error;
    EXPECT_TRUE(pdb.empty);
    EXPECT_EQ(loadable_verify(bytes), "");
    EXPECT_EQ(loadable_verify(stored({0x07000000, 0, 1})),
              "an empty pdb does not end with its marker and two zero words");
    EXPECT_EQ(loadable_verify(stored({0x07000000, 0})),
              "an empty pdb does not end with its marker and two zero words");
}

TEST(loadable_reader, string_tables_are_entries_back_to_back)
{
    const auto starts = [](const word_list &words) {
        const bytes_t blob = stored(words);
        loadable_strings_t strings;
        std::string error;
        if (!loadable_strings_open(blob, strings, error))
            return error;
        for (const uint32_t start : strings.starts)
            error += std::to_string(start) + " ";
        return error;
    };
    EXPECT_EQ(starts({}), "");
    EXPECT_EQ(starts({0x00036162, 0x63000002, 0x64650000}), "0 6 ");
    EXPECT_EQ(starts({0x00026162}), "0 ");
    EXPECT_EQ(starts({0x00036162, 0x63010000}), "string at 0 is not padded");
    EXPECT_EQ(starts({0x00036162}), "string at 0 runs past its table");
    EXPECT_EQ(starts({0x00026162, 0}), "string table ends at 4 of 8 bytes");
    EXPECT_EQ(starts({0x00014100, 0x00000001}), "string table ends at 4 of 8 bytes");
}

TEST(loadable_reader, roots_come_in_their_order_and_nothing_else_does)
{
    EXPECT_EQ(loadable_verify({}), "no protocol descriptions");
    EXPECT_EQ(loadable_verify(bytes_t(3)), "3 bytes are not whole words");
    EXPECT_EQ(loadable_verify(stored({0x0C000001, 0x01000001})),
              "load state: not that of a loadable pdb");
    EXPECT_EQ(loadable_verify(stored({0x0C000002, 0x02000002, 0})),
              "load state: record 12: 8 bytes instead of 4");
    EXPECT_EQ(loadable_verify(stored({0x01000000, 0x0B000000})),
              "version: record 6: type 11 stands there");
    EXPECT_EQ(loadable_verify(stored({0x01000001})),
              "record 1: record 1 of 4 bytes runs past the end");
    bytes_t longer = two_rules();
    longer.resize(longer.size() + 4);
    EXPECT_EQ(loadable_verify(longer), "4 bytes follow the last record");
}

TEST(loadable_reader, a_version_must_hold_its_text)
{
    const auto error = [](size_t word, uint32_t value) {
        return loadable_verify(damaged(two_rules(), TLV_TYPE_ROOT_VERSION, word, value));
    };
    EXPECT_EQ(error(3, 21), "version: its text does not fit");
    EXPECT_EQ(error(3, 8), "version: bytes behind its text");
    EXPECT_EQ(error(8, 1), "version: bytes behind its text");
    EXPECT_EQ(error(3, 20), "");
}

TEST(loadable_reader, damage_to_the_matchers_is_found)
{
    // Words: 0 and 1 the headers, 2 the first entry, 4 to 6 its meta, 7 the data, 9 and 10 the
    // matcher's meta, 11 the numbers.
    EXPECT_EQ(matchers_error(2, 0x02000095), "matcher 0: record 1: type 2 stands there");
    EXPECT_EQ(matchers_error(4, 2), "matcher 0: protocol: no string begins at 2");
    EXPECT_EQ(matchers_error(5, 1000), "matcher 0: attribute: no string begins at 1000");
    EXPECT_EQ(matchers_error(6, 3), "matcher 0: direction 3");
    EXPECT_EQ(matchers_error(9, 1), "matcher 0: record 3: type 2 stands there");
    EXPECT_EQ(matchers_error(9, 5), "matcher 0: matcher type 5");
    EXPECT_EQ(matchers_error(9, 4), "matcher 0: numbers of type 3");
    EXPECT_EQ(matchers_error(13, 0), "matcher 0: damaged numbers");
}

TEST(loadable_reader, damage_to_the_rules_is_found)
{
    EXPECT_EQ(rules_error(2, 3), "protocol map: protocol map of 72 bytes for 3 rules");
    EXPECT_EQ(rules_error(2, 1), "protocol map: protocol map of 72 bytes for 1 rules");
    EXPECT_EQ(rules_error(4, 1), "protocol map: row 0: path: no string begins at 1");
    EXPECT_EQ(rules_error(4, 0xFFFFFFFF), "protocol map: row 0: path: no name");
    EXPECT_EQ(rules_error(6, 0), "protocol map: row 0: path: a name behind an empty cell");
    EXPECT_EQ(rules_error(12, 2), "protocol map: row 0: bottoms: no string begins at 2");
    EXPECT_EQ(rules_error(18, 2), "protocol map: row 1: real bottoms: no string begins at 2");
    EXPECT_EQ(rules_error(21, 0xFFFFFFFF), "protocol map: a table of vids without a vid");
    EXPECT_EQ(rules_error(23, 3), "tag map: not of 2 rules");
    EXPECT_EQ(rules_error(25, 3), "tag map: rule 2: start index 3 instead of 2");
    EXPECT_EQ(rules_error(26, 9), "tag map: rule 1: its tags run past the map");
    EXPECT_EQ(rules_error(28, 1), "tag map: rule 2: its tags run past the map");
    EXPECT_EQ(rules_error(27, 0x12), "rule 1: tag 18 is not in the tag table");
    EXPECT_EQ(rules_error(30, 0x01000009), "rule engine: 28 bytes follow the last record");
    EXPECT_EQ(rules_error(33, 7), "rule engine: slot 0 has no rule and is not zero");
    EXPECT_EQ(rules_error(48, 0xFFFF7765), "protocol map: string at 0 runs past its table");
}

TEST(loadable_reader, slots_that_contradict_each_other_are_found)
{
    EXPECT_EQ(rules_error(31, 1), "item 0 belongs to rule 1");
    EXPECT_EQ(rules_error(35, 0xB0000003), "item 1 belongs to rule 3");
    EXPECT_EQ(rules_error(39, 0x80000002), "item 2: its rule differs from slot to slot");
    EXPECT_EQ(rules_error(40, 1), "item 2: its rule differs from slot to slot");
    EXPECT_EQ(rules_error(41, 1), "item 2: its rule differs from slot to slot");
    EXPECT_EQ(rules_error(42, 7), "item 2: its rule differs from slot to slot");
    EXPECT_EQ(rules_error(42, 0x00010003), "item 2: bit 1 is not its own");
    EXPECT_EQ(rules_error(42, 0x00100003), "item 2: bit 16 is not its own");
    EXPECT_EQ(rules_error(42, 0x00020003), "rule 2: its bits are not those of its items");
    EXPECT_EQ(rules_error(46, 3), "rule 1: its bits are not those of its items");
    EXPECT_EQ(rules_error(46, 0x80000001), "rule 1: a lone item is marked as a referer");
    EXPECT_EQ(rules_error(43, 0), "rule engine: slot 3 has no rule and is not zero");
}

/// Damages the sample where `find` stands, which must be once, and returns the error.
std::string sample_error(const word_list &find, const word_list &replace)
{
    bytes_t pdb = sample();
    const bytes_t from = stored(find);
    const bytes_t to = stored(replace);
    const auto at = std::search(pdb.begin(), pdb.end(), from.begin(), from.end());
    if (at == pdb.end() || std::search(at + 1, pdb.end(), from.begin(), from.end()) != pdb.end())
        return "not there once";
    std::copy(to.begin(), to.end(), at);
    return loadable_verify(pdb);
}

TEST(loadable_reader, second_level_entries_that_lead_nowhere_are_found)
{
    loadable_pdb_t pdb;
    std::string error;
    ASSERT_TRUE(loadable_open(sample(), pdb, error)) << error;
    const auto &entries = loadable_find_matcher(pdb, "http", "server", ATTR_WAY_CTS)->second_level;
    const uint32_t word = entries[0].pub_id;
    const uint32_t all = entries[1].pub_id;
    const uint32_t pieces = entries[3].pub_id;
    const auto within = [](const char *text) { return std::string("http:server cts: ") + text; };
    EXPECT_EQ(sample_error({word, 0, 12}, {99, 0, 12}),
              within("second-level entry 0: item 99 belongs to no rule"));
    EXPECT_EQ(sample_error({word, 0, 12}, {0x80000001, 0, 12}),
              within("second-level entry 0: item 2147483649 belongs to no rule"));
    EXPECT_EQ(sample_error({word, 0, 12}, {1, 0, 12}).substr(0, 60),
              within("second-level entry 0: item 1 also stands in"));
    EXPECT_NE(sample_error({word, 0, 12}, {word, 0, 3}).find("entry 0: kind 3"), std::string::npos);
    EXPECT_NE(sample_error({word, 0, 12}, {word, 2, 12}).find("refers to a value"),
              std::string::npos);
    EXPECT_NE(sample_error({all, 0, 2, 0}, {all, 1, 2, 0}).find("no string begins at 1"),
              std::string::npos);
    EXPECT_NE(sample_error({all, 0, 2, 0}, {all, 0, 2, 1}).find("re_id is not 0"),
              std::string::npos);
    EXPECT_EQ(sample_error({all, 0, 2, 0}, {all, 0, 0, 0}), within("no engine finds entry 1"));
    EXPECT_EQ(sample_error({word, 0, 12, 0}, {word, 0, 2, 0}),
              within("an engine finds catch-all entry 0"));
    EXPECT_EQ(sample_error({pieces, 0, 0x02010104}, {pieces, 0, 0x02020104}),
              within("pieces of permutation 1 of item ") + std::to_string(pieces));
    EXPECT_EQ(sample_error({pieces, 0, 0x02010104}, {pieces, 0, 0x03010104}),
              within("pieces of permutation 1 of item ") + std::to_string(pieces));
    EXPECT_EQ(sample_error({pieces, 0, 0x02010104}, {pieces, 0, 0x02010204}),
              within("pieces of permutation 1 of item ") + std::to_string(pieces));
}

TEST(loadable_reader, a_foreign_pdb_may_have_items_without_a_rule)
{
    bytes_t pdb = two_rules();
    for (size_t word = 43; word < 47; ++word)
        pdb = damaged(pdb, TLV_TYPE_ROOT_RULES, word, 0);
    EXPECT_EQ(loadable_verify(pdb), "rule 1: has no item");
    EXPECT_EQ(loadable_verify(pdb, LOADABLE_FOREIGN), "");
}

TEST(loadable_reader, an_item_that_no_matcher_has_is_found)
{
    // The item of port 80 becomes that of port 25.
    bytes_t pdb = two_rules();
    const bytes_t from = stored({1, 3});
    const auto at = std::search(pdb.begin(), pdb.end(), from.begin(), from.end());
    ASSERT_NE(at, pdb.end());
    const auto other = std::search(at + 1, pdb.end(), from.begin(), from.end());
    std::string found = "nowhere";
    for (const auto place : {at, other}) {
        if (place == pdb.end())
            continue;
        bytes_t copy = pdb;
        tlv_set(copy.data() + (place - pdb.begin()) + 4, 2);
        const std::string error = loadable_verify(copy);
        if (error == "item 3 stands in no matcher")
            found = error;
    }
    EXPECT_EQ(found, "item 3 stands in no matcher");
}

TEST(loadable_reader, two_matchers_of_one_name_are_found)
{
    const pdb_model model = {
        {protocol_of(1, "p",
                     {simple_rule("tcp", {number_attr("port", {"1"}, MATCHER_TYPE_NUMBER_16,
                                                      ATTR_WAY_BOTH)})})},
        {}};
    bytes_t pdb = compile(model).bytes;
    EXPECT_EQ(loadable_verify(damaged(pdb, TLV_TYPE_ROOT_MATCHERS, 6, ATTR_WAY_CTS)),
              "tcp:port cts: there is another one");
}

TEST(loadable_reader, a_pdb_cut_at_any_length_is_refused)
{
    const bytes_t &pdb = sample();
    for (size_t length = 0; length < pdb.size(); ++length) {
        const std::unique_ptr<uint8_t[]> copy(new uint8_t[length]);
        std::copy_n(pdb.begin(), length, copy.get());
        EXPECT_NE(loadable_verify({copy.get(), length}), "") << length;
    }
}

TEST(loadable_reader, any_word_may_hold_anything)
{
    const bytes_t &pdb = sample();
    for (size_t word = 0; word < pdb.size() / 4; ++word) {
        for (const uint32_t value : {1U, 0x10000U, 0x00FFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
            bytes_t copy = pdb;
            tlv_set(copy.data() + word * 4, value);
            (void)loadable_verify(copy); // any answer will do
        }
    }
}

} // namespace
