// The ranges of a dump: what they say of a pdb that is written out here, and that they cover any
// bytes once.
#include "dump.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <sstream>

#include "covered.h"
#include "rounds.h"
#include "view_sections.h"
#include "words.h"

namespace
{

// The pool of the group: web at 0, one zero byte at 6. The main strings: ab at 0.
const word_list group_strings = {0x00037765, 0x62000001, 0x00000000};
const word_list main_strings = {0x00026162};

word_list protocol_record()
{
    const word_list attribute = record(6, {0x12, 0, 0, 5});
    const word_list sub_rule =
        record(2, join({record(4, {0, 0, 0, 7}), record(3, {0}), record(2, attribute)}));
    const word_list rule = record(2, join({record(7, {0x05000006, 0, 3, 0, 1, 1, 0, 1, 0}),
                                           record(3, {0}), record(2, sub_rule)}));
    return record(1, join({record(1, {0x1234, 0, 6, 8, 1, 0, 1, 2, 3, 0}), record(2, {0, 0}),
                           record(8, {0}), record(7, rule)}));
}

/// An alias pair is 18 bytes, two of padding behind it.
word_list pdb()
{
    const word_list group =
        record(1, join({record(1, protocol_record()), record(2, group_strings)}));
    return join({record(12, {0x01000001}), record(1, group),
                 record(10, {0, 0, 0x01000000, 0x00000000, 0x00030000}), record(9, {0, 17}),
                 record(3, main_strings)});
}

/// A line for each range: offset, size, depth, what it says.
void put_line(void *context, const dump_range_t &range)
{
    std::string &text = *static_cast<std::string *>(context);
    text += std::to_string(range.offset) + "+" + std::to_string(range.bytes.size()) + " " +
            std::string(range.depth, '.') + std::string(range.name);
    for (const std::string_view part : {range.value, range.meaning, range.damage})
        text += part.empty() ? "" : "|" + std::string(part);
    text += range.has_text ? "|\"" + std::string(range.text) + "\"\n" : "\n";
}

std::string lines(const std::vector<uint8_t> &bytes, const dump_choice_t &choice)
{
    std::string text;
    (void)dump_walk(bytes, choice, {put_line, &text}); // the totals are looked at elsewhere
    return text;
}

std::string lines(const word_list &words, const dump_choice_t &choice = {})
{
    return lines(stored(words), choice);
}

dump_choice_t only(format_kind_t kind)
{
    return {0, kind};
}

TEST(Dump, NamesTheFieldsOfARule)
{
    EXPECT_EQ(lines(pdb(), only(FORMAT_PROTO_RULE_META_V5)),
              "96+4 ......PROTO_RULE_META_V5|type 7, 9 words|meta without version identifier\n"
              "100+4 .......order|0x05000006|range 5, order 6\n"
              "104+4 .......reserved|0\n"
              "108+4 .......scope|0x00000003|all, http\n"
              "112+4 .......fastpass|0|no\n"
              "116+4 .......preempt|1|yes\n"
              "120+4 .......path_count|1\n"
              "124+4 .......path[0]|0|\"web\"\n"
              "128+4 .......tag_count|1\n"
              "132+4 .......tag[0]|0|\"ab\"\n");
}

TEST(Dump, NamesTheFieldsOfAnAttribute)
{
    EXPECT_EQ(lines(pdb(), only(FORMAT_PROTO_ATTR_STREAM_OFFSET)),
              "184+4 .........PROTO_ATTR_STREAM_OFFSET|type 6, 4 words|streams\n"
              "188+4 ..........way_proto|18|client to server, TCP\n"
              "192+4 ..........name|0|\"web\"\n"
              "196+4 ..........value[0]|0|\"web\"\n"
              "200+4 ..........offset[0]|5\n");
}

TEST(Dump, SaysWhereAPositionLeads)
{
    EXPECT_EQ(lines(pdb(), only(FORMAT_PROTO_RULES_OFFSET)),
              "80+4 ....PROTO_RULES_OFFSET|type 8, 1 words|positions of the rules\n"
              "84+4 .....rule[0]|0|record at byte 0x5c\n");
}

TEST(Dump, NamesTheProtocolOfAnId)
{
    const std::string text = lines(pdb(), only(FORMAT_PROTO));
    EXPECT_TRUE(text.starts_with("20+4 ...PROTO|type 1, 45 words|protocol web\n"
                                 "24+4 ....PROTO_META|type 1, 10 words|meta\n"
                                 "28+4 .....id|4660|web\n"
                                 "32+4 .....name|0|\"web\"\n"))
        << text;
}

TEST(Dump, TakesPoolsAndPaddingApart)
{
    EXPECT_EQ(lines(pdb(), {204, FORMAT_KIND_NONE}),
              "204+4 ..PROTOGROUP_STRING|type 2, 3 words|strings of the group\n"
              "208+6 ...string|0|\"web\"\n"
              "214+4 ...string|6|\"" +
                  std::string(1, '\0') +
                  "\"\n"
                  "218+2 ...padding\n"
                  "220+4 MATCHER_ALIAS|type 10, 5 words|matcher aliases\n"
                  "224+4 .alias_protocol[0]|0|\"ab\"\n"
                  "228+4 .alias_attribute[0]|0|\"ab\"\n"
                  "232+1 .alias_way[0]|1|client to server\n"
                  "233+4 .reference_protocol[0]|0|\"ab\"\n"
                  "237+4 .reference_attribute[0]|0|\"ab\"\n"
                  "241+1 .reference_way[0]|3|both directions\n"
                  "242+2 .padding\n"
                  "244+4 TAGS|type 9, 2 words|tag table\n"
                  "248+4 .name[0]|0|\"ab\"\n"
                  "252+4 .number[0]|17\n"
                  "256+4 STRING|type 3, 1 words|main strings\n"
                  "260+4 .string|0|\"ab\"\n");
}

// What a walk takes for any number may be none to a verification, as the position of a rule here;
// and it says nothing of records that are not there.
TEST(Dump, ShowsWhatIsUnsafeInPlace)
{
    std::vector<uint8_t> bytes = stored(pdb());
    bytes[87] = 1;
    std::string text;
    EXPECT_EQ(dump_file(bytes, only(FORMAT_PROTO_RULES_OFFSET), {put_line, &text}).nr_damaged, 1);
    EXPECT_TRUE(text.find("84+4 .....rule[0]|1|") != std::string::npos &&
                text.find("position 1 instead of 0") != std::string::npos)
        << text;
    text.clear();
    const dump_totals_t totals = dump_file({}, {}, {put_line, &text});
    EXPECT_EQ(text, "0+0 end|no protocol descriptions\n");
    EXPECT_EQ(totals.nr_range + totals.nr_damaged, 2);
}

// A pdb that a little-endian host loaded has its tag table in that order.
TEST(Dump, TakesTagsInEitherByteOrder)
{
    const word_list tail = join({record(9, {0, 0x11000000}), record(3, main_strings)});
    EXPECT_EQ(lines(join({record(12, {0x03000003}), tail}), only(FORMAT_TAGS)),
              "8+4 TAGS|type 9, 2 words|tag table\n"
              "12+4 .name[0]|0|\"ab\"\n"
              "16+4 .number[0]|17\n");
    const word_list two =
        join({record(9, {0, 1, 0x04000000, 0x02000000}), record(3, {0x00026162, 0x00026364})});
    EXPECT_EQ(lines(join({record(12, {0x02000002}), two}), only(FORMAT_TAGS)),
              "8+4 TAGS|type 9, 4 words|tag table\n"
              "12+4 .name[0]|0|\"ab\"\n"
              "16+4 .number[0]|16777216\n"
              "20+4 .name[1]|4|\"cd\"\n"
              "24+4 .number[1]|2\n")
        << "only the second name tells the order";
    EXPECT_EQ(lines(join({record(12, {0x04000004}), tail}), only(FORMAT_TAGS)),
              "8+4 TAGS|type 9, 2 words|tag table\n"
              "12+4 .name[0]|0|\"ab\"\n"
              "16+4 .number[0]|285212672\n");
}

TEST(Dump, SaysDamageWhereItIsAndGoesOn)
{
    EXPECT_EQ(lines({0x0D000001, 0x01020304, 0x0C000000, 0x0C000003, 0x02000002, 0x00000100}),
              "0+4 record|type 13, 1 words|no record of this type stands here\n"
              "4+4 .bytes\n"
              "8+4 LOAD|type 12, 0 words|load state\n"
              "12+0 .rest|too short for its fields\n"
              "12+4 LOAD|type 12, 3 words|load state|8 bytes are left\n"
              "16+4 .state|0x02000002|loadable\n"
              "20+4 .rest|padding that is not zero\n");
}

TEST(Dump, SaysWhenAStringIsNotThere)
{
    EXPECT_EQ(lines(join({record(9, {2, 17}), record(3, {0x00056162})}), only(FORMAT_TAGS)),
              "0+4 TAGS|type 9, 2 words|tag table\n"
              "4+4 .name[0]|2|no string is there\n"
              "8+4 .number[0]|17\n");
}

TEST(Dump, FindsSectionsByName)
{
    format_kind_t kind = FORMAT_KIND_NONE;
    EXPECT_TRUE(dump_section_find("proto_meta", kind));
    EXPECT_EQ(kind, FORMAT_PROTO_META);
    EXPECT_FALSE(dump_section_find("proto", kind) && kind != FORMAT_PROTO);
    EXPECT_FALSE(dump_section_find("META", kind));
    EXPECT_FALSE(dump_section_find("{AGS", kind));
    EXPECT_FALSE(dump_section_find("", kind));
}

TEST(Dump, SaysWhereTheRowsOfEnginesLead)
{
    EXPECT_EQ(
        lines(pdb_of(parts_with_a_lost_piece()), only(FORMAT_AHO_CORASICK_TRANSITIONS)),
        "104+8 ......AHO_CORASICK_TRANSITIONS|type 34, 24 bytes|transitions\n"
        "112+2 .......state 0 unused|0\n"
        "114+2 .......state 0 items|65535|no items\n"
        "116+2 .......state 0 code 2 'y'|3|state 1, a pattern ends there\n"
        "118+2 .......state 0 code 3 'z'|0\n"
        "120+2 .......state 1 unused|0\n"
        "122+2 .......state 1 items|49152|entry 0 of the second level, item 1, rule 1 of web\n"
        "124+2 .......state 1 code 2 'y'|3|state 1, a pattern ends there\n"
        "126+2 .......state 1 code 3 'z'|5|state 2, a pattern ends there\n"
        "128+2 .......state 2 unused|0\n"
        "130+2 .......state 2 items|49153|entry 1 of the second level, item 2, rule 2 of web\n"
        "132+2 .......state 2 code 2 'y'|3|state 1, a pattern ends there\n"
        "134+2 .......state 2 code 3 'z'|0\n");
    EXPECT_EQ(lines(pdb_of(offset_parts()), only(FORMAT_DOT_PREFIX_TRANSITIONS)),
              "748+8 ......DOT_PREFIX_TRANSITIONS|type 39, 60 bytes|transitions\n"
              "756+2 .......node 0 unused|0\n"
              "758+2 .......node 0 propagation|65535|none\n"
              "760+2 .......node 0 items|65535|no items\n"
              "762+2 .......node 0 wildcard|1|node 1\n"
              "764+2 .......node 0 code 4 'x'|3|node 3\n"
              "766+2 .......node 0 code 5 'b'|0\n"
              "768+2 .......node 1 unused|0\n"
              "770+2 .......node 1 propagation|65535|none\n"
              "772+2 .......node 1 items|65535|no items\n"
              "774+2 .......node 1 wildcard|0\n"
              "776+2 .......node 1 code 4 'x'|0\n"
              "778+2 .......node 1 code 5 'b'|2|node 2\n"
              "780+2 .......node 2 unused|0\n"
              "782+2 .......node 2 propagation|65535|none\n"
              "784+2 .......node 2 items|0|items at word 0\n"
              "786+2 .......node 2 wildcard|0\n"
              "788+4 .......node 2 codes 4 to 5|0\n"
              "792+2 .......node 3 unused|0\n"
              "794+2 .......node 3 propagation|1|node 1\n"
              "796+2 .......node 3 items|65535|no items\n"
              "798+2 .......node 3 wildcard|0\n"
              "800+2 .......node 3 code 4 'x'|0\n"
              "802+2 .......node 3 code 5 'b'|4|node 4\n"
              "804+2 .......node 4 unused|0\n"
              "806+2 .......node 4 propagation|65535|none\n"
              "808+2 .......node 4 items|2|items at word 2\n"
              "810+2 .......node 4 wildcard|0\n"
              "812+4 .......node 4 codes 4 to 5|0\n");
    EXPECT_EQ(lines(pdb_of(offset_parts()), only(FORMAT_AHO_CORASICK_ITEMS)),
              "136+8 ......AHO_CORASICK_ITEMS|type 35, 12 bytes|item records\n"
              "144+4 .......record 0 count|1\n"
              "148+4 .......record 0 item|0x00000002|item 2, rule 2 of web\n"
              "152+4 .......record 0 match ends at|anywhere\n");
    EXPECT_EQ(lines(pdb_of(offset_parts()), only(FORMAT_DOT_PREFIX_ITEMS)),
              "816+8 ......DOT_PREFIX_ITEMS|type 40, 16 bytes|item records\n"
              "824+4 .......record 0 count|1\n"
              "828+4 .......record 0 item|0x00000001|item 1, rule 1 of web\n"
              "832+4 .......record 2 count|1\n"
              "836+4 .......record 2 item|0x00000001|item 1, rule 1 of web\n");
}

/// A pdb whose matcher has this tree of prefixes.
std::vector<uint8_t> pdb_of_tree(const word_list &tree)
{
    parts_t parts;
    parts.engines = join({blob(18, {14}), blob(19, {}), blob(21, tree), blob(22, {})});
    return pdb_of(parts);
}

/// The lines of one kind of record, without their offsets.
std::string said(const std::vector<uint8_t> &bytes, format_kind_t kind)
{
    std::istringstream all(lines(bytes, only(kind)));
    std::string text;
    for (std::string line; std::getline(all, line);)
        text += line.substr(line.find('+')) + "\n";
    return text;
}

TEST(Dump, SaysWhichMinimumARecordHas)
{
    parts_t parts = offset_parts();
    const auto items_of = [&](const word_list &items) {
        const word_list dot_prefix = join({dot_prefix_of_two, blob(40, items)});
        parts.engines = join({blob(18, {14}), blob(19, {}), blob(23, dot_prefix)});
        const std::string text = said(pdb_of(parts), FORMAT_DOT_PREFIX_ITEMS);
        return text.substr(text.rfind("DOT_PREFIX_ITEMS"));
    };
    EXPECT_EQ(items_of({0xFFFE0000, 20, 0}),
              "DOT_PREFIX_ITEMS|type 40, 12 bytes|item records\n"
              "+4 .......record 0 minimum|0xfffe0000|a minimum follows\n"
              "+4 .......record 0 minimum|20\n"
              "+4 .......record 0 count|0\n");
    EXPECT_EQ(items_of({0xFFFE0000}), "DOT_PREFIX_ITEMS|type 40, 4 bytes|item records\n"
                                      "+4 .......record 0 minimum|0xfffe0000|a minimum follows\n");
    const auto tree_items = [](const word_list &items) {
        return said(pdb_of_tree(join({alphabet(33, 3, {}), blob(30, items)})), FORMAT_RADIX_ITEMS);
    };
    EXPECT_EQ(tree_items({0xFFFF0000, 0, 0xFFFE0007, 0}),
              "+8 ......RADIX_ITEMS|type 30, 16 bytes|item records\n"
              "+4 .......record 0 minimum|0xffff0000|no minimum\n"
              "+4 .......record 0 count|0\n"
              "+4 .......record 2 minimum|0xfffe0007|at least 7 bytes\n"
              "+4 .......record 2 count|0\n");
    EXPECT_EQ(tree_items({5, 0}), "+8 ......RADIX_ITEMS|type 30, 8 bytes|item records\n"
                                  "+4 .......record 0 count|5|1 words are left\n"
                                  "+4 .......rest|no record begins here\n");
    EXPECT_EQ(tree_items({0xFFFE0007}), "+8 ......RADIX_ITEMS|type 30, 4 bytes|item records\n"
                                        "+4 .......record 0 minimum|0xfffe0007|at least 7 bytes\n");
}

/// The compressed edges of a tree of three codes, number 1 of which there is.
std::string edges(const word_list &chains)
{
    return said(pdb_of_tree(join({blob(29, {0xFFFF0002, 0x0000FFFF, 0}), blob(27, chains),
                                  blob(28, {1, 0x02000000}), alphabet(33, 3, {{'a', 1}})})),
                FORMAT_RADIX_C_EDGES);
}

TEST(Dump, TakesCompressedEdgesApart)
{
    const std::string head = "+8 ......RADIX_C_EDGES|type 27, ";
    EXPECT_EQ(edges({0, 0x00000363, 0x64650000}), head + "12 bytes|compressed edges\n"
                                                         "+4 .......no edge\n"
                                                         "+2 .......edge 1 end|0|row 0\n"
                                                         "+1 .......edge 1 length|3\n"
                                                         "+3 .......edge 1 bytes|\"cde\"\n"
                                                         "+2 .......padding\n");
    const std::string beyond = edges({0, 0x00000263, 0x64770000});
    EXPECT_NE(
        beyond.find("+3 .......edge 1 bytes beyond its length|\"w" + std::string(2, '\0') + "\"\n"),
        std::string::npos)
        << beyond;
    const std::string cut = edges({0, 0x0000FF63});
    EXPECT_NE(cut.find("+1 .......edge 1 length|255|1 bytes are left\n"), std::string::npos) << cut;
    const std::string nowhere =
        said(pdb_of_tree(join({blob(29, {0xFFFF0001, 0x0000FFFF, 0x00010000}), blob(27, {0}),
                               blob(28, {1, 0x02000000}), alphabet(33, 3, {{'a', 1}})})),
             FORMAT_RADIX_TRANSITIONS);
    EXPECT_NE(nowhere.find("|compressed edge 1|the table of compressed edges ends before\n"),
              std::string::npos)
        << nowhere;
    const std::string rowless =
        said(pdb_of_tree(join({blob(27, {0, 0x00000163}), blob(28, {1, 0x02000000})})),
             FORMAT_RADIX_C_EDGES);
    EXPECT_NE(rowless.find("+2 .......edge 1 end|0|"), std::string::npos) << rowless;
}

TEST(Dump, NeedsAnAlphabetForRows)
{
    const auto rows = [](const word_list &alphabet_of_it) {
        return said(
            pdb_of_tree(join({blob(29, {0xFFFF0002, 0x0000FFFF, 0}), blob(33, alphabet_of_it)})),
            FORMAT_RADIX_TRANSITIONS);
    };
    const word_list codes(64);
    const std::string none = "+8 ......RADIX_TRANSITIONS|type 29, 12 bytes|transitions\n"
                             "+12 .......bytes|rows without an alphabet\n";
    const std::string found = rows(join({blob(25, {3}), blob(26, codes)}));
    EXPECT_EQ(found.find("rows without"), std::string::npos) << found;
    for (const word_list &bad :
         {word_list(), blob(25, {3}), blob(26, codes), join({blob(25, {}), blob(26, codes)}),
          join({blob(25, {3}), blob(26, word_list(63))}), join({blob(25, {0}), blob(26, codes)})})
        EXPECT_NE(rows(bad).find("rows without an alphabet"), std::string::npos) << rows(bad);
    word_list wide(150);
    wide[130] = 0x00010000; // code 260, of no byte
    const std::string beyond =
        said(pdb_of_tree(join({blob(29, wide), alphabet(33, 300, {})})), FORMAT_RADIX_TRANSITIONS);
    EXPECT_NE(beyond.find("row 0 code 260|1|"), std::string::npos) << beyond;
}

TEST(Dump, WritesEndpointsOfEverySize)
{
    const auto endpoints = [](uint32_t type, uint32_t size, const word_list &values) {
        parts_t parts;
        parts.numbers =
            join({record(1, {type, 0}),
                  record(2, join({blob(15, {type}),
                                  blob(17, join({blob(42, {size, 1}), blob(44, values)}))}))});
        const std::string text = said(pdb_of(parts), FORMAT_INTERVAL_ENDPOINTS);
        return text.substr(text.find('\n') + 1);
    };
    EXPECT_EQ(endpoints(7, 4, {0x0A000001}), "+4 .......endpoint 0|10.0.0.1\n");
    EXPECT_EQ(endpoints(5, 4, {0x0A000001}), "+4 .......endpoint 0|167772161\n");
    EXPECT_EQ(endpoints(6, 8, {1, 2}), "+8 .......endpoint 0|8589934593\n");
    EXPECT_EQ(endpoints(6, 5, {1, 2}), "+8 .......rest|endpoints of unknown size\n");
    EXPECT_EQ(endpoints(6, 5, {}), "");
}

TEST(Dump, CutsTheNameOfAProtocol)
{
    word_list strings = {0x003C7878}; // 60 times x
    strings.resize(15, 0x78787878);
    strings.push_back(0x78780000);
    const auto title = [&](const word_list &meta) {
        const word_list group =
            record(1, join({record(1, record(1, record(1, meta))), record(2, strings)}));
        const std::string text = said(stored(record(1, group)), FORMAT_PROTO);
        return text.substr(0, text.find('\n'));
    };
    EXPECT_EQ(title({7, 0, 0, 0, 1}),
              "+4 ...PROTO|type 1, 6 words|protocol " + std::string(48, 'x') + "...");
    EXPECT_EQ(title({7}), "+4 ...PROTO|type 1, 2 words|protocol");
}

// Endpoints 2001:db8::1 and 2001:db8::2, of IPv6: type 8, values of 16 bytes.
TEST(Dump, WritesAddressesAsAuthorsDo)
{
    word_list flags(64);
    flags[8] = 0x01000000; // what begins with 0x20
    parts_t parts;
    parts.numbers =
        join({record(1, {8, 0}),
              record(2, join({blob(15, {8}),
                              blob(17, join({blob(42, {16, 2}), blob(43, flags),
                                             blob(44, {0x20010DB8, 0, 0, 1, 0x20010DB8, 0, 0, 2}),
                                             blob(45, {0, 2}), blob(46, {1, 1, 0})}))}))});
    EXPECT_EQ(lines(pdb_of(parts), only(FORMAT_INTERVAL_ENDPOINTS)),
              "384+8 ......INTERVAL_ENDPOINTS|type 44, 32 bytes|endpoints, ascending\n"
              "392+16 .......endpoint 0|2001:db8:0:0:0:0:0:1\n"
              "408+16 .......endpoint 1|2001:db8:0:0:0:0:0:2\n");
}

TEST(Dump, BeginsWithTheRangeThatHoldsTheByte)
{
    EXPECT_EQ(lines(pdb(), {254, FORMAT_KIND_NONE}), "252+4 .number[0]|17\n"
                                                     "256+4 STRING|type 3, 1 words|main strings\n"
                                                     "260+4 .string|0|\"ab\"\n");
    EXPECT_EQ(lines(pdb(), {5000, FORMAT_KIND_NONE}), "");
}

TEST(Dump, CoversEveryCut)
{
    const std::vector<uint8_t> whole = stored(pdb());
    EXPECT_EQ(dump_fault(whole), "");
    for (size_t size = 0; size < whole.size(); ++size) {
        const std::unique_ptr<uint8_t[]> cut(new uint8_t[size]);
        std::copy_n(whole.begin(), size, cut.get());
        EXPECT_EQ(dump_cover({cut.get(), size}).fault, "") << size;
    }
}

TEST(Dump, CoversAnyWordsOfTheFormat)
{
    std::mt19937 random(5);
    for (uint32_t round = 0; round < rounds(20000); ++round) {
        word_list words(random() % 60);
        for (uint32_t &word : words)
            word = static_cast<uint32_t>(random() % 4 == 0 ? random()
                                                           : (random() % 48) << 24 | random() % 30);
        EXPECT_EQ(dump_cover(stored(words)).fault, "");
    }
}

} // namespace
