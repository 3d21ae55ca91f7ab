#include "pdb_verify.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "failing_alloc.h"
#include "verified.h"
#include "words.h"

namespace
{

// The pool of the group: web at 0, one zero byte at 6. The main strings: ab at 0.
const word_list group_strings = {0x00037765, 0x62000001, 0x00000000};
const word_list main_strings = {0x00026162};

/// The group with one protocol of one rule, of one sub-rule, of one attribute. Numbers that tests
/// look for have a name.
constexpr uint32_t ID = 0x1234;
constexpr uint32_t PRIORITY = 0x05000006;
constexpr uint32_t CTS_MINDATA = 0x777;
constexpr uint32_t CTS_TCP = 0x12;

word_list attribute_record()
{
    return record(6, {CTS_TCP, 0, 0, 5});
}

word_list sub_rule_record()
{
    return record(2, join({record(4, {0, 0, 0, CTS_MINDATA}), record(3, {0}),
                           record(2, attribute_record())}));
}

word_list rule_record()
{
    return record(2, join({record(7, {PRIORITY, 0, 1, 0, 0, 1, 0, 1, 0}), record(3, {0}),
                           record(2, sub_rule_record())}));
}

word_list protocol_record()
{
    return record(
        1, join({record(1, {ID, 0, 6, 8, 1, 0, 1, 2, 3, 0}), record(2, {0, 0}), record(3),
                 record(6), record(4, {0}), record(5), record(8, {0}), record(7, rule_record())}));
}

word_list descriptions(const word_list &protocols)
{
    return record(1, record(1, join({record(1, protocols), record(2, group_strings)})));
}

word_list pdb_of(const word_list &protocols)
{
    return join({record(12, {0x01000001}), descriptions(protocols),
                 record(10, {0, 0, 0x01000000, 0x00000000, 0x00030000}), record(9, {0, 17}),
                 record(3, main_strings)});
}

word_list pdb()
{
    return pdb_of(protocol_record());
}

std::string verify(const word_list &words)
{
    return verify_text(stored(words));
}

/// The place of a number in the pdb.
size_t place_of(uint32_t number)
{
    const word_list words = pdb();
    return static_cast<size_t>(std::find(words.begin(), words.end(), number) - words.begin());
}

/// Changes the word `behind` the place of a number; the fault must be that of byte `at` behind the
/// same place, of that text.
void expect_fault(uint32_t number, long behind, uint32_t value, long at, const std::string &text)
{
    word_list words = pdb();
    const long place = static_cast<long>(place_of(number));
    words[static_cast<size_t>(place + behind)] = value;
    EXPECT_EQ(verify(words), std::to_string(place * 4 + at) + ": " + text);
}

TEST(Verify, AcceptsASoundPdb)
{
    EXPECT_EQ(verify(pdb()), "");
    EXPECT_EQ(verify(join({descriptions({}), record(3)})), "");
    EXPECT_EQ(verify({0x07000000, 0, 0}), "") << "compiled without descriptions";
}

TEST(Verify, FindsFaultsOfTheRoot)
{
    EXPECT_EQ(verify({}), "0: no protocol descriptions");
    EXPECT_EQ(verify({0x0D000000}), "0: root record of type 13");
    EXPECT_EQ(verify({0x01000001}), "0: record of type 1 claims 1 words, 0 bytes are left");
    EXPECT_EQ(verify({0x0C000002, 0x01000001, 0, 0x01000000}),
              "4: load state: 8 bytes instead of 4");
}

TEST(Verify, FindsFaultsOfAProtocol)
{
    const std::string in = "descriptions: protocol 0: ";
    expect_fault(ID, 1, 4, 4, in + "meta: name: no string at 4");
    expect_fault(ID, 2, 10, 8, in + "meta: default_port: no string at 10");
    expect_fault(ID, 11, 2, 44, in + "tags: category: no string at 2");
    expect_fault(ID, 10, 0x0B000002, 40, in + "record of type 11");
    expect_fault(ID, 10, 0x03000002, 52, in + "second record of type 3");
    expect_fault(PRIORITY, -4, 1, -16, in + "rule 0: position 1 instead of 0");
}

TEST(Verify, FindsFaultsOfARule)
{
    const std::string in = "descriptions: protocol 0: rule 0: ";
    const std::string meta = in + "meta without version identifier: ";
    expect_fault(PRIORITY, 5, 9, 20, meta + "9 fields in 36 bytes");
    expect_fault(PRIORITY, 6, 2, 24, meta + "path: no string at 2");
    expect_fault(PRIORITY, 8, 2, 32, meta + "tag: no string at 2");
}

TEST(Verify, FindsFaultsOfASubRuleAndItsAttributes)
{
    const std::string in = "descriptions: protocol 0: rule 0: sub-rule 0: ";
    expect_fault(CTS_MINDATA, -3, 2, -12, in + "meta: protocol: no string at 2");
    expect_fault(CTS_MINDATA, 2, 3, 8, in + "attribute 0: position 3 instead of 0");
    expect_fault(CTS_TCP, 1, 2, 4, in + "attribute 0: name: no string at 2");
    expect_fault(CTS_TCP, 2, 2, 8, in + "attribute 0: value: no string at 2");
    expect_fault(CTS_TCP, -1, 0x07000004, -4, in + "attribute 0: record of type 7");
}

/// What makes a pdb of words unsound.
std::string unsound(const word_list &words)
{
    EXPECT_EQ(verify(words), "");
    return unsound_text(stored(words));
}

/// A pdb of descriptions, with strings of the group and main strings of its own.
word_list pdb_with(const word_list &protocols, const word_list &group, const word_list &main)
{
    return join({record(1, record(1, join({record(1, protocols), record(2, group)}))),
                 record(10, {0, 0, 0x01000000, 0x00000000, 0x00030000}), record(9, {0, 17}),
                 record(3, main)});
}

TEST(Verify, FindsStringsThatNothingRefersTo)
{
    EXPECT_EQ(unsound(pdb()), "");
    const word_list more_group = {0x00037765, 0x62000001, 0x00000001, 0x78000001, 0x79000000};
    EXPECT_EQ(unsound(pdb_with(protocol_record(), more_group, main_strings)),
              "230: descriptions: strings: string at 10: nothing refers to it, nor to 1 others\n");
    const word_list more_main = {0x00026162, 0x00017A00};
    EXPECT_EQ(unsound(pdb_with(protocol_record(), group_strings, more_main)),
              "276: main strings: string at 4: nothing refers to it, nor to 0 others\n");
}

TEST(Verify, FindsProtocolsOfOneId)
{
    word_list other = protocol_record();
    *std::find(other.begin(), other.end(), ID) = ID + 1;
    EXPECT_EQ(unsound(pdb_of(join({protocol_record(), other}))), "");
    EXPECT_EQ(unsound(pdb_of(join({protocol_record(), other, protocol_record()}))),
              "428: descriptions: protocol 2: its id 4660 is that of protocol 0\n");
}

// Their strings and positions are sound, and no view reads them.
TEST(Verify, FindsRecordsThatHoldAWordMore)
{
    const auto group_of = [](const word_list &sub_rule_meta, const word_list &attribute) {
        const word_list sub_rule =
            record(2, join({sub_rule_meta, record(3, {0}), record(2, attribute)}));
        const word_list rule = record(2, join({record(7, {PRIORITY, 0, 1, 0, 0, 1, 0, 1, 0}),
                                               record(3, {0}), record(2, sub_rule)}));
        return verify(descriptions(record(1, join({record(1, {ID, 0, 6, 8, 1, 0, 1, 2, 3, 0}),
                                                   record(8, {0}), record(7, rule)}))));
    };
    const word_list meta = record(4, {0, 0, 0, CTS_MINDATA});
    const word_list attribute = record(6, {CTS_TCP, 0, 0, 5});
    EXPECT_EQ(group_of(meta, attribute), "");
    EXPECT_EQ(group_of(record(4, {0, 0, 0, CTS_MINDATA, 0}), attribute),
              "132: descriptions: protocol 0: rule 0: sub-rule 0: wrong length");
    EXPECT_EQ(group_of(meta, record(6, {CTS_TCP, 0, 0, 5, 0})),
              "164: descriptions: protocol 0: rule 0: sub-rule 0: attribute 0: wrong count");
    EXPECT_EQ(verify(descriptions(record(1, record(1, {ID, 0, 6, 8, 1, 0, 1})))),
              "16: descriptions: protocol 0: record of type 1, 7 words: wrong length");
}

TEST(Verify, FindsGroupsWithoutAPart)
{
    const auto group = [](const word_list &parts) { return verify(record(1, record(1, parts))); };
    EXPECT_EQ(group(record(2, group_strings)), "4: descriptions: no protocols, or no strings");
    EXPECT_EQ(group(record(1)), "4: descriptions: no protocols, or no strings");
}

TEST(Verify, GoesOnBehindAFault)
{
    word_list broken = protocol_record();
    broken[3] = 2; // the name
    word_list words = pdb_of(join({broken, protocol_record(), broken}));
    words[words.size() - 4] = 2; // the name of the tag
    const std::vector<found_fault_t> faults = verify_faults(stored(words));
    ASSERT_EQ(faults.size(), 3u);
    EXPECT_EQ(faults[0].text, "tag table: name: no string at 2");
    EXPECT_EQ(faults[1].text, "descriptions: protocol 0: meta: name: no string at 2");
    EXPECT_EQ(faults[2].text, "descriptions: protocol 2: meta: name: no string at 2");
}

TEST(Verify, FindsFaultsOfThePools)
{
    word_list words = pdb();
    words.back() = 0x00036162;
    EXPECT_EQ(verify(words), std::to_string(words.size() * 4 - 4) +
                                 ": main strings: string at 0 runs past the pool");
    words = pdb();
    const size_t pool = place_of(0x00037765);
    words[pool + 2] = 1;
    EXPECT_EQ(verify(words), std::to_string(pool * 4 + 10) +
                                 ": descriptions: strings: string at 10 runs past the pool");
}

// The words of a tag table may stand in the order of a little-endian host, which nothing says.
TEST(Verify, TakesTagsInEitherByteOrder)
{
    const auto tags = [](uint32_t name) {
        word_list strings(65); // 0x0100 bytes, then a string
        for (size_t i = 0; i < 64; ++i)
            strings[i] = 0x00020000 | 0x6161;
        strings[64] = 0x00026162;
        return join({descriptions({}), record(9, {name, 1}), record(3, strings)});
    };
    EXPECT_EQ(verify(tags(0x00000100)), "");
    EXPECT_EQ(verify(tags(0x00010000)), "");
    EXPECT_EQ(verify(tags(0x00020000)), "32: tag table: name: no string at 131072");
}

// A merged pdb has no main strings: what its tags are called is lost.
TEST(Verify, TakesTagsWithoutNames)
{
    word_list words = pdb();
    words.resize(words.size() - 2);
    words.back() = 0xFFFF;
    EXPECT_EQ(verify(words), "");
}

TEST(Verify, ChecksTheConfigurationByItsOwnRule)
{
    const auto with = [](uint32_t header) {
        return verify(join({record(11, {header, 0x7B7D0000}), descriptions({})}));
    };
    EXPECT_EQ(with(38 << 24 | 4), "") << "the length counts bytes";
    EXPECT_EQ(with(38 << 24 | 1), "4: configuration: document: 1 bytes are not whole words");
    EXPECT_EQ(with(38 << 24 | 8),
              "4: configuration: document: record of type 38 claims 8 bytes, 4 bytes are left");
    EXPECT_EQ(verify(join({record(11, {38 << 24 | 4, 0x7B7D0000, 0}), descriptions({})})),
              "12: configuration: 4 bytes behind the last record");
}

TEST(Verify, OpensWhatItVerified)
{
    pdb_view_t view;
    view_error_t error;
    EXPECT_TRUE(pdb_verify_open(stored(pdb()), view, error)) << error.text;
    EXPECT_EQ(view.load_state, TLV_TYPE_LOAD_UNLOADABLE);
    word_list words = pdb();
    words[place_of(ID) + 1] = 2;
    EXPECT_FALSE(pdb_verify_open(stored(words), view, error));
    EXPECT_EQ(error.fault, VIEW_REFERENCE);
    EXPECT_EQ(error.grade, VIEW_UNSAFE);
}

TEST(Verify, SaysWhenMemoryRunsOut)
{
    const std::vector<uint8_t> bytes = stored(pdb());
    pdb_view_t view;
    view_error_t error;
    size_t nr_failed = 0;
    failing_alloc_sweep([&] { return pdb_verify_open(bytes, view, error) ? 1 : 0; },
                        [&](int sound) {
                            EXPECT_EQ(sound, 0);
                            EXPECT_EQ(error.fault, VIEW_MEMORY) << error.text;
                            ++nr_failed;
                        });
    EXPECT_EQ(nr_failed, 2u) << "the indexes of both pools";
}

TEST(Verify, RefusesEveryCutWithinARecord)
{
    const std::vector<uint8_t> whole = stored(pdb());
    size_t nr_accepted = 0;
    for (size_t size = 0; size < whole.size(); ++size) {
        const std::unique_ptr<uint8_t[]> cut(new uint8_t[size]);
        std::copy_n(whole.begin(), size, cut.get());
        nr_accepted += verify_text({cut.get(), size}).empty() ? 1 : 0;
    }
    EXPECT_EQ(nr_accepted, 3u) << "behind the descriptions, the aliases and the tags";
}

} // namespace
