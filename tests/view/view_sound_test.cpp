// Parts that every reader is safe with, and that do not fit together: engines worked out by hand, a
// few words of which are changed.
#include "view_sound.h"

#include <string>

#include "failing_alloc.h"
#include "pdb_view.h"
#include "view_blobs.h"
#include "view_described.h"

namespace
{

/// Judges a blob that every reader is safe with. Returns its fault with the word of the blob that
/// it is at; empty for none.
using judge_t = bool (*)(const view_area_t &area, sound_given_t &given, view_error_t &error);

std::string fault(judge_t judge, const word_list &words)
{
    const std::vector<uint8_t> bytes = stored(words);
    sound_given_t given = {std::vector<bool>(16), std::vector<bool>(16)};
    view_error_t error;
    if (judge({bytes.data(), bytes.size(), 0}, given, error))
        return "";
    return std::to_string(error.offset / 4) + ": " + error.text;
}

bool automaton(const view_area_t &area, sound_given_t &given, view_error_t &error)
{
    view_aho_corasick_t view;
    EXPECT_TRUE(view_aho_corasick_open(area, false, view, error)) << error.text;
    EXPECT_TRUE(view_aho_corasick_check(view, 1, error)) << error.text;
    return sound_automaton(view, given, error);
}

bool tree(const view_area_t &area, sound_given_t &given, view_error_t &error)
{
    view_radix_t view;
    EXPECT_TRUE(view_radix_open(area, view, error)) << error.text;
    EXPECT_TRUE(view_radix_check(view, 0, error)) << error.text;
    return sound_tree(view, given, error);
}

bool dot_prefix(const view_area_t &area, sound_given_t &given, view_error_t &error)
{
    view_dot_prefix_t view;
    EXPECT_TRUE(view_dot_prefix_open(area, view, error)) << error.text;
    EXPECT_TRUE(view_dot_prefix_check(view, 0, error)) << error.text;
    return sound_dot_prefix(view, given, error);
}

bool number(const view_area_t &area, sound_given_t &given, view_error_t &error)
{
    view_number_t view;
    EXPECT_TRUE(view_number_open(area, view, error)) << error.text;
    EXPECT_TRUE(view_number_check(view, error)) << error.text;
    return sound_number(view, given, error);
}

/// Words of a blob that are changed, and the fault that they are.
struct unsound_t {
    std::vector<std::pair<size_t, uint32_t>> changes;
    const char *fault;
};

void expect_unsound(judge_t judge, const word_list &words, const std::vector<unsound_t> &rows)
{
    EXPECT_EQ(fault(judge, words), "");
    for (const unsound_t &row : rows) {
        word_list changed = words;
        for (const auto &[word, value] : row.changes)
            changed[word] = value;
        EXPECT_EQ(fault(judge, changed), row.fault);
    }
}

/// Patterns a (items 5 and 6) and ab (item 7). Codes: a 2, b 3. Rows of 4 words of 2 bytes: items,
/// an unused one, a, b.
const word_list two_words = join({
    blob(34, {0x0000FFFF, 0x00030000,   // state 0: a leads to 1, where a pattern ends
              0x00000000, 0x00030005,   // state 1: item record 0; b leads to 2
              0x00000003, 0x00030000}), // state 2: item record 3
    blob(35, {2, 5, 6, 1, 7}),
    alphabet(37, 4, {{'a', 2}, {'b', 3}}),
    blob(36, {2, 2}),
});

// Words: 2 to 7 transitions, 10 to 14 items, 15 the alphabet, 22 its map.
TEST(ViewSound, OfAnAutomaton)
{
    expect_unsound(automaton, two_words,
                   {
                       {{{4, 0x00000003}, {6, 0x00000000}},
                        "4: row 1: item record 3, where 0 "
                        "follows"},
                       {{{10, 1}}, "6: row 2: item record 3, where 2 follows"},
                       {{{13, 0}}, "14: items: records of rows take 4 of 5 words"},
                       {{{22 + 'a' / 4, 0x00020200}},
                        "2: alphabet: bytes have 1 of 2 codes, the others stand for none"},
                   });
}

// Words: 2 to 9 transitions, 12 to 14 chains, 27 the alphabet, 34 its map.
TEST(ViewSound, OfATree)
{
    expect_unsound(tree, blob_of_tree,
                   {
                       {{{6, 0}}, "13: compressed edges: no row leads to the one at word 1"},
                       {{{34 + 'a' / 4, 0x00010000}},
                        "2: alphabet: bytes have 1 of 2 codes, the others stand for none"},
                   });
}

TEST(ViewSound, OfATreeWhoseChainsAreFollowedByOthers)
{
    word_list words = blob_of_tree;
    words[11] += 4; // the length of the chains
    words.insert(words.begin() + 15, 0);
    EXPECT_EQ(fault(tree, words), "15: compressed edges: they end at word 3 of 4");
}

// Words: 7 the map of the alphabet, 73 the nodes, of three words each, 90 the items.
TEST(ViewSound, OfADotPrefixMatcher)
{
    expect_unsound(dot_prefix, blob_of_dot_prefix,
                   {
                       {{{84, 0}}, "85: row 4 of 5: nothing leads to it, nor to 0 others"},
                       {{{80, 0x00040000}, {86, 0}}, "80: row 2: item record 4, where 0 follows"},
                       {{{94, 1}}, "96: items: records of rows take 6 of 7 words"},
                       {{{7 + 'b' / 4, 0}},
                        "73: alphabet: bytes have 1 of 2 codes, the others stand for none"},
                   });
    view_error_t error;
    sound_given_t given;
    EXPECT_TRUE(sound_dot_prefix({}, given, error)) << "a pattern build without it";
}

TEST(ViewSound, GivesTheItemsOfWhatIsReached)
{
    const auto items = [](judge_t judge, const word_list &words) {
        const std::vector<uint8_t> bytes = stored(words);
        sound_given_t given = {std::vector<bool>(16), {}};
        view_error_t error;
        (void)judge({bytes.data(), bytes.size(), 0}, given, error);
        std::string text;
        for (size_t id = 0; id < given.items.size(); ++id)
            text += given.items[id] ? std::to_string(id) + " " : "";
        return text;
    };
    EXPECT_EQ(items(automaton, two_words), "5 6 7 ");
    EXPECT_EQ(items(tree, blob_of_tree), "9 ");
    EXPECT_EQ(items(dot_prefix, blob_of_dot_prefix), "3 4 ");
    word_list cut_off = blob_of_dot_prefix;
    cut_off[84] = 0;
    EXPECT_EQ(items(dot_prefix, cut_off), "4 ");
}

/// IPv4: [1.0.0.0, 1.0.0.255] item 7; endpoints 1.0.0.0, 1.0.0.255, 1.0.1.0.
word_list intervals(const word_list &items)
{
    word_list flags(64);
    flags[0] = 0x00010000;
    return join({blob(15, {7}), blob(17, join({blob(42, {4, 3}), blob(43, flags),
                                               blob(44, {0x01000000, 0x010000FF, 0x01000100}),
                                               blob(45, {0, 2, 4}), blob(46, items)}))});
}

// The items begin at word 87: 3 + 2 in front of the parts, 4 + 66 + 5 + 5 of them, 2 of their own.
TEST(ViewSound, OfIntervals)
{
    EXPECT_EQ(fault(number, intervals({1, 7, 1, 7, 0})), "");
    EXPECT_EQ(fault(number, intervals({1, 7, 1, 7, 0, 0})),
              "92: intervals: items: records of values take 5 of 6 words");
    EXPECT_EQ(fault(number, intervals({2, 7, 1, 7, 0})),
              "83: intervals: endpoint 1: item record 2, where 3 follows");
}

// Every allocation of a judgement fails once. Those of opening and checking a blob are other
// tests': they come first, and leave nothing to be judged.
TEST(ViewSound, SaysWhenMemoryRunsOut)
{
    const auto fails = [](const word_list &words, auto &&open, auto &&judge) {
        const std::vector<uint8_t> bytes = stored(words);
        view_error_t error;
        open(view_area_t{bytes.data(), bytes.size(), 0}, error);
        int nr_failed = 0;
        failing_alloc_sweep(
            [&] {
                sound_given_t given;
                return judge(given, error) ? 1 : 0;
            },
            [&](int sound) {
                EXPECT_EQ(sound, 0);
                EXPECT_EQ(error.fault, VIEW_MEMORY) << error.text;
                ++nr_failed;
            });
        return nr_failed;
    };
    view_aho_corasick_t plain;
    EXPECT_GE(fails(
                  two_words,
                  [&](const view_area_t &area, view_error_t &error) {
                      EXPECT_TRUE(view_aho_corasick_open(area, false, plain, error));
                  },
                  [&](sound_given_t &given, view_error_t &error) {
                      return sound_automaton(plain, given, error);
                  }),
              3);
    view_radix_t prefixes;
    EXPECT_GE(fails(
                  blob_of_tree,
                  [&](const view_area_t &area, view_error_t &error) {
                      EXPECT_TRUE(view_radix_open(area, prefixes, error));
                  },
                  [&](sound_given_t &given, view_error_t &error) {
                      return sound_tree(prefixes, given, error);
                  }),
              3);
    view_dot_prefix_t dots;
    EXPECT_GE(fails(
                  blob_of_dot_prefix,
                  [&](const view_area_t &area, view_error_t &error) {
                      EXPECT_TRUE(view_dot_prefix_open(area, dots, error));
                  },
                  [&](sound_given_t &given, view_error_t &error) {
                      return sound_dot_prefix(dots, given, error);
                  }),
              3);
    view_number_t addresses;
    EXPECT_EQ(fails(
                  intervals({1, 7, 1, 7, 0}),
                  [&](const view_area_t &area, view_error_t &error) {
                      EXPECT_TRUE(view_number_open(area, addresses, error));
                  },
                  [&](sound_given_t &given, view_error_t &error) {
                      return sound_number(addresses, given, error);
                  }),
              1);
}

/// Whether five rules fit the description; the text says why not.
std::string fits_five(const described_t &described)
{
    const std::vector<uint8_t> bytes = stored(root_of(described));
    pdb_view_t view;
    view_error_t error;
    EXPECT_TRUE(pdb_view_open(bytes, view, error)) << error.text;
    view.rules.nr_rule = 5;
    return sound_rule_count(view, error) ? "" : error.text;
}

// What cannot be read says nothing of how many rules there are.
TEST(ViewSound, HoldsRulesAgainstDescriptionsThatAreRead)
{
    const auto with = [](word_list described_t::*part, const word_list &words) {
        described_t described;
        described.*part = words;
        return fits_five(described);
    };
    const std::string one = "5 rules, where the descriptions have 1 with values";
    EXPECT_EQ(fits_five({}), one);
    EXPECT_EQ(with(&described_t::attribute, record(6, {0x12, 0, 2, 5})),
              "5 rules, where the descriptions have 0 with values");
    EXPECT_EQ(with(&described_t::attribute, record(6, {0x12})), "");
    EXPECT_EQ(with(&described_t::sub_rule_meta, record(4, {0})), "");
    EXPECT_EQ(with(&described_t::rule_meta, record(7, {0})), "");
    EXPECT_EQ(with(&described_t::protocol_meta, record(1, {0})), "");
    EXPECT_EQ(with(&described_t::strings, {}), "");
    EXPECT_EQ(with(&described_t::behind_protocols, record(9)), one) << "no protocol, passed over";
    EXPECT_EQ(with(&described_t::behind_groups, record(9)), one) << "no group, passed over";
}

// The parts of a description that cannot be read are another's to report: the walk ends there.
TEST(ViewSound, JudgesDescriptionsThatAreRead)
{
    const auto fault = [](const described_t &described) {
        const std::vector<uint8_t> bytes = stored(root_of(described));
        pdb_view_t view;
        view_error_t error;
        EXPECT_TRUE(pdb_view_open(bytes, view, error)) << error.text;
        view_group_t group;
        EXPECT_TRUE(view_group_open({bytes.data() + 8, bytes.size() - 8, 8}, group, error));
        const bool sound = sound_protocols(group, error) && sound_group_strings(group, error);
        return std::string(sound ? "" : error.text);
    };
    described_t described;
    EXPECT_EQ(fault(described), "");
    described.behind_protocols = record(9);
    EXPECT_EQ(fault(described), "") << "no protocol, passed over";
    described.behind_protocols = {};
    described.protocol_meta = record(1, {0});
    EXPECT_EQ(fault(described).substr(0, 20), "protocol at byte 12:");
}

} // namespace
